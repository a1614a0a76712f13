#include "quillmark/platform/Text.h"

#include <limits>
#include <string>
#include <string_view>

#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Handles.h"
#include "text/Unicode.h"

using namespace quillmark::platform;

namespace {

constexpr std::size_t GreatestSize = std::numeric_limits<int>::max();

int Fail(DWORD error) {
    SetLastError(error);
    return 0;
}

// Counts what is written, and writes it while there is a buffer. A size of 0 only counts.
template <typename Unit>
class Output {
public:
    Output(Unit* buffer, int size) : m_buffer(buffer), m_size(static_cast<std::size_t>(size)) {}

    // False when the buffer is full.
    [[nodiscard]] bool Put(const Unit* units, std::size_t count) {
        if (m_size != 0) {
            if (count > m_size - m_count) {
                return false;
            }
            std::char_traits<Unit>::copy(m_buffer + m_count, units, count);
        }
        m_count += count;
        return true;
    }

    [[nodiscard]] std::size_t Count() const { return m_count; }

private:
    Unit* m_buffer;
    std::size_t m_size;
    std::size_t m_count = 0;
};

bool PutCharacter(Output<WCHAR>& output, char32_t character) {
    if (character < 0x10000) {
        const auto unit = static_cast<WCHAR>(character);
        return output.Put(&unit, 1);
    }
    const WCHAR pair[] = {static_cast<WCHAR>(0xD7C0 + (character >> 10)),
                          static_cast<WCHAR>(0xDC00 + (character & 0x3FF))};
    return output.Put(pair, 2);
}

bool PutCharacter(Output<CHAR>& output, char32_t character) {
    const auto tail = [character](unsigned shift) { return static_cast<CHAR>(0x80 | ((character >> shift) & 0x3F)); };
    if (character < 0x80) {
        const auto byte = static_cast<CHAR>(character);
        return output.Put(&byte, 1);
    }
    if (character < 0x800) {
        const CHAR bytes[] = {static_cast<CHAR>(0xC0 | (character >> 6)), tail(0)};
        return output.Put(bytes, 2);
    }
    if (character < 0x10000) {
        const CHAR bytes[] = {static_cast<CHAR>(0xE0 | (character >> 12)), tail(6), tail(0)};
        return output.Put(bytes, 3);
    }
    const CHAR bytes[] = {static_cast<CHAR>(0xF0 | (character >> 18)), tail(12), tail(6), tail(0)};
    return output.Put(bytes, 4);
}

DecodedCharacter Decode(std::string_view text) {
    return DecodeUtf8(text);
}
DecodedCharacter Decode(std::u16string_view text) {
    return DecodeUtf16(text);
}

// The arguments that both directions share.
template <typename From, typename To>
bool AreValid(UINT codePage, const From* source, int sourceSize, const To* buffer, int bufferSize) {
    return (codePage == CP_UTF8 || codePage == CP_ACP) && source != nullptr && sourceSize != 0 && bufferSize >= 0 &&
           (buffer != nullptr || bufferSize == 0) &&
           static_cast<const void*>(source) != static_cast<const void*>(buffer);
}

template <typename From, typename To>
int Convert(const From* source, int sourceSize, To* buffer, int bufferSize, bool refuseMalformed) {
    // A text that ends at its null is converted with it.
    std::basic_string_view<From> rest(
        source, sourceSize < 0 ? std::char_traits<From>::length(source) + 1 : static_cast<std::size_t>(sourceSize));
    Output<To> output(buffer, bufferSize);
    while (!rest.empty()) {
        const DecodedCharacter next = Decode(rest);
        if (!next.wellFormed && refuseMalformed) {
            return Fail(ERROR_NO_UNICODE_TRANSLATION);
        }
        if (!PutCharacter(output, next.character)) {
            return Fail(ERROR_INSUFFICIENT_BUFFER);
        }
        rest.remove_prefix(next.length);
    }
    return output.Count() <= GreatestSize ? static_cast<int>(output.Count()) : Fail(ERROR_INVALID_PARAMETER);
}

}  // namespace

int WINAPI MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCSTR lpMultiByteStr, int cbMultiByte,
                               LPWSTR lpWideCharStr, int cchWideChar) {
    if (!AreValid(CodePage, lpMultiByteStr, cbMultiByte, lpWideCharStr, cchWideChar)) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    if ((dwFlags & ~MB_ERR_INVALID_CHARS) != 0) {
        return Fail(ERROR_INVALID_FLAGS);
    }
    return Convert(lpMultiByteStr, cbMultiByte, lpWideCharStr, cchWideChar, dwFlags == MB_ERR_INVALID_CHARS);
}

int WINAPI WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWSTR lpWideCharStr, int cchWideChar,
                               LPSTR lpMultiByteStr, int cbMultiByte, LPCSTR lpDefaultChar, LPBOOL lpUsedDefaultChar) {
    if (!AreValid(CodePage, lpWideCharStr, cchWideChar, lpMultiByteStr, cbMultiByte) || lpDefaultChar != nullptr ||
        lpUsedDefaultChar != nullptr) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    if ((dwFlags & ~WC_ERR_INVALID_CHARS) != 0) {
        return Fail(ERROR_INVALID_FLAGS);
    }
    return Convert(lpWideCharStr, cchWideChar, lpMultiByteStr, cbMultiByte, dwFlags == WC_ERR_INVALID_CHARS);
}
