#include "drivers/TestedDrivers.h"

namespace tests {

std::vector<char const*> TestedDrivers() {
    return {"None", "Offscreen"};
}

std::vector<char const*> DrawingDrivers() {
    return {"Offscreen"};
}

} // namespace tests
