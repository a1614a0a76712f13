#include "faults/FaultActions.h"

#include "Pch.h"
#include "handlers/Access.h"
#include "storage/Sessions.h"
#include "storage/Store.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

void RotateToken(Services& services, std::size_t fault, std::string_view token) {
    if (const auto fresh = services.sessions.Rotate(token)) {
        services.faults.Note(fault, "token", *fresh);
    }
}

void MakeRevisionStale(Services& services, const Target& target, std::string_view token) {
    const auto actor = services.sessions.ActorOf(token);
    const auto path = ParseItemPath(target.itemPath);
    if (actor && path) {
        services.store.Touch(actor->user, *path);
    }
}

void ChangeState(Services& services, const TakenFault& taken, const Request& request) {
    const auto target = FindTarget(services.options, request);
    if (!target) {
        return;
    }
    const std::string_view token = SessionTokenOf(request, *target);
    if (taken.fault.kind == FaultKind::ExpireToken) {
        services.sessions.Close(token);
    } else if (taken.fault.kind == FaultKind::RotateToken) {
        RotateToken(services, taken.id, token);
    } else {
        MakeRevisionStale(services, *target, token);
    }
}

// The kinds that wait or end the connection, when this is their place.
asio::awaitable<void> Interrupt(Services& services, const Fault& fault, Transport& transport) {
    if (fault.kind == FaultKind::Delay) {
        co_await transport.Pause(fault.time);
    } else if (fault.kind == FaultKind::Cut) {
        transport.Abandon(fault.action);
    } else if (fault.kind == FaultKind::Restart) {
        services.restart(fault.time);
        transport.Abandon(StopAction::End);
    }
}

}  // namespace

asio::awaitable<std::optional<Reply>> ActBeforeWork(Services& services, const TakenFault& taken, const Request& request,
                                                    Transport& transport) {
    const Fault& fault = taken.fault;
    switch (fault.kind) {
        case FaultKind::Reply:
            co_return fault.reply;
        case FaultKind::ExpireToken:
        case FaultKind::RotateToken:
        case FaultKind::StaleRevision:
            ChangeState(services, taken, request);
            break;
        case FaultKind::Delay:
        case FaultKind::Cut:
        case FaultKind::Restart:
            if (fault.place == FaultPlace::BeforeHead) {
                co_await Interrupt(services, fault, transport);
            }
            break;
        case FaultKind::Stall:
        case FaultKind::Trickle:
        case FaultKind::Length:
        case FaultKind::Damage:
            break;
    }
    co_return std::nullopt;
}

asio::awaitable<void> ActAfterWork(Services& services, const TakenFault& taken, Transport& transport) {
    if (taken.fault.place == FaultPlace::AfterWork) {
        co_await Interrupt(services, taken.fault, transport);
    }
}

}  // namespace appliance
