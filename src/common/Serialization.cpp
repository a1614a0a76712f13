#include "common/Serialization.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/Log.h"

namespace quillmark::Serialization {
namespace {

constexpr WideView OpeningMarker = QM_W("base64~~(");
constexpr WideView ClosingMarker = QM_W(")~~base64");

// The code units as bytes, the lower one first on every system.
std::vector<BYTE> LittleEndian(WideView text) {
    std::vector<BYTE> bytes;
    bytes.reserve(text.size() * 2);
    for (const WideChar unit : text) {
        bytes.push_back(static_cast<BYTE>(unit & 0xFF));
        bytes.push_back(static_cast<BYTE>(unit >> 8));
    }
    return bytes;
}

}  // namespace

WideString Base64(const void* data, std::size_t size) {
    if (data == nullptr) {
        throw std::runtime_error("Serialization::Base64(),ln=20 : Invalid parameter");
    }
    if (size == 0 || size > std::numeric_limits<DWORD>::max()) {
        throw std::runtime_error("Serialization::Base64(),ln=25 : Invalid parameter");
    }
    const auto* const bytes = static_cast<const BYTE*>(data);
    const auto count = static_cast<DWORD>(size);
    DWORD length = 0;
    if (!::CryptBinaryToStringW(bytes, count, CRYPT_STRING_BASE64, nullptr, &length)) {
        throw std::runtime_error("Serialization::Base64(),ln=31 : Error running CryptBinaryToStringW()");
    }
    std::basic_string<WideChar> text(length, 0);
    if (!::CryptBinaryToStringW(bytes, count, CRYPT_STRING_BASE64, text.data(), &length)) {
        throw std::runtime_error(
            Format("Serialization::Base64(),ln=38 : Error running CryptBinaryToStringW(), error=%u", ::GetLastError()));
    }
    text.resize(length);
    // The platform breaks its text into lines.
    std::erase_if(text, [](WideChar unit) { return unit == QM_W('\r') || unit == QM_W('\n'); });
    return WideString(text);
}

WideString UTF16ToBase64(const WideString& text) noexcept {
    try {
        const std::vector<BYTE> bytes = LittleEndian(text);
        // The empty text has bytes of its own to point at too: what is wrong with it is that there are none.
        static constexpr BYTE Nothing = 0;
        const WideString encoded = Base64(bytes.empty() ? &Nothing : bytes.data(), bytes.size());
        return WideString(OpeningMarker) + encoded + ClosingMarker;
    } catch (const std::exception& exception) {
        const Logger log("Serialization::UTF16ToBase64", LogSource::Serialization);
        log.Error("Failed to encode [%S], cause = %s", text, exception.what());
        return {};
    }
}

}  // namespace quillmark::Serialization
