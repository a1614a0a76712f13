#include "files/ShareTable.h"

#include <algorithm>
#include <functional>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Files.h"

namespace quillmark::platform {
namespace {

struct FileIdHash {
    std::size_t operator()(const FileId& file) const {
        return std::hash<std::uint64_t>()(file.inode) * 31 + std::hash<std::uint64_t>()(file.device);
    }
};

struct ShareTable {
    std::mutex lock;
    std::unordered_map<FileId, std::vector<std::shared_ptr<const FileUse>>, FileIdHash> uses;
};

// Never destroyed: files may still be closed while the process runs its last destructors.
ShareTable& TheTable() {
    static ShareTable& table = *new ShareTable;
    return table;
}

// The FILE_SHARE_ bits that others must have granted for this access.
DWORD NeededShare(DWORD access) {
    return ((access & (FILE_READ_DATA | FILE_EXECUTE)) != 0 ? FILE_SHARE_READ : 0) |
           ((access & (FILE_WRITE_DATA | FILE_APPEND_DATA)) != 0 ? FILE_SHARE_WRITE : 0) |
           ((access & DELETE) != 0 ? FILE_SHARE_DELETE : 0);
}

bool Exclude(const FileUse& one, const FileUse& other) {
    return (NeededShare(one.access) & ~other.share) != 0 || (NeededShare(other.access) & ~one.share) != 0;
}

}  // namespace

ShareTicket::ShareTicket(FileId file, std::shared_ptr<const FileUse> use) : m_file(file), m_use(std::move(use)) {}

ShareTicket& ShareTicket::operator=(ShareTicket&& other) noexcept {
    std::swap(m_file, other.m_file);
    std::swap(m_use, other.m_use);
    return *this;
}

ShareTicket::~ShareTicket() {
    Release();
}

void ShareTicket::Release() noexcept {
    if (m_use == nullptr) {
        return;
    }
    ShareTable& table = TheTable();
    const std::lock_guard guard(table.lock);
    const auto entry = table.uses.find(m_file);
    std::erase(entry->second, m_use);
    if (entry->second.empty()) {
        table.uses.erase(entry);
    }
    m_use.reset();
}

DWORD AcquireShare(FileId file, FileUse use, ShareTicket& ticket) {
    if (NeededShare(use.access) == 0) {
        return ERROR_SUCCESS;
    }
    auto entry = std::make_shared<const FileUse>(use);
    ShareTable& table = TheTable();
    {
        const std::lock_guard guard(table.lock);
        const auto others = table.uses.find(file);
        if (others != table.uses.end() &&
            std::any_of(others->second.begin(), others->second.end(),
                        [&use](const std::shared_ptr<const FileUse>& other) { return Exclude(use, *other); })) {
            return ERROR_SHARING_VIOLATION;
        }
        table.uses[file].push_back(entry);
    }
    ticket = ShareTicket(file, std::move(entry));
    return ERROR_SUCCESS;
}

}  // namespace quillmark::platform
