#include "Calls.h"

#include <utility>

#include "CancelEvents.h"

namespace quillmark::cli {

Calls::Calls(Client& client, CallObserver* observer)
    : m_client(client), m_observer(observer), m_cancel(client.Events().Take()), m_budget(client.Options().retries) {}

Calls::~Calls() {
    m_client.Events().GiveBack(m_cancel);
}

IQuillmarkHttpAPI& Calls::Api() const {
    return m_client.Api();
}

HANDLE Calls::CancelEvent() const {
    return m_cancel;
}

bool Calls::Interrupted() const {
    return m_client.Options().Interrupted();
}

const GlobalOptions& Calls::Options() const {
    return m_client.Options();
}

const StoredSession& Calls::Session() const {
    return m_client.Session();
}

DWORD Calls::Run(const Operation& operation) {
    return RunWith(operation, nullptr);
}

DWORD Calls::RunOnce(const Operation& operation, const Settlement& settle) {
    return RunWith(operation, settle);
}

DWORD Calls::RunUnlessLost(const Operation& operation) {
    DWORD error = ERROR_SUCCESS;
    return RunWith([&] { return error = operation(); }, [&] { return std::optional<DWORD>(error); });
}

bool Calls::Pause(std::chrono::milliseconds pause) const {
    return WaitForSingleObject(m_client.Options().interrupt, static_cast<DWORD>(pause.count())) == WAIT_TIMEOUT;
}

void Calls::Progressed() {
    m_unreachable = false;
    m_budget.Progressed();
}

// Attempts follow each other until one succeeds, fails for good, or the budget is used up. Once an answer was lost the
// change may happen at any moment, so every later failure, a refusal too, is settled before it is believed.
DWORD Calls::RunWith(const Operation& operation, const Settlement& settle) {
    bool answerLost = false;
    bool loggedIn = false;
    BeginCall();
    for (;;) {
        const unsigned login = m_client.LoginNumber();
        const DWORD error = operation();
        if (error == ERROR_SUCCESS) {
            Progressed();
            return error;
        }
        answerLost = answerLost || IsAnswerLost(error);
        const bool another = PrepareAnother(error, login, loggedIn);
        if (settle && answerLost && !Interrupted()) {
            if (const std::optional<DWORD> settled = Settle(settle)) {
                return *settled;
            }
        }
        if (!another) {
            return error;
        }
    }
}

// With attempts of its own: its success is no progress of the call that it is about.
std::optional<DWORD> Calls::Settle(const Settlement& settle) {
    const RetryBudget budget = std::exchange(m_budget, RetryBudget(m_client.Options().retries));
    const std::optional<DWORD> settled = settle();
    m_budget = budget;
    return settled;
}

bool Calls::PrepareAnother(DWORD error, unsigned login, bool& loggedIn) {
    const Remedy remedy = RemedyFor(error);
    if (error >= SERVER_ERROR_BASE) {
        m_unreachable = false;
    }
    if (Interrupted() || (remedy == Remedy::AfterLogin && loggedIn)) {
        return false;
    }
    const std::optional<std::chrono::milliseconds> pause = m_budget.Next(remedy);
    if (!pause) {
        m_unreachable = m_unreachable || (error < SERVER_ERROR_BASE && remedy == Remedy::AfterPause);
        return false;
    }
    return remedy == Remedy::AfterLogin ? LogIn(error, login, loggedIn) : TellAndPause(error, *pause);
}

// The login itself may meet a lost connection.
bool Calls::LogIn(DWORD error, unsigned login, bool& loggedIn) {
    for (;;) {
        const DWORD refused = m_client.RenewLogin(login, m_cancel, loggedIn);
        if (refused == ERROR_SUCCESS) {
            return TellAndPause(error, std::chrono::milliseconds(0));
        }
        if (RemedyFor(refused) != Remedy::AfterPause) {
            return false;
        }
        const std::optional<std::chrono::milliseconds> pause = m_budget.Next(Remedy::AfterPause);
        if (!pause || !TellAndPause(refused, *pause)) {
            return false;
        }
    }
}

bool Calls::TellAndPause(DWORD error, std::chrono::milliseconds pause) const {
    if (Interrupted()) {
        return false;
    }
    if (m_observer != nullptr) {
        m_observer->Retrying(error, m_budget.Attempt(), m_budget.Most(), pause);
    }
    return Pause(pause);
}

void Calls::BeginCall() {
    if (!m_unreachable) {
        m_budget.Progressed();
    }
}

}  // namespace quillmark::cli
