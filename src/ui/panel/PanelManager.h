#pragma once

#include "kiv/Singleton.h"
#include "ui/panel/PanelListener.h"
#include "ui/panel/WidgetCore.h"
#include "ui/panel/WidgetGuid.h"

#include <boost/ptr_container/ptr_map.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace ui {

namespace detail {

/// The process's registry of panel widgets: control-panel items that client code creates by number
/// and that up to 32 front ends (listeners) show. Applications use it through the handles
/// ui::wgt::Widget, ui::var::Base and ui::var::Value, and through ui::conf.
///
/// Any thread may call. Every operation locks the registry for its whole run, listener callbacks
/// included, except those marked "unlocked": their caller holds Mutex() or lives with the race.
///
/// References: a handle, a link and a parent hold references on a widget. Each reference on a
/// parent counts for everything below it too, so a widget's count is that of its own handles and
/// links plus its parent's count. Links in a circle keep each other alive.
///
/// Unless said otherwise, an operation that needs a widget throws std::runtime_error when there is
/// none with the GUID.
class PanelManager {
public:
    static constexpr int max_listeners = 32;

    PanelManager() = default;
    /// Frees the widgets that are left, with a warning that counts them.
    ~PanelManager();
    PanelManager(PanelManager const&) = delete;
    PanelManager& operator=(PanelManager const&) = delete;

    /// @param create whether to make a record too, with one reference, which is the caller's
    /// @return a GUID that was never in use: 0, 1, 2, ... without those that applications chose
    ///     themselves. May be called while the registry is locked when no record is wanted
    widget_guid_t CreateGUID(bool create);
    /// The record of a GUID, made on demand with no reference.
    WidgetCore& Widget(widget_guid_t guid);

    /// What handles are made from, each in one go, so that no other thread can take the widget down
    /// in between: they take a reference on a widget and answer its GUID. The first one has the
    /// record made where there is none, under a new GUID for null_guid, and gives it its class
    /// text; the second one answers null_guid where there is no parent.
    widget_guid_t Acquire(std::string const& cls, widget_guid_t guid);
    widget_guid_t AcquireParent(widget_guid_t guid);
    widget_guid_t AcquireClone(widget_guid_t guid);

    /// Puts a listener, borrowed, into the first free slot and makes it the current one.
    /// @return the slot
    /// @throws std::runtime_error "too much listener" when all are taken
    int Register(PanelListener* listener);
    /// Frees a slot; widgets keep its mask bit, which then belongs to the slot's next listener.
    /// @return false for a number that is no slot
    bool UnRegister(int listener);
    /// Sets or clears a listener's mask bit in a widget and everything below it.
    void Register(widget_guid_t guid, int listener);
    void UnRegister(widget_guid_t guid, int listener);

    /// Adds n references to a widget and everything below it; a negative n takes back, down to 0.
    /// @param depth how deep in a tree the widget lies for the caller, 0 for a tree of its own;
    ///     the walk itself needs no bound and ignores it
    void AddRef(widget_guid_t guid, int n, int depth);
    /// Drops one reference of a widget and everything below it; a record without any left is
    /// destroyed after its links have been detached.
    /// @return false for an unknown GUID
    bool Release(widget_guid_t guid);
    /// Unlocked.
    std::uint32_t RefCount(widget_guid_t guid) const;

    /// The record stays valid while the caller holds a reference; its fields may be changed by
    /// other threads unless the caller holds Mutex().
    WidgetCore& Find(widget_guid_t guid) const;
    /// Unlocked.
    WidgetCore& UnsafeFind(widget_guid_t guid) const;
    /// Unlocked. @return the parent, null_guid when there is none or the GUID is unknown
    widget_guid_t Parent(widget_guid_t guid) const;
    /// A copy of the class text; fails as Find().
    std::string Class(widget_guid_t guid) const;
    /// Whether at least one listener has been told of the widget.
    bool IsActive(widget_guid_t guid) const;

    /// Puts a widget below a parent, taking it away from the one it had. Fails for a parent that
    /// lies below the child.
    void Attach(widget_guid_t parent, widget_guid_t child);
    /// Gives up one reference like Release(); where it is the last, the listeners of the widget's
    /// mask are told first.
    /// @return false for an unknown GUID
    bool Detach(widget_guid_t guid);
    /// Has a widget hold a reference on another one until it dies or lets go of it.
    void Link(widget_guid_t guid, widget_guid_t target);
    /// Takes back one Link() and detaches the target. @return false when there was no such link
    bool UnLink(widget_guid_t guid, widget_guid_t target);
    /// Points a widget at another one: links it in place of the one that the attribute "ref" names
    /// and has the attribute name it.
    /// @throws boost::bad_lexical_cast where "ref" holds no GUID
    void Ref(widget_guid_t guid, widget_guid_t target);
    /// Copies a widget and everything below it into records of their own: class, attributes, flag,
    /// value and links that hold; neither visibility, listeners nor the binding to a file. The copy
    /// has no reference but those of its parent.
    /// @param parent what the copy is attached to, null_guid for nothing
    /// @return the copy's GUID
    widget_guid_t Clone(widget_guid_t guid, widget_guid_t parent);

    /// Sets an attribute and tells the listeners. Setting "visible" shows the widget for exactly
    /// "TRUE" and hides it for everything else.
    /// @return false for an unknown GUID
    bool Attr(widget_guid_t guid, std::string const& key, std::string const& value);
    std::string ReadAttr(widget_guid_t guid, std::string const& key) const;
    /// @return false also for an unknown GUID
    bool HasAttr(widget_guid_t guid, std::string const& key) const;
    bool HasAttr(widget_guid_t guid, std::string const& key, std::string const& value) const;

    /// Shows or hides a widget: all listeners are offered one that is shown, those of the mask
    /// hear of one that is hidden; the current listener alone while locked to it.
    void Show(widget_guid_t guid, bool visible);
    /// @return the GUIDs of the widgets that are visible, in their order: what a front end that
    ///     comes late has not been told
    std::vector<widget_guid_t> Shown() const;
    void LockToCurListener();
    void UnLockToCurListener();

    /// Binds a value to a key of a file or section, which must outlive the binding, and loads it.
    /// @return false for an unknown GUID
    /// @throws std::runtime_error for a missing key or text that is no value, the binding then
    ///     stands; for a key that no file can hold
    bool Bind(widget_guid_t guid, std::string const& key, kiv::ini::INIFile* ini);
    /// As above; a missing key or text that is no value is reported on standard output and the
    /// default is taken instead and written into the file. A default that does not fit leaves the
    /// value and the file alone.
    bool Bind(
        widget_guid_t guid,
        std::string const& key,
        kiv::ini::INIFile* ini,
        boost::any const& defaultValue);
    bool Bind(
        widget_guid_t guid,
        std::string const& key,
        kiv::ini::INIFile* ini,
        std::string const& defaultText);
    /// Gives the widget its value, in place of the one it had. Takes the serializer over in any
    /// case; null leaves the widget without a value.
    /// @return false for an unknown GUID
    bool Bind(widget_guid_t guid, Serializable* serializer);

    /// The value as text, any or archive entry.
    /// @return false for an unknown GUID, a widget without a value or one that has no text
    bool Get(widget_guid_t guid, std::string& text, AccessMode mode = AccessClient) const;
    bool Get(widget_guid_t guid, boost::any& value, AccessMode mode = AccessClient) const;
    bool
    Get(widget_guid_t guid,
        boost::archive::polymorphic_oarchive& archive,
        AccessMode mode = AccessArchive) const;
    /// Sets the value; nobody is told (NotifyDataChanged()).
    /// @return false for an unknown GUID or a widget without a value
    /// @throws what Serializable throws for a value that is refused; the old one is then kept
    bool Set(widget_guid_t guid, std::string const& text, AccessMode mode = AccessClient);
    bool Set(widget_guid_t guid, boost::any const& value, AccessMode mode = AccessClient);
    bool
    Set(widget_guid_t guid,
        boost::archive::polymorphic_iarchive& archive,
        AccessMode mode = AccessArchive);

    /// Calls use(Serializable&), which answers a bool, with the registry locked: it must not call
    /// the manager. @return false where there is no value, else what `use` answered
    template <class Use>
    bool Access(widget_guid_t guid, Use use) const;

    /// Puts the text of every value that is bound to `ini` under its key there; the file itself is
    /// not written. With wholeFile, values bound to sections of the file are included.
    /// @throws std::runtime_error for a widget without a value or a value without a text, once all
    ///     others are there
    void Save(kiv::ini::INIFile* ini, bool wholeFile) const;
    /// Loads every value that is bound to the file or a section of it again and tells the
    /// listeners of those that changed. The file itself is not read.
    /// @throws std::runtime_error for a missing key or text that is no value, the first of them,
    ///     once all others are loaded
    void Reload(kiv::ini::INIFile* ini);

    /// Call OnUpdate() or OnDataChanged() of the listeners that know the widget.
    /// @return false for a widget without a value and an unknown GUID
    bool Update(widget_guid_t guid) const;
    bool NotifyDataChanged(widget_guid_t guid) const;

    /// Detaches every widget once, in the order of their GUIDs.
    void Cleanup();

    /// The registry's lock, for what is marked "unlocked".
    boost::mutex& Mutex() const { return m_mutex; }

private:
    friend std::ostream& operator<<(std::ostream& out, PanelManager const& manager);

    WidgetCore* Record(widget_guid_t guid) const;
    WidgetCore& Insert(widget_guid_t guid, std::unique_ptr<WidgetCore> core);
    WidgetCore& Required(widget_guid_t guid, char const* failure) const;
    WidgetCore& OnDemand(widget_guid_t guid);
    template <class Visit>
    void ForTree(WidgetCore& root, Visit visit) const;
    template <class Use>
    void ForBound(kiv::ini::INIFile const& file, bool wholeFile, Use use) const;
    void SetMask(widget_guid_t guid, int listener, bool set);
    template <class Call>
    void Tell(std::uint32_t listeners, Call call) const;
    void InternalAddRef(WidgetCore& core, std::int64_t n) const;
    bool InternalRelease(widget_guid_t guid, bool announce);
    bool InternalUnLink(WidgetCore& core, widget_guid_t target);
    widget_guid_t InternalClone(widget_guid_t guid, widget_guid_t parent);
    void InternalAttach(widget_guid_t parent, WidgetCore& core, widget_guid_t child);
    void ReleaseTree(widget_guid_t guid, bool announce);
    std::unique_ptr<WidgetCore> Remove(widget_guid_t guid);
    void InternalAttr(
        widget_guid_t guid, WidgetCore& core, std::string const& key, std::string const& value);
    void InternalShow(widget_guid_t guid, WidgetCore& core, bool visible);
    bool TellOfValue(
        widget_guid_t guid,
        void (PanelListener::*callback)(widget_guid_t, WidgetCore const&)) const;
    WidgetCore* BindKey(widget_guid_t guid, std::string const& key, kiv::ini::INIFile* ini) const;
    void LoadBound(widget_guid_t guid, WidgetCore const& core) const;
    template <class UseDefault>
    bool BindWithDefault(
        widget_guid_t guid, std::string const& key, kiv::ini::INIFile* ini, UseDefault useDefault);

    mutable boost::mutex m_mutex; // the registry's: guards all but the counter
    std::array<PanelListener*, max_listeners> m_listeners{};
    boost::ptr_map<widget_guid_t, WidgetCore> m_widgets;    // in the order of GUIDs
    std::unordered_map<widget_guid_t, WidgetCore*> m_index; // the same, for look-ups
    boost::mutex m_counterMutex; // may be taken while m_mutex is held, never the other way round
    std::size_t m_currentListener = 0;
    bool m_lockedToCurrent = false;
    // Both guarded by m_counterMutex; the second has what applications chose beyond the counter.
    widget_guid_t m_counter = 0;
    std::set<widget_guid_t> m_taken;
};

template <class Use>
bool PanelManager::Access(widget_guid_t guid, Use use) const {
    boost::lock_guard<boost::mutex> const lock(m_mutex);
    WidgetCore const* const core = Record(guid);
    return core && core->serializer && use(*core->serializer);
}

// Visits a widget and all below it, without recursion: trees may be deep.
template <class Visit>
void PanelManager::ForTree(WidgetCore& root, Visit visit) const {
    visit(root);
    std::vector<widget_guid_t> pending = root.children;
    while (!pending.empty()) {
        WidgetCore* const core = Record(pending.back());
        pending.pop_back();
        if (core) {
            visit(*core);
            pending.insert(pending.end(), core->children.begin(), core->children.end());
        }
    }
}

// Calls the listeners of a mask in the order of their slots.
template <class Call>
void PanelManager::Tell(std::uint32_t listeners, Call call) const {
    for (std::size_t i = 0; listeners != 0; ++i, listeners >>= 1) {
        if ((listeners & 1) != 0 && m_listeners[i]) {
            call(*m_listeners[i]);
        }
    }
}

/// Unlocked. The number of widgets, then a line for each in the order of their GUIDs.
std::ostream& operator<<(std::ostream& out, PanelManager const& manager);

} // namespace detail

/// The one panel manager of the process.
detail::PanelManager* PanelManagerInstance();

} // namespace ui

extern template class kiv::Singleton<ui::detail::PanelManager>;
