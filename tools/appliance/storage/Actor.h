// Who changes something: changes are reported to a user's other devices, and locks belong to one device.
#pragma once

#include <cstdint>
#include <string>

namespace appliance {

struct Actor {
    std::int64_t user = 0;
    std::string device;
};

}  // namespace appliance
