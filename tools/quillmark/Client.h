// The connection of a command to the library: options that every command takes, the log, the client object.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ErrorText.h"
#include "SessionFile.h"
#include "quillmark/HttpApi.h"

namespace quillmark::cli {

// The options before the command's name.
struct GlobalOptions {
    WideString sessionPath;    // --session, or the file of --profile
    std::string logPath;       // --log
    WideString caPath;         // --ca
    std::string passwordFile;  // --password-file; - is standard input
    int retries = 5;           // --retries
    bool json = false;         // --json: results as JSON objects
    bool quiet = false;        // --quiet: no names of files, no progress
    bool trace = false;        // --trace: each request on standard error
    HANDLE interrupt = nullptr;
    // The arguments in their wide form: what CLI11 hands out as bytes is looked up here, so that a name that is no text
    // still reaches its file.
    std::vector<std::pair<std::string, WideString>> arguments;

    [[nodiscard]] WideString Path(const std::string& argument) const;
    [[nodiscard]] bool Interrupted() const;
};

// The library for the duration of one command. Only one may live at a time.
class Client {
public:
    // Opens the log, trusts the extra certificates and makes the client object; talks to nobody yet. Throws Failure.
    explicit Client(const GlobalOptions& options);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    // Names the server: "https://host:port"; the port may be left out (443 and 80).
    void UseServer(const std::string& server);

    // Asks the server, named before, what it offers. Throws Failure.
    void Discover();

    // Takes up the stored login: names its server, discovers it, restores the token. Throws Failure.
    void Resume();

    // The login that Resume took up.
    [[nodiscard]] const StoredSession& Session() const { return m_session; }
    [[nodiscard]] IQuillmarkHttpAPI& Api() { return *m_api; }
    [[nodiscard]] const GlobalOptions& Options() const { return m_options; }
    [[nodiscard]] HANDLE CancelEvent() const { return m_options.interrupt; }

private:
    const GlobalOptions& m_options;
    std::uint64_t m_log = 0;
    std::string m_server;
    StoredSession m_session;
    ClientPointer m_api;
};

// The stored login. Throws Failure when there is none or when it cannot be read.
[[nodiscard]] StoredSession RequireSession(const GlobalOptions& options);

// Throws Failure when the error is not 0.
void Require(DWORD error, const std::string& what);
void Require(const StatusPair& status, const std::string& what);

// What a command registers: its arguments with CLI11, and what runs when it was chosen.
using Action = std::function<ExitCode()>;
using CommandRegistration = void (*)(CLI::App& program, const GlobalOptions& options, Action& action);

void RegisterLogin(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterVersion(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterLs(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterTree(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterDu(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterFind(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterCat(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterWatch(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterCompletion(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterManPage(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterStat(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterMkdir(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterPut(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterGet(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterFolders(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterRm(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterMv(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterTouch(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterUploads(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterDeltaJobs(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterChanges(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterLock(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterUnlock(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterLockState(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterShare(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterStats(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterRegister(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterWipeAck(CLI::App& program, const GlobalOptions& options, Action& action);

}  // namespace quillmark::cli
