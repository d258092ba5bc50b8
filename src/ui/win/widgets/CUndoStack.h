#pragma once

#include <boost/function.hpp>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <utility>

namespace ui::win {

class KeyboardEventWidget;

/// What was done to the geometry of annotation widgets, to be undone and redone.
///
/// An application makes one and gives it to the widgets that shall share a history (SetUndoStack);
/// each gesture, from press to release, is one entry. Belongs to the thread of the backend whose
/// widgets use it; neither call redraws.
///
///     auto const history = boost::make_shared<CUndoStack>();
///     points->SetUndoStack(history);
///     window.InsertPlugin(MakeUndoKeys(history)); // Ctrl+Z, Ctrl+Shift+Z
class CUndoStack {
public:
    /// One direction of an entry. @return false when what it would change is gone
    using Step = std::function<bool()>;

    /// @param limit entries that are kept; the oldest go first
    explicit CUndoStack(std::size_t limit = 1000) : m_limit(limit) {}
    CUndoStack(CUndoStack const&) = delete;
    CUndoStack& operator=(CUndoStack const&) = delete;

    /// Adds what was just done; what had been undone before can no longer be redone.
    void Push(Step undo, Step redo);
    /// Takes the last entry back. Entries whose widget is gone are dropped on the way.
    /// @return false, and nothing changes, without an entry or while a gesture is under way
    bool Undo();
    /// Does the entry that was undone last again. @return as Undo()
    bool Redo();
    void Clear();

    std::size_t UndoCount() const { return m_done; }
    std::size_t RedoCount() const { return m_entries.size() - m_done; }

private:
    template <class Geometry>
    friend class CUndoGesture;

    struct Entry {
        Step undo;
        Step redo;
    };

    std::size_t const m_limit;
    std::deque<Entry> m_entries; // oldest first
    std::size_t m_done = 0;      // entries that are not undone, which come first
    int m_gesturesUnderWay = 0;
};

/// A widget's way to an undo stack: takes its geometry at the start and the end of a gesture.
/// Without a stack it does nothing. Entries outlive the widget harmlessly.
template <class Geometry>
class CUndoGesture {
public:
    /// Puts the geometry back. @return false when the widget has no such part any more
    using Restore = boost::function<bool(Geometry const&)>;

    explicit CUndoGesture(Restore restore)
        : m_restore(boost::make_shared<Restore>(std::move(restore))) {}
    ~CUndoGesture() { Abandon(); }
    CUndoGesture(CUndoGesture const&) = delete;
    CUndoGesture& operator=(CUndoGesture const&) = delete;

    /// A gesture under way makes no entry. @param stack may be null
    void SetStack(boost::shared_ptr<CUndoStack> stack) {
        Abandon();
        m_stack = std::move(stack);
    }

    bool IsUnderWay() const { return m_before.has_value(); }

    void Begin(Geometry const& geometry) {
        if (m_stack && !m_before) {
            m_before = geometry;
            ++m_stack->m_gesturesUnderWay;
        }
    }

    /// Makes an entry when the geometry has changed. Without Begin() nothing happens.
    void End(Geometry const& geometry) {
        if (!m_before) {
            return;
        }
        Geometry const before = *m_before;
        Abandon();
        if (!(before == geometry)) {
            m_stack->Push(StepTo(before), StepTo(geometry));
        }
    }

    /// Ends the gesture without an entry.
    void Abandon() {
        if (m_before) {
            m_before.reset();
            --m_stack->m_gesturesUnderWay;
        }
    }

private:
    CUndoStack::Step StepTo(Geometry const& geometry) const {
        return [target = boost::weak_ptr<Restore>(m_restore), geometry] {
            boost::shared_ptr<Restore> const restore = target.lock();
            return restore && (*restore)(geometry);
        };
    }

    boost::shared_ptr<Restore> const m_restore;
    boost::shared_ptr<CUndoStack> m_stack;
    std::optional<Geometry> m_before;
};

/// One point of many, as a gesture changes it.
template <class Point>
struct IndexedPoint {
    std::size_t index = 0;
    Point point;

    friend bool operator==(IndexedPoint const& a, IndexedPoint const& b) {
        return a.index == b.index && a.point == b.point;
    }
};

/// A plugin that undoes with Ctrl+Z and redoes with Ctrl+Shift+Z. The keys stay free for others
/// when there is nothing to undo or redo.
boost::shared_ptr<KeyboardEventWidget> MakeUndoKeys(boost::shared_ptr<CUndoStack> const& stack);

} // namespace ui::win
