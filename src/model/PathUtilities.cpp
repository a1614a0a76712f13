#include "model/PathUtilities.h"

#include "common/Log.h"

namespace quillmark::PathUtilities {
namespace {

constexpr WideView ExtendedPrefix = QM_W("\\\\?\\");
constexpr WideView ObjectPrefix = QM_W("\\??\\");
constexpr WideView UncPrefix = QM_W("\\\\");

// From left to right, without overlap: "????" becomes "\?\?".
WideString ReplaceQuestionMarks(WideString path) {
    WideChar* const units = path.MutableData();
    for (std::size_t found = path.Find(QM_W("??")); found != WideString::npos;
         found = path.Find(QM_W("??"), found + 2)) {
        units[found] = QM_W('\\');
    }
    return path;
}

}  // namespace

WideString NormalizePath(const WideString& path) {
    if (path.size() < 2 || path.StartsWith(ExtendedPrefix)) {
        return path;
    }
    if (path.StartsWith(ObjectPrefix)) {
        // All of them, not the one in the prefix alone, which is meant.
        return ReplaceQuestionMarks(path);
    }
    if (path.StartsWith(UncPrefix)) {
        return WideString(QM_W("\\\\?\\UNC")) + path.Substring(1);
    }
    if (path[1] == QM_W(':')) {
        return WideString(ExtendedPrefix) + path;
    }
    constexpr Logger log("PathUtilities::NormalizePath", LogSource::PathUtilities);
    log.Error("Unknown path format [%S]", path);
    return path;
}

}  // namespace quillmark::PathUtilities
