// Who may look into a file or folder, as the system itself tells.
#pragma once

#include <filesystem>

#include "quillmark/Platform.h"

namespace quillmark::test {

#ifdef _WIN32
// Whether every right that is given on it is given to its owner; the system itself may always.
inline bool IsItsOwnersAlone(const std::filesystem::path& path) {
    PSID owner = nullptr;
    PACL rights = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (::GetNamedSecurityInfoW(path.c_str(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
                                &owner, nullptr, &rights, nullptr, &descriptor) != ERROR_SUCCESS) {
        return false;
    }
    BYTE system[SECURITY_MAX_SID_SIZE] = {};
    DWORD systemSize = sizeof(system);
    ::CreateWellKnownSid(WinLocalSystemSid, nullptr, system, &systemSize);
    bool alone = rights != nullptr && rights->AceCount > 0;
    for (DWORD index = 0; alone && index < rights->AceCount; ++index) {
        void* entry = nullptr;
        alone = ::GetAce(rights, index, &entry) != FALSE;
        const PSID user = alone ? &static_cast<ACCESS_ALLOWED_ACE*>(entry)->SidStart : nullptr;
        alone = alone && (::EqualSid(owner, user) != FALSE || ::EqualSid(system, user) != FALSE);
    }
    ::LocalFree(descriptor);
    return alone;
}
#else
inline bool IsItsOwnersAlone(const std::filesystem::path& path) {
    using std::filesystem::perms;
    const perms others = perms::group_all | perms::others_all | perms::set_uid | perms::set_gid | perms::sticky_bit;
    return (std::filesystem::status(path).permissions() & others) == perms::none;
}
#endif

}  // namespace quillmark::test
