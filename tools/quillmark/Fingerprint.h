// The fingerprint of a file's beginning: what a resumable upload keeps of the bytes that it has sent or is about to
// send, so that a later attempt can tell whether they are still the file's, whatever its times say.
//
// A chain over blocks of 1 MiB: each link is the digest of the link before it and the next block. It grows with the
// upload without a second look at what it covers already, and takes the same room for every file. The digest (MD4, 128
// bits) is for noticing changes; it is no protection against somebody who makes two files with the same one on purpose.
#pragma once

#include <cstdint>
#include <string>

#include "quillmark/WideString.h"

namespace quillmark::cli {

struct Fingerprint {
    std::int64_t end = 0;  // what it covers: [0, end), whole blocks or the whole file
    std::string link;      // in hexadecimal; empty at the start

    friend bool operator==(const Fingerprint&, const Fingerprint&) = default;
};

// Reads on until the fingerprint of the file, which has size bytes, covers at least [0, to). ERROR_HANDLE_EOF when the
// file is shorter than size; then, and after any other error, the fingerprint is as it was.
[[nodiscard]] DWORD ExtendFingerprint(const WideString& path, std::int64_t size, std::int64_t to,
                                      Fingerprint& fingerprint);

// The digest of a text in hexadecimal, 32 digits: a name for it that fits everywhere.
[[nodiscard]] std::string DigestOf(const std::string& text);

}  // namespace quillmark::cli
