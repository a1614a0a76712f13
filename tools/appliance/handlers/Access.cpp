#include "handlers/Access.h"

#include <algorithm>

#include "http/Errors.h"
#include "storage/Sessions.h"
#include "storage/Store.h"

namespace appliance {

namespace {

constexpr std::string_view TokenBranch = "/api/";
constexpr std::string_view KerberosBranch = "/kerberos";
constexpr std::string_view Notifications = "/notifs";

// Takes a leading path off; only whole segments count.
bool TakePath(std::string_view& path, std::string_view leading) {
    if (!path.starts_with(leading) || (path.size() > leading.size() && path[leading.size()] != '/')) {
        return false;
    }
    path.remove_prefix(leading.size());
    return true;
}

// The first segment of the rest is the resource, what follows is the item's path.
void SplitResource(std::string_view rest, Target& target) {
    const std::size_t end = std::min(rest.find('/', 1), rest.size());
    target.resource = rest.substr(0, end);
    target.itemPath = rest.substr(end);
}

bool IsFirstVersion(const OfferedApi& api) {
    return api.version == "1.0" || api.version == "1";
}

bool OffersTokenPaths(const Options& options) {
    return std::any_of(options.apis.begin(), options.apis.end(), IsFirstVersion);
}

// Notifications are the one endpoint behind whose name clients of version 1.0 put the token.
void TakeTokenBehind(Target& target) {
    if (target.resource == Notifications && target.itemPath.size() > 1) {
        target.pathToken = target.itemPath.substr(1);
        target.itemPath = {};
    }
}

}  // namespace

std::optional<Target> FindTarget(const Options& options, const Request& request) {
    for (const OfferedApi& api : options.apis) {
        std::string_view rest = request.path;
        if (TakePath(rest, api.path)) {
            Target target;
            target.kerberos = TakePath(rest, KerberosBranch);
            SplitResource(rest, target);
            if (IsFirstVersion(api)) {
                TakeTokenBehind(target);
            }
            return target;
        }
    }
    std::string_view rest = request.path;
    if (!OffersTokenPaths(options) || !rest.starts_with(TokenBranch)) {
        return std::nullopt;
    }
    rest.remove_prefix(TokenBranch.size());
    Target target;
    target.pathToken = rest.substr(0, std::min(rest.find('/'), rest.size()));
    SplitResource(rest.substr(target.pathToken.size()), target);
    return target.pathToken.empty() ? std::nullopt : std::optional(target);
}

std::string_view SessionTokenOf(const Request& request, const Target& target) {
    return target.pathToken.empty() ? request.Cookie("session_token") : target.pathToken;
}

Actor RequireActor(const Services& services, const Request& request, const Target& target) {
    const auto actor = services.sessions.ActorOf(SessionTokenOf(request, target));
    if (target.kerberos) {
        const auto named = services.store.FindUser(RequireFrontEndName(services, request));
        if (!named || (actor && actor->user != named->id)) {
            throw ApiError(ErrorId::IdentityMissing, "The authenticated user has no account here");
        }
        return actor.value_or(Actor{named->id, ""});
    }
    if (!actor) {
        throw ApiError(ErrorId::SessionInvalid, "The session is unknown or has expired");
    }
    return *actor;
}

std::string RequireFrontEndName(const Services& services, const Request& request) {
    const Options& options = services.options;
    const bool trusted =
        std::find(options.frontEnds.begin(), options.frontEnds.end(), request.peerAddress) != options.frontEnds.end();
    const std::string_view name =
        options.identityHeader.empty() || !trusted ? std::string_view() : request.Header(options.identityHeader);
    if (name.empty()) {
        throw ApiError(ErrorId::IdentityMissing, "No trusted front end has authenticated a user");
    }
    return std::string(name);
}

}  // namespace appliance
