// quillmark uploads: the resumable uploads that this host has not finished.
#include <algorithm>
#include <memory>

#include "Calls.h"
#include "EachPath.h"
#include "Json.h"
#include "Output.h"
#include "Paths.h"
#include "Texts.h"
#include "commands/Commands.h"
#include "transfer/UploadStore.h"

namespace quillmark::cli {
namespace {

using Records = std::vector<UploadRecord>;

constexpr DWORD UploadUnknown = SERVER_ERROR_BASE + 1002;

struct UploadsOptions {
    std::vector<std::string> uploads;
    std::string upload;
    std::string newPath;
};

Records AllRecords(const UploadStore& store, const StoredSession& session) {
    Records records;
    Require(store.List(session.server, session.user, records), "cannot read the unfinished uploads");
    return records;
}

// What a user names: an upload's identifier, or the server path that it goes to.
Records Select(const Records& all, const std::string& named, const GlobalOptions& global) {
    const auto id = ParseGuid(named);
    const WideString remote = ServerPath(global.Path(named));
    Records selected;
    std::copy_if(all.begin(), all.end(), std::back_inserter(selected),
                 [&](const UploadRecord& record) { return id ? record.id == *id : record.key.remote == remote; });
    if (selected.empty()) {
        throw Failure("this host knows no unfinished upload '" + named + "'", ExitCode::NotFound);
    }
    return selected;
}

Records SelectAll(const Records& all, const std::vector<std::string>& named, const GlobalOptions& global) {
    if (named.empty()) {
        return all;
    }
    Records selected;
    for (const std::string& name : named) {
        const Records more = Select(all, name, global);
        selected.insert(selected.end(), more.begin(), more.end());
    }
    return selected;
}

std::string Ends(const UploadRecord& record) {
    return "\t" + Escaped(record.key.remote) + "\t" + Escaped(record.key.local);
}

JsonObject& AddEnds(JsonObject& object, const UploadRecord& record) {
    return object.Add("path", record.key.remote).Add("local", record.key.local);
}

ExitCode List(const GlobalOptions& global) {
    for (const UploadRecord& record : AllRecords(UploadStore(global.sessionPath), RequireSession(global))) {
        JsonObject object;
        object.Add("id", GuidText(record.id)).AddNumber("size", record.file.size);
        PrintResult(global, GuidText(record.id) + "\t" + std::to_string(record.file.size) + Ends(record),
                    AddEnds(object, record));
    }
    return ExitCode::Success;
}

// "ID, bytes that the server has, of how many, state, remote, local"
void ShowState(Calls& calls, const UploadRecord& record) {
    std::int64_t received = 0;
    bool locked = false;
    const DWORD error = calls.Run([&] {
        return calls.Api().GetResumableUploadMetadata(record.key.remote, record.id, received, locked,
                                                      calls.CancelEvent());
    });
    if (error != UploadUnknown) {
        Require(error, "cannot ask for the upload to " + Printable(record.key.remote));
    }
    const char* known = locked ? "locked" : record.conflict ? "conflict" : "waiting";
    const std::string state = error == UploadUnknown ? "unknown" : known;
    JsonObject object;
    object.Add("id", GuidText(record.id)).AddNumber("received", received).AddNumber("size", record.file.size);
    object.Add("state", state);
    PrintResult(calls.Options(),
                GuidText(record.id) + "\t" + std::to_string(received) + "\t" + std::to_string(record.file.size) + "\t" +
                    state + Ends(record),
                AddEnds(object, record));
}

ExitCode ShowStates(const UploadsOptions& options, const GlobalOptions& global) {
    Client client(global);
    client.Resume();
    Calls& calls = client.MainCalls();
    const Records all = AllRecords(UploadStore(global.sessionPath), client.Session());
    for (const UploadRecord& record : SelectAll(all, options.uploads, global)) {
        ShowState(calls, record);
    }
    return ExitCode::Success;
}

ExitCode Cancel(const UploadsOptions& options, const GlobalOptions& global) {
    Client client(global);
    client.Resume();
    const UploadStore store(global.sessionPath);
    const Records chosen = SelectAll(AllRecords(store, client.Session()), options.uploads, global);
    std::vector<std::string> names(chosen.size());
    std::transform(chosen.begin(), chosen.end(), names.begin(),
                   [](const UploadRecord& record) { return Printable(record.key.remote); });
    return ForEachNamed(global, names, "cancel the upload to", [&](std::size_t place) {
        const UploadRecord& record = chosen[place];
        const DWORD error =
            client.Run([&] { return client.Api().CancelUpload(record.key.remote, record.id, client.CancelEvent()); });
        const DWORD removal = error == ERROR_SUCCESS || error == UploadUnknown ? store.Remove(record.key) : error;
        if (removal == ERROR_SUCCESS) {
            JsonObject object;
            object.Add("id", GuidText(record.id));
            PrintForPrograms(global, AddEnds(object, record));
        }
        return removal;
    });
}

ExitCode Complete(const UploadsOptions& options, const GlobalOptions& global) {
    Client client(global);
    client.Resume();
    const UploadStore store(global.sessionPath);
    const std::string& named = options.upload;
    const Records selected = Select(AllRecords(store, client.Session()), named, global);
    if (selected.size() > 1) {
        throw Failure("several uploads go to '" + named + "'; name one by its identifier (see 'quillmark uploads')",
                      ExitCode::Usage);
    }
    const UploadRecord& record = selected.front();
    const WideString newPath = global.Path(options.newPath);
    WideString target = ServerPath(newPath);
    if (newPath.view().ends_with(QM_W('/'))) {
        target = JoinPath(target, LeafName(record.key.remote));
    }
    const std::string what =
        "cannot complete the upload to " + Printable(record.key.remote) + " as " + Printable(target);
    bool incomplete = false;
    const DWORD error = client.Run([&] {
        const DWORD answer =
            client.Api().CompleteUpload(record.key.remote, target, record.id, MakeAttributes(), client.CancelEvent());
        incomplete = answer == SERVER_ERROR_CHUNK_OUT_OF_STEP;
        return incomplete ? DWORD{ERROR_HANDLE_EOF} : answer;  // it would be the same the next time
    });
    if (incomplete) {
        throw Failure(what + ": " + WithNumber("the server does not have all of it", SERVER_ERROR_CHUNK_OUT_OF_STEP) +
                          ". 'quillmark put --resumable' sends the rest.",
                      ExitCode::Conflict);
    }
    Require(error, what);
    Require(store.Remove(record.key), "cannot forget the upload to " + Printable(record.key.remote));
    PrintResult(global, Printable(target), JsonObject().Add("path", target));
    return ExitCode::Success;
}

}  // namespace

void RegisterUploads(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto options = std::make_shared<UploadsOptions>();
    constexpr const char* Names = "Identifiers, or the server paths that the uploads go to";
    CLI::App* command = program.add_subcommand(
        "uploads", "List unfinished resumable uploads; with tabs between: identifier, bytes, server path, local path");
    command->require_subcommand(0, 1);
    // Runs before the callbacks of the commands below, which replace its action.
    command->preparse_callback([&global, &action](std::size_t) { action = [&global] { return List(global); }; });

    AddExamples(*command, {{"quillmark uploads", ""}});

    CLI::App* state = command->add_subcommand(
        "state",
        "Ask the server how far they are; with tabs between: identifier, bytes it has, bytes in all, waiting, locked, "
        "conflict or unknown, server path, local path");
    state->add_option("upload", options->uploads, Names);
    AddExamples(*state, {{"quillmark uploads state", "of all"}});
    state->callback(
        [options, &global, &action] { action = [options, &global] { return ShowStates(*options, global); }; });

    CLI::App* cancel = command->add_subcommand("cancel", "Give uploads up, here and on the server");
    cancel->add_option("upload", options->uploads, Names)->required();
    AddExamples(*cancel, {{"quillmark uploads cancel /Shared/budget.ods", ""}});
    cancel->callback([options, &global, &action] { action = [options, &global] { return Cancel(*options, global); }; });

    CLI::App* complete =
        command->add_subcommand("complete", "Store an upload that the server has in full, also under another path");
    complete->add_option("upload", options->upload, "Its identifier, or the server path that it goes to")->required();
    complete
        ->add_option("newpath", options->newPath,
                     "The item's path on the server; with a trailing / the folder to put it in")
        ->required();
    AddExamples(*complete, {{"quillmark uploads complete /Shared/budget.ods /Shared/budget-2.ods", ""}});
    complete->callback(
        [options, &global, &action] { action = [options, &global] { return Complete(*options, global); }; });
}

}  // namespace quillmark::cli
