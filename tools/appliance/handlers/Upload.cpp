// A whole file in one request: fields first, then the part "file", which goes to the disk as it comes in.
//
// States: fields -> file (checked against what is there, then written) -> rest of the fields -> body complete ->
// contents on the disk -> row committed -> answered. Until the commit the item is what it was; whatever fails before
// leaves nothing.

#include <optional>

#include "Pch.h"
#include "handlers/FileForm.h"
#include "handlers/Handlers.h"
#include "handlers/ItemForm.h"
#include "http/Errors.h"
#include "storage/Contents.h"
#include "storage/Store.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

void CheckOperation(const Fields& fields) {
    const std::string* operation = FindField(fields, "operation");
    if (operation == nullptr || *operation != "create") {
        throw ApiError(ErrorId::Malformed, "The upload has no operation that is known here");
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
    std::optional<ContentWriter> writer;
    const FileStart start = [&](const Fields& ahead) {
        CheckOperation(ahead);
        static_cast<void>(ReadItemValues(ahead));
        const std::uint64_t size = RequireSize(ahead);
        services.store.CheckPut(actor, path, size, RevisionOf(ahead));
        writer.emplace(services.contents.Folder(), services.options.sync);
        return IntoContent(*writer, size);
    };
    const Fields fields = co_await ReceiveFileForm(exchange.body, start);
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
