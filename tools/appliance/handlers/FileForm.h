// A multipart body with one file: fields, and the part "file", whose content goes to the disk as it comes in.
//
//     const FileStart start = [&](const Fields& ahead) {
//         writer.emplace(services.contents.Folder(), services.options.sync);
//         return IntoContent(*writer, RequireSize(ahead));
//     };
//     const Fields fields = co_await ReceiveFileForm(exchange.body, start);
//
// `start` is the place to refuse a hopeless request: it runs before the first byte of the content is taken. What it
// captures has to outlive the call, and so does `start` itself.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <cstdint>
#include <functional>
#include <optional>

#include "http/RequestBody.h"
#include "http/Uri.h"

namespace appliance {

class ContentWriter;

// Where the file's bytes go, and how many they have to be; empty takes as many as come.
struct FileSink {
    MultipartReader::Sink write;
    std::optional<std::uint64_t> size;
};

// Called once, with the fields that came ahead of the file.
using FileStart = std::function<FileSink(const Fields& ahead)>;

// The sink that fills a content file. The writer has to outlive it.
FileSink IntoContent(ContentWriter& writer, std::optional<std::uint64_t> size);

// Receives the whole body; the result is all fields, those behind the file too. Throws ApiError: Malformed for a file
// of another name, a second one or none; BodyMismatch, and the connection is lost, when the file is not of its size.
[[nodiscard]] boost::asio::awaitable<Fields> ReceiveFileForm(RequestBody& body, const FileStart& start);

}  // namespace appliance
