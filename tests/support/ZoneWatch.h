// What code under test asks of the zone manager and of COM, on either system: the platform layer tells it; on Windows
// ZoneWatch_windows.cpp stands before COM's functions and before the manager.
#pragma once

#include "quillmark/Platform.h"

#ifdef _WIN32
#include <string>
#include <vector>

namespace quillmark::platform {

struct ZoneMapping {
    DWORD zone = 0;
    std::wstring pattern;

    friend bool operator==(const ZoneMapping&, const ZoneMapping&) = default;
};

[[nodiscard]] std::vector<ZoneMapping> ZoneMappings();
void ClearZoneMappings();
void FailZoneManagerCreation(HRESULT result);
[[nodiscard]] std::size_t LiveZoneManagers();
[[nodiscard]] ULONG ComInitialisationsOfThisThread();
// The test's CoInitializeEx tells each result.
void NoteComInitialisation(HRESULT result);

}  // namespace quillmark::platform
#else
#include "quillmark/platform/ZoneWatch.h"

namespace quillmark::platform {

// The platform layer counts for itself.
inline void NoteComInitialisation(HRESULT) {}

}  // namespace quillmark::platform
#endif
