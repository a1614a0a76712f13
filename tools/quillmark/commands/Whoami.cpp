// quillmark whoami: who the other commands are to the server.
#include "Calls.h"
#include "Json.h"
#include "Output.h"
#include "Paths.h"
#include "account/Profiles.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

// A look at the root, without a new login: what is asked is whether the session that is kept is good.
DWORD AskServer(const GlobalOptions& global, const StoredSession& session) {
    Client client(global);
    client.UseServer(session.server);
    client.Discover();
    client.Api().SetSessionToken(WidenUtf8(session.token));
    DWORD ended = ERROR_SUCCESS;
    const DWORD error = client.Run([&] {
        std::shared_ptr<IServerAttributes> root;
        const DWORD answer = client.Api().GetPathAttributes(QM_W("/"), root, client.CancelEvent()).error;
        ended = RemedyFor(answer) == Remedy::AfterLogin ? answer : ERROR_SUCCESS;
        return ended != ERROR_SUCCESS ? ERROR_SUCCESS : answer;
    });
    return ended != ERROR_SUCCESS ? ended : error;
}

std::string AgeText(std::int64_t seconds) {
    constexpr std::int64_t Minute = 60;
    constexpr std::int64_t Hour = 60 * Minute;
    constexpr std::int64_t Day = 24 * Hour;
    const auto count = [](std::int64_t number, const char* unit) {
        return std::to_string(number) + " " + unit + (number == 1 ? "" : "s");
    };
    if (seconds < Minute) {
        return "less than a minute";
    }
    return seconds < Hour  ? count(seconds / Minute, "minute")
           : seconds < Day ? count(seconds / Hour, "hour")
                           : count(seconds / Day, "day");
}

std::string Since(const StoredSession& session) {
    constexpr std::int64_t TicksPerSecond = 10'000'000;
    const CAttributeTime since = CAttributeTime::Parse(session.since);
    if (!since.IsSet()) {
        return "unknown";
    }
    return session.since + " (" + AgeText((CAttributeTime::Now().Ticks() - since.Ticks()) / TicksPerSecond) + " ago)";
}

ExitCode RunWhoami(const GlobalOptions& global) {
    const StoredSession session = RequireSession(global);
    DWORD error = ERROR_SUCCESS;
    std::string standing = "accepted by the server";
    ExitCode exit = ExitCode::Success;
    try {
        error = AskServer(global, session);
        standing = error == ERROR_SUCCESS ? standing : ErrorText(error);
        exit = ExitCodeFor(error, false);
    } catch (const Failure& failure) {
        standing = failure.Sentence();
        exit = failure.Exit();
    }
    if (global.Interrupted()) {
        throw Failure("cancelled", ExitCode::Cancelled);
    }
    const std::string profile = ProfileName(global);
    JsonObject result;
    result.Add("server", session.server).AddKnown("user", session.user).Add("device", session.device);
    result.AddKnown("profile", profile).AddKnown("since", session.since);
    result.AddFlag("accepted", exit == ExitCode::Success).AddKnown("authority", session.authority);
    const std::string file = Printable(global.sessionPath);
    const std::string trusts = session.authority.empty() ? "" : "\ntrusts:  " + Printable(WidenUtf8(session.authority));
    PrintResult(global,
                "server:  " + session.server + "\nuser:    " + session.user + "\ndevice:  " + session.device +
                    "\nprofile: " + (profile.empty() ? "none, the file " + file : profile) + trusts +
                    "\nsince:   " + Since(session) + "\nsession: " + standing,
                result);
    return exit;
}

}  // namespace

void RegisterWhoami(CLI::App& program, const GlobalOptions& global, Action& action) {
    CLI::App* command = program.add_subcommand(
        "whoami", "Show the login; server, user, device, profile, and whether the server still accepts it");
    AddExamples(*command, {{"quillmark whoami", ""}});
    command->callback([&global, &action] { action = [&global] { return RunWhoami(global); }; });
}

}  // namespace quillmark::cli
