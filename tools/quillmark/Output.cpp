#include "Output.h"

#include <cstdio>

#include "Paths.h"

namespace quillmark::cli {

void Print(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
}

void PrintError(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fputc('\n', stderr);
}

bool IsFolder(const IServerAttributes& item) {
    return item.HasFileAttributes() && (item.GetFileAttributes() & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::string LongLine(const IServerAttributes& item) {
    const std::string size = IsFolder(item) ? "-" : item.GetSizeText();
    const std::string padding(size.size() < 14 ? 14 - size.size() : 0, ' ');
    return std::string(IsFolder(item) ? "d" : "-") + "  " + NarrowUtf8(item.GetLastWriteTime().ToText()) + "  " +
           padding + size + "  " + Printable(item.GetName());
}

}  // namespace quillmark::cli
