#include <openssl/rand.h>

#include <cstring>
#include <optional>
#include <string_view>

#include "quillmark/platform/Crypto.h"
#include "quillmark/platform/Errors.h"

namespace {

// Where the digits of the text form belong: the bytes of the GUID in the order in which the text names them.
constexpr std::u16string_view Form = u"{00000000-0000-0000-0000-000000000000}";
constexpr std::size_t ByteCount = 16;
constexpr std::u16string_view Digits = u"0123456789ABCDEF";

struct TextBytes {
    BYTE bytes[ByteCount];
};

TextBytes TextBytesOf(const GUID& guid) {
    TextBytes result;
    for (int i = 0; i < 4; ++i) {
        result.bytes[i] = static_cast<BYTE>(guid.Data1 >> (24 - 8 * i));
    }
    result.bytes[4] = static_cast<BYTE>(guid.Data2 >> 8);
    result.bytes[5] = static_cast<BYTE>(guid.Data2);
    result.bytes[6] = static_cast<BYTE>(guid.Data3 >> 8);
    result.bytes[7] = static_cast<BYTE>(guid.Data3);
    std::memcpy(result.bytes + 8, guid.Data4, sizeof(guid.Data4));
    return result;
}

GUID GuidOf(const TextBytes& text) {
    const BYTE* bytes = text.bytes;
    GUID guid{};
    guid.Data1 =
        std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 | bytes[3];
    guid.Data2 = static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]);
    guid.Data3 = static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]);
    std::memcpy(guid.Data4, bytes + 8, sizeof(guid.Data4));
    return guid;
}

std::optional<unsigned> DigitValue(WCHAR unit) {
    const WCHAR upper = unit >= u'a' && unit <= u'f' ? static_cast<WCHAR>(unit - u'a' + u'A') : unit;
    const std::size_t value = Digits.find(upper);
    return value == Digits.npos ? std::nullopt : std::optional(static_cast<unsigned>(value));
}

std::optional<GUID> Parse(std::u16string_view text) {
    if (text.size() != Form.size()) {
        return std::nullopt;
    }
    TextBytes result{};
    std::size_t digits = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (Form[i] != u'0') {
            if (text[i] != Form[i]) {
                return std::nullopt;
            }
            continue;
        }
        const auto value = DigitValue(text[i]);
        if (!value) {
            return std::nullopt;
        }
        BYTE& byte = result.bytes[digits++ / 2];
        byte = static_cast<BYTE>(static_cast<unsigned>(byte) << 4 | *value);
    }
    return GuidOf(result);
}

HRESULT FromString(LPCWSTR text, GUID* guid, HRESULT malformed) {
    if (guid == nullptr) {
        return E_INVALIDARG;
    }
    *guid = GUID{};
    if (text == nullptr) {
        return S_OK;
    }
    const auto parsed = Parse(text);
    if (!parsed) {
        return malformed;
    }
    *guid = *parsed;
    return S_OK;
}

}  // namespace

HRESULT WINAPI CoCreateGuid(GUID* pguid) {
    if (pguid == nullptr) {
        return E_INVALIDARG;
    }
    TextBytes random;
    if (RAND_bytes(random.bytes, static_cast<int>(ByteCount)) != 1) {
        return E_FAIL;
    }
    // Version 4, and the variant that all GUIDs of today have.
    random.bytes[6] = static_cast<BYTE>((random.bytes[6] & 0x0F) | 0x40);
    random.bytes[8] = static_cast<BYTE>((random.bytes[8] & 0x3F) | 0x80);
    *pguid = GuidOf(random);
    return S_OK;
}

int WINAPI StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax) {
    constexpr int TextSize = static_cast<int>(Form.size()) + 1;
    if (lpsz == nullptr || cchMax < TextSize) {
        return 0;
    }
    const TextBytes text = TextBytesOf(rguid);
    std::size_t digits = 0;
    for (std::size_t i = 0; i < Form.size(); ++i) {
        lpsz[i] = Form[i];
        if (Form[i] == u'0') {
            const BYTE byte = text.bytes[digits / 2];
            lpsz[i] = Digits[digits % 2 == 0 ? byte >> 4 : byte & 0x0F];
            ++digits;
        }
    }
    lpsz[Form.size()] = u'\0';
    return TextSize;
}

HRESULT WINAPI CLSIDFromString(LPCWSTR lpsz, CLSID* pclsid) {
    return FromString(lpsz, pclsid, CO_E_CLASSSTRING);
}

HRESULT WINAPI IIDFromString(LPCWSTR lpsz, IID* lpiid) {
    return FromString(lpsz, lpiid, E_INVALIDARG);
}
