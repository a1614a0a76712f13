#include "Fingerprint.h"

#include <librsync.h>

#include <algorithm>

#include "LocalFile.h"

namespace quillmark::cli {
namespace {

constexpr std::int64_t BlockSize = 1024 * 1024;

}  // namespace

std::string DigestOf(const std::string& text) {
    constexpr const char* Digits = "0123456789abcdef";
    unsigned char sum[RS_MAX_STRONG_SUM_LENGTH] = {};
    rs_mdfour(sum, text.data(), text.size());
    std::string digest;
    for (int index = 0; index < RS_MD4_SUM_LENGTH; ++index) {
        digest += Digits[sum[index] >> 4];
        digest += Digits[sum[index] & 0xF];
    }
    return digest;
}

DWORD ExtendFingerprint(const WideString& path, std::int64_t size, std::int64_t to, Fingerprint& fingerprint) {
    if (fingerprint.end >= to) {
        return ERROR_SUCCESS;
    }
    LocalFile file;
    Fingerprint longer = fingerprint;
    DWORD error = file.Open(path, GENERIC_READ, OPEN_EXISTING);
    if (error == ERROR_SUCCESS) {
        error = file.Seek(longer.end);
    }
    std::string text;
    while (error == ERROR_SUCCESS && longer.end < to) {
        const auto wanted = static_cast<std::size_t>(std::min(BlockSize, size - longer.end));
        text = longer.link;
        text.resize(longer.link.size() + wanted);
        std::size_t got = 0;
        error = file.Read(text.data() + longer.link.size(), wanted, got);
        if (error == ERROR_SUCCESS && got < wanted) {
            error = ERROR_HANDLE_EOF;
        }
        longer.link = DigestOf(text);
        longer.end += static_cast<std::int64_t>(wanted);
    }
    if (error == ERROR_SUCCESS) {
        fingerprint = longer;
    }
    return error;
}

}  // namespace quillmark::cli
