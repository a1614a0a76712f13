#include "Items.h"

#include "Output.h"
#include "Paths.h"
#include "Texts.h"

namespace quillmark::cli {
namespace {

void AddTime(JsonObject& object, const std::string& name, CAttributeTime time) {
    time.IsSet() ? object.Add(name, time.ToText()) : object.AddNull(name);
}

}  // namespace

std::string LongLine(const IServerAttributes& item, bool human) {
    constexpr std::size_t SizeWidth = 14;
    constexpr std::size_t HumanWidth = 5;
    const std::string exact = human ? HumanSize(SizeOf(item)) : item.GetSizeText();
    const std::string size = IsFolder(item) ? "-" : exact;
    const std::size_t width = human ? HumanWidth : SizeWidth;
    const std::string padding(size.size() < width ? width - size.size() : 0, ' ');
    return std::string(IsFolder(item) ? "d" : "-") + "  " + NarrowUtf8(item.GetLastWriteTime().ToText()) + "  " +
           padding + size + "  " + Printable(item.GetName());
}

JsonObject ItemObject(const WideString& path, const IServerAttributes& item) {
    JsonObject object;
    object.Add("path", path).Add("name", item.GetName()).Add("kind", IsFolder(item) ? "folder" : "file");
    if (IsFolder(item) || !item.HasSize()) {
        object.AddNull("size");
    } else {
        object.AddNumber("size", item.GetSize());
    }
    AddTime(object, "created", item.GetCreationTime());
    AddTime(object, "modified", item.GetLastWriteTime());
    if (item.HasFileAttributes()) {
        object.AddNumber("attributes", item.GetFileAttributes());
    } else {
        object.AddNull("attributes");
    }
    return object.Add("revision", item.GetRevision()).AddFlag("writable", !item.IsReadOnly());
}

std::int64_t SizeOf(const IServerAttributes& item) {
    return IsFolder(item) || !item.HasSize() ? 0 : item.GetSize();
}

}  // namespace quillmark::cli
