#include "panel_terminal.h"

#include "ui/panel/PanelManager.h"

#include <boost/algorithm/string/trim.hpp>
#include <boost/thread/lock_guard.hpp>

#include <exception>
#include <iostream>
#include <utility>

namespace {

using Lock = boost::lock_guard<boost::mutex>;

ui::Backend_Registration<PanelTerminal> const g_registration("Terminal");

} // namespace

PanelTerminal::PanelTerminal() : PanelTerminal(std::cin, std::cout) {}

PanelTerminal::PanelTerminal(std::istream& in, std::ostream& out)
    : m_in(in), m_out(out), m_slot(ui::PanelManagerInstance()->Register(this)),
      m_worker([this] { Work(); }) {}

PanelTerminal::~PanelTerminal() {
    ui::PanelManagerInstance()->UnRegister(m_slot); // from here on, nothing calls back
    {
        Lock const lock(m_mutex);
        m_ended = true;
    }
    m_changed.notify_all();
    m_worker.join();
}

void PanelTerminal::Run() {
    std::string command;
    while (std::getline(m_in, command) && Execute(boost::trim_copy(command))) {
    }
    Settle();
}

void PanelTerminal::OnAttribute(ui::widget_guid_t guid, ui::detail::WidgetCore const& core) {
    Lock const lock(m_mutex);
    Say("~ " + Line(guid, Take(guid, core)));
}

void PanelTerminal::OnUpdate(ui::widget_guid_t guid, ui::detail::WidgetCore const& core) {
    OnDataChanged(guid, core);
}

void PanelTerminal::OnDataChanged(ui::widget_guid_t guid, ui::detail::WidgetCore const& core) {
    Lock const lock(m_mutex);
    Say("~ " + Line(guid, Take(guid, core)));
}

bool PanelTerminal::OnShow(ui::widget_guid_t guid, ui::detail::WidgetCore const& core) {
    Lock const lock(m_mutex);
    Item& item = Take(guid, core);
    item.visible = true;
    Say("+ " + Line(guid, item));
    m_questions.push_back(guid);
    return true;
}

void PanelTerminal::OnHide(ui::widget_guid_t guid) {
    Lock const lock(m_mutex);
    auto const item = m_items.find(guid);
    if (item != m_items.end()) {
        item->second.visible = false;
        Say("- " + Line(guid, item->second));
    }
}

void PanelTerminal::OnDetach(ui::widget_guid_t guid) {
    Lock const lock(m_mutex);
    auto const item = m_items.find(guid);
    if (item != m_items.end()) {
        Say("- " + Line(guid, item->second));
        Drop(guid);
    }
}

PanelTerminal::Item&
PanelTerminal::Take(ui::widget_guid_t guid, ui::detail::WidgetCore const& core) {
    Item& item = m_items[guid];
    item.cls = core.cls;
    item.key = core.key;
    item.attributes = core.attributes;
    item.children = core.children;
    item.parent = core.parent;
    item.hasValue =
        core.serializer && core.serializer->Save(item.value, ui::detail::AccessFrontEnd);
    return item;
}

// Forgets a widget and what was shown as a part of it.
void PanelTerminal::Drop(ui::widget_guid_t guid) {
    auto const item = m_items.find(guid);
    if (item == m_items.end()) {
        return;
    }
    std::vector<ui::widget_guid_t> const children = std::move(item->second.children);
    m_items.erase(item);
    for (ui::widget_guid_t const child : children) {
        Drop(child);
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
        if (m_lines.empty() && m_questions.empty()) {
            return;
        }
        m_busy = true;
        std::deque<std::string> lines;
        std::deque<ui::widget_guid_t> questions;
        lines.swap(m_lines);
        questions.swap(m_questions);
        lock.unlock();
        for (ui::widget_guid_t const guid : questions) {
            AskForTree(guid);
        }
        for (std::string const& line : lines) {
            m_out << line << '\n';
        }
        m_out.flush();
        lock.lock();
    }
}

// Has the manager tell of everything below a widget too, and reads what is there now.
void PanelTerminal::AskForTree(ui::widget_guid_t guid) {
    ui::detail::PanelManager& manager = *ui::PanelManagerInstance();
    try {
        manager.Register(guid, m_slot);
        Lock const registry(manager.Mutex());
        Lock const lock(m_mutex);
        std::vector<ui::widget_guid_t> pending{guid};
        while (!pending.empty()) {
            Item const& item = Take(pending.back(), manager.UnsafeFind(pending.back()));
            pending.pop_back();
            pending.insert(pending.end(), item.children.begin(), item.children.end());
        }
    } catch (std::runtime_error const&) {
        // The widget went while the question was waiting; OnDetach() says so.
    }
}

void PanelTerminal::Settle() {
    boost::unique_lock<boost::mutex> lock(m_mutex);
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
        Lock const lock(m_mutex);
        Say(Listing());
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
    ui::widget_guid_t guid = ui::null_guid;
    {
        Lock const lock(m_mutex);
        for (auto const& item : m_items) {
            if (item.second.hasValue && Name(item.first, item.second) == name) {
                guid = item.first;
                break;
            }
        }
    }
    std::string failure;
    try {
        ui::detail::PanelManager& manager = *ui::PanelManagerInstance();
        if (!manager.Set(guid, text, ui::detail::AccessFrontEnd)) {
            failure = "there is no `" + name + "'";
        }
        manager.NotifyDataChanged(guid);
    } catch (std::exception const& error) {
        failure = error.what();
    }
    if (!failure.empty()) {
        Lock const lock(m_mutex);
        Say("! " + failure);
    }
}

std::string PanelTerminal::Listing() const {
    std::string text;
    for (auto const& item : m_items) {
        if (m_items.count(item.second.parent) == 0 && item.second.visible) {
            List(item.first, 0, text);
        }
    }
    if (!text.empty()) {
        text.pop_back();
    }
    return text;
}

void PanelTerminal::List(ui::widget_guid_t guid, std::size_t depth, std::string& text) const {
    auto const item = m_items.find(guid);
    if (item == m_items.end()) {
        return;
    }
    text += std::string(2 * depth, ' ') + Line(guid, item->second) + '\n';
    for (ui::widget_guid_t const child : item->second.children) {
        List(child, depth + 1, text);
    }
}

std::string PanelTerminal::Line(ui::widget_guid_t guid, Item const& item) {
    std::string line = Name(guid, item);
    if (item.hasValue) {
        line += " = " + item.value;
    }
    if (!item.cls.empty()) {
        line += "  (" + item.cls + ')';
    }
    for (auto const& attribute : item.attributes) {
        line += "  " + attribute.first + "='" + attribute.second + '\'';
    }
    return line;
}

std::string PanelTerminal::Name(ui::widget_guid_t guid, Item const& item) {
    auto const label = item.attributes.find("label");
    if (label != item.attributes.end()) {
        return label->second;
    }
    return item.key.empty() ? '#' + std::to_string(guid) : item.key;
}
