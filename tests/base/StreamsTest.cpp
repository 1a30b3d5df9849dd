#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/FileInStream.h"
#include "base/FileOutStream.h"
#include "base/MemoryInStream.h"
#include "base/MemoryOutStream.h"

namespace {

using namespace Bedrock;

std::vector<uint8_t> Pattern(size_t size) {
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 7 + i / 251);
    return bytes;
}

// Reading, seeking from each origin, and the short read at the end.
void CheckReads(InStreamSeekable& stream, const std::vector<uint8_t>& expected) {
    ASSERT_EQ(stream.GetSize(), expected.size());
    std::vector<uint8_t> all(expected.size());
    EXPECT_EQ(stream.Read(all.data(), all.size()), expected.size());
    EXPECT_EQ(all, expected);

    uint8_t four[4];
    EXPECT_TRUE(stream.Seek(InStreamSeekable::kSeekFromStart, 10));
    EXPECT_EQ(stream.Read(four, 4), 4u);
    EXPECT_EQ(four[0], expected[10]);
    EXPECT_TRUE(stream.Seek(InStreamSeekable::kSeekFromCurrent, -2));
    EXPECT_EQ(stream.GetPosition(), 12u);
    EXPECT_TRUE(stream.Seek(InStreamSeekable::kSeekFromEnd, -2));
    uint8_t tail[4] = {0xEE, 0xEE, 0xEE, 0xEE};
    EXPECT_EQ(stream.Read(tail, 4), 2u);
    EXPECT_EQ(tail[1], expected.back());
    EXPECT_EQ(tail[2], 0xEE);  // left as it was
    EXPECT_EQ(stream.Read(tail, 4), 0u);

    // Positions outside the stream are refused and change nothing.
    EXPECT_TRUE(stream.Seek(InStreamSeekable::kSeekFromStart, 5));
    EXPECT_FALSE(stream.Seek(InStreamSeekable::kSeekFromStart, -1));
    EXPECT_FALSE(stream.Seek(InStreamSeekable::kSeekFromCurrent, static_cast<int64_t>(expected.size())));
    EXPECT_FALSE(stream.Seek(InStreamSeekable::kSeekFromEnd, 1));
    EXPECT_FALSE(stream.Seek(InStreamSeekable::kSeekFromCurrent, INT64_MIN));
    EXPECT_FALSE(stream.Seek(0, 0));
    EXPECT_EQ(stream.GetPosition(), 5u);
    EXPECT_TRUE(stream.Seek(InStreamSeekable::kSeekFromEnd, 0));
}

TEST(StreamsTest, FileRoundTrip) {
    const std::string path = testing::TempDir() + "typeframe_streams_test.bin";
    // Past the write buffer, written in pieces of several sizes.
    const std::vector<uint8_t> bytes = Pattern(200000);
    {
        Counted<FileOutStream> out = FileOutStream::Create(path.c_str());
        ASSERT_TRUE(out);
        size_t done = 0;
        const size_t pieces[] = {1, 100, 70000, 3, 65536, 20000};
        for (size_t piece : pieces) {
            ASSERT_TRUE(out->Write(bytes.data() + done, piece));
            done += piece;
        }
        ASSERT_TRUE(out->Write(bytes.data() + done, bytes.size() - done));
        EXPECT_EQ(out->GetPosition(), bytes.size());
        EXPECT_TRUE(out->Close());
        EXPECT_FALSE(out->Write("x", 1));
    }
    Counted<FileInStream> in = FileInStream::Open(path.c_str(), false);
    ASSERT_TRUE(in);
    CheckReads(*in, bytes);
    // Read into memory, the stream outlives the file.
    Counted<FileInStream> held = FileInStream::Open(path.c_str(), true);
    ASSERT_TRUE(held);
    std::remove(path.c_str());
    CheckReads(*held, bytes);
    {
        Counted<FileOutStream> out = FileOutStream::Create(path.c_str());
        ASSERT_TRUE(out);
        ASSERT_TRUE(out->Write(bytes.data(), bytes.size()));
    }

    // The last release closes, and everything written reaches the file.
    {
        Counted<OutStream> out = FileOutStream::Create(path.c_str());
        ASSERT_TRUE(out);
        EXPECT_TRUE(out->Write("abc", 3));
    }
    EXPECT_EQ(FileInStream::Open(path.c_str())->GetSize(), 3u);
    std::remove(path.c_str());
}

// A replacing stream writes beside its target and leaves the target alone
// until Commit; released without it, or failing, it leaves nothing behind.
TEST(StreamsTest, ReplacingAFile) {
    const std::string folder = testing::TempDir() + "typeframe_replace_" + std::to_string(getpid());
    ASSERT_EQ(mkdir(folder.c_str(), 0777), 0);
    const std::string target = folder + "/font.ttf";
    auto contents = [&]() {
        std::string text;
        if (FILE* file = std::fopen(target.c_str(), "rb")) {
            char buffer[16];
            text.assign(buffer, std::fread(buffer, 1, sizeof(buffer), file));
            std::fclose(file);
        }
        return text;
    };
    auto entries = [&]() {
        int count = 0;
        if (DIR* dir = opendir(folder.c_str())) {
            while (dirent* entry = readdir(dir)) count += entry->d_name[0] != '.';
            closedir(dir);
        }
        return count;
    };
    {
        Counted<FileOutStream> out = FileOutStream::Create(target.c_str());
        ASSERT_TRUE(out->Write("old", 3));
    }
    {
        Counted<FileOutStream> out = FileOutStream::CreateReplacing(target.c_str());
        ASSERT_TRUE(out);
        EXPECT_TRUE(out->Write("new", 3));
        EXPECT_EQ(entries(), 2);
        EXPECT_EQ(contents(), "old");  // not committed
    }
    EXPECT_EQ(entries(), 1);
    EXPECT_EQ(contents(), "old");
    Counted<FileOutStream> out = FileOutStream::CreateReplacing(target.c_str());
    ASSERT_TRUE(out->Write("new", 3));
    EXPECT_TRUE(out->Commit());
    EXPECT_EQ(contents(), "new");
    EXPECT_EQ(entries(), 1);
    EXPECT_FALSE(FileOutStream::CreateReplacing((folder + "/missing/font.ttf").c_str()));
    EXPECT_FALSE(FileOutStream::Create(target.c_str())->Commit());  // not a replacing stream
    std::remove(target.c_str());
    rmdir(folder.c_str());
}

TEST(StreamsTest, FileFailures) {
    EXPECT_FALSE(FileInStream::Open("/nonexistent/typeframe/file"));
    EXPECT_FALSE(FileInStream::Open(testing::TempDir().c_str()));  // a directory
    EXPECT_FALSE(FileOutStream::Create("/nonexistent/typeframe/file"));
    // A full device: the buffered bytes fail when they are flushed.
    if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
    Counted<FileOutStream> full = FileOutStream::Create("/dev/full");
    ASSERT_TRUE(full);
    EXPECT_TRUE(full->Write("abc", 3));
    EXPECT_FALSE(full->Close());
}

TEST(StreamsTest, Memory) {
    const std::vector<uint8_t> bytes = Pattern(100);
    MemoryInStream copied(bytes.data(), bytes.size());
    CheckReads(copied, bytes);
    MemoryInStream taken{std::vector<uint8_t>(bytes)};
    CheckReads(taken, bytes);
    Counted<MemoryInStream> wrapped = MemoryInStream::Wrap(bytes.data(), bytes.size());
    CheckReads(*wrapped, bytes);
    EXPECT_EQ(MemoryInStream::Wrap(nullptr, 10)->GetSize(), 0u);

    Counted<MemoryOutStream> out = MakeCounted<MemoryOutStream>();
    EXPECT_TRUE(out->Write(bytes.data(), 60));
    EXPECT_TRUE(out->Write(bytes.data() + 60, 40));
    EXPECT_TRUE(out->Write(nullptr, 0));
    EXPECT_EQ(out->GetData(), bytes);
    EXPECT_EQ(out->TakeData(), bytes);
    EXPECT_TRUE(out->GetData().empty());
}

}  // namespace
