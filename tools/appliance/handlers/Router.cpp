#include "handlers/Router.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <span>

#include "Pch.h"
#include "handlers/Handlers.h"
#include "http/Errors.h"
#include "storage/Database.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

struct Route {
    std::string_view method;
    std::string_view resource;
    bool takesItemPath;
    Handler handler;
};

constexpr std::array Routes{
    Route{"GET", "/init", false, AnswerInit},
    Route{"GET", "/version", false, AnswerVersion},
    Route{"POST", "/sessions", false, Login},
    Route{"GET", "/folders", true, GetItem},
    Route{"POST", "/folders", true, PostItem},
    Route{"POST", "/resume", true, PostUpload},
    Route{"GET", "/resume", true, GetUpload},
    Route{"DELETE", "/resume", true, DeleteUpload},
    Route{"POST", "/delta", true, PostDelta},
    Route{"POST", "/asdelta", true, PostDeltaJob},
    Route{"GET", "/asdelta", true, GetDeltaJobs},
    Route{"DELETE", "/asdelta", true, DeleteDeltaJob},
    Route{"DELETE", "/folders", true, DeleteItem},
    Route{"GET", "/notifs", false, GetChanges},
    Route{"GET", "/locking", true, GetLock},
    Route{"POST", "/locking", true, TakeLock},
    Route{"DELETE", "/locking", true, ReleaseLock},
    Route{"POST", "/share", false, PostShare},
    Route{"POST", "/registrations", true, PostRegistration},
};

// Not below an API path, whatever is offered.
constexpr std::array RootRoutes{
    Route{"GET", "/endpoints", false, AnswerEndpoints},
    Route{"POST", "/api/devices", false, AcknowledgeWipe},
    Route{"GET", "/share", true, GetShared},
    Route{"POST", LoggingPath, false, PostAudit},
};

// Empty when no endpoint at the root has that path.
std::optional<Target> FindRootTarget(std::string_view path) {
    for (const Route& route : RootRoutes) {
        const std::string_view rest = path.substr(std::min(route.resource.size(), path.size()));
        if (path.starts_with(route.resource) && (rest.empty() || (route.takesItemPath && rest.front() == '/'))) {
            Target target;
            target.resource = route.resource;
            target.itemPath = rest;
            return target;
        }
    }
    return std::nullopt;
}

const Route& FindRoute(std::span<const Route> routes, const Request& request, const Target& target) {
    bool known = false;
    for (const Route& route : routes) {
        if (route.resource != target.resource || (!route.takesItemPath && !target.itemPath.empty())) {
            continue;
        }
        if (route.method == request.method) {
            return route;
        }
        known = true;
    }
    if (known) {
        throw ApiError(ErrorId::MethodUnknown, "This endpoint has no such method");
    }
    throw ApiError(ErrorId::EndpointUnknown, "There is no such endpoint");
}

// What went wrong inside is for the operator, not for the client.
Reply InternalError(const std::exception& error) {
    std::fprintf(stderr, "quillmark-appliance: %s\n", error.what());
    return ErrorReply(ErrorId::Internal, "The server has failed");
}

Reply Refusal(const ApiError& error) {
    Reply reply = ErrorReply(error.Id(), error.what());
    if (error.Id() == ErrorId::IdentityMissing) {
        reply.headers.emplace_back("WWW-Authenticate", "Negotiate");
    }
    return reply;
}

}  // namespace

bool Router::IsControl(const Request& request) const {
    const std::string& path = m_services.options.controlPath;
    return !path.empty() && request.path.starts_with(path + '/');
}

asio::awaitable<Reply> Router::Answer(const Request& request, RequestBody& body) {
    try {
        Reply reply = co_await Dispatch(request, body);
        co_return reply;
    } catch (const ApiError& error) {
        co_return Refusal(error);
    } catch (const DatabaseError& error) {
        if (error.IsDiskFull()) {
            co_return ErrorReply(ErrorId::StorageFull, "The disk is full");
        }
        co_return InternalError(error);
    } catch (const boost::system::system_error&) {
        throw;
    } catch (const ConnectionAbandoned&) {
        throw;
    } catch (const std::exception& error) {
        co_return InternalError(error);
    }
}

asio::awaitable<Reply> Router::Dispatch(const Request& request, RequestBody& body) {
    if (IsControl(request)) {
        const std::string_view resource = std::string_view(request.path).substr(m_services.options.controlPath.size());
        Reply reply = co_await AnswerControl(m_services, request, body, resource);
        co_return reply;
    }
    const auto rootTarget = FindRootTarget(request.path);
    const auto target = rootTarget ? rootTarget : FindTarget(m_services.options, request);
    if (!target) {
        throw ApiError(ErrorId::EndpointUnknown, "There is no such endpoint");
    }
    const auto routes = rootTarget ? std::span<const Route>(RootRoutes) : std::span<const Route>(Routes);
    const Route& route = FindRoute(routes, request, *target);
    Exchange exchange{request, body, *target};
    Reply reply = co_await route.handler(m_services, exchange);
    co_return reply;
}

}  // namespace appliance
