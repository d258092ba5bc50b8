#pragma once

#include "kiv/Singleton.h"

#include <boost/functional/factory.hpp>

#include <string>

namespace kiv {

/// Constructing one registers T in the process's FactoryType (a kiv::Factory with string keys).
///
///     static kiv::ObjectRegistrar<DriverFactory, MyManager> const registrar("MyDriver");
template <class FactoryType, class T>
class ObjectRegistrar {
public:
    /// Registers a creator that makes `new T(argument)`; the factory's creator type decides what
    /// the argument is. A name that is taken already keeps its creator.
    explicit ObjectRegistrar(std::string const& name) {
        using Creator = typename FactoryType::creator_type;
        Singleton<FactoryType>::Instance()->Register(name, Creator(boost::factory<T*>()));
    }
};

} // namespace kiv
