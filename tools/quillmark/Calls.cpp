#include "Calls.h"

namespace quillmark::cli {

Calls::Calls(Client& client, CallObserver* observer)
    : m_client(client), m_observer(observer), m_cancel(client.CancelEvent()), m_budget(client.Options().retries) {}

Calls::~Calls() = default;

IQuillmarkHttpAPI& Calls::Api() const {
    return m_client.Api();
}

HANDLE Calls::CancelEvent() const {
    return m_cancel;
}

bool Calls::Interrupted() const {
    return Options().Interrupted();
}

const GlobalOptions& Calls::Options() const {
    return m_client.Options();
}

const StoredSession& Calls::Session() const {
    return m_client.Session();
}

DWORD Calls::Run(const Operation& operation) {
    return operation();
}

bool Calls::Pause(std::chrono::milliseconds pause) const {
    return WaitForSingleObject(m_cancel, static_cast<DWORD>(pause.count())) != WAIT_OBJECT_0;
}

}  // namespace quillmark::cli
