// ResponseBuffer: the body of a reply, as bytes. It is null when there was no body, which is not the same as a body
// that could not be read: an operation that needs a body and gets a null buffer fails with 13.
//
// The block is always terminated by a zero byte that size() does not count, so that a reply of text can be searched as
// text; the bytes themselves may hold zeros.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace quillmark {

class ResponseBuffer {
public:
    [[nodiscard]] bool IsNull() const noexcept { return m_block == nullptr; }
    [[nodiscard]] const char* data() const noexcept { return m_block.get(); }
    [[nodiscard]] std::size_t size() const noexcept { return m_size; }
    [[nodiscard]] std::string_view text() const noexcept { return {m_block.get(), m_size}; }
    void Clear() noexcept {
        m_block.reset();
        m_size = 0;
    }

    // Makes room for more bytes behind the present ones and returns where they go; null, with the block as it was, when
    // memory is short. Commit() then says how many were written.
    [[nodiscard]] char* Extend(std::size_t more) noexcept {
        auto* grown = static_cast<char*>(std::realloc(m_block.get(), m_size + more + 1));
        if (grown == nullptr) {
            return nullptr;
        }
        static_cast<void>(m_block.release());
        m_block.reset(grown);
        m_block.get()[m_size] = '\0';
        return grown + m_size;
    }
    void Commit(std::size_t written) noexcept {
        m_size += written;
        m_block.get()[m_size] = '\0';
    }

private:
    struct Free {
        void operator()(char* block) const noexcept { std::free(block); }
    };

    std::unique_ptr<char, Free> m_block;
    std::size_t m_size = 0;
};

}  // namespace quillmark
