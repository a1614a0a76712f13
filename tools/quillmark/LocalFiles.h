// Local files and folders as the commands need them, through the platform's file functions.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "quillmark/Attributes.h"

namespace quillmark::cli {

struct LocalItem {
    WideString name;
    bool folder = false;
    bool link = false;
    std::int64_t size = 0;  // from here on: what a listing tells; of a link either its own or its target's
    CAttributeTime created;
    CAttributeTime modified;
};

// Whether an error says that nothing is there.
[[nodiscard]] bool IsLocalItemMissing(DWORD error);

// Looks at one item. 0 or an error code.
[[nodiscard]] DWORD FindLocalItem(const WideString& path, LocalItem& item);

// Visits what a folder holds, "." and ".." aside, in the order that the system gives. 0 or an error code.
[[nodiscard]] DWORD ForEachLocalItem(const WideString& folder, const std::function<void(const LocalItem&)>& visit);

// The record of a local file as an upload sends it: times, Windows attributes and size.
[[nodiscard]] DWORD LocalAttributes(const WideString& path, std::shared_ptr<IServerAttributes>& attributes);

// Gives a local file the times of a record.
[[nodiscard]] DWORD ApplyTimes(const WideString& path, const IServerAttributes& attributes);

// Where an item of the server goes in a local folder: under its own name. Throws Failure when that cannot be the name
// of a file here.
[[nodiscard]] WideString TargetInFolder(const WideString& folder, const WideString& server);

// Where one file of the server goes: to the local path, or in it when a folder is there. Throws as TargetInFolder does.
[[nodiscard]] WideString FileTarget(const WideString& server, const WideString& local);

// Makes the folder and those above it that are missing. False when it is not there afterwards.
bool MakeLocalFolders(const WideString& folder);

// Reads a small file. ERROR_FILE_TOO_LARGE when it holds more than limit bytes.
[[nodiscard]] DWORD ReadLocalFile(const WideString& path, std::size_t limit, std::string& content);

}  // namespace quillmark::cli
