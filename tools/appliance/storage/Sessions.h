// The sessions that logins have opened: who may act until when. Tokens are random and kept only as their hash, so the
// data folder does not give them away. Safe for every thread; looking a token up does not touch the disk.
#pragma once

#include <chrono>
#include <optional>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "storage/Store.h"

namespace appliance {

class Sessions {
public:
    // Reads the sessions that are still good and forgets the others.
    Sessions(Store& store, std::chrono::seconds lifetime);

    // A new session; the result is its token.
    [[nodiscard]] std::string Open(std::int64_t user, const std::string& device);
    // Who acts in that session; empty when it is unknown or has expired.
    [[nodiscard]] std::optional<Actor> ActorOf(std::string_view token);
    // Ends it. A token that is not known is ignored.
    void Close(std::string_view token);
    // Ends all that the device has.
    void CloseAllOf(const Actor& actor);
    // Ends it and opens another one for the same user; empty when the token was not good.
    [[nodiscard]] std::optional<std::string> Rotate(std::string_view token);

private:
    struct Session {
        std::int64_t user;
        std::string device;
        Ticks expires;
    };

    [[nodiscard]] std::optional<Session> Find(std::string_view token);

    Store& m_store;
    Ticks m_lifetime;
    std::shared_mutex m_lock;
    std::unordered_map<std::string, Session> m_sessions;  // by the token's hash
};

}  // namespace appliance
