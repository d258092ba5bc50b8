#pragma once

#include "kiv/thread/CSuspendable.h"

#include <boost/shared_ptr.hpp>

namespace ui::win {

class CWindowCoreManager;

/// One request to a window's backend, shared between the sender and the backend's queue.
///
/// Created on the application thread; each backend's thread executes it once and then completes
/// it, which wakes whoever waits in Suspend(). A waited-for command must never be sent from the
/// backend's own thread.
class CWindowCommand : public kiv::thread::CSuspendable {
public:
    virtual ~CWindowCommand() = default;
    virtual void Execute(CWindowCoreManager* manager) = 0;

protected:
    CWindowCommand() = default;
};

using SPCommand = boost::shared_ptr<CWindowCommand>;

} // namespace ui::win
