// quillmark folders: shows the user's mapped folders.
#include "Calls.h"
#include "Json.h"
#include "Output.h"
#include "Texts.h"
#include "commands/Commands.h"

namespace quillmark::cli {
namespace {

constexpr DWORD StatusOffline = 1;

const char* ModeWord(DWORD mode) {
    constexpr DWORD Automatic = 2;
    constexpr DWORD Offline = 3;
    switch (mode) {
        case Automatic:
            return "automatic";
        case Offline:
            return "offline";
        default:
            return "manual";
    }
}

std::vector<std::string> Abilities(const CMapping& mapping) {
    const std::pair<bool, const char*> words[] = {{mapping.capabilities->deltaUpload, "delta"},
                                                  {mapping.capabilities->locking, "locking"},
                                                  {mapping.capabilities->resumableUploads, "resumable"},
                                                  {mapping.attributes->allowSharing, "sharing"}};
    std::vector<std::string> abilities;
    for (const auto& [can, word] : words) {
        if (can) {
            abilities.emplace_back(word);
        }
    }
    return abilities;
}

std::string WithCommas(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ",") + word;
    }
    return text.empty() ? "-" : text;
}

std::string OrDash(const WideString& text) {
    return text.empty() ? "-" : Escaped(text);
}

std::string Line(const CMapping& mapping) {
    const MappingAttributes& attributes = *mapping.attributes;
    const std::uint64_t limit = mapping.capabilities->fileSizeUploadLimit;
    return Escaped(mapping.path) + "\t" + (attributes.status == StatusOffline ? "unreachable" : "reachable") + "\t" +
           ModeWord(attributes.mode) + "\t" + OrDash(attributes.type) + "\t" + OrDash(attributes.permissions) + "\t" +
           WithCommas(Abilities(mapping)) + "\t" + (limit == 0 ? "-" : std::to_string(limit)) + "\t" +
           OrDash(attributes.description);
}

void AddText(JsonObject& object, const std::string& name, const WideString& text) {
    text.empty() ? object.AddNull(name) : object.Add(name, text);
}

JsonObject Object(const CMapping& mapping) {
    const MappingAttributes& attributes = *mapping.attributes;
    const std::uint64_t limit = mapping.capabilities->fileSizeUploadLimit;
    JsonObject object;
    object.Add("path", mapping.path).AddFlag("reachable", attributes.status != StatusOffline);
    object.Add("mode", ModeWord(attributes.mode));
    AddText(object, "type", attributes.type);
    AddText(object, "permissions", attributes.permissions);
    object.AddTexts("abilities", Abilities(mapping));
    limit == 0 ? object.AddNull("largest") : object.AddNumber("largest", static_cast<std::int64_t>(limit));
    AddText(object, "description", attributes.description);
    return object;
}

// The library takes a reply without a mapped folder for a failure; a user who has none may ask all the same.
bool TellsOfNone(Client& client, const ResponseBuffer& reply) {
    MappingList none;
    DWORD count = 0;
    return reply.size() != 0 && client.Api().GetMappingsFromResponse(reply, none, 0, count) == ERROR_SUCCESS;
}

}  // namespace

void RegisterFolders(CLI::App& program, const GlobalOptions& global, Action& action) {
    CLI::App* command = program.add_subcommand(
        "folders",
        "List the mapped folders; with tabs between: path, reachable or not, mode, storage, permissions, what it can "
        "do, largest file, description");
    AddExamples(*command, {{"quillmark folders", ""}});
    command->callback([&global, &action] {
        action = [&global] {
            Client client(global);
            client.Resume();
            MappingList mappings;
            ResponseBuffer reply;
            Calls& calls = client.MainCalls();
            const DWORD error =
                calls.Run([&] { return calls.Api().GetRemoteFolderMap(mappings, reply, calls.CancelEvent()).error; });
            if (error != ERROR_INVALID_DATA || !TellsOfNone(client, reply)) {
                Require(error, "cannot list the mapped folders");
            }
            for (const std::shared_ptr<const CMapping>& mapping : mappings) {
                PrintResult(global, Line(*mapping), Object(*mapping));
            }
            return ExitCode::Success;
        };
    });
}

}  // namespace quillmark::cli
