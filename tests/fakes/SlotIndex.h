// SlotOf: the index of a virtual function in its class's table, read from a pointer to the member.
//
//   EXPECT_EQ(SlotOf(&FileSystemInterface::GetFileSize), 2u);
//
// Slots before the destructor have their own number as index; the destructor takes two entries, so slots after it have
// one more than their number. An overloaded function is named with static_cast to its member pointer type. Knows the
// member pointers of g++ on x86-64 (Linux and mingw-w64), in which a virtual function is 1 plus its byte offset.
#pragma once

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <type_traits>

namespace quillmark::fakes {

template <typename Member>
requires std::is_member_function_pointer_v<Member>
[[nodiscard]] std::size_t SlotOf(Member member) {
    std::size_t word = 0;
    static_assert(sizeof(member) >= sizeof(word));
    std::memcpy(&word, &member, sizeof(word));
    if (word % 2 == 0) {
        throw std::logic_error("SlotOf: the function is not virtual");
    }
    return (word - 1) / sizeof(void*);
}

}  // namespace quillmark::fakes
