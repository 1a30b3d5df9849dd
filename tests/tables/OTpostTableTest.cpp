// The PostScript table: the fixed fields, the names of formats 1.0 and 2.0
// and the rule that makes them unique, the formats without names, what a
// dirty Save lays out, AddGlyphName, the font's glyph names taken from the
// table, and hostile tables. AllocationWatch records the largest single
// request, so a count or index taken from the file can't size memory.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "base/MemoryInStream.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "tables/OTmaxpTable.h"
#include "tables/OTpostTable.h"
#include "TestUtil.h"
#include "core/AllocationWatch.h"

using namespace Typeframe;
using Bedrock::Counted;
using TypeframeTest::BufferBytes;
using TypeframeTest::ByteWriter;

namespace {

// Far below what the hostile counts would ask for (65535 indexes or strings
// as vectors of strings, over 500 KB), far above what these small tables need.
constexpr size_t kAllocationLimit = 64 * 1024;

// The fixed part: version, italic angle -12.5, underline -100/50, fixed
// pitch 1, and the four memory hints 1 to 4.
ByteWriter Header(uint32_t version) {
    ByteWriter w;
    w.U32(version).U32(0xFFF38000).U16(0xFF9C).U16(50).U32(1).U32(1).U32(2).U32(3).U32(4);
    return w;
}

ByteWriter& PascalString(ByteWriter& w, const std::string& text) {
    w.U8(static_cast<uint32_t>(text.size()));
    for (char c : text) w.U8(static_cast<uint8_t>(c));
    return w;
}

// A format 2.0 table with the given stored count, indexes and strings.
std::vector<uint8_t> Format20(uint32_t count, const std::vector<uint32_t>& indexes,
                              const std::vector<std::string>& strings) {
    ByteWriter w = Header(OTpostTable::kVersion20);
    w.U16(count);
    for (uint32_t index : indexes) w.U16(index);
    for (const auto& s : strings) PascalString(w, s);
    return w.Data();
}

Counted<BigEndianBuffer> ToBuffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

// A font in memory whose maxp says numGlyphs; tables are added by the tests.
Counted<OTFont> FontWithGlyphs(unsigned short numGlyphs) {
    auto font = Bedrock::MakeCounted<OTFont>();
    auto maxp = Bedrock::MakeCounted<OTmaxpTable>(font.Get());
    maxp->version = 0x00005000;
    maxp->numGlyphs = numGlyphs;
    maxp->SetIsDirty(true);
    font->AddTable(maxp);
    return font;
}

Counted<OTpostTable> AddPost(const Counted<OTFont>& font, const std::vector<uint8_t>& bytes, bool expectLoaded) {
    auto post = Bedrock::MakeCounted<OTpostTable>(font.Get());
    EXPECT_EQ(post->Load(ToBuffer(bytes)), expectLoaded);
    font->AddTable(post);
    return post;
}

std::vector<std::string> Strings(const std::vector<Utf8String>& names) {
    std::vector<std::string> out;
    for (const auto& name : names) out.push_back(name.ToStdString());
    return out;
}

std::vector<std::string> Numbered(unsigned int count) {
    std::vector<std::string> out;
    for (unsigned int i = 0; i < count; ++i) {
        std::string digits = std::to_string(i);
        out.push_back("glyph" + std::string(5 - digits.size(), '0') + digits);
    }
    return out;
}

// An sfnt file holding the given tables (tags in order), read back through
// OTFile, so that the table factory and the font's name sources are used.
struct OpenedFont {
    std::vector<uint8_t> bytes;
    Counted<OTFile> file;
    Counted<OTFont> font;
};

OpenedFont OpenFont(const std::vector<std::pair<const char*, std::vector<uint8_t>>>& tables) {
    ByteWriter w;
    w.U32(0x00010000).U16(static_cast<uint32_t>(tables.size())).U16(0).U16(0).U16(0);
    uint32_t offset = 12 + 16 * static_cast<uint32_t>(tables.size());
    for (const auto& [tag, body] : tables) {
        w.Tag(tag).U32(0).U32(offset).U32(static_cast<uint32_t>(body.size()));
        offset += (static_cast<uint32_t>(body.size()) + 3) & ~3u;
    }
    for (const auto& [tag, body] : tables) w.Bytes(body).Zeros((4 - body.size() % 4) % 4);
    OpenedFont opened;
    opened.bytes = w.Data();
    opened.file = Bedrock::MakeCounted<OTFile>();
    opened.file->Load(Bedrock::MakeCounted<Bedrock::MemoryInStream>(opened.bytes));
    opened.font = opened.file->GetFont(0);
    return opened;
}

std::vector<uint8_t> Maxp(uint32_t numGlyphs) {
    ByteWriter w;
    w.U32(0x00005000).U16(numGlyphs);
    return w.Data();
}

class OTpostTableTest : public ::testing::Test {
protected:
    void SetUp() override { TypeframeTest::ResetLargestAllocation(); }
    void TearDown() override {
        EXPECT_LT(TypeframeTest::GetLargestAllocation(), kAllocationLimit) << "an allocation sized by the file";
    }
};

TEST_F(OTpostTableTest, CreateAndTheFixedFields) {
    OTpostTable post(nullptr);
    ASSERT_TRUE(post.Create());
    EXPECT_TRUE(post.IsDirty());
    EXPECT_EQ(post.version, 0x00030000u);
    EXPECT_EQ(post.GetPreferredVersion(), 196608u);
    EXPECT_EQ(post.isFixedPitch, 1u);
    EXPECT_EQ(post.italicAngle.GetRaw(), 0);
    // Format 3.0 saves the fixed part alone: 32 bytes.
    ASSERT_TRUE(post.Save());
    EXPECT_FALSE(post.IsDirty());
    EXPECT_EQ(BufferBytes(*post.GetBuffer()),
              TypeframeTest::HexBytes("00030000 00000000 00000000 00000001 00000000 00000000 00000000 00000000"));

    // Every fixed field loads and goes back in place; a format 1.0 table has
    // no more than that.
    auto font = FontWithGlyphs(3);
    const auto bytes = Header(OTpostTable::kVersion10).Data();
    auto loaded = AddPost(font, bytes, true);
    EXPECT_DOUBLE_EQ(loaded->italicAngle.ToDouble(), -12.5);
    EXPECT_EQ(loaded->underlinePosition, -100);
    EXPECT_EQ(loaded->underlineThickness, 50);
    EXPECT_EQ(loaded->isFixedPitch, 1u);
    EXPECT_EQ(loaded->minMemType42, 1u);
    EXPECT_EQ(loaded->maxMemType1, 4u);
    loaded->SetIsDirty(true);
    ASSERT_TRUE(loaded->Save());
    EXPECT_EQ(BufferBytes(*loaded->GetBuffer()), bytes);
}

TEST_F(OTpostTableTest, CleanSaveKeepsTheBytes) {
    auto font = FontWithGlyphs(2);
    auto bytes = Format20(2, {0, 258}, {"x"});
    bytes.push_back(0);  // an empty string behind the used one: read, kept
    auto post = AddPost(font, bytes, true);
    ASSERT_TRUE(post->Save());
    EXPECT_EQ(BufferBytes(*post->GetBuffer()), bytes);
    EXPECT_EQ(post->extraNames.size(), 2u);
}

// Format 1.0 names the first glyphs from the Macintosh list, at most 258 of
// them: the glyphs of a larger font beyond that have no names.
TEST_F(OTpostTableTest, Format10NamesAtMost258Glyphs) {
    auto small = FontWithGlyphs(5);
    auto post = AddPost(small, Header(OTpostTable::kVersion10).Data(), true);
    EXPECT_EQ(Strings(post->glyphNames),
              (std::vector<std::string>{".notdef", ".null", "nonmarkingreturn", "space", "exclam"}));

    auto large = FontWithGlyphs(300);
    AddPost(large, Header(OTpostTable::kVersion10).Data(), true);
    const auto& names = large->GetGlyphNames();
    ASSERT_EQ(names.size(), 258u);
    EXPECT_EQ(names[257], "dcroat");

    // Without maxp there is nothing to count by.
    OTpostTable orphan(nullptr);
    EXPECT_FALSE(orphan.Load(ToBuffer(Header(OTpostTable::kVersion10).Data())));
    EXPECT_TRUE(orphan.glyphNames.empty());
}

TEST_F(OTpostTableTest, Format20NamesFromBothListsMadeUnique) {
    // Glyph 1 and 2 both "a"; glyph 7 points past the strings.
    auto font = FontWithGlyphs(8);
    auto post = AddPost(font, Format20(8, {0, 258, 259, 36, 260, 261, 68, 300}, {"a", "a", "b.alt", "a#1"}), true);
    EXPECT_EQ(Strings(post->glyphNames),
              (std::vector<std::string>{".notdef", "a", "a#1", "A", "b.alt", "a#1#1", "a#2", "glyph00007"}));
    // A stored "a#1" after the made-up one is renamed in turn, and the
    // Macintosh "a" (index 68) collides with the stored one like any other.
    EXPECT_EQ(Strings(post->extraNames), (std::vector<std::string>{"a", "a", "b.alt", "a#1"}));
    EXPECT_EQ(post->GetGlyphName(5), "a#1#1");
    EXPECT_EQ(post->GetGlyphName(8), "");
    EXPECT_EQ(post->GetGlyphName(-1), "");
    std::vector<Utf8String> names;
    EXPECT_TRUE(post->GetGlyphNames(names));
    EXPECT_EQ(names.size(), 8u);
}

TEST_F(OTpostTableTest, Format20DuplicatesAndEmptyNames) {
    // Two "a" and an empty string at glyph 7.
    auto font = FontWithGlyphs(8);
    auto post = AddPost(font, Format20(8, {258, 258, 3, 4, 5, 6, 7, 259}, {"a", ""}), true);
    EXPECT_EQ(post->GetGlyphName(0), "a");
    EXPECT_EQ(post->GetGlyphName(1), "a#1");
    EXPECT_EQ(post->GetGlyphName(7), "glyph00007");

    // An index of 300 with 10 extra names names nothing: glyph plus its index.
    std::vector<std::string> strings;
    for (int i = 0; i < 10; ++i) strings.push_back("n" + std::to_string(i));
    auto other = FontWithGlyphs(2);
    auto second = AddPost(other, Format20(2, {267, 300}, strings), true);
    EXPECT_EQ(Strings(second->glyphNames), (std::vector<std::string>{"n9", "glyph00001"}));

    // Every glyph the same name: the numbers go up without searching again.
    auto same = FontWithGlyphs(4);
    auto third = AddPost(same, Format20(4, {0, 0, 0, 0}, {}), true);
    EXPECT_EQ(Strings(third->glyphNames), (std::vector<std::string>{".notdef", ".notdef#1", ".notdef#2", ".notdef#3"}));
}

// The file's names of renamed glyphs are not kept: a dirty save stores the
// unique names, so the second "alpha" goes out as the string "alpha#1".
TEST_F(OTpostTableTest, SaveFormat20StoresTheUniqueNames) {
    auto font = FontWithGlyphs(4);
    auto post = AddPost(font, Format20(4, {0, 258, 258, 259}, {"alpha", "space"}), true);
    EXPECT_TRUE(post->originalNames.empty());
    post->SetIsDirty(true);
    ASSERT_TRUE(post->Save());
    EXPECT_FALSE(post->IsDirty());
    // "space" of the extra names is a Macintosh name: dropped from the
    // strings, and its glyph takes index 3.
    ByteWriter expected = Header(OTpostTable::kVersion20);
    expected.U16(4).U16(0).U16(258).U16(259).U16(3);
    PascalString(expected, "alpha");
    PascalString(expected, "alpha#1");
    EXPECT_EQ(BufferBytes(*post->GetBuffer()), expected.Data());
    EXPECT_EQ(Strings(post->extraNames), (std::vector<std::string>{"alpha", "alpha#1"}));

    // Loading the saved bytes gives the same names.
    auto again = FontWithGlyphs(4);
    auto reloaded = AddPost(again, BufferBytes(*post->GetBuffer()), true);
    EXPECT_EQ(reloaded->glyphNames, post->glyphNames);
}

TEST_F(OTpostTableTest, SaveFormat20TakesTheFontsNames) {
    // A format 2.0 table made in memory for a font whose names are set.
    auto font = FontWithGlyphs(3);
    auto post = Bedrock::MakeCounted<OTpostTable>(font.Get());
    ASSERT_TRUE(post->Create());
    post->version = OTpostTable::kVersion20;
    font->AddTable(post);
    font->SetGlyphNames({".notdef", "uni0410", "A"});
    ASSERT_TRUE(post->Save());
    const auto bytes = BufferBytes(*post->GetBuffer());
    ByteWriter tail;
    tail.U16(3).U16(0).U16(258).U16(36);
    PascalString(tail, "uni0410");
    EXPECT_EQ(std::vector<uint8_t>(bytes.begin() + 32, bytes.end()), tail.Data());

    // No names at all: false, with the fixed part written and the table
    // still dirty.
    auto empty = FontWithGlyphs(0);
    auto none = Bedrock::MakeCounted<OTpostTable>(empty.Get());
    ASSERT_TRUE(none->Create());
    none->version = OTpostTable::kVersion20;
    empty->AddTable(none);
    EXPECT_FALSE(none->Save());
    EXPECT_TRUE(none->IsDirty());
    EXPECT_EQ(none->GetLength(), 32u);
}

// Format 2.5 (and any unknown version) loads its fixed fields with no names
// and cannot be written: a dirty save fails and keeps the table dirty.
TEST_F(OTpostTableTest, FormatsWithoutNames) {
    for (uint32_t version : {OTpostTable::kVersion25, 0x00012345u, OTpostTable::kVersion40}) {
        SCOPED_TRACE(version);
        auto font = FontWithGlyphs(2);
        ByteWriter w = Header(version);
        w.U16(1).U8(0).U8(1);
        auto post = AddPost(font, w.Data(), true);
        EXPECT_TRUE(post->glyphNames.empty());
        EXPECT_EQ(post->underlinePosition, -100);
        post->SetIsDirty(true);
        EXPECT_FALSE(post->Save());
        EXPECT_TRUE(post->IsDirty());
        // The font falls back on numbered names.
        EXPECT_EQ(Strings(font->GetGlyphNames()), Numbered(2));
    }

    auto font = FontWithGlyphs(2);
    auto post = AddPost(font, Header(OTpostTable::kVersion30).Data(), true);
    EXPECT_TRUE(post->glyphNames.empty());
    std::vector<Utf8String> names;
    EXPECT_FALSE(post->GetGlyphNames(names));
}

TEST_F(OTpostTableTest, AddGlyphName) {
    auto font = FontWithGlyphs(2);
    auto post = AddPost(font, Format20(2, {0, 258}, {"x.1"}), true);
    // Index 0 appends: a name never goes in front of .notdef.
    EXPECT_TRUE(post->AddGlyphName("y.alt", 0));
    EXPECT_TRUE(post->AddGlyphName("A", 1));
    EXPECT_TRUE(post->AddGlyphName("z.sc", 99));
    EXPECT_FALSE(post->AddGlyphName("x.1", 3));
    EXPECT_EQ(Strings(post->glyphNames), (std::vector<std::string>{".notdef", "A", "x.1", "y.alt", "z.sc"}));
    // A Macintosh name joins the glyph names only.
    EXPECT_EQ(Strings(post->extraNames), (std::vector<std::string>{"x.1", "y.alt", "z.sc"}));
}

TEST_F(OTpostTableTest, CloneCopiesTheNames) {
    auto font = FontWithGlyphs(2);
    auto post = AddPost(font, Format20(2, {0, 258}, {"x"}), true);
    auto clone = post->Clone();
    auto* copy = dynamic_cast<OTpostTable*>(clone.Get());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->glyphNames, post->glyphNames);
    EXPECT_EQ(copy->extraNames, post->extraNames);
    EXPECT_EQ(BufferBytes(*copy->GetBuffer()), BufferBytes(*post->GetBuffer()));
}

// The glyph count of format 2.0 is a signed word, lowered to maxp's count.
// 0 and the counts from 32768 up (negative) give no names.
TEST_F(OTpostTableTest, Format20GlyphCountAgainstMaxp) {
    // More than maxp: only maxp's glyphs are named, and the strings start
    // right after maxp's count of indexes, so the index left over (01 03)
    // reads as the string "\x03".
    auto fewer = FontWithGlyphs(2);
    auto post = AddPost(fewer, Format20(3, {0, 258, 259}, {"x", "y"}), true);
    EXPECT_EQ(Strings(post->glyphNames), (std::vector<std::string>{".notdef", "\x03"}));
    EXPECT_EQ(Strings(post->extraNames), (std::vector<std::string>{"\x03", "x", "y"}));

    // Fewer than maxp: the glyphs beyond are numbered.
    auto more = FontWithGlyphs(4);
    post = AddPost(more, Format20(2, {0, 258}, {"x"}), true);
    EXPECT_EQ(Strings(post->glyphNames), (std::vector<std::string>{".notdef", "x", "glyph00002", "glyph00003"}));

    for (uint32_t count : {0u, 0x8000u, 0xFFFFu}) {
        SCOPED_TRACE(count);
        auto font = FontWithGlyphs(2);
        auto table = AddPost(font, Format20(count, {0, 258}, {"x"}), false);
        EXPECT_TRUE(table->glyphNames.empty());
    }

    // A table without maxp has no count to check against.
    OTpostTable orphan(nullptr);
    EXPECT_FALSE(orphan.Load(ToBuffer(Format20(2, {0, 258}, {"x"}))));
}

TEST_F(OTpostTableTest, HostileFormat20Tables) {
    // A Pascal string running past the end fails the table: no names.
    {
        auto font = FontWithGlyphs(2);
        auto bytes = Format20(2, {0, 258}, {"x"});
        bytes.push_back(200);
        bytes.push_back('y');
        auto post = AddPost(font, bytes, false);
        EXPECT_TRUE(post->glyphNames.empty());
        EXPECT_TRUE(post->extraNames.empty());
    }
    // The index array passes the end of a tiny table whose count maxp
    // agrees with.
    {
        auto font = FontWithGlyphs(30000);
        ByteWriter w = Header(OTpostTable::kVersion20);
        w.U16(30000).U16(0).U16(1);
        auto post = AddPost(font, w.Data(), false);
        EXPECT_TRUE(post->glyphNames.empty());
    }
    // Indexes far past the strings: the strings actually there bound what
    // is reserved for them, and the glyphs are numbered.
    {
        auto font = FontWithGlyphs(3);
        auto post = AddPost(font, Format20(3, {65535, 65535, 0}, {"x"}), true);
        EXPECT_EQ(Strings(post->glyphNames), (std::vector<std::string>{"glyph00000", "glyph00001", ".notdef"}));
    }
    // Cut inside the count, or before it.
    for (size_t length : {0u, 4u, 20u, 31u, 32u, 33u}) {
        SCOPED_TRACE(length);
        auto bytes = Format20(2, {0, 258}, {"x"});
        bytes.resize(length);
        auto font = FontWithGlyphs(2);
        auto post = Bedrock::MakeCounted<OTpostTable>(font.Get());
        post->Load(ToBuffer(bytes));
        EXPECT_TRUE(post->glyphNames.empty());
    }
}

// Through a whole file: the factory makes the table, and the font's glyph
// names come from it, or from the numbered fallback when it has none.
TEST_F(OTpostTableTest, FontGlyphNamesComeFromThePostTable) {
    auto named = OpenFont({{"maxp", Maxp(3)}, {"post", Format20(3, {0, 258, 3}, {"Alpha"})}});
    ASSERT_TRUE(named.font);
    EXPECT_TRUE(named.font->GetTableT<OTpostTable>());
    EXPECT_EQ(Strings(named.font->GetGlyphNames()), (std::vector<std::string>{".notdef", "Alpha", "space"}));
    unsigned short glyph = 0;
    EXPECT_TRUE(named.font->GetGlyphIndex("space", glyph));
    EXPECT_EQ(glyph, 2);

    // maxp with more glyphs than post names: numbered names fill up.
    auto disagreeing = OpenFont({{"maxp", Maxp(5)}, {"post", Format20(3, {0, 258, 3}, {"Alpha"})}});
    EXPECT_EQ(Strings(disagreeing.font->GetGlyphNames()),
              (std::vector<std::string>{".notdef", "Alpha", "space", "glyph00003", "glyph00004"}));

    // Format 3.0: the font numbers its glyphs from 0.
    auto unnamed = OpenFont({{"maxp", Maxp(3)}, {"post", Header(OTpostTable::kVersion30).Data()}});
    EXPECT_EQ(Strings(unnamed.font->GetGlyphNames()), Numbered(3));

    // A broken table gives no names either.
    auto broken = Format20(3, {0, 258, 3}, {"Alpha"});
    broken.push_back(9);
    auto hostile = OpenFont({{"maxp", Maxp(3)}, {"post", broken}});
    EXPECT_EQ(Strings(hostile.font->GetGlyphNames()), Numbered(3));
}

}  // namespace
