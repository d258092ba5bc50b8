#pragma once

#include "cimage/PixelTypes.h"
#include "cimage/TImage.h"
#include "ui/win/CDrawerList.h"
#include "ui/win/CWindowCommand.h"
#include "ui/win/CWindowCoreManager.h"
#include "ui/win/ScreenGeometry.h"

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include <memory>
#include <string>
#include <tuple>
#include <utility>

namespace ui::win {

/// A command that calls one operation of the manager with values it carries and answers nothing.
template <auto Operation, class... Values>
class CWndOperation : public CWindowCommand {
public:
    explicit CWndOperation(Values... values) : m_values(std::move(values)...) {}

    void Execute(CWindowCoreManager* manager) override {
        std::apply(
            [manager](Values const&... values) { (manager->*Operation)(values...); }, m_values);
    }

private:
    std::tuple<Values...> const m_values;
};

using CWndCommand_SetTitle = CWndOperation<&CWindowCoreManager::SetTitle, std::string>;
using CWndCommand_SetVisibility = CWndOperation<&CWindowCoreManager::SetVisibility, bool>;
using CWndCommand_SetDecoration = CWndOperation<&CWindowCoreManager::SetDecoration, bool>;
using CWndCommand_SetFullScreen = CWndOperation<&CWindowCoreManager::SetFullScreenMode, bool>;
using CWndCommand_SetPosition = CWndOperation<&CWindowCoreManager::SetPosition, int, int>;
using CWndCommand_SetSize = CWndOperation<&CWindowCoreManager::SetSize, int, int>;
using CWndCommand_SetBackgroundColor =
    CWndOperation<&CWindowCoreManager::SetBackgroundColor, cimage::TRGBA<unsigned char>>;
using CWndCommand_SetCustomStatusBar =
    CWndOperation<&CWindowCoreManager::SetCustomStatusBar, std::string>;
using CWndCommand_EnableKeyboardHandle =
    CWndOperation<&CWindowCoreManager::EnableKeyboardHandle, bool>;
using CWndCommand_SetEventMask = CWndOperation<&CWindowCoreManager::SetEventMask, unsigned>;
/// Carries its own copy of a window's layers and hands it over.
using CWndCommand_Refresh = CWndOperation<&CWindowCoreManager::Replace, CDrawerList>;
using CWndCommand_Dump = CWndOperation<&CWindowCoreManager::DumpImage, std::string>;
using CWndCommand_Quit = CWndOperation<&CWindowCoreManager::Quit>;

/// Calls a function with the manager, on the manager's thread. An exception is the driver's to
/// report.
class CWndCommand_Call : public CWindowCommand {
public:
    explicit CWndCommand_Call(boost::function<void(CWindowCoreManager*)> function)
        : m_function(std::move(function)) {}
    void Execute(CWindowCoreManager* manager) override { m_function(manager); }

private:
    boost::function<void(CWindowCoreManager*)> const m_function;
};

/// Delivers an event as if the window system had reported it.
class CWndCommand_InjectEvent : public CWindowCommand {
public:
    explicit CWndCommand_InjectEvent(Event const& event) : m_event(event) {}
    void Execute(CWindowCoreManager* manager) override;

private:
    Event const m_event;
};

/// Shapes the window by a mask of one bit a pixel (CWindowCoreManager::SetWindowShape).
class CWndCommand_SetWindowShape : public CWindowCommand {
public:
    /// Replaces the mask by an uninitialised one of stride x height bytes; the stride is the width
    /// rounded up to a multiple of 8.
    void Alloc(unsigned width, unsigned height);
    /// Makes the mask from width x height tightly packed pixels: those that differ from the key's
    /// colour belong to the window. P is TRGB<unsigned char>; for TRGBA<unsigned char> and
    /// unsigned char the mask is allocated only, and a message says so.
    template <class P>
    void ImportMask(
        P const* pixels, unsigned width, unsigned height, cimage::TRGBA<unsigned char> const& key);
    void Execute(CWindowCoreManager* manager) override;

    unsigned char const* Mask() const { return m_mask.get(); }
    unsigned Stride() const { return m_stride; }
    unsigned Height() const { return m_height; }

private:
    std::unique_ptr<unsigned char[]> m_mask;
    unsigned m_stride = 0;
    unsigned m_height = 0;
};

/// A command whose sender waits for an answer.
///
/// Sent to several backends it is executed by each, on threads of their own: the first that
/// can tell answers, and none writes once the sender has called Close(). So an answer may go
/// straight into the sender's variables.
class CWndQuery : public CWindowCommand {
public:
    /// Ends the time in which answers are taken; the sender calls it before it goes on.
    void Close();

protected:
    /// Calls a function that writes the answer, unless there is one or the sender went on. What
    /// takes long or calls out is done before, so that no lock is held meanwhile.
    template <class Write>
    void Answer(Write const& write) {
        boost::lock_guard<boost::mutex> const lock(m_mutex);
        if (m_open) {
            write();
            m_open = false;
        }
    }

private:
    boost::mutex m_mutex;
    bool m_open = true; // guarded by m_mutex, as are the answers
};

class CWndCommand_GetTitle : public CWndQuery {
public:
    std::string title;
    void Execute(CWindowCoreManager* manager) override;
};

/// Writes whether bits of the window-state word are set through the sender's pointer.
template <std::uint32_t Bits>
class CWndStateQuery : public CWndQuery {
public:
    explicit CWndStateQuery(bool* answer) : m_answer(answer) {}
    void Execute(CWindowCoreManager* manager) override {
        Answer([&] { *m_answer = (manager->Flags() & Bits) != 0; });
    }

private:
    bool* m_answer;
};

using CWndCommand_GetVisibility = CWndStateQuery<StateVisible>;
using CWndCommand_GetFullScreenMode = CWndStateQuery<StateFullScreen>;

class CWndCommand_GetPosition : public CWndQuery {
public:
    int x = 0;
    int y = 0;
    void Execute(CWindowCoreManager* manager) override;
};

class CWndCommand_GetSize : public CWndQuery {
public:
    CWndCommand_GetSize(unsigned* width, unsigned* height) : m_width(width), m_height(height) {}
    void Execute(CWindowCoreManager* manager) override;

private:
    unsigned* m_width;
    unsigned* m_height;
};

class CWndCommand_GetScreenGeometry : public CWndQuery {
public:
    bool success = false;
    ScreenGeometry geometry;
    void Execute(CWindowCoreManager* manager) override;
};

class CWndCommand_GetColorUnderMouse : public CWndQuery {
public:
    explicit CWndCommand_GetColorUnderMouse(cimage::TRGBA<unsigned char>* colour)
        : m_colour(colour) {}
    void Execute(CWindowCoreManager* manager) override;

private:
    cimage::TRGBA<unsigned char>* m_colour;
};

class CWndCommand_GetImageCounts : public CWndQuery {
public:
    CWndCommand_GetImageCounts(int x, int y) : m_x(x), m_y(y) {}
    bool success = false;
    ImageCounts counts;
    void Execute(CWindowCoreManager* manager) override;

private:
    int m_x;
    int m_y;
};

class CWndCommand_GrabImage : public CWndQuery {
public:
    /// An image of the window's size; black when the backend has no frame.
    boost::shared_ptr<CImageRGB> image;
    void Execute(CWindowCoreManager* manager) override;
};

} // namespace ui::win
