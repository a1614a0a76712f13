#include "transfer/ResumablePut.h"

#include <algorithm>

#include "LocalFiles.h"
#include "Paths.h"
#include "System.h"
#include "transfer/Stored.h"

namespace quillmark::cli {
namespace {

constexpr int MostAttempts = 3;
constexpr int MostSetbacks = 3;

// The server's numbers that an upload is led by.
constexpr DWORD UploadUnknown = SERVER_ERROR_BASE + 1002;
constexpr DWORD ItemUnknown = UploadUnknown;  // one number for both
constexpr DWORD UploadBusy = SERVER_ERROR_BASE + 1030;

// Whether the server itself said no.
bool IsRefusal(DWORD error) {
    return error >= SERVER_ERROR_BASE && error < SERVER_ERROR_BASE + 7776;
}

}  // namespace

DWORD ResumablePut::Send(const WideString& local, const WideString& server, Attributes& stored,
                         const Progress& progress) {
    m_progress = progress;
    m_expected = m_options.revision;
    m_keptConflict = false;
    for (int attempt = 0; attempt < MostAttempts; ++attempt) {
        if (const Result result = Run(local, server, stored)) {
            return *result;
        }
    }
    return ERROR_FILE_INVALID;
}

ResumablePut::Result ResumablePut::Run(const WideString& local, const WideString& server, Attributes& stored) {
    Attempt attempt;
    DWORD error = Describe(local, server, attempt);
    if (error == ERROR_SUCCESS) {
        error = TakeUp(attempt);
    }
    if (error != ERROR_SUCCESS) {
        return error;
    }
    if (attempt.record.conflict) {
        m_keptConflict = true;
        return SERVER_ERROR_REVISION_MISMATCH;
    }
    if (attempt.begun && attempt.offset == attempt.record.file.size) {
        return Complete(attempt, stored);
    }
    return SendChunks(attempt, stored);
}

DWORD ResumablePut::Describe(const WideString& local, const WideString& server, Attempt& attempt) const {
    const DWORD error = LocalAttributes(local, attempt.attributes);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    const WideString path = AbsolutePath(local);
    if (path.empty()) {
        return ERROR_FILE_NOT_FOUND;
    }
    attempt.attributes->SetRevision(m_expected);
    UploadRecord& record = attempt.record;
    record.key = {m_calls.Session().server, m_calls.Session().user, server, path};
    record.file = IdentityOf(*attempt.attributes);
    record.revision = m_expected;
    record.chunk = m_options.chunk != 0 ? m_options.chunk : ResumableOptions::DefaultChunk;
    return CoCreateGuid(&record.id) == S_OK ? ERROR_SUCCESS : ERROR_GEN_FAILURE;
}

DWORD ResumablePut::TakeUp(Attempt& attempt) {
    UploadRecord known;
    if (m_store.Load(attempt.record.key, known) != ERROR_SUCCESS) {
        return ERROR_SUCCESS;
    }
    std::int64_t received = 0;
    bool waited = false;
    const DWORD error = Ask(known, received, waited);
    if (error == UploadUnknown) {
        return m_store.Remove(known.key);
    }
    if (error != ERROR_SUCCESS) {
        return error;
    }
    if (!IsStillTheFile(known, attempt.record, received)) {
        return Abandon(known);
    }
    if (m_options.chunk != 0) {
        known.chunk = m_options.chunk;
    }
    attempt.record = known;
    attempt.offset = received;
    attempt.begun = true;
    return ERROR_SUCCESS;
}

// Same size and times, same wish, and the same bytes as far as the server may have them.
bool ResumablePut::IsStillTheFile(const UploadRecord& known, const UploadRecord& now, std::int64_t received) const {
    if (known.file != now.file || known.revision != now.revision || received < 0 || received > known.fingerprint.end) {
        return false;
    }
    Fingerprint present;
    const DWORD error = ExtendFingerprint(now.key.local, now.file.size, known.fingerprint.end, present);
    return error == ERROR_SUCCESS && present == known.fingerprint;
}

ResumablePut::Result ResumablePut::SendChunks(Attempt& attempt, Attributes& stored) {
    const std::int64_t size = attempt.record.file.size;
    // An empty file is one chunk without a byte.
    do {
        if (const Result result = SendChunk(attempt, stored); result != ERROR_SUCCESS) {
            return result;
        }
    } while (stored == nullptr && !(attempt.begun && attempt.offset == size));
    return stored == nullptr ? Complete(attempt, stored) : Result(ERROR_SUCCESS);
}

// stored stays null until the item is.
ResumablePut::Result ResumablePut::SendChunk(Attempt& attempt, Attributes& stored) {
    UploadRecord& record = attempt.record;
    const std::int64_t length = std::min(record.chunk, record.file.size - attempt.offset);
    DWORD error = ExtendFingerprint(record.key.local, record.file.size, attempt.offset + length, record.fingerprint);
    if (error == ERROR_HANDLE_EOF || (error == ERROR_SUCCESS && HasChanged(record))) {
        error = Abandon(record);
        return error == ERROR_SUCCESS ? Result() : error;
    }
    if (error == ERROR_SUCCESS) {
        error = m_store.Save(record);
    }
    if (error != ERROR_SUCCESS) {
        return error;
    }
    const Attributes item = attempt.attributes->Clone();
    std::int64_t offset = attempt.offset;
    std::int64_t sent = length;
    const bool first = attempt.offset == 0;
    error = m_calls.Api().ResumableUpload(record.key.local, record.key.remote, item, record.id, offset, sent, first,
                                          m_calls.CancelEvent(), m_progress, 0);
    if (error != ERROR_SUCCESS) {
        // A file that became shorter in the middle of its chunk fails here.
        const bool changed = !m_calls.Interrupted() && HasChanged(record);
        return changed && Abandon(record) == ERROR_SUCCESS ? Result() : Recover(attempt, error, offset);
    }
    attempt.begun = true;
    attempt.setbacks = 0;
    m_calls.Progressed();
    attempt.offset += sent;
    const bool finished = attempt.offset == record.file.size;
    if (HasChanged(record)) {
        // What is stored or half sent is neither the old file nor the new one.
        if (finished && !m_expected.empty()) {
            m_expected = item->GetRevision();
        }
        error = finished ? m_store.Remove(record.key) : Abandon(record);
        return error == ERROR_SUCCESS ? Result() : error;
    }
    return finished ? Stored(attempt, item, stored) : Result(ERROR_SUCCESS);
}

// The record stays where it cannot be told: the next attempt asks the server how far it is.
ResumablePut::Result ResumablePut::Stored(const Attempt& attempt, const Attributes& item, Attributes& stored) const {
    Attributes present = item;
    const DWORD error = ConfirmStored(m_calls, attempt.record.key.remote, *attempt.attributes, present);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    stored = present;
    return m_store.Remove(attempt.record.key);
}

ResumablePut::Result ResumablePut::Recover(Attempt& attempt, DWORD error, std::int64_t corrected) {
    if (error == SERVER_ERROR_REVISION_MISMATCH) {
        return KeepConflict(attempt);
    }
    if (error == UploadUnknown && attempt.begun) {
        return RecoverUnknown(attempt);
    }
    const bool passing = error == SERVER_ERROR_CHUNK_OUT_OF_STEP || error == UploadBusy || error == ERROR_RETRY;
    if (!passing || ++attempt.setbacks > MostSetbacks) {
        // An upload that the server refused at its beginning is none.
        const bool refused = IsRefusal(error) && !attempt.begun;
        const DWORD removal = refused ? m_store.Remove(attempt.record.key) : ERROR_SUCCESS;
        return removal == ERROR_SUCCESS ? error : removal;
    }
    std::int64_t received = corrected;
    if (corrected == attempt.offset) {
        if (const DWORD asked = AskAfterSetback(attempt, error, received); asked != ERROR_SUCCESS) {
            return asked;
        }
    }
    if (received < 0 || received > attempt.record.fingerprint.end) {
        return error;  // somebody else sends under this identifier
    }
    attempt.offset = received;
    return ERROR_SUCCESS;
}

// It is the upload that the server does not know any more, or the folder that the item was to be put in.
ResumablePut::Result ResumablePut::RecoverUnknown(const Attempt& attempt) const {
    std::int64_t received = 0;
    bool waited = false;
    DWORD error = Ask(attempt.record, received, waited);
    if (error == ERROR_SUCCESS) {
        return UploadUnknown;
    }
    if (error == UploadUnknown) {
        error = m_store.Remove(attempt.record.key);
    }
    return error == ERROR_SUCCESS ? Result() : error;
}

DWORD ResumablePut::AskAfterSetback(Attempt& attempt, DWORD setback, std::int64_t& received) {
    bool waited = false;
    const DWORD error = Ask(attempt.record, received, waited);
    const bool unknown = error == UploadUnknown;
    // What is locked is the item, and not the upload, when there is no upload or when it is free again and again.
    if (setback == UploadBusy && !waited && (unknown || attempt.setbacks > 1)) {
        const DWORD removal = unknown ? m_store.Remove(attempt.record.key) : ERROR_SUCCESS;
        return removal == ERROR_SUCCESS ? setback : removal;
    }
    if (unknown) {
        received = 0;
    }
    attempt.begun = !unknown;
    return unknown ? ERROR_SUCCESS : error;
}

// The bytes may be there in full, for another name; a refusal at the first chunk leaves nothing.
DWORD ResumablePut::KeepConflict(Attempt& attempt) {
    std::int64_t received = 0;
    bool waited = false;
    const DWORD asked = Ask(attempt.record, received, waited);
    if (asked == UploadUnknown) {
        const DWORD error = m_store.Remove(attempt.record.key);
        return error == ERROR_SUCCESS ? SERVER_ERROR_REVISION_MISMATCH : error;
    }
    attempt.record.conflict = true;
    m_keptConflict = true;
    const DWORD error = m_store.Save(attempt.record);
    return error == ERROR_SUCCESS ? SERVER_ERROR_REVISION_MISMATCH : error;
}

// A completion does not ask for a revision. Where one is wished for, a last chunk without a byte finishes the upload;
// either way a server that has stored the item already answers with it and stores nothing.
DWORD ResumablePut::Finish(const Attempt& attempt, const Attributes& item) {
    const UploadRecord& record = attempt.record;
    if (record.revision.empty()) {
        return m_calls.Api().CompleteUpload(record.key.remote, record.key.remote, record.id, item,
                                            m_calls.CancelEvent());
    }
    std::int64_t offset = record.file.size;
    std::int64_t length = 0;
    return m_calls.Api().ResumableUpload(record.key.local, record.key.remote, item, record.id, offset, length, false,
                                         m_calls.CancelEvent(), nullptr, 0);
}

ResumablePut::Result ResumablePut::Complete(Attempt& attempt, Attributes& stored) {
    const UploadKey& key = attempt.record.key;
    const Attributes item = attempt.attributes->Clone();
    DWORD error = Finish(attempt, item);
    if (error == SERVER_ERROR_REVISION_MISMATCH) {
        return KeepConflict(attempt);
    }
    if (error == UploadUnknown && !IsFolderMissing(key.remote)) {
        // Forgotten meanwhile, or stored, and the item is gone since.
        error = Abandon(attempt.record);
        return error == ERROR_SUCCESS ? Result() : error;
    }
    return error == ERROR_SUCCESS ? Stored(attempt, item, stored) : Result(error);
}

bool ResumablePut::IsFolderMissing(const WideString& remote) const {
    Attributes folder;
    const WideString path = ServerPath(FolderOf(remote));
    return m_calls.Api().GetPathAttributes(path, folder, m_calls.CancelEvent()).error == ItemUnknown;
}

DWORD ResumablePut::Ask(const UploadRecord& record, std::int64_t& received, bool& waited) const {
    constexpr DWORD LongestPause = 2000;
    DWORD left = m_options.patience * 1000;
    for (DWORD pause = 50;; pause = std::min(2 * pause, LongestPause)) {
        bool locked = false;
        const DWORD error = m_calls.Api().GetResumableUploadMetadata(record.key.remote, record.id, received, locked,
                                                                     m_calls.CancelEvent());
        if (error != ERROR_SUCCESS || !locked) {
            return error;
        }
        waited = true;
        if (left == 0) {
            return UploadBusy;
        }
        pause = std::min(pause, left);
        left -= pause;
        if (!m_calls.Pause(std::chrono::milliseconds(pause))) {
            return ERROR_CANCELLED;
        }
    }
}

DWORD ResumablePut::Abandon(const UploadRecord& record) const {
    std::int64_t received = 0;
    bool waited = false;
    DWORD error = Ask(record, received, waited);  // not before its last request has ended
    if (error == ERROR_SUCCESS) {
        error = m_calls.Api().CancelUpload(record.key.remote, record.id, m_calls.CancelEvent());
    }
    return error == ERROR_SUCCESS || error == UploadUnknown ? m_store.Remove(record.key) : error;
}

bool ResumablePut::HasChanged(const UploadRecord& record) const {
    Attributes present;
    return LocalAttributes(record.key.local, present) != ERROR_SUCCESS || IdentityOf(*present) != record.file;
}

}  // namespace quillmark::cli
