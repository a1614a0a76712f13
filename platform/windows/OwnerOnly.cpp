#include "OwnerOnly.h"

#include <sddl.h>

#include <cwchar>
#include <memory>

namespace quillmark::windows {
namespace {

struct LocalDeleter {
    void operator()(void* memory) const { ::LocalFree(memory); }
};

// The identifier of the user that this process runs as, in its text form. 0 or an error code.
DWORD UserIdentifier(std::unique_ptr<WCHAR, LocalDeleter>& text) noexcept {
    HANDLE token = nullptr;
    if (::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token) == FALSE) {
        return ::GetLastError();
    }
    alignas(TOKEN_USER) BYTE user[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE] = {};
    DWORD size = sizeof(user);
    LPWSTR identifier = nullptr;
    DWORD error = ERROR_SUCCESS;
    if (::GetTokenInformation(token, TokenUser, user, size, &size) == FALSE ||
        ::ConvertSidToStringSidW(reinterpret_cast<const TOKEN_USER*>(user)->User.Sid, &identifier) == FALSE) {
        error = ::GetLastError();
    }
    ::CloseHandle(token);
    text.reset(identifier);
    return error;
}

}  // namespace

OwnerOnly::OwnerOnly() noexcept {
    std::unique_ptr<WCHAR, LocalDeleter> identifier;
    m_error = UserIdentifier(identifier);
    if (m_error != ERROR_SUCCESS) {
        return;
    }
    // Protected against the rights of the folder above, all rights for the user; what a folder holds inherits them.
    WCHAR description[256] = L"D:P(A;OICI;FA;;;";
    if (std::wcslen(description) + std::wcslen(identifier.get()) + 2 > std::size(description)) {
        m_error = ERROR_INSUFFICIENT_BUFFER;
        return;
    }
    std::wcscat(description, identifier.get());
    std::wcscat(description, L")");
    if (::ConvertStringSecurityDescriptorToSecurityDescriptorW(description, SDDL_REVISION_1,
                                                               &m_attributes.lpSecurityDescriptor, nullptr) == FALSE) {
        m_error = ::GetLastError();
    }
}

OwnerOnly::~OwnerOnly() {
    ::LocalFree(m_attributes.lpSecurityDescriptor);
}

}  // namespace quillmark::windows
