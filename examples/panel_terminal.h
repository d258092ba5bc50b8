#pragma once

#include "ui/panel/Backend.h"
#include "ui/panel/WidgetGuid.h"

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include <cstddef>
#include <deque>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

/// A panel front end on a terminal: follows every change in a line of its own ("+" shown, "~"
/// changed, "-" hidden or gone), lists the panels as a tree ("list") and sets values by name
/// ("GAIN = 2"). Registered under the name "Terminal".
///
/// A widget's name is its label, its key in the configuration file or '#' and its GUID. What lies
/// below a widget that is shown is a part of it and shown with it, unless hidden for itself.
///
/// The manager calls a listener with its registry locked. So the callbacks only copy what they are
/// given, and a thread of the front end's own asks the manager for the rest and writes.
class PanelTerminal : public ui::Backend {
public:
    /// On standard input and output.
    PanelTerminal();
    PanelTerminal(std::istream& in, std::ostream& out);
    ~PanelTerminal() override;

    /// Reads commands until the input ends or says "quit".
    void Run() override;

private:
    enum class State { Part, Shown, Hidden };

    // What the terminal was told of a widget.
    struct Item {
        State state = State::Part;
        std::string line; // as it is written
        std::vector<ui::widget_guid_t> children;
    };

    // A line of the list.
    struct Row {
        ui::widget_guid_t guid;
        std::vector<std::string> names; // to set its value by; none for a widget without a value
        std::string text;
    };

    void OnAttribute(ui::widget_guid_t guid, ui::detail::WidgetCore const& core) override;
    void OnDetach(ui::widget_guid_t guid) override;
    void OnUpdate(ui::widget_guid_t guid, ui::detail::WidgetCore const& core) override;
    void OnDataChanged(ui::widget_guid_t guid, ui::detail::WidgetCore const& core) override;
    bool OnShow(ui::widget_guid_t guid, ui::detail::WidgetCore const& core) override;
    void OnHide(ui::widget_guid_t guid) override;

    void TakeWhatIsShown();
    bool Knows(ui::widget_guid_t guid) const;
    Item& Note(ui::widget_guid_t guid, ui::detail::WidgetCore const& core);
    void Forget(ui::widget_guid_t guid);
    bool BelongsToAPanel(ui::widget_guid_t guid) const;
    void SayGone(ui::widget_guid_t guid);
    void Say(std::string const& line);

    void Work();
    void Write(std::deque<std::string> const& lines);
    void Ask(ui::widget_guid_t guid);
    void Settle();

    bool Execute(std::string const& command);
    void Set(std::string const& name, std::string const& text);
    std::vector<Row> Rows();
    void AddRows(ui::widget_guid_t guid, std::size_t depth, std::vector<Row>& rows);

    std::istream& m_in;
    std::ostream& m_out; // written by m_worker while there is one

    mutable boost::mutex m_mutex; // guards what follows; may be taken while the registry is locked
    boost::condition_variable m_changed;
    std::map<ui::widget_guid_t, Item> m_items;
    std::deque<std::string> m_lines;           // to be written
    std::deque<ui::widget_guid_t> m_questions; // widgets whose trees are to be asked for
    bool m_busy = false;
    bool m_ended = false;

    int const m_slot;
    boost::thread m_worker;
};
