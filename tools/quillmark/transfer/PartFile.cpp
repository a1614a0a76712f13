#include "transfer/PartFile.h"

#include "Fingerprint.h"
#include "LocalFile.h"
#include "LocalFiles.h"
#include "Paths.h"
#include "System.h"
#include "Texts.h"
#include "transfer/TransferPlan.h"

namespace quillmark::cli {
namespace {

constexpr std::size_t LongestRecord = 256 * 1024;

// A name may have 255 bytes, and a code unit takes up to three: what a long name loses makes room for the ending, and a
// digest of the whole keeps it different from others that begin alike.
WideString BesideWithEnding(const WideString& local, const WideChar* ending) {
    constexpr std::size_t Longest = 75;
    constexpr std::size_t Kept = 60;
    const WideString leaf = LeafName(local);
    if (leaf.size() <= Longest) {
        return local + ending;
    }
    const bool pairSplit = (leaf[Kept] & 0xFC00) == 0xDC00;
    return local.Substring(0, local.size() - leaf.size()) + leaf.Substring(0, Kept - (pairSplit ? 1 : 0)) + QM_W("-") +
           WidenUtf8(DigestOf(Escaped(leaf))) + ending;
}

std::string RecordOf(const PartSource& source) {
    return "quillmark part 1\nserver " + source.server + "\nuser " + source.user + "\nitem " + Escaped(source.item) +
           "\nrevision " + Escaped(WidenUtf8(source.revision)) + "\nsize " + std::to_string(source.size) + "\n";
}

}  // namespace

WideString PartialName(const WideString& local) {
    return BesideWithEnding(local, PartEnding);
}

WideString TemporaryName(const WideString& local) {
    return BesideWithEnding(local, TemporaryEnding);
}

PartFile::PartFile(const WideString& local)
    : m_path(PartialName(local)), m_record(BesideWithEnding(local, PartRecordEnding)) {}

DWORD PartFile::Prepare(const PartSource& source, std::int64_t& have) const {
    const std::string wanted = RecordOf(source);
    std::string present;
    have = 0;
    if (ReadLocalFile(m_record, LongestRecord, present) == ERROR_SUCCESS && present == wanted) {
        have = Have();
        if (have <= source.size) {
            return ERROR_SUCCESS;
        }
        have = 0;
    }
    // The bytes first: a record never stands beside bytes that are not its own.
    if (DeleteFileW(m_path.c_str()) == FALSE && GetLastError() != ERROR_FILE_NOT_FOUND) {
        return GetLastError();
    }
    return WritePrivateFile(m_record, wanted);
}

std::int64_t PartFile::Have() const {
    std::int64_t size = 0;
    return FileSize(m_path, size) == ERROR_SUCCESS ? size : 0;
}

void PartFile::Discard() const {
    DeleteFileW(m_path.c_str());
    DeleteFileW(m_record.c_str());
    DeleteFileW((m_record + NewEnding).c_str());  // of an attempt that was killed
}

}  // namespace quillmark::cli
