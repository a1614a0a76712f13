// Putting and getting trees: walks one side, moves file after file, counts, and goes on after a failure.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Client.h"
#include "ResumablePut.h"
#include "transfer/TransferObserver.h"

namespace quillmark::cli {

// What a download is called, beside its target, until it is complete.
[[nodiscard]] WideString PartialName(const WideString& local);

class Transfer {
public:
    Transfer(Client& client, bool quiet);

    // Puts files in chunks from here on.
    void SendResumably(const ResumableOptions& options) { m_resumable.emplace(m_client, options); }
    // The item that a put replaces shall have this revision; for one file only.
    void ExpectRevision(const std::string& revision) { m_revision = revision; }

    // A file to the server path itself; a folder's contents below it, which is made when it is missing.
    void Put(const WideString& local, const WideString& server);

    // A file to the local path itself; a folder's contents below it. A download goes to a temporary name beside its
    // target and takes the target's name when it is complete.
    void Get(const WideString& server, const WideString& local);

    // The view's end, with the summary, and the exit code.
    [[nodiscard]] ExitCode Summarise();

private:
    void PutFolder(const WideString& local, const WideString& server);
    // One item that a local folder lists and that is no folder.
    void PutListed(const WideString& local, const WideString& server);
    void PutFile(const WideString& local, const WideString& server);
    [[nodiscard]] DWORD SendWhole(const WideString& local, const WideString& server,
                                  std::shared_ptr<IServerAttributes>& stored,
                                  const std::shared_ptr<IProgressSink>& progress);
    void GetFolder(const WideString& server, const WideString& local);
    void GetFile(const WideString& server, const WideString& local, const std::shared_ptr<IServerAttributes>& known);
    [[nodiscard]] DWORD DownloadTo(const WideString& server, const WideString& local,
                                   const std::shared_ptr<IServerAttributes>& known,
                                   const std::shared_ptr<IServerAttributes>& received,
                                   const std::shared_ptr<IProgressSink>& progress);

    [[nodiscard]] DWORD EnsureServerFolder(const WideString& server);
    // Tells the view that a file begins, of this size, negative when it is unknown.
    [[nodiscard]] TransferFile Begin(Direction direction, const WideString& local, const WideString& server,
                                     std::int64_t size);
    // Counts how the file ended, and tells the view.
    void Finish(const TransferFile& file, DWORD error, const IServerAttributes& item, const std::string& nextStep = "");
    // Counts a failure and says what it was; the walk goes on.
    void Failed(const std::string& what, DWORD error);
    void Skipped(const std::string& why, const WideString& path);
    void CountFailure(DWORD error);

    Client& m_client;
    std::unique_ptr<TransferObserver> m_view;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::optional<ResumablePut> m_resumable;
    std::string m_revision;
    std::uint64_t m_begun = 0;    // files
    std::uint64_t m_planned = 0;  // their bytes
    TransferSummary m_counts;
};

}  // namespace quillmark::cli
