#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

#include "quillmark/platform/Crypto.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Handles.h"

namespace {

// A line of 64 characters stands for 48 bytes.
constexpr std::size_t BytesPerLine = 48;
constexpr std::size_t CharactersPerLine = 64;

BOOL Fail(DWORD error) {
    SetLastError(error);
    return FALSE;
}

// The length of a line's end, for the formats that are supported.
std::optional<std::size_t> LineEndLength(DWORD flags) {
    switch (flags) {
        case CRYPT_STRING_BASE64:
            return 2;
        case CRYPT_STRING_BASE64 | CRYPT_STRING_NOCR:
            return 1;
        case CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF:
            return 0;
        default:
            return std::nullopt;
    }
}

// Without the terminator.
std::uint64_t TextLength(std::uint64_t bytes, std::size_t lineEndLength) {
    const std::uint64_t lines = (bytes + BytesPerLine - 1) / BytesPerLine;
    return (bytes + 2) / 3 * 4 + lines * lineEndLength;
}

WCHAR* WriteLine(const BYTE* bytes, std::size_t count, WCHAR* out) {
    std::array<unsigned char, CharactersPerLine + 1> line;
    const int length = EVP_EncodeBlock(line.data(), bytes, static_cast<int>(count));
    return std::copy_n(line.data(), length, out);
}

}  // namespace

BOOL WINAPI CryptBinaryToStringW(const BYTE* pbBinary, DWORD cbBinary, DWORD dwFlags, LPWSTR pszString,
                                 DWORD* pcchString) {
    const auto lineEndLength = LineEndLength(dwFlags);
    if (pbBinary == nullptr || pcchString == nullptr || !lineEndLength) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const std::uint64_t length = TextLength(cbBinary, *lineEndLength);
    if (length >= std::numeric_limits<DWORD>::max()) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const bool fits = *pcchString > length;
    if (pszString == nullptr || !fits) {
        *pcchString = static_cast<DWORD>(length) + 1;
        return pszString == nullptr ? TRUE : Fail(ERROR_MORE_DATA);
    }
    WCHAR* out = pszString;
    for (std::size_t done = 0; done < cbBinary; done += BytesPerLine) {
        out = WriteLine(pbBinary + done, std::min(BytesPerLine, cbBinary - done), out);
        if (*lineEndLength == 2) {
            *out++ = u'\r';
        }
        if (*lineEndLength > 0) {
            *out++ = u'\n';
        }
    }
    *out = u'\0';
    *pcchString = static_cast<DWORD>(length);
    return TRUE;
}
