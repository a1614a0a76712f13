// Replies in the log.
#include <algorithm>
#include <string>
#include <string_view>

#include "client/NativeHttp.h"
#include "model/JsonExceptions.h"
#include "model/JsonResponse.h"

namespace quillmark {
namespace {

constexpr std::size_t DumpLineBytes = 16;
constexpr std::size_t DumpLines = 32;

void LogLines(const Logger& log, std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        if (end != 0) {
            log.Information("%S", WidenUtf8(text.substr(0, end)));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

// One line of the dump: the offset, sixteen places of two digits and a space, and the bytes themselves as far as they
// are printable ASCII.
std::string DumpLine(std::string_view bytes, std::size_t offset) {
    std::string line = Format("0x%04x: ", static_cast<std::uint32_t>(offset));
    const std::string_view part = bytes.substr(offset, DumpLineBytes);
    for (std::size_t place = 0; place < DumpLineBytes; ++place) {
        line += place < part.size() ? Format("%02x ", static_cast<unsigned char>(part[place])) : "   ";
    }
    for (const char byte : part) {
        line += byte >= ' ' && byte <= '~' ? byte : '.';
    }
    return line;
}

void LogDump(const Logger& log, std::string_view bytes) {
    const std::string_view shown = bytes.substr(0, DumpLines * DumpLineBytes);
    for (std::size_t offset = 0; offset < shown.size(); offset += DumpLineBytes) {
        log.Information("%s", DumpLine(shown, offset));
    }
}

}  // namespace

void CNativeHttp::LogResponse(const ResponseBuffer& reply) const {
    LogScope::Run("CNativeHttp::LogResponse", LogSource::NativeHttp, [&](const Logger& log) {
        if (!log.WantsInformation()) {
            return;
        }
        try {
            std::string json;
            if (RenderJSONResponse(reply, json)) {
                log.Information("HTTP Response (%d bytes):", static_cast<std::uint32_t>(reply.size()));
                LogLines(log, json);
            } else {
                log.Information("HTTP Response (%d bytes), not JSON", static_cast<std::uint32_t>(reply.size()));
                LogDump(log, reply.text());
            }
        } catch (...) {
            // Logged there; a reply that cannot be shown is no reason to fail the operation that got it.
            static_cast<void>(CodeOfExceptionInFlight(log));
        }
    });
}

}  // namespace quillmark
