#pragma once

#include "ui/win/Event.h"

namespace drivers::support {

class CThreadedCoreManager;

/// The keyboard commands that every driver has: Ctrl and a key, while the window's keyboard
/// handling is enabled (StateKeyboard). Belongs to the window's render thread.
///
/// | key          | command                                                            |
/// | ------------ | ------------------------------------------------------------------ |
/// | h            | help screen on or off                                              |
/// | F1 .. F6     | status bar: window, ruler, mouse, refresh, performance, user text; |
/// |              | the key of the bar that is shown hides it                          |
/// | f            | full-screen mode on or off                                         |
/// | 1 .. 8       | window size: that many quarters of the requested size              |
/// | s, l         | save, restore position and size                                    |
/// | t            | image interpolation on or off                                      |
/// | v            | values of magnified pixels on or off                               |
/// | Page Up/Down | zoom the view under the pointer in or out                          |
/// | arrows       | shift it by a tenth                                                |
/// | Home         | reset it                                                           |
/// | g            | gadgets on or off                                                  |
/// | a            | aspect-ratio lock on or off                                        |
/// | m            | these commands on or off; off leaves this one                      |
class KeyboardCommands {
public:
    /// @return true when the event was such a command, which nobody else gets then
    bool Handle(CThreadedCoreManager& window, ui::win::Event const& event);

private:
    bool m_enabled = true;
};

} // namespace drivers::support
