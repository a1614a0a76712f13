// A world of its own for the test's process, in which the one name server takes questions and never answers.
#pragma once

#include <optional>
#include <string>

#include "integration/support/TempFolder.h"

namespace quillmark::testing {

class SilentNameServer {
public:
    // Moves the calling thread, and those that it will start, to network and mount namespaces of their own. Call it
    // before any thread is started. Throws std::runtime_error where the system does not allow that.
    SilentNameServer();
    ~SilentNameServer();
    SilentNameServer(const SilentNameServer&) = delete;
    SilentNameServer& operator=(const SilentNameServer&) = delete;

    // Waits for a question of this kind (1: A, 28: AAAA) and gives back the name. None in half a minute.
    [[nodiscard]] std::optional<std::string> AwaitQuestion(int kind);

private:
    TempFolder m_folder;
    int m_socket = -1;
};

}  // namespace quillmark::testing
