#include "quillmark/WideString.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <utility>

namespace quillmark {
namespace {

constexpr WideChar EmptyText[1] = {};

// What the platform's conversions take as a length.
int ConvertibleLength(std::size_t length) {
    if (length > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw std::length_error("the text is too long to convert");
    }
    return static_cast<int>(length);
}

// A size query can fail for one reason only once the input's length is good: a result too long to count.
std::size_t ConvertedLength(int length) {
    if (length <= 0) {
        throw std::length_error("the converted text is too long");
    }
    return static_cast<std::size_t>(length);
}

}  // namespace

// The count, the sizes, and behind them capacity + 1 code units.
struct WideString::Buffer {
    std::atomic<std::size_t> owners{1};
    std::size_t size = 0;
    std::size_t capacity = 0;

    [[nodiscard]] WideChar* Units() noexcept { return reinterpret_cast<WideChar*>(this + 1); }
    // Acquire: what the other owners did with the text happened before this one changes it.
    [[nodiscard]] bool IsShared() const noexcept { return owners.load(std::memory_order_acquire) != 1; }
    void SetSize(std::size_t length) noexcept {
        size = length;
        Units()[length] = 0;
    }
};

WideString::Buffer* WideString::Allocate(std::size_t capacity) {
    static_assert(alignof(Buffer) >= alignof(WideChar));
    constexpr std::size_t most = (std::numeric_limits<std::size_t>::max() - sizeof(Buffer)) / sizeof(WideChar) - 1;
    if (capacity > most) {
        throw OutOfMemory();
    }
    void* memory = ::operator new(sizeof(Buffer) + (capacity + 1) * sizeof(WideChar), std::nothrow);
    if (memory == nullptr) {
        throw OutOfMemory();
    }
    auto* buffer = new (memory) Buffer;
    buffer->capacity = capacity;
    buffer->SetSize(0);
    return buffer;
}

void WideString::Release(Buffer* buffer) noexcept {
    if (buffer != nullptr && buffer->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        buffer->~Buffer();
        ::operator delete(buffer);
    }
}

void WideString::Reserve(std::size_t capacity) {
    if (m_buffer != nullptr && !m_buffer->IsShared() && m_buffer->capacity >= capacity) {
        return;
    }
    Buffer* buffer = Allocate(capacity);
    const std::size_t kept = std::min(size(), capacity);
    std::copy_n(c_str(), kept, buffer->Units());
    buffer->SetSize(kept);
    Release(std::exchange(m_buffer, buffer));
}

WideString::WideString(const WideChar* text) : WideString(text == nullptr ? WideView() : WideView(text)) {}

WideString::WideString(WideView text) {
    if (!text.empty()) {
        m_buffer = Allocate(text.size());
        std::copy_n(text.data(), text.size(), m_buffer->Units());
        m_buffer->SetSize(text.size());
    }
}

WideString::WideString(const std::basic_string<WideChar>& text) : WideString(WideView(text)) {}

WideString::WideString(const WideString& other) noexcept : m_buffer(other.m_buffer) {
    if (m_buffer != nullptr) {
        m_buffer->owners.fetch_add(1, std::memory_order_relaxed);
    }
}

WideString::WideString(WideString&& other) noexcept : m_buffer(std::exchange(other.m_buffer, nullptr)) {}

WideString& WideString::operator=(const WideString& other) noexcept {
    WideString copy(other);
    std::swap(m_buffer, copy.m_buffer);
    return *this;
}

WideString& WideString::operator=(WideString&& other) noexcept {
    WideString taken(std::move(other));
    std::swap(m_buffer, taken.m_buffer);
    return *this;
}

WideString::~WideString() {
    Release(m_buffer);
}

std::size_t WideString::size() const noexcept {
    return m_buffer == nullptr ? 0 : m_buffer->size;
}

const WideChar* WideString::c_str() const noexcept {
    return m_buffer == nullptr ? EmptyText : m_buffer->Units();
}

WideString& WideString::Append(WideView text) {
    if (text.empty()) {
        return *this;
    }
    const std::size_t oldSize = size();
    if (text.size() > npos - oldSize) {
        throw OutOfMemory();
    }
    const std::size_t newSize = oldSize + text.size();
    if (m_buffer != nullptr && !m_buffer->IsShared() && m_buffer->capacity >= newSize) {
        std::copy_n(text.data(), text.size(), m_buffer->Units() + oldSize);
        m_buffer->SetSize(newSize);
        return *this;
    }
    // The text may be a part of the old buffer, which therefore goes last.
    const bool grows = m_buffer != nullptr && !m_buffer->IsShared();
    Buffer* buffer = Allocate(grows ? std::max(newSize, oldSize + oldSize / 2) : newSize);
    std::copy_n(c_str(), oldSize, buffer->Units());
    std::copy_n(text.data(), text.size(), buffer->Units() + oldSize);
    buffer->SetSize(newSize);
    Release(std::exchange(m_buffer, buffer));
    return *this;
}

void WideString::Clear() noexcept {
    Release(std::exchange(m_buffer, nullptr));
}

WideChar* WideString::MutableData() {
    Reserve(size());
    return m_buffer->Units();
}

void WideString::Resize(std::size_t length) {
    const std::size_t oldSize = size();
    Reserve(length);
    if (length > oldSize) {
        std::fill_n(m_buffer->Units() + oldSize, length - oldSize, WideChar{});
    }
    m_buffer->SetSize(length);
}

WideString WideString::Substring(std::size_t start, std::size_t length) const {
    if (start == 0 && length >= size()) {
        return *this;
    }
    return start >= size() ? WideString() : WideString(view().substr(start, length));
}

std::size_t WideString::Find(WideView text, std::size_t from) const noexcept {
    return view().find(text, from);
}

std::size_t WideString::Find(WideChar unit, std::size_t from) const noexcept {
    return view().find(unit, from);
}

std::size_t WideString::FindLast(WideChar unit) const noexcept {
    return view().rfind(unit);
}

WideString WidenUtf8(std::string_view text) {
    WideString wide;
    if (!text.empty()) {
        const int length = ConvertibleLength(text.size());
        const int needed = ::MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
        wide.Resize(ConvertedLength(needed));
        ::MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.MutableData(), needed);
    }
    return wide;
}

std::string NarrowUtf8(WideView text) {
    std::string narrow;
    if (!text.empty()) {
        const int length = ConvertibleLength(text.size());
        const int needed = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
        narrow.resize(ConvertedLength(needed));
        ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(), needed, nullptr, nullptr);
    }
    return narrow;
}

}  // namespace quillmark
