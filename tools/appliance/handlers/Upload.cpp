// A whole file in one request: fields first, then the part "file", which goes to the disk as it comes in.
//
// States: fields -> file (checked against what is there, then written) -> rest of the fields -> body complete ->
// contents on the disk -> row committed -> answered. Until the commit the item is what it was; whatever fails before
// leaves nothing.

#include <optional>

#include "Pch.h"
#include "handlers/Handlers.h"
#include "handlers/ItemForm.h"
#include "http/Errors.h"
#include "storage/Contents.h"
#include "storage/Store.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

constexpr std::size_t LongestField = 64UL * 1024;
constexpr std::size_t MostFields = 100;

std::uint64_t RequireSize(const Fields& fields) {
    const std::string* text = FindField(fields, "size");
    const auto size = text == nullptr ? std::nullopt : ParseNumber(*text);
    if (!size) {
        throw ApiError(ErrorId::Malformed, "The upload does not say the file's size ahead of the file");
    }
    return *size;
}

std::optional<std::string> RevisionOf(const Fields& fields) {
    const std::string* revision = FindField(fields, "revision");
    return revision == nullptr || revision->empty() ? std::nullopt : std::optional(*revision);
}

void CheckOperation(const Fields& fields) {
    const std::string* operation = FindField(fields, "operation");
    if (operation == nullptr || *operation != "create") {
        throw ApiError(ErrorId::Malformed, "The upload has no operation that is known here");
    }
}

// Streams the present part into a content file; more bytes than announced are refused as soon as they come.
asio::awaitable<void> Receive(MultipartReader& parts, ContentWriter& writer, std::uint64_t size) {
    co_await parts.Read([&](std::string_view bytes) {
        if (bytes.size() > size - writer.Size()) {
            parts.Break("The file is longer than its size");
        }
        writer.Write(bytes);
    });
    if (writer.Size() != size) {
        parts.Break("The file is shorter than its size");
    }
}

Reply Commit(Services& services, const Actor& actor, const ItemPath& path, const Fields& fields,
             ContentWriter& writer) {
    writer.Finish();
    const NewFile file{ReadItemValues(fields), writer.Size(), writer.Name(), RevisionOf(fields)};
    const StoredFile stored = services.store.PutFile(actor, path, file);
    writer.Keep();
    if (!stored.replacedContent.empty()) {
        services.contents.Remove(stored.replacedContent);
    }
    return JsonReply(ItemDocument(stored.item, path));
}

asio::awaitable<Reply> ReceiveAndStore(Services& services, Exchange& exchange, const Actor& actor,
                                       const ItemPath& path) {
    MultipartReader& parts = exchange.body.Multipart();
    Fields fields;
    std::optional<ContentWriter> writer;
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
        if (part->name != "file" || writer) {
            throw ApiError(ErrorId::Malformed, "The upload has a file that does not belong there");
        }
        CheckOperation(fields);
        static_cast<void>(ReadItemValues(fields));
        const std::uint64_t size = RequireSize(fields);
        services.store.CheckPut(actor, path, size, RevisionOf(fields));
        writer.emplace(services.contents.Folder(), services.options.sync);
        co_await Receive(parts, *writer, size);
    }
    if (!writer) {
        throw ApiError(ErrorId::Malformed, "The upload has no file");
    }
    co_return Commit(services, actor, path, fields, *writer);
}

}  // namespace

asio::awaitable<Reply> UploadFile(Services& services, Exchange& exchange, const Actor& actor) {
    const ItemPath path = RequireItemPath(exchange.target.itemPath);
    try {
        Reply reply = co_await ReceiveAndStore(services, exchange, actor, path);
        co_return reply;
    } catch (const RevisionConflict& conflict) {
        co_return MismatchReply(ItemDocument(conflict.Current(), path));
    }
}

}  // namespace appliance
