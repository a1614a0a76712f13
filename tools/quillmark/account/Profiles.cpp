#include "account/Profiles.h"

#include <algorithm>

#include "LocalFiles.h"
#include "Paths.h"
#include "SessionFile.h"
#include "System.h"

namespace quillmark::cli {
namespace {

constexpr std::size_t LongestName = 64;
constexpr const char* RecordsFolder = "uploads";  // lies beside the profiles, see UploadStore

bool IsNameCharacter(char unit) {
    return (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z') || (unit >= '0' && unit <= '9') ||
           unit == '-' || unit == '_';
}

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char unit) { return unit >= 'A' && unit <= 'Z' ? static_cast<char>(unit + ('a' - 'A')) : unit; });
    return text;
}

WideString ProfilesFolder() {
    const WideString session = DefaultSessionPath();
    const std::size_t slash = session.FindLast(QM_W('/'));
    return slash == WideString::npos ? WideString() : JoinPath(session.Substring(0, slash), QM_W("profiles"));
}

bool HasDefault() {
    LocalItem item;
    return FindLocalItem(DefaultSessionPath(), item) == ERROR_SUCCESS && !item.folder;
}

}  // namespace

bool IsProfileName(const std::string& name) {
    return name.size() <= LongestName && std::all_of(name.begin(), name.end(), IsNameCharacter) &&
           Lower(name) != RecordsFolder && name.find_first_not_of('-') == 0 && IsLocalName(WidenUtf8(name));
}

WideString ProfilePath(const std::string& name) {
    if (name.empty() || name == DefaultProfile) {
        return DefaultSessionPath();
    }
    const WideString folder = ProfilesFolder();
    return folder.empty() ? WideString() : JoinPath(folder, WidenUtf8(name));
}

std::string ProfileName(const GlobalOptions& options) {
    if (options.sessionPath != ProfilePath(options.profile)) {
        return "";
    }
    return options.profile.empty() ? DefaultProfile : options.profile;
}

std::vector<std::string> ProfileNames() {
    std::vector<std::string> names;
    const auto visit = [&names](const LocalItem& item) {
        const std::string name = NarrowUtf8(item.name);
        if (!item.folder && IsProfileName(name) && name != DefaultProfile) {
            names.push_back(name);
        }
    };
    // A folder that is not there holds no profiles.
    static_cast<void>(ForEachLocalItem(ProfilesFolder(), visit));
    std::sort(names.begin(), names.end());
    if (HasDefault()) {
        names.insert(names.begin(), DefaultProfile);
    }
    return names;
}

}  // namespace quillmark::cli
