// The connection of a command to the library: options that every command takes, the log, the client object.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ErrorText.h"
#include "SessionFile.h"
#include "quillmark/HttpApi.h"

namespace quillmark::cli {

// The options before the command's name.
struct GlobalOptions {
    WideString sessionPath;                    // --session, or the file of --profile
    std::string profile;                       // --profile; empty for the default one, and with --session
    std::string logPath;                       // --log
    WideString caPath;                         // --ca
    std::string passwordFile;                  // --password-file; - is standard input
    int retries = 5;                           // --retries
    bool json = false;                         // --json: results as JSON objects
    bool quiet = false;                        // --quiet: no names of files, no progress
    bool trace = false;                        // --trace: each request on standard error
    std::optional<std::string> inputPassword;  // the first line of standard input, with --password-file -
    HANDLE interrupt = nullptr;
    // The arguments in their wide form: what CLI11 hands out as bytes is looked up here, so that a name that is no text
    // still reaches its file.
    std::vector<std::pair<std::string, WideString>> arguments;

    [[nodiscard]] WideString Path(const std::string& argument) const;
    [[nodiscard]] bool Interrupted() const;
};

class CallObserver;
class Calls;
class CancelEvents;
class EndableWinHttp;

// The library for the duration of one command. Only one may live at a time.
//
// A command with one thread runs its calls with Run and CancelEvent of this object. Each further thread makes a Calls
// object of its own; what those need of this object, they may use at the same time.
class Client {
public:
    // Opens the log, trusts the extra certificates and makes the client object; talks to nobody yet. winHttp: watches
    // the requests, in place of what --trace asks for; may be null. Throws Failure.
    explicit Client(const GlobalOptions& options, const std::shared_ptr<EndableWinHttp>& winHttp = nullptr);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    // Names the server: "https://host:port"; the port may be left out (443 and 80). Without --ca the authority is
    // trusted that the kept login of this server trusts; one that cannot be read is told. Throws Failure.
    void UseServer(const std::string& server);

    // Asks the server, named before, what it offers. Throws Failure.
    void Discover();

    // Takes up the stored login: names its server, discovers it, restores the token. Throws Failure.
    void Resume();

    // Signs in to the server named before, and keeps the session for the commands to come, with the authority that is
    // trusted for it. session: all but these and the token. Throws Failure; what: what was being done.
    void Login(StoredSession session, const std::string& password, const std::string& what);

    // The server that is named, as ServerAddress writes it.
    [[nodiscard]] const std::string& Server() const { return m_server; }
    // The login that Resume took up. It does not change any more, also when the session's token does.
    [[nodiscard]] const StoredSession& Session() const { return m_session; }
    [[nodiscard]] IQuillmarkHttpAPI& Api() { return *m_api; }
    [[nodiscard]] const GlobalOptions& Options() const { return m_options; }

    // The calls of the command's own thread; repetitions are told on standard error.
    [[nodiscard]] Calls& MainCalls() { return *m_calls; }
    [[nodiscard]] HANDLE CancelEvent() const;
    // As Calls has them, for operations that give back an error code or a StatusPair.
    template <typename Operation>
    [[nodiscard]] DWORD Run(const Operation& operation) {
        return RunCall([&operation] { return ErrorOf(operation()); });
    }
    // One attempt of a call of the library that takes no cancel event: an interruption takes its request away from it,
    // and lets the program make no other one. For commands with one thread.
    [[nodiscard]] DWORD CallWithoutEvent(const std::function<DWORD()>& operation);
    [[nodiscard]] DWORD RunOnce(const std::function<DWORD()>& operation,
                                const std::function<std::optional<DWORD>()>& settle);
    [[nodiscard]] DWORD RunUnlessLost(const std::function<DWORD()>& operation);

    // ---- For Calls, from any thread --------------------------------------------------------------------------------

    [[nodiscard]] CancelEvents& Events() { return *m_events; }
    // Changes with each new token of the session.
    [[nodiscard]] unsigned LoginNumber() const { return m_loginNumber; }
    // The session that had this number has ended: logs in again when a password is at hand, once for all threads.
    // Nothing is to be done when another thread has, or when the file of the session holds another token by now, of
    // another program's login. 0 when there is a new token; loggedIn: this call has fetched it. ERROR_ACCESS_DENIED
    // when there is no password; a login that is refused is not tried again, and told on standard error.
    [[nodiscard]] DWORD RenewLogin(unsigned number, HANDLE cancelEvent, bool& loggedIn);

private:
    [[nodiscard]] static DWORD ErrorOf(DWORD error) { return error; }
    [[nodiscard]] static DWORD ErrorOf(const StatusPair& status) { return status.error; }
    void TrustKeptAuthority();
    void CheckAuthorityName() const;
    [[nodiscard]] DWORD RunCall(const std::function<DWORD()>& operation);
    [[nodiscard]] std::optional<std::string> PasswordForRenewal();
    [[nodiscard]] bool TakeStoredToken();
    [[nodiscard]] DWORD SignIn(const StoredSession& session, const std::string& password, HANDLE cancelEvent);
    [[nodiscard]] DWORD KeepToken(StoredSession session);

    const GlobalOptions& m_options;
    std::uint64_t m_log = 0;
    std::shared_ptr<EndableWinHttp> m_winHttp;
    std::string m_server;
    std::string m_authority;  // the file of --ca, of this command or of the kept login
    StoredSession m_session;
    ClientPointer m_api;
    std::mutex m_loginLock;
    std::string m_token;  // the one in use; under the lock, as is
    bool m_loginRefused = false;
    std::atomic<unsigned> m_loginNumber = 0;
    std::unique_ptr<CancelEvents> m_events;
    std::unique_ptr<CallObserver> m_observer;
    std::unique_ptr<Calls> m_calls;
};

// A server's address in the one way that it is kept and compared: scheme and name in small letters, nothing behind the
// port. Throws Failure for what is no address.
[[nodiscard]] std::string ServerAddress(const std::string& server);

// The stored login, of the profile and session file in use or of a named profile's. Throws Failure when there is none
// or when it cannot be read.
[[nodiscard]] StoredSession RequireSession(const GlobalOptions& options);
[[nodiscard]] StoredSession RequireSessionIn(const WideString& file, const std::string& profile);

// Throws Failure when the error is not 0.
void Require(DWORD error, const std::string& what);
void Require(const StatusPair& status, const std::string& what);

}  // namespace quillmark::cli
