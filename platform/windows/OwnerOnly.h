// OwnerOnly: the security attributes of a new file or folder that nobody but the present user may look into, whatever
// the folder above grants.
//
//     const OwnerOnly rights;
//     HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, rights.Get(), CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
#pragma once

#include "quillmark/Platform.h"

namespace quillmark::windows {

class OwnerOnly {
public:
    OwnerOnly() noexcept;
    ~OwnerOnly();
    OwnerOnly(const OwnerOnly&) = delete;
    OwnerOnly& operator=(const OwnerOnly&) = delete;

    // Null when the rights could not be made; Error() then says why. A caller that goes on with null makes a file with
    // the folder's rights, so it does not.
    [[nodiscard]] SECURITY_ATTRIBUTES* Get() noexcept { return m_error == ERROR_SUCCESS ? &m_attributes : nullptr; }
    [[nodiscard]] DWORD Error() const noexcept { return m_error; }

private:
    SECURITY_ATTRIBUTES m_attributes = {sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
    DWORD m_error = ERROR_SUCCESS;
};

}  // namespace quillmark::windows
