// One request's head and one reply, as values. Bodies of requests are read through RequestBody, never held here.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "storage/FileDescriptor.h"

namespace appliance {

struct Request {
    std::string method;
    std::string path;   // as on the wire, still percent-encoded, without the query
    std::string query;  // what follows "?", still encoded
    std::vector<std::pair<std::string, std::string>> headers;
    std::optional<std::uint64_t> contentLength;
    bool chunked = false;
    bool keepAlive = false;
    bool expectsContinue = false;
    std::string peerAddress;
    bool secure = false;  // came over TLS

    // Value of the first header of that name (any letter case), empty when there is none.
    [[nodiscard]] std::string_view Header(std::string_view name) const;
    // Value of one cookie, empty when it was not sent.
    [[nodiscard]] std::string_view Cookie(std::string_view name) const;
    // Whether one of the accepted media types is exactly this one.
    [[nodiscard]] bool Accepts(std::string_view mediaType) const;
};

// A part of an open file that is sent as it stands.
struct FileRange {
    std::shared_ptr<const FileDescriptor> file;
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
};

struct Reply {
    unsigned status = 200;
    std::string contentType = "application/json; charset=UTF-8";
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    std::optional<FileRange> file;  // instead of `body`
    std::function<void()> written;  // called when all of it has been handed to the connection

    [[nodiscard]] std::uint64_t BodyLength() const { return file ? file->length : body.size(); }
};

// The standard reason phrase of a status, "Unknown" for others.
std::string_view ReasonOf(unsigned status);

// The value of a parameter in a header value such as `form-data; name="file"`, unquoted; empty optional when missing.
std::optional<std::string> HeaderParameter(std::string_view value, std::string_view parameter);

// The text without spaces and tabs at either end.
std::string_view Trimmed(std::string_view text);

}  // namespace appliance
