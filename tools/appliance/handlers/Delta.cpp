// Deltas that the client waits for, both ways; what it wants back says which one it is.
//
// Up: fields and a delta -> checked against what is there -> the delta on the disk -> applied to the content -> the
// result on the disk -> row committed -> answered. Down: the client's base -> a delta from it to the present content
// when the base is a signature, and else that content.

#include <optional>

#include "Pch.h"
#include "WorkPool.h"
#include "handlers/DeltaFile.h"
#include "handlers/Handlers.h"
#include "handlers/ItemForm.h"
#include "handlers/OpenedFile.h"
#include "http/Errors.h"
#include "storage/Contents.h"
#include "storage/DataFile.h"
#include "storage/Deltas.h"
#include "storage/Mappings.h"
#include "storage/Signature.h"
#include "storage/Store.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

constexpr const char* FileType = "application/octet-stream";

void RequireRevision(const Item& item, const std::optional<std::string>& revision) {
    if (revision && *revision != item.RevisionText()) {
        throw RevisionConflict(item);
    }
}

// The result counts for the content that the delta was applied to: what another client stores meanwhile stays.
Reply Commit(Services& services, const Actor& actor, const ItemPath& path, const Fields& fields, const Item& base,
             ContentWriter& result) {
    const NewFile file{ReadItemValues(fields), result.Size(), result.Name(), base.RevisionText()};
    const StoredFile stored = services.store.PutFile(actor, path, file);
    result.Keep();
    if (!stored.replacedContent.empty()) {
        services.contents.Remove(stored.replacedContent);
    }
    return JsonReply(ItemDocument(stored.item, path));
}

asio::awaitable<Reply> Upload(Services& services, Exchange& exchange, const Actor& actor, const ItemPath& path) {
    std::optional<ContentWriter> delta;
    const FileStart start = [&](const Fields& ahead) {
        static_cast<void>(ReadItemValues(ahead));
        services.store.CheckPut(actor, path, RequireSize(ahead), RevisionOf(ahead));
        static_cast<void>(services.store.Get(actor.user, path));
        // Needed until the answer only.
        delta.emplace(services.contents.Folder(), false);
        return IntoDelta(services, *delta);
    };
    const Fields fields = co_await ReceiveFileForm(exchange.body, start);
    delta->Finish();
    const OpenedFile base = OpenFile(services, actor.user, path);
    RequireRevision(base.item, RevisionOf(fields));
    const FileDescriptor deltaFile = services.contents.Open(delta->Name());
    ContentWriter result(services.contents.Folder(), services.options.sync);
    co_await services.workPool.Run([&] {
        ApplyDelta(base.content, deltaFile, RequireSize(fields), result,
                   [&](std::uint64_t) { services.workPool.Pass(); });
        result.Finish();
    });
    co_return Commit(services, actor, path, fields, base.item, result);
}

// What a client has of a file: kept while it may be a signature, dropped as it comes in when it is the file itself.
class Base {
public:
    void Take(std::string_view bytes) {
        if (m_dropped) {
            return;
        }
        m_bytes += bytes;
        m_dropped = m_bytes.size() > LongestSignature || (m_bytes.size() >= 4 && !BeginsLikeSignature(m_bytes));
        if (m_dropped) {
            m_bytes = std::string();
        }
    }

    // Empty for anything but a signature.
    [[nodiscard]] const std::string& Signature() const { return m_bytes; }

private:
    std::string m_bytes;
    bool m_dropped = false;
};

Reply FileReply(FileDescriptor file, std::uint64_t size) {
    Reply reply;
    reply.contentType = FileType;
    reply.file = FileRange{std::make_shared<FileDescriptor>(std::move(file)), 0, size};
    return reply;
}

asio::awaitable<Reply> Download(Services& services, Exchange& exchange, const Actor& actor, const ItemPath& path) {
    const auto revision = RevisionOf(RequireQuery(exchange.request));
    Base base;
    const FileStart start = [&](const Fields&) {
        RequireRevision(OpenFile(services, actor.user, path).item, revision);
        return FileSink{[&](std::string_view bytes) { base.Take(bytes); }, std::nullopt};
    };
    static_cast<void>(co_await ReceiveFileForm(exchange.body, start));
    // Sending the base may have taken a while.
    OpenedFile file = OpenFile(services, actor.user, path);
    RequireRevision(file.item, revision);
    ContentWriter delta(services.contents.Folder(), false);
    bool made = false;
    co_await services.workPool.Run([&] {
        made = MakeDelta(base.Signature(), file.content, file.item.size, delta,
                         [&](std::uint64_t) { services.workPool.Pass(); });
        delta.Finish();
    });
    if (!made) {
        co_return FileReply(std::move(file.content), file.item.size);
    }
    // Open, it outlives the removal of its name.
    co_return FileReply(services.contents.Open(delta.Name()), delta.Size());
}

}  // namespace

asio::awaitable<Reply> PostDelta(Services& services, Exchange& exchange) {
    const Actor actor = RequireActor(services, exchange.request, exchange.target);
    const ItemPath path = RequireItemPath(exchange.target.itemPath);
    services.data.Read([&](Database& database) { RequireCapability(database, path, Capability::Deltas); });
    try {
        if (exchange.request.Accepts(FileType)) {
            Reply reply = co_await Download(services, exchange, actor, path);
            co_return reply;
        }
        Reply reply = co_await Upload(services, exchange, actor, path);
        co_return reply;
    } catch (const RevisionConflict& conflict) {
        co_return MismatchReply(ItemDocument(conflict.Current(), path));
    }
}

}  // namespace appliance
