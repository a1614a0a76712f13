// Resumable uploads: a file that comes in chunks, each one request. What a chunk is stands in the request's head; its
// body is the part "file" alone.
//
// States of a chunk: head (checked against what the server holds) -> bytes behind what is held, on the disk -> row
// committed -> answered. Until the commit the upload is what it was. The last chunk's commit makes the item as well.
// A finished upload is remembered: a client that has lost the last answer gets it again, and stores nothing twice.

#include <limits>
#include <optional>

#include "Pch.h"
#include "handlers/FileForm.h"
#include "handlers/Handlers.h"
#include "handlers/ItemForm.h"
#include "http/Errors.h"
#include "http/Guid.h"
#include "storage/Contents.h"
#include "storage/Uploads.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

constexpr std::string_view UploadBranch = "/upload";
constexpr std::uint64_t LargestFile = std::numeric_limits<std::int64_t>::max();

// Whose upload a request means.
struct UploadTarget {
    Actor actor;
    ItemPath path;
    UploadKey key;
};

struct Chunk {
    std::uint64_t fileSize = 0;
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
    bool start = false;
    bool finish = false;
    ItemValues values;
    std::optional<std::string> revision;
    std::optional<Ticks> expires;
};

std::string RequireUploadId(const Request& request) {
    const auto query = ParseForm(request.query);
    const std::string* text = query ? FindField(*query, "resume_id") : nullptr;
    auto id = text == nullptr ? std::nullopt : ParseGuid(*text);
    if (!id) {
        throw ApiError(ErrorId::Malformed, "The request does not say which upload is meant");
    }
    return std::move(*id);
}

UploadTarget RequireTarget(const Services& services, const Exchange& exchange) {
    std::string_view rest = exchange.target.itemPath;
    if (!rest.starts_with(UploadBranch) || (rest.size() > UploadBranch.size() && rest[UploadBranch.size()] != '/')) {
        throw ApiError(ErrorId::EndpointUnknown, "There is no such endpoint");
    }
    rest.remove_prefix(UploadBranch.size());
    UploadTarget target;
    target.actor = RequireActor(services, exchange.request, exchange.target);
    target.path = RequireItemPath(rest);
    target.key = {target.actor.user, RequireUploadId(exchange.request), PathText(target.path)};
    return target;
}

bool IsMarked(const Request& request, std::string_view header) {
    return request.Header(header) == "true";
}

std::uint64_t RequireSize(const Request& request, const std::string& header) {
    const auto number = ParseNumber(request.Header(header));
    if (!number || *number > LargestFile) {
        throw ApiError(ErrorId::Malformed, header + " is no size");
    }
    return *number;
}

// The item's values, as the fields of a form hold them.
Fields ValuesOf(const Request& request) {
    Fields fields;
    const auto add = [&](std::string_view header, const char* field) {
        if (const std::string_view value = request.Header(header); !value.empty()) {
            fields.emplace_back(field, value);
        }
    };
    add("qm_file_creation_time", "creation_time");
    add("qm_file_modification_time", "modification_time");
    add("qm_attributes", "attributes");
    return fields;
}

std::optional<Ticks> ReadExpiry(const Request& request) {
    const std::string_view text = request.Header("qm_expiry");
    const auto expires = ParseTicks(text);
    if (!expires && !text.empty()) {
        throw ApiError(ErrorId::Malformed, "qm_expiry is no time");
    }
    return expires;
}

Chunk ReadChunk(const Request& request) {
    Chunk chunk;
    chunk.fileSize = RequireSize(request, "qm_file_size");
    chunk.offset = RequireSize(request, "qm_offset");
    chunk.length = RequireSize(request, "qm_block_size");
    chunk.start = IsMarked(request, "qm_start");
    chunk.finish = IsMarked(request, "qm_finish");
    chunk.values = ReadItemValues(ValuesOf(request));
    if (const std::string_view revision = request.Header("qm_revision"); !revision.empty()) {
        chunk.revision = revision;
    }
    chunk.expires = ReadExpiry(request);
    if (chunk.offset > chunk.fileSize || chunk.length > chunk.fileSize - chunk.offset) {
        throw ApiError(ErrorId::Malformed, "The chunk reaches beyond the end of its file");
    }
    if (chunk.finish && chunk.offset + chunk.length != chunk.fileSize) {
        throw ApiError(ErrorId::Malformed, "The chunk does not reach the end of its file, which it says it does");
    }
    return chunk;
}

Reply ProgressReply(std::uint64_t received) {
    return JsonReply({{"bytes_received", std::to_string(received)}});
}

// What the last answer was, for a client that did not get it.
Reply StoredItemReply(Services& services, const Upload& upload) {
    const auto [item, path] = services.uploads.ItemOf(upload);
    return JsonReply(ItemDocument(item, path));
}

bool RepeatsTheFinish(const Upload& upload, const Chunk& chunk) {
    return upload.item && chunk.finish && chunk.fileSize == upload.size;
}

// The upload that the chunk goes on with, or a new one. Throws when the chunk has no place there.
Upload RequirePlace(Services& services, const UploadTarget& target, const Chunk& chunk,
                    const std::optional<Upload>& held) {
    if (!held) {
        if (!chunk.start || chunk.offset != 0) {
            throw ApiError(ErrorId::ItemMissing, "There is no such upload");
        }
        services.uploads.Begin(target.actor, target.key, target.path, chunk.fileSize, chunk.revision);
        Upload upload;
        upload.size = chunk.fileSize;
        return upload;
    }
    if (held->size != chunk.fileSize) {
        throw ApiError(ErrorId::Malformed, "The upload was begun for a file of another size");
    }
    if (held->item || held->received != chunk.offset) {
        throw ApiError(ErrorId::UploadOutOfStep, "The chunk does not begin where the upload stands");
    }
    services.uploads.CheckRoom(target.actor, target.path, *held);
    return *held;
}

Reply AnswerFinish(Services& services, const FinishedUpload& finished, const ItemPath& path) {
    if (finished.refusal) {
        std::rethrow_exception(finished.refusal);
    }
    if (!finished.stored->replacedContent.empty()) {
        services.contents.Remove(finished.stored->replacedContent);
    }
    return JsonReply(ItemDocument(finished.stored->item, path));
}

Reply Commit(Services& services, const UploadTarget& target, const Chunk& chunk, Upload upload, ContentWriter& writer) {
    writer.Finish();
    upload.content = writer.Name();
    upload.received = writer.Size();
    upload.values = chunk.values;
    upload.expires = chunk.expires.value_or(services.uploads.DefaultExpiry());
    if (!chunk.finish) {
        services.uploads.Save(target.key, upload);
        writer.Keep();
        return ProgressReply(upload.received);
    }
    const FinishedUpload finished =
        services.uploads.Finish(target.actor, target.key, upload, target.path, chunk.revision, true);
    writer.Keep();
    return AnswerFinish(services, finished, target.path);
}

asio::awaitable<Reply> ReceiveChunk(Services& services, Exchange& exchange, const UploadTarget& target,
                                    const Chunk& chunk) {
    const Uploads::Turn turn = services.uploads.TakeTurn(target.key);
    const std::optional<Upload> held = services.uploads.Find(target.key);
    if (held && RepeatsTheFinish(*held, chunk)) {
        co_return StoredItemReply(services, *held);
    }
    const Upload upload = RequirePlace(services, target, chunk, held);
    std::optional<ContentWriter> writer;
    const FileStart start = [&](const Fields&) {
        if (held) {
            writer.emplace(services.contents.Folder(), services.options.sync, held->content, held->received);
        } else {
            writer.emplace(services.contents.Folder(), services.options.sync);
        }
        return IntoContent(*writer, chunk.length);
    };
    static_cast<void>(co_await ReceiveFileForm(exchange.body, start));
    co_return Commit(services, target, chunk, upload, *writer);
}

// Stores an upload whose bytes are all there under a path that may be another one than it was begun for.
asio::awaitable<Reply> CompleteUpload(Services& services, Exchange& exchange, const UploadTarget& target) {
    const ItemPath path = RequirePlainItemPath(exchange.request.Header("qm_new_path"));
    const Uploads::Turn turn = services.uploads.TakeTurn(target.key);
    const std::optional<Upload> held = services.uploads.Find(target.key);
    if (!held) {
        throw ApiError(ErrorId::ItemMissing, "There is no such upload");
    }
    const auto part = co_await exchange.body.Multipart().Next();
    if (part) {
        throw ApiError(ErrorId::Malformed, "A completion has nothing but the closing line");
    }
    if (held->item) {
        co_return StoredItemReply(services, *held);
    }
    if (!held->IsComplete()) {
        throw ApiError(ErrorId::UploadOutOfStep, "The upload is not complete");
    }
    const bool ownPath = PathText(path) == target.key.path;
    const FinishedUpload finished =
        services.uploads.Finish(target.actor, target.key, *held, path, std::nullopt, ownPath);
    co_return AnswerFinish(services, finished, path);
}

}  // namespace

asio::awaitable<Reply> PostUpload(Services& services, Exchange& exchange) {
    const UploadTarget target = RequireTarget(services, exchange);
    const Request& request = exchange.request;
    const bool completion = request.Header("qm_offset").empty() && !request.Header("qm_new_path").empty();
    if (completion && IsMarked(request, "qm_finish")) {
        Reply reply = co_await CompleteUpload(services, exchange, target);
        co_return reply;
    }
    const Chunk chunk = ReadChunk(request);
    try {
        Reply reply = co_await ReceiveChunk(services, exchange, target, chunk);
        co_return reply;
    } catch (const RevisionConflict& conflict) {
        co_return MismatchReply(ItemDocument(conflict.Current(), target.path));
    }
}

asio::awaitable<Reply> GetUpload(Services& services, Exchange& exchange) {
    const UploadTarget target = RequireTarget(services, exchange);
    // Asked first: a turn that ends between the two questions has left its bytes in the answer of the second one.
    const bool locked = services.uploads.IsTaken(target.key);
    const std::optional<Upload> held = services.uploads.Find(target.key);
    if (!held && !locked) {
        throw ApiError(ErrorId::ItemMissing, "There is no such upload");
    }
    const std::uint64_t received = held ? held->received : 0;
    co_return JsonReply({{"bytes_received", std::to_string(received)}, {"is_locked", locked ? "true" : "false"}});
}

asio::awaitable<Reply> DeleteUpload(Services& services, Exchange& exchange) {
    const UploadTarget target = RequireTarget(services, exchange);
    const Uploads::Turn turn = services.uploads.TakeTurn(target.key);
    if (!services.uploads.Find(target.key)) {
        throw ApiError(ErrorId::ItemMissing, "There is no such upload");
    }
    static_cast<void>(services.uploads.Remove(target.key));
    co_return JsonReply(nlohmann::json::object());
}

}  // namespace appliance
