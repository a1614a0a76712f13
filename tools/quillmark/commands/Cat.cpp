// quillmark cat: writes the contents of files of the server to standard output.
#include <algorithm>
#include <memory>
#include <vector>

#include "Calls.h"
#include "EachPath.h"
#include "LocalFile.h"
#include "Output.h"
#include "Paths.h"
#include "System.h"
#include "commands/Commands.h"
#include "transfer/RangeDownload.h"

namespace quillmark::cli {
namespace {

// A file comes in pieces, each through a temporary file of its own, so that no more than this is needed on the disk and
// the first bytes are out before the last are fetched.
constexpr std::int64_t PieceSize = 16 * 1024 * 1024;
constexpr std::size_t BufferSize = 256 * 1024;

// What the server says when a folder stands where a file is meant.
constexpr DWORD FolderInPlaceOfFile = SERVER_ERROR_BASE + 1004;

using Attributes = std::shared_ptr<IServerAttributes>;

// The library puts a piece at its place in the file: what is before it stays empty and takes no room.
DWORD FetchPiece(Calls& calls, const WideString& server, const Attributes& item, const WideString& local,
                 std::int64_t start, std::int64_t end) {
    const DWORD error = start == 0 ? ERROR_SUCCESS : MakeSparse(local);
    return error != ERROR_SUCCESS ? error : calls.Run([&] {
        return FetchBytes(calls, server, item, local, {start, end}, nullptr);
    });
}

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
    DWORD error = calls.Run([&] { return calls.Api().GetPathAttributes(server, item, calls.CancelEvent()).error; });
    if (error == ERROR_SUCCESS && IsFolder(*item)) {
        return FolderInPlaceOfFile;
    }
    for (std::int64_t start = 0; error == ERROR_SUCCESS && start < item->GetSize(); start += PieceSize) {
        const std::int64_t end = std::min(start + PieceSize, item->GetSize());
        const TemporaryFile piece;
        error = FetchPiece(calls, server, item, piece.Path(), start, end);
        if (error == ERROR_SUCCESS) {
            error = PrintPiece(piece.Path(), start, end);
        }
    }
    return error;
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
