// WideString: the wide-string type of every interface. UTF-16, reference-counted with an atomic count, copy-on-write.
//
// Handing one to another thread, or keeping a copy of a path or a token, costs one increment. Two threads may hold and
// change their own copies of the same text at once; one WideString object is, like any value, not to be changed by one
// thread while another uses it.
//
// The text is always terminated: c_str() can go straight to a platform function. It may hold zeros in the middle;
// size() counts them. Code units are not checked: a lone surrogate stays what it is.
//
// An allocation that fails raises OutOfMemory, which carries E_FAIL.
//
//   WideString path = QM_W("/Shared");
//   path += QM_W("/Reports");
//   WideString leaf = path.Substring(path.FindLast(QM_W('/')) + 1);
#pragma once

#include <atomic>
#include <compare>
#include <cstddef>
#include <new>
#include <string>
#include <string_view>

#include "quillmark/Platform.h"

namespace quillmark {

using WideView = std::basic_string_view<WideChar>;

class WideString {
public:
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    // The failure to allocate a text's buffer.
    class OutOfMemory : public std::bad_alloc {
    public:
        [[nodiscard]] const char* what() const noexcept override { return "WideString: out of memory"; }
        [[nodiscard]] HRESULT Result() const noexcept { return static_cast<HRESULT>(0x80004005u); }
    };

    WideString() noexcept = default;
    WideString(const WideChar* text);                     // NOLINT: literals are texts; null is the empty text
    WideString(WideView text);                            // NOLINT
    WideString(const std::basic_string<WideChar>& text);  // NOLINT
    WideString(const WideString& other) noexcept;
    WideString(WideString&& other) noexcept;
    WideString& operator=(const WideString& other) noexcept;
    WideString& operator=(WideString&& other) noexcept;
    ~WideString();

    [[nodiscard]] std::size_t size() const noexcept;
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    // Never null; terminated.
    [[nodiscard]] const WideChar* c_str() const noexcept;
    [[nodiscard]] WideView view() const noexcept { return {c_str(), size()}; }
    operator WideView() const noexcept { return view(); }  // NOLINT: a text is readable as a view anywhere
    // index < size()
    [[nodiscard]] WideChar operator[](std::size_t index) const noexcept { return c_str()[index]; }

    WideString& Append(WideView text);
    WideString& operator+=(WideView text) { return Append(text); }
    WideString& operator+=(const WideChar* text) { return Append(text); }
    WideString& operator+=(WideChar unit) { return Append(WideView(&unit, 1)); }
    void Clear() noexcept;

    // Gives back the buffer of size() units to write to, unshared. Valid until the next change of this object.
    [[nodiscard]] WideChar* MutableData();
    // Cuts, or lengthens with zeros.
    void Resize(std::size_t length);

    // The text from start on, at most length units; empty when start is past the end.
    [[nodiscard]] WideString Substring(std::size_t start, std::size_t length = npos) const;
    [[nodiscard]] std::size_t Find(WideView text, std::size_t from = 0) const noexcept;
    [[nodiscard]] std::size_t Find(WideChar unit, std::size_t from = 0) const noexcept;
    [[nodiscard]] std::size_t FindLast(WideChar unit) const noexcept;
    [[nodiscard]] bool StartsWith(WideView text) const noexcept { return view().substr(0, text.size()) == text; }

    // Ordered by UTF-16 code unit on every platform, so that sets have one order everywhere.
    friend bool operator==(const WideString& left, const WideString& right) noexcept {
        return left.view() == right.view();
    }
    friend bool operator==(const WideString& left, const WideChar* right) noexcept { return left.view() == right; }
    friend std::strong_ordering operator<=>(const WideString& left, const WideString& right) noexcept {
        return left.view().compare(right.view()) <=> 0;
    }
    friend WideString operator+(WideString left, WideView right) {
        left.Append(right);
        return left;
    }
    friend WideString operator+(WideString left, const WideString& right) {
        left.Append(right.view());
        return left;
    }
    friend WideString operator+(WideString left, const WideChar* right) {
        left.Append(right);
        return left;
    }

private:
    struct Buffer;

    static Buffer* Allocate(std::size_t capacity);
    static void Release(Buffer* buffer) noexcept;
    // Makes the buffer this object's own, with room for capacity units.
    void Reserve(std::size_t capacity);

    Buffer* m_buffer = nullptr;  // null is the empty text
};

// UTF-8 to UTF-16 and back, with U+FFFD for what is malformed.
[[nodiscard]] WideString WidenUtf8(std::string_view text);
[[nodiscard]] std::string NarrowUtf8(WideView text);

}  // namespace quillmark
