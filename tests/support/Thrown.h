#pragma once

#include <stdexcept>
#include <string>

namespace tests {

/// What the std::runtime_error says that an action throws, "nothing thrown" when it does not.
template <class Action>
std::string Thrown(Action const& action) {
    try {
        action();
    } catch (std::runtime_error const& error) {
        return error.what();
    }
    return "nothing thrown";
}

} // namespace tests
