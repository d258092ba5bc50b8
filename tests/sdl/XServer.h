#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

namespace tests {

/// A program that runs beside the test; ended by its process id.
class Process {
public:
    /// @param environment "NAME=value" added to this process's own
    /// @param output descriptor that the program may write to, or -1
    Process(
        std::vector<std::string> const& command,
        std::vector<std::string> const& environment = {},
        int output = -1);
    ~Process() { Kill(); }
    Process(Process const&) = delete;
    Process& operator=(Process const&) = delete;

    /// Waits for its end. @return its exit status, -1 when it ended otherwise
    int Wait();
    /// Ends it at once and waits for it.
    void Kill();

private:
    pid_t m_pid = -1;
};

/// An X server without a screen to look at, on a display number that was free.
class XServer {
public:
    static constexpr int Width = 1280;
    static constexpr int Height = 1024;

    /// Whether the programs are installed.
    static bool IsThere();
    /// Starts the server and, when asked for, a window manager, and waits until they answer.
    explicit XServer(bool windowManager = false, int width = Width, int height = Height);

    /// Such as ":1".
    std::string const& Display() const { return m_display; }
    void Kill() { m_server->Kill(); }

private:
    std::string m_display;
    std::unique_ptr<Process> m_server;
    std::unique_ptr<Process> m_windowManager;
};

/// A Wayland compositor in a window of an X server, which stands for a screen of a higher density.
class Weston {
public:
    /// Width and height in units; a unit is `Scale` pixels of the X server wide.
    static constexpr int Width = 500;
    static constexpr int Height = 400;
    static constexpr int Scale = 2;

    static bool IsThere();
    /// Starts it and waits until it answers.
    explicit Weston(XServer const& server);
    ~Weston();

    /// For XDG_RUNTIME_DIR and WAYLAND_DISPLAY.
    std::string const& Folder() const { return m_folder; }
    static constexpr char const* Display = "quarn-test";

private:
    std::string m_folder;
    std::unique_ptr<Process> m_process;
};

} // namespace tests
