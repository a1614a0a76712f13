// The devices that users have registered or logged in with, and the wipes ordered for them.
//
//   wipe: none -> ordered -> carried out -> ordered ...
#pragma once

#include <string>

#include "storage/Actor.h"
#include "storage/DataFile.h"

namespace appliance {

struct Registration {
    std::string name;
    std::string platform;
};

class Devices {
public:
    explicit Devices(DataFile& data) : m_data(data) {}

    // False, and nothing changes, when the device is registered already.
    [[nodiscard]] bool Register(const Actor& actor, const Registration& registration);
    [[nodiscard]] bool IsRegistered(const Actor& actor);

    // Both are false for a device that has neither registered nor logged in.
    [[nodiscard]] bool OrderWipe(const Actor& actor);
    // Without an order it changes nothing.
    [[nodiscard]] bool AcknowledgeWipe(const Actor& actor);
    // Ordered, and not yet carried out.
    [[nodiscard]] bool IsToBeWiped(const Actor& actor);

private:
    DataFile& m_data;
};

}  // namespace appliance
