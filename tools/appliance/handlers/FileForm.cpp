#include "handlers/FileForm.h"

#include "Pch.h"
#include "http/Errors.h"
#include "storage/Contents.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

constexpr std::size_t LongestField = 64UL * 1024;
constexpr std::size_t MostFields = 100;

// Hands the present part to the sink; more bytes than announced are refused as soon as they come.
asio::awaitable<void> Receive(MultipartReader& parts, const FileSink& sink) {
    std::uint64_t received = 0;
    co_await parts.Read([&](std::string_view bytes) {
        if (sink.size && bytes.size() > *sink.size - received) {
            parts.Break("The file is longer than its size");
        }
        sink.write(bytes);
        received += bytes.size();
    });
    if (sink.size && received != *sink.size) {
        parts.Break("The file is shorter than its size");
    }
}

}  // namespace

FileSink IntoContent(ContentWriter& writer, std::optional<std::uint64_t> size) {
    return {[&writer](std::string_view bytes) { writer.Write(bytes); }, size};
}

asio::awaitable<Fields> ReceiveFileForm(RequestBody& body, const FileStart& start) {
    MultipartReader& parts = body.Multipart();
    Fields fields;
    bool received = false;
    for (;;) {
        const auto part = co_await parts.Next();
        if (!part) {
            break;
        }
        if (!part->fileName) {
            std::string text = co_await parts.ReadText(LongestField);
            if (fields.size() == MostFields) {
                throw ApiError(ErrorId::BodyTooLarge, "The upload has too many fields");
            }
            fields.emplace_back(part->name, std::move(text));
            continue;
        }
        if (part->name != "file" || received) {
            throw ApiError(ErrorId::Malformed, "The upload has a file that does not belong there");
        }
        const FileSink sink = start(fields);
        co_await Receive(parts, sink);
        received = true;
    }
    if (!received) {
        throw ApiError(ErrorId::Malformed, "The upload has no file");
    }
    co_return fields;
}

}  // namespace appliance
