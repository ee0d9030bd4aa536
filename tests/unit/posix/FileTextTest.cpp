// What is read of a file, whole, broken or not there.
#include "posix/FileText.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace orvane::test {

TEST(FileTextTest, IsEveryByte) {
    const std::string path = testing::TempDir() + "orvane-file-text";
    const std::string bytes("one\0two\n\xff", 9);
    std::ofstream(path, std::ios::binary) << bytes;
    EXPECT_EQ(fileText(path), bytes);
    std::filesystem::remove(path);
}

TEST(FileTextTest, IsEmptyWhereNothingCanBeReadOrOpened) {
    EXPECT_EQ(fileText(testing::TempDir()), "");  // A folder can be opened, not read.
    EXPECT_EQ(fileText("/nowhere/file"), "");
}

}  // namespace orvane::test
