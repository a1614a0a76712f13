// Requests of the test's own, made with Windows' functions and nothing of the library's: what a test tells the
// reference server, and what WinHTTP itself leaves behind.
#pragma once

#include <string>

namespace quillmark::test {

// Sends the body to a resource of the server ("/control/faults") and gives back the reply's body. Throws
// std::runtime_error when there is no reply with a status below 400.
std::string Ask(const std::string& url, const std::wstring& verb, const std::wstring& resource,
                const std::string& body = "", const std::wstring& type = L"application/json");

}  // namespace quillmark::test
