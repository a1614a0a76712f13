#include "transport/WinHttpFactory.h"

#include "transport/WinHttpConnection.h"
#include "transport/WinHttpRequest.h"
#include "transport/WinHttpSession.h"

namespace quillmark {

std::shared_ptr<IWinHttpSession> WinHttpFactory::CreateSession() {
    return std::make_shared<WinHttpSession>();
}

std::shared_ptr<IWinHttpConnection> WinHttpFactory::CreateConnection() {
    return std::make_shared<WinHttpConnection>();
}

std::shared_ptr<IWinHttpRequest> WinHttpFactory::CreateRequest(const std::shared_ptr<IWinHttpSession>& session) {
    return std::make_shared<WinHttpRequest>(session);
}

}  // namespace quillmark
