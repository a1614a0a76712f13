// What the zone manager and the COM apartments of this process hold. For tests: they see through these functions what
// code under test asked of COM. Not part of Windows; nothing but tests includes this header.
//
// Every function may be called from any thread.
#pragma once

#include <string>
#include <vector>

#include "quillmark/platform/Types.h"

namespace quillmark::platform {

struct ZoneMapping {
    DWORD zone = 0;
    std::u16string pattern;

    friend bool operator==(const ZoneMapping&, const ZoneMapping&) = default;
};

// The mappings of this process in the order in which they were made.
[[nodiscard]] __attribute__((visibility("default"))) std::vector<ZoneMapping> ZoneMappings();

__attribute__((visibility("default"))) void ClearZoneMappings();

// From now on creating a zone manager fails with this code on every thread; S_OK ends that.
__attribute__((visibility("default"))) void FailZoneManagerCreation(HRESULT result);

// Zone managers that were created and not yet released for the last time.
[[nodiscard]] __attribute__((visibility("default"))) std::size_t LiveZoneManagers();

// How many successes of CoInitializeEx the calling thread has not taken back.
[[nodiscard]] __attribute__((visibility("default"))) ULONG ComInitialisationsOfThisThread();

}  // namespace quillmark::platform
