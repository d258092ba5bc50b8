#pragma once

#include "kiv/Singleton.h"

#include <boost/functional/factory.hpp>

#include <stdexcept>
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
    /// @throw std::logic_error for a null pointer, in the same words with every standard library
    explicit ObjectRegistrar(char const* name) : ObjectRegistrar(Name(name)) {}

private:
    static std::string Name(char const* name) {
        if (name == nullptr) {
            throw std::logic_error("basic_string::_M_construct null not valid");
        }
        return name;
    }
};

} // namespace kiv
