// Calls: one thread's calls of the library. Each thread that talks to the server has one, with a cancel event of its
// own, because setting an event ends one operation only. All of them are set when the program is interrupted.
//
// A call that failed for a passing reason is repeated here and nowhere else: at once when the library asks for it,
// after a growing pause with some chance in it when the connection or the server failed, after one new login when the
// session has ended and a password is at hand. What happens is told to the observer.
//
//     Calls calls(client);
//     std::shared_ptr<IServerAttributes> item;
//     const DWORD error = calls.Run([&] { return calls.Api().GetPathAttributes(path, item, calls.CancelEvent()).error;
//     });
//
// Not thread-safe; the client behind it is shared.
#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include "Client.h"
#include "Retry.h"

namespace quillmark::cli {

// Told on the thread of the calls, before the pause begins.
class CallObserver {
public:
    virtual ~CallObserver() = default;
    // The call failed with this error and is repeated after the pause, which is zero where the session was renewed or
    // the library asked for it; attempt counts from 1 up to most.
    virtual void Retrying(DWORD error, int attempt, int most, std::chrono::milliseconds pause) = 0;
};

class Calls {
public:
    // A call of the library, with Api() and CancelEvent() of this object. 0 or an error code.
    using Operation = std::function<DWORD()>;
    // Looks up on the server whether a change has happened whose answer was lost: the call's result when that can be
    // told (0: it has), nothing when it has not happened and may be repeated.
    using Settlement = std::function<std::optional<DWORD>()>;

    // Takes a cancel event. observer (may be null) lives longer than this object.
    explicit Calls(Client& client, CallObserver* observer = nullptr);
    // Gives the cancel event back.
    ~Calls();
    Calls(const Calls&) = delete;
    Calls& operator=(const Calls&) = delete;

    [[nodiscard]] IQuillmarkHttpAPI& Api() const;
    [[nodiscard]] HANDLE CancelEvent() const;
    // Whether the program was interrupted: what an operation returns then is of no interest.
    [[nodiscard]] bool Interrupted() const;
    [[nodiscard]] const GlobalOptions& Options() const;
    [[nodiscard]] const StoredSession& Session() const;

    // For what may be repeated: what only reads, and what makes the same state each time. The error of the last
    // attempt.
    [[nodiscard]] DWORD Run(const Operation& operation);
    // For a change that must not be repeated blindly (a move, a rename, the making of a folder): when the answer may
    // have been lost, settle says what became of it. It may use Run for its own calls, and gives back their error when
    // they fail: then nothing is repeated.
    [[nodiscard]] DWORD RunOnce(const Operation& operation, const Settlement& settle);

    // For a change that must not be repeated blindly and that the server cannot be asked about: it is repeated only
    // when it has certainly not happened.
    [[nodiscard]] DWORD RunUnlessLost(const Operation& operation);

    // Waits, unless interrupted: false then.
    [[nodiscard]] bool Pause(std::chrono::milliseconds pause) const;
    // The running call moved bytes: pauses begin small again, and the attempts are counted anew.
    void Progressed();

private:
    [[nodiscard]] DWORD RunWith(const Operation& operation, const Settlement& settle);
    [[nodiscard]] std::optional<DWORD> Settle(const Settlement& settle);
    // Whether another attempt is to be made; it has waited for it, or logged in for it.
    [[nodiscard]] bool PrepareAnother(DWORD error, unsigned login, bool& loggedIn);
    [[nodiscard]] bool LogIn(DWORD error, unsigned login, bool& loggedIn);
    [[nodiscard]] bool TellAndPause(DWORD error, std::chrono::milliseconds pause) const;
    void BeginCall();

    Client& m_client;
    CallObserver* m_observer;
    HANDLE m_cancel;
    RetryBudget m_budget;
    // The server could not be reached, for all the attempts that a call has: later calls get one attempt each until it
    // answers again.
    bool m_unreachable = false;
};

}  // namespace quillmark::cli
