// The session: what its requests share. Used from any number of threads.
//
// A request holds its session, so the session outlives everything that refers to its shared libcurl data.
#pragma once

#include <mutex>
#include <set>
#include <string>

#include "winhttp/ChannelPool.h"
#include "winhttp/CurlShare.h"
#include "winhttp/InternetHandle.h"
#include "winhttp/Settings.h"
#include "winhttp/TrustedRoots.h"

namespace quillmark::platform::winhttp {

class Session final : public InternetHandle {
public:
    // Throws std::bad_alloc.
    Session(ProxyChoice proxy, std::string userAgent);

    void OnClose() override { m_channels.Close(); }

    [[nodiscard]] Settings CurrentSettings() const;

    // Changes the settings of requests that are opened later.
    template <typename Change>
    void ChangeSettings(Change change) {
        const std::lock_guard lock(m_mutex);
        change(m_settings);
    }

    [[nodiscard]] const ProxyChoice& Proxy() const { return m_proxy; }
    [[nodiscard]] const CurlShare& Share() const { return m_share; }
    [[nodiscard]] TrustedRoots& Roots() { return m_roots; }
    [[nodiscard]] ChannelPool& Channels() { return m_channels; }

    // An idle channel of the origin whose connection still lives, or a new one. Throws std::bad_alloc.
    //
    // Some front ends answer an upload before its last announced bytes are there, say that they keep the connection,
    // and close it behind the reply all the same. So after the first such reply of an origin the connection is watched
    // for a moment before it carries another request. Where it closes, later uploads pay what they owe before they wait
    // for the reply; where it does not, it is not watched again.
    [[nodiscard]] std::unique_ptr<Channel> TakeChannel(const std::string& origin);

    // Servers that do not answer before all announced bytes are there, learned by waiting for one once.
    [[nodiscard]] bool WaitsForOwedBytes(const std::string& origin) const;
    void RememberWaitsForOwedBytes(const std::string& origin);

private:
    // How long the idle channel is to be watched for its end.
    [[nodiscard]] std::chrono::steady_clock::time_point EndOfWatch(const Channel& channel,
                                                                   const std::string& origin) const;

    const ProxyChoice m_proxy;
    mutable std::mutex m_mutex;
    Settings m_settings;
    std::set<std::string> m_waitsForOwedBytes;
    std::set<std::string> m_keepsAfterEarlyReply;
    // The channels refer to the share, so they are declared after it and go first.
    CurlShare m_share;
    TrustedRoots m_roots;
    ChannelPool m_channels;
};

}  // namespace quillmark::platform::winhttp
