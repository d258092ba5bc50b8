#include "kiv/Diagnostics.h"
#include "ui/win/CWindow.h"
#include "ui/win/CWindowCommands.h"

#include <boost/current_function.hpp>

#include <stdexcept>

namespace ui::win {

namespace {

/// Ends a query's time to answer on every way out, a thread interruption included: its answers go
/// into variables of the call that waits.
class QueryTime {
public:
    explicit QueryTime(CWndQuery& query) : m_query(query) {}
    ~QueryTime() { m_query.Close(); }
    QueryTime(QueryTime const&) = delete;
    QueryTime& operator=(QueryTime const&) = delete;

private:
    CWndQuery& m_query;
};

} // namespace

bool CWindow::Ask(boost::shared_ptr<CWndQuery> const& query, int index, char const* signature) {
    QueryTime const time(*query);
    if (!SendCommand(query, index)) {
        kiv::Diagnose("[EE]", signature, "failed");
        return false;
    }
    if (!m_backends.empty()) {
        query->Suspend();
    }
    return true;
}

bool CWindow::SetBackgroundColor(Colour const& colour, int index) {
    return SendCommand(boost::make_shared<CWndCommand_SetBackgroundColor>(colour), index);
}

bool CWindow::SetDecoration(bool decorated, int index) {
    return SendCommand(boost::make_shared<CWndCommand_SetDecoration>(decorated), index);
}

bool CWindow::SetVisibility(bool visible) {
    return SendCommand(boost::make_shared<CWndCommand_SetVisibility>(visible), -1);
}

bool CWindow::SetPosition(int x, int y) {
    return SendCommand(boost::make_shared<CWndCommand_SetPosition>(x, y), -1);
}

bool CWindow::SetSize(unsigned width, unsigned height) {
    return SendCommand(
        boost::make_shared<CWndCommand_SetSize>(static_cast<int>(width), static_cast<int>(height)),
        -1);
}

bool CWindow::SetFullScreenMode(bool fullScreen) {
    return SendCommand(boost::make_shared<CWndCommand_SetFullScreen>(fullScreen), -1);
}

bool CWindow::SetTitle(std::string const& title) {
    return SendCommand(boost::make_shared<CWndCommand_SetTitle>(title), -1);
}

bool CWindow::SetCustomStatusBar(std::string const& text) {
    return SendCommand(boost::make_shared<CWndCommand_SetCustomStatusBar>(text), -1);
}

bool CWindow::Dump(std::string const& name, int index) {
    return SendCommand(boost::make_shared<CWndCommand_Dump>(name), index);
}

bool CWindow::GetTitle(std::string& title) {
    auto const query = boost::make_shared<CWndCommand_GetTitle>();
    if (!Ask(query, 0, BOOST_CURRENT_FUNCTION)) {
        return false;
    }
    title = query->title;
    return true;
}

bool CWindow::GetPosition(int& x, int& y) {
    auto const query = boost::make_shared<CWndCommand_GetPosition>();
    if (!Ask(query, 0, BOOST_CURRENT_FUNCTION)) {
        return false;
    }
    x = query->x;
    y = query->y;
    return true;
}

bool CWindow::GetSize(unsigned& width, unsigned& height) {
    return Ask(boost::make_shared<CWndCommand_GetSize>(&width, &height), 0, BOOST_CURRENT_FUNCTION);
}

bool CWindow::IsFullScreen() {
    bool answer = false;
    Ask(boost::make_shared<CWndCommand_GetFullScreenMode>(&answer), 0, BOOST_CURRENT_FUNCTION);
    return answer;
}

bool CWindow::IsVisible(bool visible) {
    visible = false;
    Ask(boost::make_shared<CWndCommand_GetVisibility>(&visible), 0, BOOST_CURRENT_FUNCTION);
    return visible;
}

bool CWindow::GetScreenGeometry(ScreenGeometry& geometry) {
    auto const query = boost::make_shared<CWndCommand_GetScreenGeometry>();
    if (!Ask(query, -1, BOOST_CURRENT_FUNCTION)) {
        return false;
    }
    geometry = query->geometry;
    return true;
}

bool CWindow::GetColorUnderMouse(Colour* colour, int index) {
    return Ask(
        boost::make_shared<CWndCommand_GetColorUnderMouse>(colour), index, BOOST_CURRENT_FUNCTION);
}

bool CWindow::GetImageCounts(int x, int y, ImageCounts& counts, int index) {
    auto const query = boost::make_shared<CWndCommand_GetImageCounts>(x, y);
    if (!Ask(query, index, BOOST_CURRENT_FUNCTION) || !query->success) {
        return false;
    }
    counts = query->counts;
    return true;
}

boost::shared_ptr<CImageRGB> CWindow::GrabImage(int index) {
    auto const query = boost::make_shared<CWndCommand_GrabImage>();
    QueryTime const time(*query);
    if (!SendCommand(query, index)) {
        throw std::runtime_error("SendCommand CWndCommand_GrabImage failed");
    }
    if (!m_backends.empty()) {
        query->Suspend();
    }
    query->Close();
    return query->image;
}

// Plugin lists and flags belong to the backends' threads, so these travel as commands too.

bool CWindow::InsertPlugin(boost::shared_ptr<CWidget> const& widget) {
    SendCommand(
        boost::make_shared<CWndCommand_Call>(
            [widget](CWindowCoreManager* manager) { manager->InsertPlugin(widget, true); }),
        -1);
    return true;
}

bool CWindow::AllocatePlugin(std::string const& name) {
    SendCommand(
        boost::make_shared<CWndCommand_Call>(
            [name](CWindowCoreManager* manager) { manager->InsertPlugin(name); }),
        -1);
    return true;
}

void CWindow::EnableKeyboardHandle(bool enable) {
    SendCommand(boost::make_shared<CWndCommand_EnableKeyboardHandle>(enable), -1);
}

bool CWindow::SetRegionAction(double, double, double, double, CWindowEvents_ID, unsigned) {
    // Known to users by these words since it was announced; kept until it exists.
    kiv::PrintLine("Non e' implementata... ci metto 1 minuto.. se serve ditemelo!");
    return false;
}

} // namespace ui::win
