#include "panel_terminal.h"

#include "ui/panel/PanelManager.h"

#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <utility>

namespace {

using Lock = boost::lock_guard<boost::mutex>;
using ui::widget_guid_t;
using ui::detail::WidgetCore;

ui::Backend_Registration<PanelTerminal> const g_registration("Terminal");

std::string Number(widget_guid_t guid) {
    return '#' + std::to_string(guid);
}

// What a widget may be called, the name that it is shown under first.
std::vector<std::string> Names(widget_guid_t guid, WidgetCore const& core) {
    std::vector<std::string> names;
    auto const label = core.attributes.find("label");
    if (label != core.attributes.end()) {
        names.push_back(label->second);
    }
    if (!core.key.empty()) {
        names.push_back(core.key);
    }
    names.push_back(Number(guid));
    return names;
}

std::string Line(widget_guid_t guid, WidgetCore const& core) {
    std::string line = Names(guid, core).front();
    std::string value;
    if (core.serializer && core.serializer->Save(value, ui::detail::AccessFrontEnd)) {
        line += " = " + value;
    }
    if (!core.cls.empty()) {
        line += "  (" + core.cls + ')';
    }
    for (auto const& attribute : core.attributes) {
        line += "  " + attribute.first + "='" + attribute.second + '\'';
    }
    return line;
}

// Wants the registry locked.
WidgetCore const* Find(widget_guid_t guid) {
    try {
        return &ui::PanelManagerInstance()->UnsafeFind(guid);
    } catch (std::runtime_error const&) {
        return nullptr;
    }
}

} // namespace

PanelTerminal::PanelTerminal() : PanelTerminal(std::cin, std::cout) {}

PanelTerminal::PanelTerminal(std::istream& in, std::ostream& out)
    : m_in(in), m_out(out), m_slot(ui::PanelManagerInstance()->Register(this)) {
    TakeWhatIsShown();
    m_worker = boost::thread([this] { Work(); });
}

PanelTerminal::~PanelTerminal() {
    std::vector<widget_guid_t> known;
    {
        Lock const lock(m_mutex);
        m_ended = true;
        for (auto const& item : m_items) {
            known.push_back(item.first);
        }
    }
    m_changed.notify_all();
    m_worker.join(); // first: the slot may soon be another listener's, nobody must ask for it then
    ui::detail::PanelManager& manager = *ui::PanelManagerInstance();
    for (widget_guid_t const guid : known) {
        try {
            manager.UnRegister(guid, m_slot);
        } catch (std::runtime_error const&) {
            // The widget is gone.
        }
    }
    manager.UnRegister(m_slot);
    Write(m_lines);
}

void PanelTerminal::Run() {
    std::string command;
    while (std::getline(m_in, command) && Execute(boost::trim_copy(command))) {
    }
    Settle();
}

void PanelTerminal::OnAttribute(widget_guid_t guid, WidgetCore const& core) {
    Lock const lock(m_mutex);
    Say("~ " + Note(guid, core).line);
}

void PanelTerminal::OnUpdate(widget_guid_t guid, WidgetCore const& core) {
    OnAttribute(guid, core);
}

void PanelTerminal::OnDataChanged(widget_guid_t guid, WidgetCore const& core) {
    OnAttribute(guid, core);
}

bool PanelTerminal::OnShow(widget_guid_t guid, WidgetCore const& core) {
    Lock const lock(m_mutex);
    Item& item = Note(guid, core);
    item.state = State::Shown;
    Say("+ " + item.line);
    return true;
}

void PanelTerminal::OnHide(widget_guid_t guid) {
    Lock const lock(m_mutex);
    SayGone(guid);
    m_items[guid].state = State::Hidden;
}

void PanelTerminal::OnDetach(widget_guid_t guid) {
    Lock const lock(m_mutex);
    SayGone(guid);
    Forget(guid);
}

// Widgets that became visible before this front end was there.
void PanelTerminal::TakeWhatIsShown() {
    ui::detail::PanelManager& manager = *ui::PanelManagerInstance();
    for (widget_guid_t const guid : manager.Shown()) {
        Lock const registry(manager.Mutex());
        WidgetCore const* const core = Find(guid);
        if (core && core->visible && !Knows(guid)) { // nor was told in the meantime
            OnShow(guid, *core);
        }
    }
}

bool PanelTerminal::Knows(widget_guid_t guid) const {
    Lock const lock(m_mutex);
    return m_items.count(guid) != 0;
}

PanelTerminal::Item& PanelTerminal::Note(widget_guid_t guid, WidgetCore const& core) {
    auto const entry = m_items.try_emplace(guid);
    Item& item = entry.first->second;
    item.line = Line(guid, core);
    if (core.attributes.count("visible") != 0 && !core.visible) {
        item.state = State::Hidden;
    }
    if (entry.second || item.children != core.children) { // children came, or left
        m_questions.push_back(guid);
        m_questions.insert(m_questions.end(), item.children.begin(), item.children.end());
        item.children = core.children;
    }
    return item;
}

// What was a part of the widget may live on.
void PanelTerminal::Forget(widget_guid_t guid) {
    auto const item = m_items.extract(guid);
    if (!item.empty()) {
        auto const& children = item.mapped().children;
        m_questions.insert(m_questions.end(), children.begin(), children.end());
    }
}

// Wants the registry locked.
bool PanelTerminal::BelongsToAPanel(widget_guid_t guid) const {
    for (; guid != ui::null_guid; guid = ui::PanelManagerInstance()->Parent(guid)) {
        auto const item = m_items.find(guid);
        if (item != m_items.end() && item->second.state != State::Part) {
            return true;
        }
    }
    return false;
}

void PanelTerminal::SayGone(widget_guid_t guid) {
    Item const& item = m_items[guid];
    if (item.state != State::Hidden) {
        Say("- " + (item.line.empty() ? Number(guid) : item.line));
    }
}

void PanelTerminal::Say(std::string const& line) {
    m_lines.push_back(line);
    m_changed.notify_all();
}

void PanelTerminal::Work() {
    boost::unique_lock<boost::mutex> lock(m_mutex);
    for (;;) {
        m_busy = false;
        m_changed.notify_all();
        while (m_lines.empty() && m_questions.empty() && !m_ended) {
            m_changed.wait(lock);
        }
        if (m_lines.empty() && m_ended) {
            return;
        }
        m_busy = true;
        std::deque<std::string> lines;
        std::deque<widget_guid_t> questions;
        lines.swap(m_lines);
        questions.swap(m_questions);
        lock.unlock();
        for (widget_guid_t const guid : questions) {
            Ask(guid);
        }
        Write(lines);
        lock.lock();
    }
}

void PanelTerminal::Write(std::deque<std::string> const& lines) {
    for (std::string const& line : lines) {
        m_out << line + '\n';
    }
    m_out.flush();
}

// Has the manager tell of everything below a widget too, and reads what is there now. Of what was
// taken out of its panel, nothing is to be told any more.
void PanelTerminal::Ask(widget_guid_t guid) {
    ui::detail::PanelManager& manager = *ui::PanelManagerInstance();
    boost::unique_lock<boost::mutex> registry(manager.Mutex());
    boost::unique_lock<boost::mutex> lock(m_mutex);
    bool const belongs = BelongsToAPanel(guid);
    if (WidgetCore const* const core = belongs ? Find(guid) : nullptr) {
        for (widget_guid_t const child : Note(guid, *core).children) {
            Note(child, manager.UnsafeFind(child));
        }
    } else {
        Forget(guid);
    }
    lock.unlock();
    registry.unlock();
    try {
        belongs ? manager.Register(guid, m_slot) : manager.UnRegister(guid, m_slot);
    } catch (std::runtime_error const&) {
        // The widget went while the question was waiting.
    }
}

// Asks about all panels again, since nobody tells of what is attached, and waits for the answers.
void PanelTerminal::Settle() {
    boost::unique_lock<boost::mutex> lock(m_mutex);
    for (auto const& item : m_items) {
        if (item.second.state == State::Shown) {
            m_questions.push_back(item.first);
        }
    }
    m_changed.notify_all();
    while (m_busy || !m_lines.empty() || !m_questions.empty()) {
        m_changed.wait(lock);
    }
}

bool PanelTerminal::Execute(std::string const& command) {
    Settle();
    std::size_t const equals = command.find('=');
    if (command == "quit") {
        return false;
    }
    if (command == "list") {
        std::vector<Row> const rows = Rows();
        Lock const lock(m_mutex);
        for (Row const& row : rows) {
            Say(row.text);
        }
    } else if (equals != std::string::npos) {
        Set(boost::trim_copy(command.substr(0, equals)),
            boost::trim_copy(command.substr(equals + 1)));
    } else if (!command.empty()) {
        Lock const lock(m_mutex);
        Say("list | NAME = VALUE | quit");
    }
    return true;
}

void PanelTerminal::Set(std::string const& name, std::string const& text) {
    std::vector<std::string> numbers;
    widget_guid_t guid = ui::null_guid;
    for (Row const& row : Rows()) {
        if (std::find(row.names.begin(), row.names.end(), name) != row.names.end()) {
            guid = row.guid;
            numbers.push_back(Number(guid));
        }
    }
    std::string failure;
    if (numbers.size() > 1) {
        failure = '`' + name + "' may be " + boost::algorithm::join(numbers, " or ");
    } else {
        try {
            ui::detail::PanelManager& manager = *ui::PanelManagerInstance();
            if (!manager.Set(guid, text, ui::detail::AccessFrontEnd)) {
                failure = "there is no `" + name + "'";
            }
            manager.NotifyDataChanged(guid);
        } catch (std::exception const& error) {
            failure = error.what();
        }
    }
    if (!failure.empty()) {
        Lock const lock(m_mutex);
        Say("! " + failure);
    }
}

// What is shown now, from the tops of the panels down.
std::vector<PanelTerminal::Row> PanelTerminal::Rows() {
    Lock const registry(ui::PanelManagerInstance()->Mutex());
    Lock const lock(m_mutex);
    std::vector<Row> rows;
    for (auto const& item : m_items) {
        widget_guid_t const parent = ui::PanelManagerInstance()->Parent(item.first);
        if (item.second.state == State::Shown && !BelongsToAPanel(parent)) {
            AddRows(item.first, 0, rows);
        }
    }
    return rows;
}

void PanelTerminal::AddRows(widget_guid_t guid, std::size_t depth, std::vector<Row>& rows) {
    WidgetCore const* const core = Find(guid);
    if (!core || m_items[guid].state == State::Hidden) {
        return;
    }
    auto names = core->serializer ? Names(guid, *core) : std::vector<std::string>();
    rows.push_back({guid, std::move(names), std::string(2 * depth, ' ') + Line(guid, *core)});
    for (widget_guid_t const child : core->children) {
        AddRows(child, depth + 1, rows);
    }
}
