// quillmark folders: shows the user's mapped folders.
#include "Client.h"
#include "Output.h"
#include "Texts.h"

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

std::string Abilities(const CMapping& mapping) {
    const std::pair<bool, const char*> words[] = {{mapping.capabilities->deltaUpload, "delta"},
                                                  {mapping.capabilities->locking, "locking"},
                                                  {mapping.capabilities->resumableUploads, "resumable"},
                                                  {mapping.attributes->allowSharing, "sharing"}};
    std::string text;
    for (const auto& [can, word] : words) {
        if (can) {
            text += (text.empty() ? "" : ",") + std::string(word);
        }
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
           Abilities(mapping) + "\t" + (limit == 0 ? "-" : std::to_string(limit)) + "\t" +
           OrDash(attributes.description);
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
        "List the mapped folders, with tabs between: path, reachable or not, mode, storage, permissions, what it can "
        "do, largest file, description");
    command->callback([&global, &action] {
        action = [&global] {
            Client client(global);
            client.Resume();
            MappingList mappings;
            ResponseBuffer reply;
            const DWORD error =
                client.Run([&] { return client.Api().GetRemoteFolderMap(mappings, reply, client.CancelEvent()); });
            if (error != ERROR_INVALID_DATA || !TellsOfNone(client, reply)) {
                Require(error, "cannot list the mapped folders");
            }
            for (const std::shared_ptr<const CMapping>& mapping : mappings) {
                Print(Line(*mapping));
            }
            return ExitCode::Success;
        };
    });
}

}  // namespace quillmark::cli
