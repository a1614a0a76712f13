// How long a command may go on after Ctrl-C.
#pragma once

namespace quillmark::testing {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr double LongestEnd = 10;  // seconds
#else
inline constexpr double LongestEnd = 1;
#endif

}  // namespace quillmark::testing
