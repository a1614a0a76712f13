// WinHttpFactory: makes the library's own transport objects. It has no state; one may serve any number of clients and
// threads.
#pragma once

#include "quillmark/Transport.h"

namespace quillmark {

class WinHttpFactory final : public IWinHttpFactory {
public:
    [[nodiscard]] std::shared_ptr<IWinHttpSession> CreateSession() override;
    [[nodiscard]] std::shared_ptr<IWinHttpConnection> CreateConnection() override;
    [[nodiscard]] std::shared_ptr<IWinHttpRequest> CreateRequest(
        const std::shared_ptr<IWinHttpSession>& session) override;
};

}  // namespace quillmark
