#pragma once

#include "ui/win/CWidget.h"
#include "ui/win/CWindowCore.h"

#include <boost/function.hpp>

#include <array>
#include <cstdint>

// Controls that are drawn with a picture for each state. Inserted as plugins, or drawn and asked by
// an owner; they belong to the backend's thread. Positions are window pixels.

namespace ui::win {

/// Where a skin control is; its edges do not take the pointer.
struct SkinArea {
    float x = 0;
    float y = 0;
    float width = 0;
    float height = 0;
};

/// A push button with a hover state. It captures the input while it is pressed and calls back with
/// a release inside.
class CSkinButton : public CWidget {
public:
    using ClickCallback = boost::function<void()>;
    /// One for each status. Without a hover picture there is no hover state.
    using Pictures = std::array<CWindowCore::SPImage, 4>;

    enum Status : std::uint32_t { Normal = 0, Pressed = 1, Disabled = 2, Hover = 3 };

    CSkinButton(SkinArea const& area, ClickCallback click, Pictures pictures);
    char const* getName() const override { return "CSkinButton"; }

    /// Reads a picture file. @throws std::runtime_error with the path and the reason,
    /// std::logic_error for a null path
    static CWindowCore::SPImage LoadImage(char const* path);

    /// @return 0 for a status that there is not, of which it tells in a line; 1 otherwise
    int Draw(CWindowCore* core) override;
    /// @throws boost::bad_function_call for a click with an empty callback, and what it throws
    bool Interact(CWindowCoreManager* manager, Event const& event) override;

    SkinArea const& Area() const { return m_area; }
    void SetArea(SkinArea const& area) { m_area = area; }
    std::uint32_t GetStatus() const { return m_status; }
    /// Not checked; neither this nor Enable() redraws.
    void SetStatus(std::uint32_t status) { m_status = status; }
    void Enable(bool enable);
    bool IsEnabled() const { return m_status != Disabled; }

private:
    SkinArea m_area;
    ClickCallback m_click;
    Pictures m_pictures;
    std::uint32_t m_status = Normal;
};

/// A check box. It changes with the release and calls back with the new status.
class CSkinCheckBox : public CWidget {
public:
    using ChangeCallback = boost::function<void(int status)>;
    /// One for each status.
    using Pictures = std::array<CWindowCore::SPImage, 3>;

    enum Status : std::int32_t { Unchecked = 0, Checked = 1, Disabled = 2 };

    CSkinCheckBox(SkinArea const& area, ChangeCallback change, Pictures pictures);
    char const* getName() const override { return "CSkinCheckBox"; }

    /// @return 1 @throws std::runtime_error for a status that there is not
    int Draw(CWindowCore* core) override;
    /// @throws boost::bad_function_call for a change with an empty callback, and what it throws
    bool Interact(CWindowCoreManager* manager, Event const& event) override;

    SkinArea const& Area() const { return m_area; }
    void SetArea(SkinArea const& area) { m_area = area; }
    std::int32_t GetStatus() const { return m_status; }
    /// Not checked; neither this nor Enable() calls back or redraws.
    void SetStatus(std::int32_t status) { m_status = status; }
    /// A box that is enabled again is as it was before.
    void Enable(bool enable);
    bool IsEnabled() const { return m_status != Disabled; }

private:
    SkinArea m_area;
    ChangeCallback m_change;
    Pictures m_pictures;
    std::int32_t m_status = Unchecked;
    std::int32_t m_statusWhenEnabled = Unchecked;
};

} // namespace ui::win
