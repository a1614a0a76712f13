// Share links: the request that makes one, and the link itself, which needs no session.
#include "storage/Shares.h"

#include <algorithm>

#include "Pch.h"
#include "handlers/Handlers.h"
#include "handlers/ItemForm.h"
#include "handlers/OpenedFile.h"
#include "http/Errors.h"
#include "storage/Outbox.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

std::string TextOf(const Fields& fields, std::string_view name) {
    const std::string* text = FindField(fields, name);
    return text == nullptr ? std::string() : *text;
}

Share ReadShare(const Fields& fields) {
    if (RequireField(fields, "type") != "USER") {
        throw ApiError(ErrorId::Malformed, "Shares of that type are not known here");
    }
    Share share{TextOf(fields, "name"), TextOf(fields, "message"), {}};
    for (const auto& [name, value] : fields) {
        if (name == "path") {
            share.paths.push_back(RequirePlainItemPath(value));
        }
    }
    if (share.paths.empty()) {
        throw ApiError(ErrorId::Malformed, "There is no path to share");
    }
    return share;
}

// The server as the client has reached it: others reach it so, too.
std::string LinkFor(const Request& request, const std::string& token) {
    const std::string_view host = request.Header("Host");
    const bool good = !host.empty() && std::all_of(host.begin(), host.end(), [](unsigned char letter) {
        return (letter < 128 && std::isalnum(letter) != 0) ||
               std::string_view(".-_:[]").find(static_cast<char>(letter)) != std::string_view::npos;
    });
    if (!good) {
        throw ApiError(ErrorId::Malformed, "The Host header names no server that a link could lead to");
    }
    return (request.secure ? "https://" : "http://") + std::string(host) + "/share/" + token;
}

// One letter for each recipient.
void SendLetters(const Outbox& outbox, const Fields& fields, const Share& share, const std::string& link) {
    nlohmann::json paths = nlohmann::json::array();
    for (const ItemPath& path : share.paths) {
        paths.push_back(PathText(path));
    }
    for (const auto& [name, value] : fields) {
        if (name == "target") {
            outbox.Post({{"kind", "share"},
                         {"recipient", value},
                         {"link", link},
                         {"name", share.name},
                         {"message", share.message},
                         {"paths", paths}});
        }
    }
}

}  // namespace

asio::awaitable<Reply> PostShare(Services& services, Exchange& exchange) {
    const Actor actor = RequireActor(services, exchange.request, exchange.target);
    const Fields fields = co_await exchange.body.ReadForm();
    const Share share = ReadShare(fields);
    static_cast<void>(LinkFor(exchange.request, ""));
    const std::string link = LinkFor(exchange.request, Shares(services.data).Add(actor, share));
    SendLetters(services.outbox, fields, share, link);
    co_return JsonReply({{"link", link}});
}

asio::awaitable<Reply> GetShared(Services& services, Exchange& exchange) {
    const std::string_view token =
        exchange.target.itemPath.substr(std::min<std::size_t>(1, exchange.target.itemPath.size()));
    const auto [user, path] = Shares(services.data).Find(token);
    OpenedFile file = OpenFile(services, user, path);
    Reply reply;
    reply.contentType = "application/octet-stream";
    reply.file = FileRange{std::make_shared<FileDescriptor>(std::move(file.content)), 0, file.item.size};
    co_return reply;
}

}  // namespace appliance
