// quillmark cat: writes the contents of files of the server to standard output.
#include <algorithm>
#include <memory>
#include <vector>

#include "Calls.h"
#include "EachPath.h"
#include "LocalFile.h"
#include "Output.h"
#include "Paths.h"
#include "commands/Commands.h"
#include "transfer/RangeDownload.h"

namespace quillmark::cli {
namespace {

constexpr std::size_t BufferSize = 256 * 1024;

// What the server says when a folder stands where a file is meant.
constexpr DWORD FolderInPlaceOfFile = SERVER_ERROR_BASE + 1004;

using Attributes = std::shared_ptr<IServerAttributes>;

DWORD PrintPiece(const WideString& local, std::int64_t start, std::int64_t end) {
    LocalFile file;
    DWORD error = file.Open(local, GENERIC_READ, OPEN_EXISTING);
    if (error == ERROR_SUCCESS) {
        error = file.Seek(start);
    }
    std::vector<char> buffer(BufferSize);
    while (error == ERROR_SUCCESS && start < end) {
        std::size_t got = 0;
        const auto wanted = static_cast<std::size_t>(std::min<std::int64_t>(end - start, BufferSize));
        error = file.Read(buffer.data(), wanted, got);
        if (error == ERROR_SUCCESS && got < wanted) {
            error = ERROR_HANDLE_EOF;
        }
        if (error == ERROR_SUCCESS) {
            PrintBytes(buffer.data(), got);
            start += static_cast<std::int64_t>(got);
        }
    }
    return error;
}

DWORD PrintContents(Calls& calls, const WideString& server) {
    Attributes item;
    const DWORD error =
        calls.Run([&] { return calls.Api().GetPathAttributes(server, item, calls.CancelEvent()).error; });
    if (error == ERROR_SUCCESS && IsFolder(*item)) {
        return FolderInPlaceOfFile;
    }
    if (error != ERROR_SUCCESS) {
        return error;
    }
    return FetchPieces(
        calls, server, item, {0, item->GetSize()}, nullptr,
        [](const WideString& local, const ByteRange& piece) { return PrintPiece(local, piece.first, piece.end); });
}

}  // namespace

void RegisterCat(CLI::App& program, const GlobalOptions& global, Action& action) {
    const auto paths = std::make_shared<std::vector<std::string>>();
    CLI::App* command = program.add_subcommand("cat", "Write the contents of files to standard output");
    SetCompletion(*command->add_option("path", *paths, "The files on the server")->required(), Completes::ServerPath);
    AddExamples(*command, {{"quillmark cat /Shared/notes.txt", ""},
                           {"quillmark cat /Shared/video | head -c 4096 > beginning", "only what is read is fetched"}});
    command->callback([paths, &global, &action] {
        action = [paths, &global] {
            Client client(global);
            client.Resume();
            Calls& calls = client.MainCalls();
            return ForEachServerPath(client, *paths, "read",
                                     [&](const WideString& server) { return PrintContents(calls, server); });
        };
    });
}

}  // namespace quillmark::cli
