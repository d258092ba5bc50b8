#pragma once

#include "kiv/Factory.h"
#include "kiv/ObjectRegistrar.h"
#include "kiv/Singleton.h"
#include "ui/win/CWindowCoreManager.h"
#include "ui/win/CreationParams.h"

#include <boost/function.hpp>

#include <stdexcept>
#include <string>
#include <vector>

namespace ui::win {

/// The process's drivers by name. A driver library registers itself while it is being loaded:
///
///     static Core_Registration<MyManager> const registrar("MyDriver");
using DriverCreator = boost::function<CWindowCoreManager*(CreationParams const&)>;
using DriverFactory = kiv::Factory<std::string, CWindowCoreManager, DriverCreator>;

template <class Manager>
using Core_Registration = kiv::ObjectRegistrar<DriverFactory, Manager>;

/// Thrown by a driver's constructor when there is nothing to show windows on: no display answers.
/// The driver "Auto" takes another one then; for the driver itself it is as if it were not there.
class DriverUnavailable : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The registered creator of a driver, after loading its module when the name is not known yet:
/// quarn_driver_<name in lower case>, looked for in the folders of the environment variable
/// QUARN_DRIVER_PATH and then in the library's own driver folder. Empty when there is none. A
/// module that is there but cannot be loaded is reported in a line of its own.
DriverCreator FindDriver(std::string const& name);
/// Every registered name, ascending.
std::vector<std::string> DriverNames();

} // namespace ui::win

extern template class kiv::Singleton<ui::win::DriverFactory>;
