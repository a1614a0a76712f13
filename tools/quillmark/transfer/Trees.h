// The two kinds of trees that a transfer has at its ends, folder by folder.
#pragma once

#include "Calls.h"
#include "transfer/TransferPlan.h"

namespace quillmark::cli {

// A local folder with what is in it. Links to files are files; what they lead to is what counts.
class LocalTree : public TreeReader {
public:
    explicit LocalTree(WideString top) : m_top(std::move(top)) {}
    [[nodiscard]] DWORD List(const WideString& path, std::vector<TreeEntry>& entries) override;

private:
    WideString m_top;
};

// A folder of the server. Runs its calls through one thread's.
class ServerTree : public TreeReader {
public:
    ServerTree(Calls& calls, WideString top) : m_calls(calls), m_top(std::move(top)) {}
    [[nodiscard]] DWORD List(const WideString& path, std::vector<TreeEntry>& entries) override;

private:
    Calls& m_calls;
    WideString m_top;
};

// The path of an item of a tree, whose own path is empty.
[[nodiscard]] WideString InTree(const WideString& top, const WideString& path);

// One item as a listing would tell it, links followed. 0 or an error code.
[[nodiscard]] DWORD LookAtLocal(const WideString& path, TreeEntry& entry);
[[nodiscard]] DWORD LookAtServer(Calls& calls, const WideString& path, TreeEntry& entry);

// What the folders of the server take, asked for once, when somebody wants to know. A server that does not tell offers
// nothing.
class AbilityTable {
public:
    explicit AbilityTable(Calls& calls) : m_calls(calls) {}
    // Of the mapped folder that the item is in.
    [[nodiscard]] FolderAbilities Of(const WideString& serverPath);

private:
    Calls& m_calls;
    bool m_asked = false;
    MappingList m_mappings;
};

// The abilities that a list of mapped folders tells for an item: of the folder that it is, or is in.
[[nodiscard]] FolderAbilities AbilitiesIn(const MappingList& mappings, const WideString& serverPath);

}  // namespace quillmark::cli
