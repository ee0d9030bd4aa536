#include "linux/system/LinuxBundle.h"

#include <QTemporaryDir>
#include <filesystem>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

namespace fs = std::filesystem;

TEST(LinuxBundleTest, TheExecutableIsThisProgram) {
    EXPECT_EQ(LinuxBundle().executablePath(), fs::read_symlink("/proc/self/exe").string());
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

}  // namespace

}  // namespace orvane::test
