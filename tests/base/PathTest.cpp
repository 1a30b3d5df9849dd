#include "base/Path.h"

#include <gtest/gtest.h>

namespace {

using Bedrock::Path;

TEST(PathTest, AppendJoinsWithOneSlash) {
    EXPECT_EQ(Path("dir").Append("file", -1).GetString(), "dir/file");
    EXPECT_EQ(Path("dir/").Append("file").GetString(), "dir/file");
    EXPECT_EQ(Path("dir").Append("/file").GetString(), "dir/file");
    EXPECT_EQ(Path("dir/").Append("/file").GetString(), "dir/file");
    EXPECT_EQ(Path("/").Append("usr").GetString(), "/usr");
    EXPECT_EQ(Path().Append("file").GetString(), "file");
    EXPECT_EQ(Path("dir").Append("file.txt.bak", 8).GetString(), "dir/file.txt");
    EXPECT_EQ(Path("dir").Append("", 0).GetString(), "dir");
}

TEST(PathTest, Parent) {
    EXPECT_EQ(Path("/usr/lib/libx.so").GetParent().GetString(), "/usr/lib");
    EXPECT_EQ(Path("/usr").GetParent().GetString(), "/");
    EXPECT_TRUE(Path("file").GetParent().IsEmpty());
}

}  // namespace
