// WinHttpConnection: names one server and port on a session and puts the configured time-outs on that session.
//
// The four configured values ("HTTPConnectionRequestTimeout", "HTTPNameResolutionTimeout", "HTTPSendRequestTimeout",
// "HTTPReceiveResponseTimeout", milliseconds) are read once per process, each at its first use; a change in the
// registry takes effect at the next start.
#pragma once

#include "quillmark/Transport.h"
#include "transport/WinHttpHandle.h"

namespace quillmark {

class WinHttpConnection final : public WinHttpHandle, public IWinHttpConnection {
public:
    [[nodiscard]] DWORD Initialise(const WideString& server, WORD port, const std::shared_ptr<IWinHttpSession>& session,
                                   DWORD connect, DWORD resolve, DWORD send, DWORD receive) override;
    [[nodiscard]] HINTERNET GetHandle() override { return Handle(); }
};

}  // namespace quillmark
