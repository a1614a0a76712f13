// What many small files cost: time, and memory that does not grow with their number.
#include <cstdio>

#include "integration/cli/TransferTreeTest.h"

namespace quillmark::testing {
namespace {

// How much more memory ten times as many files may take.
constexpr long MostGrowth = 2 * 1024;  // KiB
constexpr int FilesInFolder = 100;

class TreeCostTest : public TransferTreeTest {
protected:
    // So many files of a few bytes, a hundred in each folder.
    std::string WriteMany(const std::string& name, int count) const {
        for (int index = 0; index < count; ++index) {
            Write(name + "/" + std::to_string(index / FilesInFolder) + "/" + std::to_string(index),
                  "file " + std::to_string(index));
        }
        return Local(name);
    }
    ProcessResult Measure(const std::string& what, const Arguments& arguments) const {
        ProcessResult result = Quillmark(arguments);
        EXPECT_EQ(0, result.exitCode) << result.errors;
        std::printf("MEASURED %s: %.1f s, peak memory %.1f MiB\n", what.c_str(), result.seconds,
                    static_cast<double>(result.peakKilobytes) / 1024);
        return result;
    }
};

TEST_F(TreeCostTest, TenThousandFilesTakeNoMoreMemoryThanAThousand) {
    const std::string few = WriteMany("few", 1'000);
    const std::string many = WriteMany("many", 10'000);
    const long fewUp = Measure("1,000 files up", {"put", "-q", few, "/few"}).peakKilobytes;
    const long manyUp = Measure("10,000 files up", {"put", "-q", many, "/many"}).peakKilobytes;
    EXPECT_LE(manyUp, fewUp + MostGrowth);
    const long fewDown = Measure("1,000 files down", {"get", "-q", "/few", Local("few.back")}).peakKilobytes;
    const long manyDown = Measure("10,000 files down", {"get", "-q", "/many", Local("many.back")}).peakKilobytes;
    EXPECT_LE(manyDown, fewDown + MostGrowth);
    EXPECT_EQ(0, Process::Run({"diff", "-r", many, Local("many.back")}).exitCode);
    const ProcessResult again = Measure("10,000 files up, all the same", {"put", "-q", many, "/many"});
    EXPECT_NE(std::string::npos, again.errors.find("0 files, 101 folders, 0 bytes, 10000 skipped, 0 failed"))
        << again.errors;
    EXPECT_LE(again.peakKilobytes, fewUp + MostGrowth);
    Measure("a plan of 10,000 files", {"sync", "--dry-run", many, "/other"});
}

}  // namespace
}  // namespace quillmark::testing
