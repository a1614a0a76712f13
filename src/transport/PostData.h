// PostData: the bytes of a request body that wait to be sent. Bodies carry passwords, so every block that held them is
// overwritten with zeros before it goes back to the heap: when the buffer grows, when it is emptied, when it goes.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace quillmark {

// Zeros that the compiler may not leave out.
inline void WipeMemory(void* block, std::size_t size) noexcept {
    auto* bytes = static_cast<volatile unsigned char*>(block);
    while (size-- > 0) {
        *bytes++ = 0;
    }
}

// Gives a block back to the heap that it came from.
template <typename Heap>
void WipeAndFree(Heap heap, typename Heap::value_type* block, std::size_t count) noexcept {
    WipeMemory(block, count * sizeof(*block));
    heap.deallocate(block, count);
}

template <typename T>
struct WipingAllocator {
    using value_type = T;

    WipingAllocator() = default;
    template <typename U>
    WipingAllocator(const WipingAllocator<U>&) noexcept {}  // NOLINT: allocators convert

    T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
    void deallocate(T* block, std::size_t count) noexcept { WipeAndFree(std::allocator<T>(), block, count); }
    friend bool operator==(const WipingAllocator&, const WipingAllocator&) noexcept { return true; }
};

class PostData {
public:
    void Append(std::string_view bytes) { m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end()); }
    // Zero-fills and empties.
    void Wipe() noexcept {
        WipeMemory(m_bytes.data(), m_bytes.size());
        m_bytes.clear();
    }
    [[nodiscard]] bool empty() const noexcept { return m_bytes.empty(); }
    [[nodiscard]] std::size_t size() const noexcept { return m_bytes.size(); }
    [[nodiscard]] char* data() noexcept { return m_bytes.data(); }

private:
    std::vector<char, WipingAllocator<char>> m_bytes;
};

}  // namespace quillmark
