// Putting and getting trees: walks one side, moves file after file, counts, and goes on after a failure.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Client.h"
#include "ResumablePut.h"

namespace quillmark::cli {

struct TransferCounts {
    std::uint64_t files = 0;
    std::uint64_t folders = 0;
    std::uint64_t bytes = 0;
    std::uint64_t failed = 0;
    DWORD firstError = ERROR_SUCCESS;
};

// What a download is called, beside its target, until it is complete.
[[nodiscard]] WideString PartialName(const WideString& local);

class Transfer {
public:
    explicit Transfer(Client& client, bool quiet) : m_client(client), m_quiet(quiet) {}

    // Puts files in chunks from here on.
    void SendResumably(const ResumableOptions& options) { m_resumable.emplace(m_client, options); }
    // The item that a put replaces shall have this revision; for one file only.
    void ExpectRevision(const std::string& revision) { m_revision = revision; }

    // A file to the server path itself; a folder's contents below it, which is made when it is missing.
    void Put(const WideString& local, const WideString& server);

    // A file to the local path itself; a folder's contents below it. A download goes to a temporary name beside its
    // target and takes the target's name when it is complete.
    void Get(const WideString& server, const WideString& local);

    // The line at the end, on standard error, and the exit code.
    [[nodiscard]] ExitCode Summarise() const;

private:
    void PutFolder(const WideString& local, const WideString& server);
    // One item that a local folder lists and that is no folder.
    void PutListed(const WideString& local, const WideString& server);
    void PutFile(const WideString& local, const WideString& server);
    [[nodiscard]] DWORD SendWhole(const WideString& local, const WideString& server,
                                  std::shared_ptr<IServerAttributes>& stored);
    void GetFolder(const WideString& server, const WideString& local);
    void GetFile(const WideString& server, const WideString& local, const std::shared_ptr<IServerAttributes>& known);
    [[nodiscard]] DWORD DownloadTo(const WideString& server, const WideString& local,
                                   const std::shared_ptr<IServerAttributes>& known,
                                   const std::shared_ptr<IServerAttributes>& received);

    [[nodiscard]] DWORD EnsureServerFolder(const WideString& server);
    // Counts a failure and says what it was; the walk goes on.
    void Failed(const std::string& what, DWORD error);
    void Done(const WideString& path, std::uint64_t bytes);

    Client& m_client;
    bool m_quiet;
    std::optional<ResumablePut> m_resumable;
    std::string m_revision;
    TransferCounts m_counts;
};

}  // namespace quillmark::cli
