#include "Paths.h"

#include <gtest/gtest.h>

namespace quillmark::cli {
namespace {

struct Row {
    const char* path;
    const char* folder;
    const char* leaf;
};

TEST(PathsTest, APathIsItsFolderAndItsLastComponent) {
    for (const auto& [path, folder, leaf] :
         {Row{"/a/b", "/a", "b"}, Row{"/a/b/", "/a", "b"}, Row{"/a", "/", "a"}, Row{"a/b/c", "a/b", "c"},
          Row{"a/b//", "a", "b"}, Row{"a", "", "a"}, Row{"C:/a", "C:/", "a"}, Row{"", "", ""}}) {
        EXPECT_EQ(NarrowUtf8(FolderOf(WidenUtf8(path))), folder) << path;
        EXPECT_EQ(NarrowUtf8(LeafName(WidenUtf8(path))), leaf) << path;
    }
}

}  // namespace
}  // namespace quillmark::cli
