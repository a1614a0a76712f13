// quillmark logout, profiles: the logins that this computer keeps.
#include <algorithm>

#include "Json.h"
#include "Output.h"
#include "Paths.h"
#include "account/Profiles.h"
#include "commands/Commands.h"
#include "transfer/UploadStore.h"

namespace quillmark::cli {
namespace {

// Unfinished uploads stay: the same user's next login goes on with them. A login whose uploads cannot be read is
// forgotten all the same.
std::vector<std::string> KeptUploads(const GlobalOptions& global, const StoredSession& session) {
    std::vector<UploadRecord> records;
    static_cast<void>(UploadStore(global.sessionPath).List(session.server, session.user, records));
    std::vector<std::string> paths(records.size());
    std::transform(records.begin(), records.end(), paths.begin(),
                   [](const UploadRecord& record) { return Printable(record.key.remote); });
    return paths;
}

std::string Who(const StoredSession& session) {
    return session.server + (session.user.empty() ? "" : " as " + session.user);
}

// There is no request that would end a session: the server forgets it when it expires.
ExitCode RunLogout(const GlobalOptions& global) {
    const StoredSession session = RequireSession(global);
    const std::vector<std::string> uploads = KeptUploads(global, session);
    if (DeleteFileW(global.sessionPath.c_str()) == FALSE) {
        throw Failure("cannot remove '" + Printable(global.sessionPath) + "'", GetLastError());
    }
    std::string text = "Logged out of " + Who(session) +
                       ": this computer has forgotten the session; on the server it ends when it expires.";
    if (!uploads.empty()) {
        text += "\nKept are the unfinished uploads to these items; after the next login they go on:";
        for (const std::string& path : uploads) {
            text += "\n  " + path;
        }
    }
    JsonObject result;
    result.Add("server", session.server).AddKnown("user", session.user).AddTexts("unfinishedUploads", uploads);
    PrintResult(global, text, result);
    return ExitCode::Success;
}

void ShowProfile(const GlobalOptions& global, const std::string& name) {
    const StoredSession session = RequireSessionIn(ProfilePath(name), name);
    JsonObject result;
    result.Add("profile", name).Add("server", session.server).AddKnown("user", session.user);
    PrintResult(global, name + "\t" + session.server + "\t" + session.user, result);
}

ExitCode RunProfiles(const GlobalOptions& global) {
    ExitCode exit = ExitCode::Success;
    for (const std::string& name : ProfileNames()) {
        try {
            ShowProfile(global, name);
        } catch (const Failure& failure) {
            PrintError("quillmark: " + name + ": " + failure.Sentence());
            exit = ExitCode::SomeFailed;
        }
    }
    return exit;
}

}  // namespace

void RegisterLogout(CLI::App& program, const GlobalOptions& global, Action& action) {
    CLI::App* command = program.add_subcommand(
        "logout", "Forget the login on this computer; unfinished uploads are kept, and go on after the next login");
    AddExamples(*command, {{"quillmark logout", ""}});
    command->callback([&global, &action] { action = [&global] { return RunLogout(global); }; });
}

void RegisterProfiles(CLI::App& program, const GlobalOptions& global, Action& action) {
    CLI::App* command =
        program.add_subcommand("profiles", "List the logins of this computer; with tabs between: name, server, user");
    AddExamples(*command, {{"quillmark profiles", ""}});
    command->callback([&global, &action] { action = [&global] { return RunProfiles(global); }; });
}

}  // namespace quillmark::cli
