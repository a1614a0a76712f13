#include "Paths.h"

namespace quillmark::cli {
namespace {

WideString WithoutTrailingSlashes(const WideString& path) {
    std::size_t end = path.size();
    while (end > 0 && path[end - 1] == QM_W('/')) {
        --end;
    }
    return path.Substring(0, end);
}

}  // namespace

WideString JoinPath(const WideString& folder, const WideString& name) {
    WideString joined = folder;
    if (joined.empty() || joined[joined.size() - 1] != QM_W('/')) {
        joined += QM_W("/");
    }
    return joined + name;
}

WideString LeafName(const WideString& path) {
    const WideString trimmed = WithoutTrailingSlashes(path);
    const std::size_t slash = trimmed.FindLast(QM_W('/'));
    return slash == WideString::npos ? trimmed : trimmed.Substring(slash + 1);
}

WideString FolderOf(const WideString& path) {
    const WideString trimmed = WithoutTrailingSlashes(path);
    const std::size_t slash = trimmed.FindLast(QM_W('/'));
    if (slash == WideString::npos) {
        return {};
    }
    const bool top = slash == 0 || trimmed[slash - 1] == QM_W(':');  // of all, or of a drive
    return trimmed.Substring(0, top ? slash + 1 : slash);
}

bool IsOwnName(const WideString& leaf) {
    return !leaf.empty() && leaf != QM_W(".") && leaf != QM_W("..");
}

WideString ServerPath(const WideString& text) {
    WideString path = QM_W("/");
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] != QM_W('/') || path[path.size() - 1] != QM_W('/')) {
            path += text[index];
        }
    }
    if (path.size() > 1 && path[path.size() - 1] == QM_W('/')) {
        path.Resize(path.size() - 1);
    }
    return path;
}

bool IsText(const WideString& path) {
    return WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, path.c_str(), -1, nullptr, 0, nullptr, nullptr) != 0;
}

namespace {

// What steers the terminal, breaks a line or turns the direction of all that follows it.
bool IsControl(WideChar unit) {
    const bool direction = (unit >= 0x202A && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
    const bool lineBreak = unit == 0x2028 || unit == 0x2029;
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || direction || lineBreak;
}

}  // namespace

std::string Printable(const WideString& text) {
    WideString shown = text;
    if (shown.empty()) {
        return {};
    }
    WideChar* units = shown.MutableData();
    for (std::size_t index = 0; index < shown.size(); ++index) {
        if (IsControl(units[index])) {
            units[index] = QM_W('?');
        }
    }
    return NarrowUtf8(shown);
}

}  // namespace quillmark::cli
