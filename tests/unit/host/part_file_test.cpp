#include "transfer/PartFile.h"

#include <gtest/gtest.h>

#include "transfer/TransferPlan.h"
#include "unit/host/HostFolder.h"

namespace quillmark::cli {
namespace {

class PartFileTest : public ::testing::Test {
protected:
    // What is there of the source when a download of it begins.
    std::int64_t Begin() {
        std::int64_t have = -1;
        EXPECT_EQ(PartFile(folder.Wide("f")).Prepare(source, have), 0u);
        return have;
    }
    void WritePart(const std::string& bytes) { static_cast<void>(folder.Write("f.quillmark-part", bytes)); }
    [[nodiscard]] bool Exists(const std::string& name) const { return std::filesystem::exists(folder.Path(name)); }

    test::HostFolder folder;
    PartSource source{"https://files.example.com", "anna", QM_W("/Shared/a\nb"), "r 7", 10};
};

TEST_F(PartFileTest, TheRecordSaysWhatItIsTheBeginningOf) {
    EXPECT_EQ(Begin(), 0);
    EXPECT_EQ(folder.Read("f.quillmark-part-of"),
              "quillmark part 1\n"
              "server https://files.example.com\n"
              "user anna\n"
              "item /Shared/a\\nb\n"
              "revision r 7\n"
              "size 10\n");
}

TEST_F(PartFileTest, GoesOnWithWhatIsThereOfTheSame) {
    EXPECT_EQ(Begin(), 0);
    WritePart("1234");
    EXPECT_EQ(Begin(), 4);
    EXPECT_EQ(folder.Read("f.quillmark-part"), "1234");
    WritePart("1234567890");
    EXPECT_EQ(Begin(), 10);
}

TEST_F(PartFileTest, BeginsAnewForAnythingElse) {
    const PartSource same = source;
    for (const auto& change :
         {+[](PartSource& other) { other.server = "https://other"; }, +[](PartSource& other) { other.user = "ben"; },
          +[](PartSource& other) { other.item = QM_W("/Shared/c"); },
          +[](PartSource& other) { other.revision = "r 8"; }, +[](PartSource& other) { other.size = 11; }}) {
        source = same;
        Begin();
        WritePart("1234");
        change(source);
        EXPECT_EQ(Begin(), 0);
        EXPECT_FALSE(Exists("f.quillmark-part"));
        EXPECT_EQ(Begin(), 0) << "the record is the new one's";
        PartFile(folder.Wide("f")).Discard();
    }
}

TEST_F(PartFileTest, BeginsAnewWithoutARecordAndWithADamagedOne) {
    WritePart("1234");
    EXPECT_EQ(Begin(), 0);
    EXPECT_FALSE(Exists("f.quillmark-part"));
    WritePart("1234");
    static_cast<void>(folder.Write("f.quillmark-part-of", "quillmark part 1\nserver"));
    EXPECT_EQ(Begin(), 0);
    EXPECT_FALSE(Exists("f.quillmark-part"));
}

TEST_F(PartFileTest, BeginsAnewWhenThereIsMoreThanTheWhole) {
    Begin();
    WritePart("12345678901");
    EXPECT_EQ(Begin(), 0);
    EXPECT_FALSE(Exists("f.quillmark-part"));
}

TEST_F(PartFileTest, DiscardLeavesNothing) {
    Begin();
    WritePart("1234");
    static_cast<void>(folder.Write("f.quillmark-part-of.new", "half a record of a program that was killed"));
    PartFile(folder.Wide("f")).Discard();
    EXPECT_FALSE(Exists("f.quillmark-part"));
    EXPECT_FALSE(Exists("f.quillmark-part-of"));
    EXPECT_FALSE(Exists("f.quillmark-part-of.new"));
}

TEST_F(PartFileTest, HalfARecordOfAProgramThatWasKilledIsNoRecord) {
    Begin();
    WritePart("1234");
    const std::string record = folder.Read("f.quillmark-part-of");
    std::filesystem::rename(folder.Path("f.quillmark-part-of"), folder.Path("f.quillmark-part-of.new"));
    EXPECT_EQ(Begin(), 0);
    EXPECT_EQ(folder.Read("f.quillmark-part-of"), record);
    EXPECT_FALSE(Exists("f.quillmark-part-of.new"));
}

TEST_F(PartFileTest, AMissingFolderIsAnError) {
    std::int64_t have = -1;
    EXPECT_EQ(PartFile(folder.Wide("none/f")).Prepare(source, have), DWORD{ERROR_PATH_NOT_FOUND});
}

TEST(PartNameTest, ShortNamesGetAnEnding) {
    EXPECT_EQ(NarrowUtf8(PartialName(QM_W("a/b.txt"))), "a/b.txt.quillmark-part");
    EXPECT_EQ(NarrowUtf8(TemporaryName(QM_W("b"))), "b.quillmark-temp");
}

TEST(PartNameTest, LongNamesThatBeginAlikeStayDifferentAndFit) {
    const WideString one = WidenUtf8("f/" + std::string(254, 'x') + "1");
    const WideString other = WidenUtf8("f/" + std::string(254, 'x') + "2");
    EXPECT_NE(PartialName(one), PartialName(other));
    EXPECT_LE(NarrowUtf8(PartialName(one)).size(), 257u);
    EXPECT_TRUE(IsUnfinishedName(PartialName(one)));
    std::string rockets;
    for (int count = 0; count < 63; ++count) {
        rockets += "\xF0\x9F\x9A\x80";
    }
    const std::string name = NarrowUtf8(PartialName(WidenUtf8(rockets)));
    EXPECT_EQ(name.find("\xEF\xBF\xBD"), std::string::npos) << "no character is cut in two";
}

}  // namespace
}  // namespace quillmark::cli
