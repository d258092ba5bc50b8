#pragma once

#include "ui/panel/Backend.h"
#include "ui/panel/WidgetGuid.h"

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include <deque>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

/// A panel front end on a terminal: follows every change in a line of its own, lists the panels as
/// a tree ("list") and sets values by name ("GAIN = 2"). Registered under the name "Terminal".
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
    // What the terminal knows of a widget.
    struct Item {
        std::string cls;
        std::string key;
        std::map<std::string, std::string> attributes;
        std::vector<ui::widget_guid_t> children;
        ui::widget_guid_t parent = ui::null_guid;
        bool hasValue = false;
        std::string value;
        bool visible = false; // shown itself, not only as a part of what is above it
    };

    void OnAttribute(ui::widget_guid_t guid, ui::detail::WidgetCore const& core) override;
    void OnDetach(ui::widget_guid_t guid) override;
    void OnUpdate(ui::widget_guid_t guid, ui::detail::WidgetCore const& core) override;
    void OnDataChanged(ui::widget_guid_t guid, ui::detail::WidgetCore const& core) override;
    bool OnShow(ui::widget_guid_t guid, ui::detail::WidgetCore const& core) override;
    void OnHide(ui::widget_guid_t guid) override;

    Item& Take(ui::widget_guid_t guid, ui::detail::WidgetCore const& core);
    void Drop(ui::widget_guid_t guid);
    void Say(std::string const& line);
    void Work();
    void AskForTree(ui::widget_guid_t guid);
    void Settle();

    bool Execute(std::string const& command);
    void Set(std::string const& name, std::string const& text);
    std::string Listing() const;
    void List(ui::widget_guid_t guid, std::size_t depth, std::string& text) const;
    static std::string Line(ui::widget_guid_t guid, Item const& item);
    static std::string Name(ui::widget_guid_t guid, Item const& item);

    std::istream& m_in;
    std::ostream& m_out; // written by m_worker only

    mutable boost::mutex m_mutex; // guards what follows; may be taken while the registry is locked
    boost::condition_variable m_changed;
    std::map<ui::widget_guid_t, Item> m_items;
    std::deque<std::string> m_lines;           // to be written
    std::deque<ui::widget_guid_t> m_questions; // widgets whose trees are to be asked for
    bool m_busy = false;
    bool m_ended = false;

    int m_slot = -1;
    boost::thread m_worker;
};
