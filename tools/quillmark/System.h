// The few things that the host program needs from the system and that differ between systems.
#pragma once

#include <string>
#include <vector>

#include "quillmark/WideString.h"

namespace quillmark::cli {

// The program's arguments without its name, as paths: what is not text in the argument stays reachable as a file's
// name.
[[nodiscard]] std::vector<WideString> Arguments(int count, char** values);

// Whether the wide text can go into a URL: it holds no half of a surrogate pair.
[[nodiscard]] bool IsText(const WideString& path);

// An environment variable's value as UTF-8, empty when it is not set.
[[nodiscard]] std::string Environment(const char* name);

// Asks for a secret on the terminal without echoing it. False when there is no terminal.
[[nodiscard]] bool AskSecret(const std::string& prompt, std::string& secret);

// The manual-reset event that the first Ctrl-C (or a request to terminate) sets. Call it once, before any thread is
// started. A second Ctrl-C ends the program at once, with exit code 7.
[[nodiscard]] HANDLE InterruptEvent();

// Whether the path is a file with contents of its own, links followed: no pipe, socket or device, which reading would
// wait for. False when nothing is there.
[[nodiscard]] bool IsPlainFile(const WideString& path);

// The path of an item that is there, from the root, without links, "." and "..". Empty when it is not there.
[[nodiscard]] WideString AbsolutePath(const WideString& path);

// Makes a folder that only its owner can look into; the folder above it is there. 0 also when it is there already.
[[nodiscard]] DWORD MakePrivateFolder(const WideString& path);

// Writes a file that only its owner can read, whole or not at all. 0 or an error code.
[[nodiscard]] DWORD WritePrivateFile(const WideString& path, const std::string& content);

// Trusts the certificates of this PEM file, beside the system's and the user's, for the rest of the process. 0 or an
// error code; ERROR_INVALID_DATA when the file holds none.
[[nodiscard]] DWORD TrustCertificates(const WideString& path);

}  // namespace quillmark::cli
