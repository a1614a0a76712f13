#include "transport/Multipart.h"

#include <array>

#include "common/Format.h"
#include "common/Log.h"
#include "common/UrlEncode.h"
#include "common/WellFormed.h"

namespace quillmark::Multipart {
namespace {

// Of the Content-Disposition line of a file part, its terminating zero included.
constexpr std::size_t DispositionLimit = 8192;

std::string GuidText(const GuidSource& source) {
    constexpr Logger log("Multipart::GuidText", LogSource::WinHttpImpl);
    GUID guid = {};
    if (FAILED(source.create(&guid))) {
        log.Error("Failed to generate GUID.");
        return {};
    }
    std::array<WCHAR, 260> text = {};
    if (source.print(guid, text.data(), static_cast<int>(text.size())) == 0) {
        log.Error("StringFromGUID2 failed");
        return {};
    }
    return NarrowUtf8(text.data());
}

}  // namespace

std::string MakeBoundary(const GuidSource& source) {
    return "QM_MARK--" + GuidText(source) + "--QM_MARK";
}

// Never destroyed, both of them: threads may still send while the process ends.
const std::string& Boundary() {
    static const std::string& boundary = *new std::string(MakeBoundary());
    return boundary;
}

const WideString& WideBoundary() {
    static const WideString& boundary = *new WideString(WidenUtf8(Boundary()));
    return boundary;
}

std::string Opening() {
    return "--" + Boundary() + "\r\n";
}

std::string FormField(std::string_view name, std::string_view value) {
    std::string part = Opening();
    part += "Content-Disposition: form-data; name=\"";
    part += name;
    part += "\"\r\n\r\n";
    part += value;
    part += LineBreak;
    return part;
}

std::string ClosingLine() {
    return "--" + Boundary() + "--\r\n";
}

DWORD FileDisposition(std::string_view fieldName, const WideString& fileName, std::string& line) {
    if (!IsWellFormed(fileName)) {
        return ERROR_NO_UNICODE_TRANSLATION;
    }
    line = Format("Content-Disposition: form-data; name=\"%s\"; filename=\"%s\"\r\n", std::string(fieldName),
                  UrlEncode(fileName, true));
    return line.size() < DispositionLimit ? 0 : ERROR_FILENAME_EXCED_RANGE;
}

std::uint64_t CountedEnd() {
    return LineBreak.size() + ClosingLine().size();
}

}  // namespace quillmark::Multipart
