// What the three kinds of WinHTTP handle have in common, and how a call finds the object that its handle names.
#pragma once

#include <atomic>
#include <exception>
#include <memory>
#include <string_view>
#include <utility>

#include "handles/HandleTable.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Handles.h"
#include "quillmark/platform/WinHttp.h"

namespace quillmark::platform::winhttp {

class InternetHandle : public HandleObject {
public:
    InternetHandle(DWORD type, HINTERNET parent) : m_type(type), m_parent(parent) {}

    [[nodiscard]] bool ClosesWithCloseHandle() const override { return false; }

    [[nodiscard]] DWORD Type() const { return m_type; }
    [[nodiscard]] HINTERNET Parent() const { return m_parent; }
    [[nodiscard]] DWORD_PTR Context() const { return m_context.load(); }
    void SetContext(DWORD_PTR context) { m_context.store(context); }

private:
    const DWORD m_type;
    const HINTERNET m_parent;
    std::atomic<DWORD_PTR> m_context{0};
};

// The object of a handle. Null with the code in `code` when the handle names none, or one of another kind.
template <typename T>
[[nodiscard]] std::shared_ptr<T> Find(HINTERNET handle, DWORD& code) {
    const auto any = FindHandle<InternetHandle>(handle);
    auto object = std::dynamic_pointer_cast<T>(any);
    if (object == nullptr) {
        code = any == nullptr ? ERROR_INVALID_HANDLE : ERROR_WINHTTP_INCORRECT_HANDLE_TYPE;
    }
    return object;
}

// The boundary of the exported functions: the code as BOOL and last error; running out of memory is a code as well.
template <typename Call>
BOOL Finish(Call call) {
    DWORD code = ERROR_NOT_ENOUGH_MEMORY;
    try {
        code = call();
    } catch (const std::exception&) {
        // Containers and handles here throw for want of memory only.
    }
    if (code != ERROR_SUCCESS) {
        SetLastError(code);
        return FALSE;
    }
    return TRUE;
}

// The same for the functions that return a new handle.
template <typename Call>
HINTERNET FinishOpening(Call call) {
    HINTERNET handle = nullptr;
    const BOOL done = Finish([&]() -> DWORD {
        std::shared_ptr<HandleObject> object;
        const DWORD code = call(object);
        if (code == ERROR_SUCCESS) {
            handle = InsertHandle(std::move(object));
        }
        return code != ERROR_SUCCESS || handle != nullptr ? code : GetLastError();
    });
    return done ? handle : nullptr;
}

// A text argument that ends in zero; null is empty.
[[nodiscard]] inline std::u16string_view TextOf(LPCWSTR text) {
    return text == nullptr ? std::u16string_view() : std::u16string_view(text);
}

}  // namespace quillmark::platform::winhttp
