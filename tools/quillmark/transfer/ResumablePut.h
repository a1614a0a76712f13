// ResumablePut: sends a file in chunks, and goes on where the server stands when an earlier attempt ended early.
//
//   nothing known ----------> begun: a record with a fresh identifier, then chunk after chunk from 0
//   a record, file changed -> the old upload is given up, begun anew
//   a record, file the same -> the server is asked for its offset
//        does not know it  -> begun anew
//        has not all of it -> chunk after chunk from there
//        has all of it     -> completed under the same path; nothing is sent again
//   sent and stored --------> the record is gone
//   refused at the end ----> the record stays, marked as a conflict: "quillmark uploads" completes or cancels it
//
// Before a chunk goes out the record covers its bytes, so that the server never has bytes that the record cannot tell
// from others. A file that changes while it is sent is begun anew, three times at most.
//
// A lost connection ends Send; sent again, the file goes on where it stood. Each chunk that the server takes counts as
// progress of the calls. One object sends one file at a time; several, each with calls of its own, send several.
#pragma once

#include <memory>
#include <optional>

#include "Calls.h"
#include "transfer/UploadStore.h"

namespace quillmark::cli {

struct ResumableOptions {
    static constexpr std::int64_t DefaultChunk = 16 * 1024 * 1024;
    static constexpr DWORD DefaultPatience = 60;

    std::int64_t chunk = 0;  // bytes; 0: as the upload was begun, or DefaultChunk
    std::string revision;    // that the item shall have, empty for any
    // Seconds to wait for an upload that the server holds locked: it may still be at work on a request whose sender is
    // gone.
    DWORD patience = DefaultPatience;
};

class ResumablePut {
public:
    using Attributes = std::shared_ptr<IServerAttributes>;

    using Progress = std::shared_ptr<IProgressSink>;

    // calls: the thread's that sends.
    ResumablePut(Calls& calls, ResumableOptions options)
        : m_calls(calls), m_options(std::move(options)), m_store(calls.Options().sessionPath) {}

    // Sends one file. stored: the item's record. progress may be null. 1006: the file kept changing. 21077: the server
    // has all of it and did not store it, or refused it at once; the item has another revision than the one asked for.
    [[nodiscard]] DWORD Send(const WideString& local, const WideString& server, Attributes& stored,
                             const Progress& progress = nullptr);

    // Whether the last 21077 left an upload that can be completed under another path.
    [[nodiscard]] bool KeptConflict() const { return m_keptConflict; }

private:
    // One attempt that is under way.
    struct Attempt {
        UploadRecord record;
        Attributes attributes;    // of the local file
        std::int64_t offset = 0;  // what the server has
        bool begun = false;       // the server knows the upload
        int setbacks = 0;         // since the last chunk that it took
    };
    // An error code, or nothing: begin anew.
    using Result = std::optional<DWORD>;

    Result Run(const WideString& local, const WideString& server, Attributes& stored);
    // What an attempt begins with: the record of the file as it is now.
    [[nodiscard]] DWORD Describe(const WideString& local, const WideString& server, Attempt& attempt) const;
    // Takes up an earlier attempt, or leaves this one as it is.
    [[nodiscard]] DWORD TakeUp(Attempt& attempt);
    [[nodiscard]] bool IsStillTheFile(const UploadRecord& known, const UploadRecord& now, std::int64_t received) const;
    Result SendChunks(Attempt& attempt, Attributes& stored);
    Result SendChunk(Attempt& attempt, Attributes& stored);
    // After a refused chunk: 0 to go on from the attempt's offset.
    Result Recover(Attempt& attempt, DWORD error, std::int64_t corrected);
    [[nodiscard]] Result RecoverUnknown(const Attempt& attempt) const;
    [[nodiscard]] DWORD AskAfterSetback(Attempt& attempt, DWORD setback, std::int64_t& received);
    // Has the server store what it has.
    [[nodiscard]] DWORD Finish(const Attempt& attempt, const Attributes& item);
    Result Complete(Attempt& attempt, Attributes& stored);
    // After the answer that the item is stored: has it confirmed, and forgets the upload. item: the answer's record.
    Result Stored(const Attempt& attempt, const Attributes& item, Attributes& stored) const;
    // Whether the folder that the item goes to is missing.
    [[nodiscard]] bool IsFolderMissing(const WideString& remote) const;
    // The server refused to store what it has.
    [[nodiscard]] DWORD KeepConflict(Attempt& attempt);

    // Asks the server, and asks again for as long as it holds the upload locked and patience lasts (21030 then).
    // waited: whether it was locked.
    [[nodiscard]] DWORD Ask(const UploadRecord& record, std::int64_t& received, bool& waited) const;
    // Gives the upload up, here and on the server.
    [[nodiscard]] DWORD Abandon(const UploadRecord& record) const;
    [[nodiscard]] bool HasChanged(const UploadRecord& record) const;

    Calls& m_calls;
    Progress m_progress;
    const ResumableOptions m_options;
    const UploadStore m_store;
    bool m_keptConflict = false;
    std::string m_expected;  // the revision that the item shall have now
};

}  // namespace quillmark::cli
