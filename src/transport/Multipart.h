// The pieces of a multipart/form-data body, as bytes. A body is, in this order:
//
//   for each field   --<boundary> CRLF
//                    Content-Disposition: form-data; name="<name>" CRLF CRLF
//                    <value> CRLF
//   the file         --<boundary> CRLF
//                    Content-Disposition: form-data; name="<field>"; filename="<name>" CRLF
//                    Content-Type: application/octet-stream CRLF CRLF
//                    <bytes of the file> CRLF
//   the closing line --<boundary>-- CRLF
//
// What an upload announces is more than it sends: three bytes with a file part (one from the counted length of the
// part's Content-Type line, two because the line break behind the file's bytes is counted with the file part and with
// the closing line), two without one. Servers of this protocol expect exactly that.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "quillmark/Platform.h"
#include "quillmark/WideString.h"

namespace quillmark::Multipart {

// Where a boundary's GUID comes from.
struct GuidSource {
    decltype(&::CoCreateGuid) create = &::CoCreateGuid;
    decltype(&::StringFromGUID2) print = &::StringFromGUID2;
};

// "QM_MARK--{GUID}--QM_MARK". Without the GUID's text, which is logged, when there is no GUID to be had.
[[nodiscard]] std::string MakeBoundary(const GuidSource& source = {});

// The boundary of every body of this process, made at its first use; and its wide copy, for headers.
[[nodiscard]] const std::string& Boundary();
[[nodiscard]] const WideString& WideBoundary();

// "--<boundary> CRLF", which begins each part.
[[nodiscard]] std::string Opening();
[[nodiscard]] std::string FormField(std::string_view name, std::string_view value);
[[nodiscard]] std::string ClosingLine();

// The file part's Content-Disposition line, with the file name form-encoded. ERROR_NO_UNICODE_TRANSLATION for a name
// that is no valid UTF-16, ERROR_FILENAME_EXCED_RANGE when the line has more than 8191 bytes: a shortened name would be
// another file's.
[[nodiscard]] DWORD FileDisposition(std::string_view fieldName, const WideString& fileName, std::string& line);

inline constexpr std::string_view FileContentType = "Content-Type: application/octet-stream\r\n\r\n";
// What the length of a file part counts for that line. One more than it has, and meant so.
inline constexpr std::uint64_t CountedFileContentType = 43;

inline constexpr std::string_view LineBreak = "\r\n";

// The counted length of the closing line, and of the line break before it. That line break is counted with a file part
// as well; this too is meant.
[[nodiscard]] std::uint64_t CountedEnd();

}  // namespace quillmark::Multipart
