#include "transfer/Trees.h"

#include "LocalFiles.h"
#include "Output.h"
#include "Paths.h"
#include "System.h"

namespace quillmark::cli {
namespace {

using Kind = TreeEntry::Kind;

TreeEntry EntryOf(const IServerAttributes& item) {
    TreeEntry entry;
    entry.name = item.GetName();
    entry.kind = IsFolder(item) ? Kind::Folder : Kind::File;
    entry.size = item.HasSize() ? item.GetSize() : 0;
    entry.created = item.GetCreationTime();
    entry.modified = item.GetLastWriteTime();
    entry.revision = item.GetRevision();
    return entry;
}

TreeEntry EntryOf(const LocalItem& item, const WideString& path) {
    TreeEntry entry;
    if (item.link && !item.folder) {
        // Some systems tell of the link itself.
        entry.error = LookAtLocal(path, entry);
        entry.kind = entry.error == ERROR_SUCCESS ? entry.kind : Kind::Broken;
        if (IsLocalItemMissing(entry.error)) {
            entry.error = ERROR_CANT_RESOLVE_FILENAME;  // the link is there, what it leads to is not
        }
        entry.link = true;
    } else if (item.folder) {
        entry.kind = item.link ? Kind::FolderLink : Kind::Folder;
    } else if (IsPlainFile(path)) {
        entry.size = item.size;
        entry.created = item.created;
        entry.modified = item.modified;
    } else {
        entry.error = LookAtLocal(path, entry);
        entry.kind = entry.error == ERROR_SUCCESS ? Kind::Special : Kind::Broken;
    }
    entry.name = item.name;
    return entry;
}

}  // namespace

WideString InTree(const WideString& top, const WideString& path) {
    return path.empty() ? top : JoinPath(top, path);
}

DWORD LocalTree::List(const WideString& path, std::vector<TreeEntry>& entries) {
    const WideString folder = InTree(m_top, path);
    return ForEachLocalItem(folder, [&entries, &folder](const LocalItem& item) {
        TreeEntry entry = EntryOf(item, JoinPath(folder, item.name));
        if (!IsLocalItemMissing(entry.error)) {  // or else it has gone since the listing was begun
            entries.push_back(std::move(entry));
        }
    });
}

DWORD ServerTree::List(const WideString& path, std::vector<TreeEntry>& entries) {
    const WideString folder = InTree(m_top, path);
    ItemList children;
    const DWORD error = m_calls.Run([&]() -> DWORD {
        children.clear();
        std::shared_ptr<IServerAttributes> self;
        const StatusPair status = m_calls.Api().GetPathListing(folder, children, self, m_calls.CancelEvent());
        // What does not say that it is a folder must not pass for an empty one: with --delete all that the other side
        // has would go.
        return status.error == ERROR_SUCCESS && !IsFolder(*self) ? DWORD{ERROR_INVALID_DATA} : status.error;
    });
    for (; !children.empty(); children.pop_front()) {
        entries.push_back(EntryOf(*children.front()));
    }
    return error;
}

DWORD LookAtLocal(const WideString& path, TreeEntry& entry) {
    std::shared_ptr<IServerAttributes> attributes;
    if (const DWORD error = LocalAttributes(path, attributes); error != ERROR_SUCCESS) {
        return error;
    }
    entry = EntryOf(*attributes);
    if (entry.kind == Kind::File && !IsPlainFile(path)) {
        entry.kind = Kind::Special;
    }
    return ERROR_SUCCESS;
}

DWORD LookAtServer(Calls& calls, const WideString& path, TreeEntry& entry) {
    std::shared_ptr<IServerAttributes> item;
    const DWORD error = calls.Run([&] { return calls.Api().GetPathAttributes(path, item, calls.CancelEvent()).error; });
    if (error == ERROR_SUCCESS) {
        entry = EntryOf(*item);
    }
    return error;
}

FolderAbilities AbilityTable::Of(const WideString& serverPath) {
    if (!m_asked) {
        m_asked = true;
        ResponseBuffer reply;
        static_cast<void>(m_calls.Run([&] {
            m_mappings.clear();
            return m_calls.Api().GetRemoteFolderMap(m_mappings, reply, m_calls.CancelEvent()).error;
        }));
    }
    return AbilitiesIn(m_mappings, serverPath);
}

FolderAbilities AbilitiesIn(const MappingList& mappings, const WideString& serverPath) {
    FolderAbilities abilities;
    std::size_t longest = 0;
    for (const std::shared_ptr<const CMapping>& mapping : mappings) {
        const WideString folder = ServerPath(mapping->path);
        const bool inIt = serverPath == folder || serverPath.StartsWith(folder + QM_W("/"));
        if (inIt && folder.size() > longest && mapping->capabilities != nullptr) {
            longest = folder.size();
            abilities = {mapping->capabilities->deltaUpload, mapping->capabilities->resumableUploads,
                         mapping->capabilities->fileSizeUploadLimit};
        }
    }
    return abilities;
}

}  // namespace quillmark::cli
