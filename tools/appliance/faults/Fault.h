// One fault rule: which request it meets and what happens to that request then.
#pragma once

#include <chrono>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "faults/Interference.h"
#include "http/HttpMessage.h"

namespace appliance {

enum class FaultKind {
    Reply,          // a given reply instead of any work
    Delay,          // wait before the work or before the answer
    Stall,          // nothing moves for a while after some bytes
    Trickle,        // one byte at a time
    Cut,            // end of stream or reset
    Length,         // a Content-Length that is off
    Damage,         // a byte of the reply's body is changed
    ExpireToken,    // the request's session ends before the work
    RotateToken,    // likewise, and the same user gets another token
    StaleRevision,  // the item gets another revision before the work
    Restart,        // the server goes down and comes back
};

enum class FaultPlace {
    BeforeHead,  // the request's head has come; nothing is done, nothing answered
    InRequest,   // in the request's body
    InHead,      // in the answer's head; the work is done
    InBody,      // in the answer's body; the work is done
    AfterWork,   // the whole request has come and the work is done; nothing is answered
};

struct Fault {
    std::string method;
    std::string path;  // decoded, without query
    bool prefix = false;
    FaultKind kind = FaultKind::Reply;
    FaultPlace place = FaultPlace::BeforeHead;
    StopAction action = StopAction::End;
    std::uint64_t after = 0;
    std::chrono::milliseconds time{0};
    std::int64_t by = 0;
    std::uint64_t offset = 0;
    Reply reply;
    bool early = false;  // answered before the request's body is read

    [[nodiscard]] bool Matches(const std::string& requestMethod, const std::string& requestPath) const;

    // What it does to the bytes of the request's body, and of an answer whose head has that length.
    [[nodiscard]] Interference OnRequestBody() const;
    [[nodiscard]] Interference OnReply(std::uint64_t headLength) const;
};

// Reads one rule. Throws ApiError with what is wrong. The format is in docs/protocol.md.
Fault ParseFault(const nlohmann::json& rule);

}  // namespace appliance
