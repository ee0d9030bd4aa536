#include "linux/files/LinuxBundle.h"

#include <QTemporaryDir>
#include <filesystem>

#include <gtest/gtest.h>
#include <unistd.h>

namespace orvane::test {

namespace {

namespace fs = std::filesystem;

TEST(LinuxBundleTest, TheExecutableIsThisProgram) {
    EXPECT_EQ(findBundle().executablePath, fs::read_symlink("/proc/self/exe").string());
}

TEST(LinuxBundleTest, InstalledResourcesComeBeforeThoseOfABuildAndThereMayBeNone) {
    const QTemporaryDir folder;
    const fs::path root = folder.path().toStdString();
    const std::string program = (root / "bin" / "orvane").string();
    EXPECT_EQ(findResources(program), std::nullopt);
    fs::create_directories(root / "bin" / "resources");
    EXPECT_EQ(findResources(program), (root / "bin" / "resources").string());
    fs::create_directories(root / "share" / "orvane");
    EXPECT_EQ(findResources(program), (root / "share" / "orvane").string());
}

struct LinuxBundleTrustTest : testing::Test {
    LinuxBundleTrustTest() { fs::create_directories(resources); }

    const QTemporaryDir folder;
    const fs::path root = folder.path().toStdString();
    const fs::path resources = root / "share" / "orvane";
    const std::string program = (root / "bin" / "orvane").string();
};

TEST_F(LinuxBundleTrustTest, ResourcesThatAnybodyMayWriteToDoNotCount) {
    fs::permissions(resources, fs::perms::others_write, fs::perm_options::add);
    EXPECT_EQ(findResources(program), std::nullopt);
    fs::permissions(resources, fs::perms::sticky_bit, fs::perm_options::add);  // They could still add an adb.
    EXPECT_EQ(findResources(program), std::nullopt);
}

TEST_F(LinuxBundleTrustTest, ResourcesThatAnybodyMayReplaceDoNotCount) {
    fs::permissions(root, fs::perms::others_write, fs::perm_options::add);
    EXPECT_EQ(findResources(program), std::nullopt);
    fs::permissions(root, fs::perms::sticky_bit, fs::perm_options::add);
    EXPECT_EQ(findResources(program), resources.string());
}

TEST_F(LinuxBundleTrustTest, ResourcesOfAnotherUserDoNotCount) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can give a folder away";
    constexpr uid_t stranger = 54321;
    ASSERT_EQ(chown(resources.c_str(), stranger, stranger), 0);
    EXPECT_EQ(findResources(program), std::nullopt);
    ASSERT_EQ(chown(resources.c_str(), 0, 0), 0);
    ASSERT_EQ(chown(resources.parent_path().c_str(), stranger, stranger), 0);
    EXPECT_EQ(findResources(program), std::nullopt);
}

TEST_F(LinuxBundleTrustTest, OnlyAProgramInAFolderBinIsInstalled) {
    EXPECT_EQ(findResources((root / "unpacked" / "orvane").string()), std::nullopt);
}

}  // namespace

}  // namespace orvane::test
