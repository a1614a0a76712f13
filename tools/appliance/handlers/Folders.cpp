#include <limits>

#include "Pch.h"
#include "handlers/Handlers.h"
#include "handlers/ItemForm.h"
#include "handlers/OpenedFile.h"
#include "http/Errors.h"
#include "storage/Contents.h"
#include "storage/Store.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

std::uint64_t NumberOf(const Fields& query, std::string_view name, std::uint64_t otherwise) {
    const std::string* text = FindField(query, name);
    const auto number = text == nullptr ? std::optional<unsigned long long>(otherwise) : ParseNumber(*text);
    if (!number) {
        throw ApiError(ErrorId::Malformed, std::string(name) + " is no number");
    }
    return *number;
}

bool IsCurrent(const Item& item, const Fields& query) {
    const std::string* revision = FindField(query, "revision");
    return revision == nullptr || *revision == item.RevisionText();
}

// Bytes "skip" to "skip" + "count" of the file, clipped to its end.
Reply Download(const Services& services, std::int64_t user, const ItemPath& path, const Fields& query) {
    OpenedFile file = OpenFile(services, user, path);
    if (!IsCurrent(file.item, query)) {
        return MismatchReply(ItemDocument(file.item, path));
    }
    const std::uint64_t size = file.item.size;
    const std::uint64_t skip = std::min(NumberOf(query, "skip", 0), size);
    const std::uint64_t count = std::min(NumberOf(query, "count", size), size - skip);
    Reply reply;
    reply.contentType = "application/octet-stream";
    reply.file = FileRange{std::make_shared<FileDescriptor>(std::move(file.content)), skip, count};
    return reply;
}

Reply Create(const Services& services, const Actor& actor, const ItemPath& parent, const Fields& fields) {
    const std::string* name = FindField(fields, "name");
    if (name == nullptr || !IsItemName(*name)) {
        throw ApiError(ErrorId::Malformed, "The form has no name that could be stored");
    }
    const Item item = services.store.CreateFolder(actor, parent, *name);
    ItemPath path = parent;
    path.push_back(*name);
    return JsonReply(ItemDocument(item, path));
}

Reply Update(const Services& services, const Actor& actor, ItemPath at, const Fields& fields) {
    ItemValues values = ReadItemValues(fields);
    // Clients that only rename send the new name as "path", those that set attributes the name as it is as "name".
    const std::string* path = FindField(fields, "path");
    if (const std::string* name = path != nullptr ? path : FindField(fields, "name")) {
        if (!IsItemName(*name)) {
            throw ApiError(ErrorId::Malformed, "The name could not be stored");
        }
        values.name = *name;
    }
    const Item item = services.store.Update(actor, at, values);
    at.back() = item.name;
    return JsonReply(ItemDocument(item, at));
}

bool RequireOverwrite(const Fields& fields) {
    const std::string* text = FindField(fields, "overwrite");
    if (text != nullptr && *text != "true" && *text != "false") {
        throw ApiError(ErrorId::Malformed, "overwrite is neither true nor false");
    }
    return text != nullptr && *text == "true";
}

Reply Move(const Services& services, const Actor& actor, const ItemPath& from, const Fields& fields) {
    const ItemPath to = RequirePlainItemPath(RequireField(fields, "path"));
    const MovedItem moved = services.store.Move(actor, from, to, RequireOverwrite(fields));
    if (!moved.replacedContent.empty()) {
        services.contents.Remove(moved.replacedContent);
    }
    return JsonReply(ItemDocument(moved.item, to));
}

}  // namespace

asio::awaitable<Reply> GetItem(Services& services, Exchange& exchange) {
    const std::int64_t user = RequireActor(services, exchange.request, exchange.target).user;
    const ItemPath path = RequireItemPath(exchange.target.itemPath);
    const Fields query = RequireQuery(exchange.request);
    const std::string* includeAll = FindField(query, "includeAll");
    if (path.empty() && includeAll != nullptr && *includeAll == "true") {
        co_return ListMappings(services, user, query);
    }
    const std::string* type = FindField(query, "type");
    if (type != nullptr && *type == "all") {
        const Listing listing = services.store.List(user, path);
        co_return JsonReply(ListingDocument(listing.folder, path, listing.children));
    }
    if (exchange.request.Accepts("application/octet-stream")) {
        co_return Download(services, user, path, query);
    }
    const Item item = services.store.Get(user, path);
    if (!IsCurrent(item, query)) {
        co_return MismatchReply(ItemDocument(item, path));
    }
    co_return JsonReply(ItemDocument(item, path));
}

asio::awaitable<Reply> PostItem(Services& services, Exchange& exchange) {
    const Actor actor = RequireActor(services, exchange.request, exchange.target);
    if (exchange.body.IsMultipart()) {
        Reply reply = co_await UploadFile(services, exchange, actor);
        co_return reply;
    }
    const Fields fields = co_await exchange.body.ReadForm();
    const ItemPath path = RequireItemPath(exchange.target.itemPath);
    const std::string* operation = FindField(fields, "operation");
    if (operation != nullptr && *operation == "create") {
        co_return Create(services, actor, path, fields);
    }
    if (operation != nullptr && *operation == "update") {
        co_return Update(services, actor, path, fields);
    }
    if (operation != nullptr && *operation == "move") {
        co_return Move(services, actor, path, fields);
    }
    throw ApiError(ErrorId::Malformed, "The form has no operation that is known here");
}

asio::awaitable<Reply> DeleteItem(Services& services, Exchange& exchange) {
    const Actor actor = RequireActor(services, exchange.request, exchange.target);
    const ItemPath path = RequireItemPath(exchange.target.itemPath);
    const auto revision = RevisionOf(RequireQuery(exchange.request));
    try {
        for (const std::string& content : services.store.Delete(actor, path, revision)) {
            services.contents.Remove(content);
        }
    } catch (const RevisionConflict& conflict) {
        co_return MismatchReply(ItemDocument(conflict.Current(), path));
    }
    co_return JsonReply(nlohmann::json::object());
}

}  // namespace appliance
