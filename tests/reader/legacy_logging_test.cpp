// The entry points that earlier host programs still name.

#include <filesystem>

#include "tests/support/library_test.hpp"
#include "tests/support/temporary_directory.hpp"

namespace quorrin::test {
namespace {

using testing::IsEmpty;

class LegacyLogging : public LibraryTest {};

TEST_F(LegacyLogging, DeliberatelyDoesNothing) {
    const TemporaryDirectory directory;
    char folder[] = "logs";
    WriteLog("quorrin.log", "text %s %n", 1);
    WriteLogTime();
    WriteLogEnc("quorrin.log", "text %s %n", 1, 2);
    EXPECT_EQ(CreateFolder(folder), 0);
    EXPECT_STREQ(folder, "logs");
    EXPECT_TRUE(std::filesystem::is_empty("."));
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_THAT(reader().calls, IsEmpty());
}

TEST_F(LegacyLogging, TakesNullPointers) {
    WriteLog(nullptr, nullptr, 0);
    WriteLogEnc(nullptr, nullptr, 0, 0);
    EXPECT_EQ(CreateFolder(nullptr), 0);
}

}  // namespace
}  // namespace quorrin::test
