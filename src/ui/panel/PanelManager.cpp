#include "ui/panel/PanelManager.h"

#include "kiv/Diagnostics.h"
#include "kiv/ParseNumber.h"

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <cstddef>
#include <ostream>
#include <stdexcept>
#include <string>
#include <typeinfo>

template class kiv::Singleton<ui::detail::PanelManager>;

namespace ui {

detail::PanelManager* PanelManagerInstance() {
    return kiv::Singleton<detail::PanelManager>::Instance();
}

namespace {

// The creation of the manager is not guarded: it must not be left to the first threads that call.
[[maybe_unused]] detail::PanelManager* const g_createdAtStart = PanelManagerInstance();

} // namespace

namespace detail {

namespace {

using Lock = boost::lock_guard<boost::mutex>;

std::unique_ptr<WidgetCore> Copy(WidgetCore const& core) {
    auto copy = std::make_unique<WidgetCore>();
    copy->cls = core.cls;
    copy->attributes = core.attributes;
    copy->links = core.links;
    copy->flag = core.flag;
    copy->serializer.reset(core.serializer ? core.serializer->Clone() : nullptr);
    copy->references = 0;
    return copy;
}

void Erase(std::vector<widget_guid_t>& guids, widget_guid_t guid) {
    auto const found = std::find(guids.begin(), guids.end(), guid);
    if (found != guids.end()) {
        guids.erase(found);
    }
}

} // namespace

std::ostream& operator<<(std::ostream& out, WidgetCore const& core) {
    out << static_cast<void const*>(&core) << ' ' << core.cls;
    for (auto const& attribute : core.attributes) {
        out << ' ' << attribute.first << "='" << attribute.second << '\'';
    }
    return out;
}

std::ostream& operator<<(std::ostream& out, PanelManager const& manager) {
    out << manager.m_widgets.size() << " widgets:\n";
    for (auto const& widget : manager.m_widgets) {
        out << widget.first << ' ' << *widget.second << '\n';
    }
    return out;
}

PanelManager::~PanelManager() {
    if (!m_widgets.empty()) {
        kiv::PrintLine(
            "[WW] PanelManager::~PanelManager: Free " + std::to_string(m_widgets.size()) +
            " widgets... probably there is a memory leakage.");
    }
}

WidgetCore* PanelManager::Record(widget_guid_t guid) const {
    auto const found = m_index.find(guid);
    return found == m_index.end() ? nullptr : found->second;
}

WidgetCore& PanelManager::Insert(widget_guid_t guid, std::unique_ptr<WidgetCore> core) {
    WidgetCore*& entry = m_index[guid]; // null first: should the insertion fail, there is no record
    entry = m_widgets.insert(guid, std::move(core)).first->second;
    return *entry;
}

WidgetCore& PanelManager::Required(widget_guid_t guid, char const* failure) const {
    WidgetCore* const core = Record(guid);
    if (!core) {
        throw std::runtime_error(failure);
    }
    return *core;
}

widget_guid_t PanelManager::CreateGUID(bool create) {
    if (create) {
        Lock const lock(m_mutex);
        widget_guid_t const guid = CreateGUID(false);
        Insert(guid, std::make_unique<WidgetCore>());
        return guid;
    }
    Lock const lock(m_counterMutex);
    while (m_taken.erase(m_counter) != 0) {
        ++m_counter;
    }
    return m_counter++;
}

WidgetCore& PanelManager::OnDemand(widget_guid_t guid) {
    if (WidgetCore* const core = Record(guid)) {
        return *core;
    }
    if (guid == null_guid) {
        throw std::runtime_error("The null GUID cannot have a widget");
    }
    auto core = std::make_unique<WidgetCore>();
    core->references = 0;
    {
        Lock const lock(m_counterMutex);
        if (guid >= m_counter) {
            m_taken.insert(guid);
        }
    }
    return Insert(guid, std::move(core));
}

WidgetCore& PanelManager::Widget(widget_guid_t guid) {
    Lock const lock(m_mutex);
    return OnDemand(guid);
}

widget_guid_t PanelManager::Acquire(std::string const& cls, widget_guid_t guid) {
    Lock const lock(m_mutex);
    if (guid == null_guid) {
        guid = CreateGUID(false);
    }
    WidgetCore& core = OnDemand(guid);
    core.cls = cls;
    InternalAddRef(core, 1);
    return guid;
}

widget_guid_t PanelManager::AcquireParent(widget_guid_t guid) {
    Lock const lock(m_mutex);
    widget_guid_t const parent = Parent(guid);
    if (WidgetCore* const core = Record(parent)) {
        InternalAddRef(*core, 1);
    }
    return parent;
}

widget_guid_t PanelManager::AcquireClone(widget_guid_t guid) {
    Lock const lock(m_mutex);
    widget_guid_t const clone = InternalClone(guid, null_guid);
    InternalAddRef(*Record(clone), 1);
    return clone;
}

WidgetCore& PanelManager::Find(widget_guid_t guid) const {
    Lock const lock(m_mutex);
    return Required(guid, "Find: GUID not found");
}

WidgetCore& PanelManager::UnsafeFind(widget_guid_t guid) const {
    return Required(guid, "ExistWidget: GUID not found");
}

widget_guid_t PanelManager::Parent(widget_guid_t guid) const {
    WidgetCore const* const core = Record(guid);
    return core ? core->parent : null_guid;
}

std::string PanelManager::Class(widget_guid_t guid) const {
    Lock const lock(m_mutex);
    return Required(guid, "Find: GUID not found").cls;
}

bool PanelManager::IsActive(widget_guid_t guid) const {
    Lock const lock(m_mutex);
    return Required(guid, "IsActive: GUID not found").listeners != 0;
}

// Counts that were given up too often, by Cleanup() for one, stay at 0.
void PanelManager::InternalAddRef(WidgetCore& core, std::int64_t n) const {
    ForTree(core, [n](WidgetCore& widget) {
        std::int64_t const sum = std::max<std::int64_t>(widget.references + n, 0);
        widget.references = static_cast<std::uint32_t>(sum);
    });
}

void PanelManager::AddRef(widget_guid_t guid, int n, int /*depth*/) {
    Lock const lock(m_mutex);
    InternalAddRef(Required(guid, "AddRef on an unregistered GUID"), n);
}

std::uint32_t PanelManager::RefCount(widget_guid_t guid) const {
    return Required(guid, "GUID not found in RefCount()").references;
}

bool PanelManager::Release(widget_guid_t guid) {
    Lock const lock(m_mutex);
    return InternalRelease(guid, false);
}

bool PanelManager::Detach(widget_guid_t guid) {
    Lock const lock(m_mutex);
    return InternalRelease(guid, true);
}

// Takes a record out of the registry and out of its relatives' fields.
std::unique_ptr<WidgetCore> PanelManager::Remove(widget_guid_t guid) {
    m_index.erase(guid);
    std::unique_ptr<WidgetCore> core(m_widgets.release(m_widgets.find(guid)).release());
    if (WidgetCore* const parent = Record(core->parent)) {
        Erase(parent->children, guid);
    }
    for (widget_guid_t const child : core->children) {
        Record(child)->parent = null_guid;
    }
    return core;
}

bool PanelManager::InternalRelease(widget_guid_t guid, bool announce) {
    WidgetCore* const core = Record(guid);
    if (!core) {
        return false;
    }
    if (core->references > 1 && core->children.empty()) {
        --core->references;
    } else {
        ReleaseTree(guid, announce);
    }
    return true;
}

// Drops one reference of a widget and of all below it. Of a widget that dies by it, first every
// link is detached, then every child released; one that never had a reference has none to drop
// below it either. A stack in place of recursion: links and children may form long chains. Records
// are destroyed last, those below before those above.
void PanelManager::ReleaseTree(widget_guid_t guid, bool announce) {
    struct Step {
        widget_guid_t guid;
        bool announce;
        std::uint32_t references; // to be dropped: 1 or 0
    };
    std::vector<std::unique_ptr<WidgetCore>> dead;
    std::vector<Step> pending{{guid, announce, 1}};
    while (!pending.empty()) {
        Step const step = pending.back();
        pending.pop_back();
        WidgetCore* const core = Record(step.guid);
        if (!core) {
            continue;
        }
        std::uint32_t const dropped = std::min(core->references, step.references);
        bool const last = core->references == dropped;
        if (last && step.announce) {
            Tell(core->listeners, [&](PanelListener& listener) { listener.OnDetach(step.guid); });
        }
        core->references -= dropped;
        for (auto child = core->children.rbegin(); child != core->children.rend(); ++child) {
            pending.push_back({*child, false, dropped});
        }
        if (last) {
            for (auto link = core->links.rbegin(); link != core->links.rend(); ++link) {
                pending.push_back({*link, true, 1});
            }
            dead.push_back(Remove(step.guid));
        }
    }
    while (!dead.empty()) {
        dead.pop_back();
    }
}

void PanelManager::Cleanup() {
    Lock const lock(m_mutex);
    std::vector<widget_guid_t> guids;
    guids.reserve(m_widgets.size());
    for (auto const& widget : m_widgets) {
        guids.push_back(widget.first);
    }
    for (widget_guid_t const guid : guids) {
        InternalRelease(guid, true);
    }
}

// The child gets a reference for each of its parent's, since those will be released on it too.
void PanelManager::InternalAttach(widget_guid_t parent, WidgetCore& core, widget_guid_t child) {
    WidgetCore& above = *Record(parent);
    above.children.push_back(child);
    core.parent = parent;
    InternalAddRef(core, above.references);
}

void PanelManager::Attach(widget_guid_t parent, widget_guid_t child) {
    Lock const lock(m_mutex);
    WidgetCore& core = Required(child, "Attach: GUID not found");
    Required(parent, "Attach: GUID not found");
    for (widget_guid_t above = parent; above != null_guid; above = Parent(above)) {
        if (above == child) {
            throw std::runtime_error("Attach: a widget cannot lie below itself");
        }
    }
    widget_guid_t const before = core.parent;
    if (before == parent) {
        return;
    }
    InternalAttach(parent, core, child);
    if (WidgetCore* const old = Record(before)) {
        Erase(old->children, child);
        InternalAddRef(core, -std::int64_t{old->references});
    }
}

void PanelManager::Link(widget_guid_t guid, widget_guid_t target) {
    Lock const lock(m_mutex);
    WidgetCore& core = Required(guid, "Link: GUID not found");
    InternalAddRef(Required(target, "Link: GUID not found"), 1);
    core.links.push_back(target);
}

bool PanelManager::UnLink(widget_guid_t guid, widget_guid_t target) {
    Lock const lock(m_mutex);
    return InternalUnLink(Required(guid, "UnLink: GUID not found"), target);
}

bool PanelManager::InternalUnLink(WidgetCore& core, widget_guid_t target) {
    auto const link = std::find(core.links.begin(), core.links.end(), target);
    if (link == core.links.end()) {
        return false;
    }
    core.links.erase(link);
    InternalRelease(target, true);
    return true;
}

void PanelManager::Ref(widget_guid_t guid, widget_guid_t target) {
    Lock const lock(m_mutex);
    WidgetCore& core = Required(guid, "Ref: GUID not found");
    auto const ref = core.attributes.find("ref");
    bool const pointed = ref != core.attributes.end();
    widget_guid_t before = null_guid;
    if (pointed && !kiv::ParseNumber(ref->second, before)) {
        throw boost::bad_lexical_cast(typeid(std::string), typeid(widget_guid_t));
    }
    // Both are held while the old link goes: that alone may keep either of them.
    InternalAddRef(Required(target, "Ref: GUID not found"), 1);
    InternalAddRef(core, 1);
    if (pointed) {
        InternalUnLink(core, before);
    }
    core.links.push_back(target); // with the reference that was taken above
    InternalAttr(guid, core, "ref", std::to_string(target));
    InternalRelease(guid, true);
}

widget_guid_t PanelManager::Clone(widget_guid_t guid, widget_guid_t parent) {
    Lock const lock(m_mutex);
    return InternalClone(guid, parent);
}

widget_guid_t PanelManager::InternalClone(widget_guid_t guid, widget_guid_t parent) {
    Required(guid, "Clone: GUID not found");
    if (parent != null_guid) {
        Required(parent, "Clone: GUID not found");
    }
    // All copies are made before the first is registered: a value that cannot be copied leaves
    // nothing behind.
    struct Made {
        widget_guid_t original;
        widget_guid_t guid;
        std::unique_ptr<WidgetCore> core;
    };
    std::vector<Made> copies;
    copies.push_back({guid, CreateGUID(false), Copy(*Record(guid))});
    for (std::size_t i = 0; i < copies.size(); ++i) {
        for (widget_guid_t const child : Record(copies[i].original)->children) {
            widget_guid_t const copy = CreateGUID(false);
            copies.push_back({child, copy, Copy(*Record(child))});
            copies[i].core->children.push_back(copy);
            copies.back().core->parent = copies[i].guid;
        }
    }
    widget_guid_t const clone = copies.front().guid;
    for (Made& made : copies) {
        std::vector<widget_guid_t> links;
        links.swap(made.core->links);
        for (widget_guid_t const link : links) {
            if (WidgetCore* const target = Record(link)) {
                InternalAddRef(*target, 1);
                made.core->links.push_back(link);
            }
        }
        Insert(made.guid, std::move(made.core));
    }
    if (parent != null_guid) {
        InternalAttach(parent, *Record(clone), clone);
    }
    return clone;
}

} // namespace detail

} // namespace ui
