#include "sdl/XServer.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/keysym.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace tests {

Process::Process(
    std::vector<std::string> const& command,
    std::vector<std::string> const& environment,
    int output) {
    std::vector<char*> arguments;
    for (std::string const& word : command) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    m_pid = fork();
    if (m_pid == 0) {
        for (std::string const& variable : environment) {
            putenv(const_cast<char*>(variable.c_str()));
        }
        if (output >= 0) {
            dup2(output, STDOUT_FILENO);
        }
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
}

int Process::Wait() {
    int status = 0;
    waitpid(std::exchange(m_pid, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void Process::Kill() {
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
        m_pid = -1;
    }
}

bool XServer::IsThere() {
    return std::system("{ command -v Xvfb && command -v xdotool && command -v openbox; } "
                       ">/dev/null") == 0;
}

namespace {

/// Waits until a window of ours is shown: one that comes before a window manager has finished its
/// start may be forgotten by it.
void WaitForAWindow(::Display* display) {
    Window const probe =
        XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 10, 10, 0, 0, 0);
    XWindowAttributes attributes;
    do {
        XMapWindow(display, probe);
        XSync(display, False);
        usleep(50000);
        XGetWindowAttributes(display, probe, &attributes);
    } while (attributes.map_state != IsViewable);
    XDestroyWindow(display, probe);
}

/// Waits for the mark that window managers leave on the root window.
void WaitForWindowManager(std::string const& name) {
    ::Display* const display = XOpenDisplay(name.c_str());
    Atom const mark = XInternAtom(display, "_NET_SUPPORTING_WM_CHECK", False);
    for (bool there = false; !there; usleep(10000)) {
        Atom type = None;
        int format = 0;
        unsigned long count = 0;
        unsigned long left = 0;
        unsigned char* value = nullptr;
        XGetWindowProperty(
            display,
            DefaultRootWindow(display),
            mark,
            0,
            1,
            False,
            XA_WINDOW,
            &type,
            &format,
            &count,
            &left,
            &value);
        there = count == 1;
        if (value != nullptr) {
            XFree(value);
        }
    }
    WaitForAWindow(display);
    XCloseDisplay(display);
}

/// Gives the keyboard keys that its plain layout lacks, so that nobody has to change the layout
/// while keys are typed.
void AddKeys(std::string const& name) {
    ::Display* const display = XOpenDisplay(name.c_str());
    KeySym keys[] = {XK_dead_acute, XK_eacute, XK_EuroSign};
    int first = 0;
    int last = 0;
    XDisplayKeycodes(display, &first, &last);
    XChangeKeyboardMapping(display, last - 2, 1, keys, 3);
    XSync(display, False);
    XCloseDisplay(display);
}

} // namespace

XServer::XServer(bool windowManager, int width, int height) {
    int number[2];
    if (pipe(number) != 0) {
        throw std::runtime_error("no pipe");
    }
    std::string const screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
    // It takes the first number that is free and writes it down when it answers.
    m_server = std::make_unique<Process>(
        std::vector<std::string>{
            "Xvfb", "-displayfd", "1", "-screen", "0", screen, "-nolisten", "tcp", "-noreset"},
        std::vector<std::string>{},
        number[1]);
    close(number[1]);
    for (char c = 0; read(number[0], &c, 1) == 1 && c != '\n';) {
        m_display += c;
    }
    close(number[0]);
    if (m_display.empty()) {
        throw std::runtime_error("Xvfb does not start");
    }
    m_display = ":" + m_display;
    AddKeys(m_display);
    if (windowManager) {
        m_windowManager = std::make_unique<Process>(
            std::vector<std::string>{"openbox", "--sm-disable"},
            std::vector<std::string>{"DISPLAY=" + m_display});
        WaitForWindowManager(m_display);
    }
}

bool Weston::IsThere() {
    return XServer::IsThere() && std::system("command -v weston >/dev/null") == 0;
}

Weston::Weston(XServer const& server)
    : m_folder((std::filesystem::temp_directory_path() / "quarn-XXXXXX").string()) {
    if (mkdtemp(m_folder.data()) == nullptr) {
        throw std::runtime_error("no folder for Weston");
    }
    m_process = std::make_unique<Process>(
        std::vector<std::string>{
            "weston",
            "--backend=x11-backend.so",
            "--use-pixman",
            "--no-config",
            "--idle-time=0",
            "--scale=" + std::to_string(Scale),
            "--width=" + std::to_string(Width),
            "--height=" + std::to_string(Height),
            std::string("--socket=") + Display,
            "--log=" + m_folder + "/log"},
        std::vector<std::string>{"DISPLAY=" + server.Display(), "XDG_RUNTIME_DIR=" + m_folder});
    for (int i = 0; access((m_folder + "/" + Display).c_str(), R_OK) != 0; ++i) {
        if (i == 1000) {
            throw std::runtime_error("Weston does not start");
        }
        usleep(10000);
    }
}

Weston::~Weston() {
    m_process.reset();
    std::filesystem::remove_all(m_folder);
}

} // namespace tests
