// ScrubPasswords: the copy of a request body that may go to the log.
//
// Every "password", with white space allowed up to the "=" behind it, is replaced together with its value by
// "password=XXXXX". The value reaches to the next "&" or to the end of the body, line breaks included. The key is
// case-sensitive; one that only ends in password (new_password) keeps what stands before.
//
// Never fails: an error of the regular-expression library is logged, and the result is then empty. The unmasked text is
// never handed out. Time is linear in the length and the depth of the stack does not depend on it. Any thread.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace quillmark {

[[nodiscard]] std::string ScrubPasswords(const char* data, std::size_t length);

// Recognises a password's key, its white space and its "=" at the very beginning of a text: their length, 0 when there
// is none. May throw what the standard library's regular expressions throw.
using PasswordKeyMatcher = std::function<std::size_t(std::string_view)>;

// The same with another matcher in the place of the regular expression's.
[[nodiscard]] std::string ScrubPasswordsWith(std::string_view body, const PasswordKeyMatcher& matchKey);

}  // namespace quillmark
