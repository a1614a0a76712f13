// PartFile: the beginning of a download that is kept until the rest of it has come.
//
// Two files beside the target: the bytes, and a record of what they are the beginning of: server, user, item, revision
// and size. Only the download of exactly that goes on from them; anything else begins anew, so that bytes of two
// revisions never come together. The record is there before the first byte and is gone after the last.
//
// Two programs must not get the same item to the same place at the same time.
#pragma once

#include <cstdint>
#include <string>

#include "quillmark/WideString.h"

namespace quillmark::cli {

// What a download is called, beside its target, until it is complete: two names that differ give two names.
[[nodiscard]] WideString PartialName(const WideString& local);
// Likewise, for what is not kept when it ends early.
[[nodiscard]] WideString TemporaryName(const WideString& local);

// What a part is the beginning of.
struct PartSource {
    std::string server;  // as in the session file
    std::string user;
    WideString item;
    std::string revision;  // not empty: without one nothing can be told
    std::int64_t size = 0;
};

class PartFile {
public:
    explicit PartFile(const WideString& local);

    [[nodiscard]] const WideString& Path() const { return m_path; }

    // Gets ready for this source: what is there of it stays, anything else goes. have: how many bytes are there. 0 or
    // an error code.
    [[nodiscard]] DWORD Prepare(const PartSource& source, std::int64_t& have) const;
    // Bytes that are there now.
    [[nodiscard]] std::int64_t Have() const;
    // The part is complete and has become the target, or is given up.
    void Discard() const;

private:
    WideString m_path;
    WideString m_record;
};

}  // namespace quillmark::cli
