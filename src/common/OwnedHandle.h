// OwnedHandle: closes a kernel handle (event, thread) with CloseHandle at its end.
//
// Not for files, which are closed through the file-system seam, and not for WinHTTP handles.
#pragma once

#include <cstdint>
#include <utility>

#include "quillmark/Platform.h"

namespace quillmark {

class OwnedHandle {
public:
    OwnedHandle() noexcept = default;
    explicit OwnedHandle(HANDLE handle) noexcept : m_handle(handle) {}
    OwnedHandle(OwnedHandle&& other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) {}
    OwnedHandle& operator=(OwnedHandle&& other) noexcept {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    ~OwnedHandle() {
        if (IsHandle()) {
            ::CloseHandle(m_handle);
        }
    }

    [[nodiscard]] HANDLE Get() const noexcept { return m_handle; }
    // False for null and for the two marks that stand for "no handle", -1 and -3: these are never closed.
    [[nodiscard]] bool IsHandle() const noexcept {
        const auto number = reinterpret_cast<std::intptr_t>(m_handle);
        return number != 0 && number != -1 && number != -3;
    }

private:
    HANDLE m_handle = nullptr;
};

}  // namespace quillmark
