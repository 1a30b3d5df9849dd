#include "base/FileSystem.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

namespace {

TEST(FileSystemTest, ResourcesDirectoryExistsFromTheBuildTree) {
    const Bedrock::Path directory = Bedrock::FileSystem::GetResourcesDirectory();
    ASSERT_FALSE(directory.IsEmpty());
    struct stat info;
    ASSERT_EQ(stat(directory.c_str(), &info), 0) << directory.c_str();
    EXPECT_TRUE(S_ISDIR(info.st_mode));
    Bedrock::Path readme = directory;
    readme.Append("README.md");
    EXPECT_EQ(stat(readme.c_str(), &info), 0) << readme.c_str();
    EXPECT_EQ(Bedrock::FileSystem::GetResourcesDirectory(), directory);
}

}  // namespace
