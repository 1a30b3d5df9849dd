// Damaged and hostile font files: truncations, directory records that point
// past the end or wrap around 32 bits, counts that promise far more records
// than the file holds. Loading must fail the quiet way (a null font, a font
// without tables, a null table) and must never size memory by a count taken
// from the file; AllocationWatch records the largest single request.

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "base/MemoryInStream.h"
#include "base/MemoryOutStream.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "core/OTTable.h"
#include "core/OffsetTable.h"
#include "TestUtil.h"
#include "core/AllocationWatch.h"

namespace {

using Bedrock::Counted;
using Typeframe::MakeTag;
using Typeframe::OTFile;
using Typeframe::OTFont;
using Typeframe::Tag;
using TypeframeTest::ByteWriter;

// Far below what any count in these files would ask for (65535 records of
// 16 bytes, or 0xFFFFFFFF font offsets), far above what the few kilobytes of
// a test file and the library's bookkeeping need.
constexpr size_t kAllocationLimit = 256 * 1024;

std::vector<uint8_t> ReadTestFont(const char* name) {
    std::ifstream in(std::string(TYPEFRAME_TEST_DATA_DIR) + "/" + name, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

Counted<OTFile> OpenBytes(const std::vector<uint8_t>& bytes) {
    auto file = Bedrock::MakeCounted<OTFile>();
    file->Load(Bedrock::MakeCounted<Bedrock::MemoryInStream>(bytes.data(), bytes.size()));
    return file;
}

struct Record {
    Tag tag;
    uint32_t offset;
    uint32_t length;
};

// The directory as written in the file, read here independently of the library.
std::vector<Record> Directory(const std::vector<uint8_t>& font) {
    auto u32 = [&](size_t p) {
        return uint32_t(font[p]) << 24 | uint32_t(font[p + 1]) << 16 | uint32_t(font[p + 2]) << 8 | font[p + 3];
    };
    std::vector<Record> records;
    const size_t count = size_t(font[4]) << 8 | font[5];
    for (size_t i = 0; i < count && 12 + 16 * (i + 1) <= font.size(); ++i) {
        const size_t p = 12 + 16 * i;
        records.push_back({u32(p), u32(p + 8), u32(p + 12)});
    }
    return records;
}

Tag TagOf(const char* text) { return MakeTag(text[0], text[1], text[2], text[3]); }

void PutU32(std::vector<uint8_t>& bytes, size_t at, uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes[at + size_t(i)] = uint8_t(value >> (24 - 8 * i));
}

size_t RecordIndex(const std::vector<uint8_t>& font, const char* tag) {
    const auto records = Directory(font);
    for (size_t i = 0; i < records.size(); ++i) {
        if (records[i].tag == TagOf(tag)) return i;
    }
    ADD_FAILURE() << "no " << tag << " record";
    return 0;
}

class HostileInput : public ::testing::Test {
protected:
    void SetUp() override {
        m_font = ReadTestFont("TestTTF.ttf");
        ASSERT_GT(m_font.size(), 1000u) << "tests/data/TestTTF.ttf is missing";
        TypeframeTest::ResetLargestAllocation();
    }
    void TearDown() override {
        EXPECT_LT(TypeframeTest::GetLargestAllocation(), kAllocationLimit) << "an allocation sized by the file";
    }

    std::vector<uint8_t> m_font;
};

// Each cut keeps exactly the tables whose bytes are wholly present, with
// their bytes; the rest are null. Saving what is left gives a font whose
// tables all read back.
TEST_F(HostileInput, TruncatedFontKeepsOnlyWholeTables) {
    const auto records = Directory(m_font);
    std::vector<size_t> cuts;
    for (size_t n = 0; n <= 12 + 16 * records.size() + 16; n += 5) cuts.push_back(n);
    for (size_t n = 12 + 16 * records.size(); n < m_font.size(); n += m_font.size() / 29) cuts.push_back(n);
    cuts.push_back(m_font.size() - 1);

    for (size_t cut : cuts) {
        SCOPED_TRACE("cut at " + std::to_string(cut));
        const std::vector<uint8_t> bytes(m_font.begin(), m_font.begin() + long(cut));
        auto file = OpenBytes(bytes);
        if (cut < 4) {
            EXPECT_EQ(file->GetFontCount(), 0);
            EXPECT_FALSE(file->GetFont(0));
            continue;
        }
        ASSERT_EQ(file->GetFontCount(), 1);
        auto font = file->GetFont(0);
        ASSERT_TRUE(font);
        EXPECT_LE(font->GetTables().size(), cut > 12 ? (cut - 12) / 16 : 0) << "records past the end were made";

        size_t whole = 0;
        for (const auto& record : records) {
            if (12 + 16 * size_t(&record - records.data()) + 16 > cut) break;  // its record is cut off
            const bool present = record.offset != 0 && record.length != 0 && record.offset <= cut &&
                                 record.length <= cut - record.offset;
            auto table = font->GetTableForTag(record.tag);
            EXPECT_EQ(bool(table), present) << Typeframe::TagToString(record.tag).c_str();
            if (!table || !present) continue;
            if (record.tag != MakeTag("DSIG")) ++whole;
            ASSERT_EQ(table->GetLength(), record.length);
            EXPECT_TRUE(std::equal(bytes.begin() + record.offset, bytes.begin() + record.offset + record.length,
                                   table->GetBuffer()->GetBuffer()));
        }

        auto out = Bedrock::MakeCounted<Bedrock::MemoryOutStream>();
        if (!font->GetTableForTag(MakeTag("head"))) continue;  // saving needs head
        ASSERT_TRUE(file->Save(out));
        auto savedFile = OpenBytes(out->GetData());  // a font does not keep its file alive
        auto saved = savedFile->GetFont(0);
        ASSERT_TRUE(saved);
        EXPECT_EQ(saved->GetTables().size(), whole);
        for (Tag tag : saved->GetTableTags()) EXPECT_TRUE(saved->GetTableForTag(tag));
    }
}

// A record whose range passes the end of the file, wraps around 32 bits, is
// empty or starts at 0 gives a null table; the other tables are unharmed.
TEST_F(HostileInput, RecordsOutsideTheFileGiveNullTables) {
    const size_t head = RecordIndex(m_font, "head");
    const size_t maxp = RecordIndex(m_font, "maxp");
    const size_t glyf = RecordIndex(m_font, "glyf");
    const size_t name = RecordIndex(m_font, "name");
    const size_t hhea = RecordIndex(m_font, "hhea");
    std::vector<uint8_t> bytes = m_font;
    PutU32(bytes, 12 + 16 * head + 8, 0xFFFFFFF0);  // wraps: 0xFFFFFFF0 + 0x20
    PutU32(bytes, 12 + 16 * head + 12, 0x20);
    PutU32(bytes, 12 + 16 * maxp + 12, 0xFFFFFFFF);
    PutU32(bytes, 12 + 16 * glyf + 8, uint32_t(bytes.size() - 4));
    PutU32(bytes, 12 + 16 * glyf + 12, 8);
    PutU32(bytes, 12 + 16 * name + 8, 0);
    PutU32(bytes, 12 + 16 * hhea + 12, 0);

    auto file = OpenBytes(bytes);
    auto font = file->GetFont(0);
    ASSERT_TRUE(font);
    for (const char* tag : {"head", "maxp", "glyf", "name", "hhea"}) {
        EXPECT_FALSE(font->GetTableForTag(TagOf(tag))) << tag;
        // A failed load is tried again, and fails again.
        EXPECT_FALSE(font->GetTableForTag(TagOf(tag))) << tag;
    }
    EXPECT_EQ(font->GetNumGlyphs(), 0);
    EXPECT_EQ(font->GetUnitsPerEm(), 0);
    auto cmap = font->GetTableForTag(MakeTag("cmap"));
    ASSERT_TRUE(cmap);
    EXPECT_EQ(cmap->GetLength(), 506u);
}

// numTables 65535 in a file of a few records: only the records present are
// made, and each of those that points nowhere is a null table.
TEST_F(HostileInput, HugeTableCountInTinyFile) {
    ByteWriter writer;
    writer.U32(0x00010000).U16(65535).U16(0).U16(0).U16(0);
    writer.Tag("head").U32(0).U32(0xFFFFFFF0).U32(0x20);
    writer.Tag("maxp").U32(0).U32(44).U32(6);
    writer.U32(0x00005000).U16(7);
    auto file = OpenBytes(writer.Data());
    auto font = file->GetFont(0);
    ASSERT_TRUE(font);
    ASSERT_EQ(font->GetTables().size(), 2u);
    EXPECT_FALSE(font->GetTableForTag(MakeTag("head")));
    EXPECT_EQ(font->GetNumGlyphs(), 7);

    // The same count with no records at all.
    auto bareFile = OpenBytes(std::vector<uint8_t>(writer.Data().begin(), writer.Data().begin() + 12));
    auto bare = bareFile->GetFont(0);
    ASSERT_TRUE(bare);
    EXPECT_TRUE(bare->GetTables().empty());
}

// A collection claiming 0xFFFFFFFF fonts: the count is capped by the offsets
// the file holds; indexes past them give null; offsets that lead nowhere give
// a font without tables.
TEST_F(HostileInput, HugeCollectionCount) {
    for (uint32_t version : {0x00010000u, 0x00020000u}) {
        SCOPED_TRACE(version);
        ByteWriter writer;
        writer.Tag("ttcf").U32(version).U32(0xFFFFFFFF);
        writer.U32(0).U32(0xFFFFFFF0).U32(24).U32(7);
        auto file = OpenBytes(writer.Data());
        ASSERT_EQ(file->GetFontCount(), 4);
        EXPECT_FALSE(file->GetFont(4));
        EXPECT_FALSE(file->GetFont(-1));
        EXPECT_FALSE(file->GetFont(0x7FFFFFFF));
        for (int i = 0; i < 4; ++i) {
            auto font = file->GetFont(i);
            ASSERT_TRUE(font) << i;
            EXPECT_FALSE(font->GetOffsetTable()) << i;
            EXPECT_EQ(font->GetTag(), 0u) << i;
            EXPECT_TRUE(font->GetTables().empty()) << i;
        }
    }
}

// Collection headers that are cut short, count nothing, or have a version
// other than 1.0 and 2.0.
TEST_F(HostileInput, BrokenCollectionHeaders) {
    ByteWriter empty;
    empty.Tag("ttcf").U32(0x00010000).U32(0);
    EXPECT_EQ(OpenBytes(empty.Data())->GetFontCount(), 0);

    ByteWriter wrongVersion;
    wrongVersion.Tag("ttcf").U32(0x00030000).U32(1).U32(16);
    auto file = OpenBytes(wrongVersion.Data());
    EXPECT_EQ(file->GetFontCount(), 0);
    EXPECT_FALSE(file->GetFont(0));

    ByteWriter cut;
    cut.Tag("ttcf").U32(0x00020000).U16(0);
    EXPECT_EQ(OpenBytes(cut.Data())->GetFontCount(), 0);
}

}  // namespace
