#include "core/OTFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "TestUtil.h"
#include "base/FileInStream.h"
#include "base/MemoryInStream.h"
#include "base/MemoryOutStream.h"
#include "core/OTFont.h"
#include "core/TableManager.h"
#include "tables/OTheadTable.h"
#include "tables/OTmaxpTable.h"
#include "layout/OTGPOSTable.h"

using namespace Typeframe;
using TypeframeTest::ByteWriter;
using TypeframeTest::HexBytes;

namespace {

struct TableBytes {
    std::string tag;
    std::vector<uint8_t> bytes;
};

std::vector<uint8_t> HeadBytes() {
    ByteWriter w;
    w.U16(1).U16(0).U32(0x00010000).U32(0x12345678).U32(0x5F0F3CF5).U16(3).U16(1000);
    w.U32(0).U32(0xD0000000).U32(0).U32(0xD0000000);  // created, modified (after 1970)
    w.U16(0).U16(0).U16(0).U16(0);                    // bounds
    w.U16(0).U16(8).U16(2).U16(0).U16(0);
    return w.Data();
}

std::vector<uint8_t> MaxpBytes(uint16_t glyphs) { return ByteWriter().U32(0x00005000).U16(glyphs).Data(); }

// Lays the tables out in the given order after a directory in the same order.
std::vector<uint8_t> BuildFont(uint32_t version, const std::vector<TableBytes>& tables, uint32_t base = 0) {
    ByteWriter w;
    w.U32(version).U16(static_cast<uint32_t>(tables.size())).U16(0).U16(0).U16(0);
    uint32_t offset = base + 12 + 16 * static_cast<uint32_t>(tables.size());
    for (const auto& t : tables) {
        w.Tag(t.tag.c_str()).U32(0).U32(offset).U32(static_cast<uint32_t>(t.bytes.size()));
        offset += (static_cast<uint32_t>(t.bytes.size()) + 3) & ~3u;
    }
    for (const auto& t : tables) w.Bytes(t.bytes).Zeros((4 - t.bytes.size() % 4) % 4);
    return w.Data();
}

Bedrock::Counted<OTFile> OpenBytes(std::vector<uint8_t> bytes) {
    auto file = Bedrock::MakeCounted<OTFile>();
    file->Load(Bedrock::MakeCounted<Bedrock::MemoryInStream>(std::move(bytes)));
    return file;
}

std::vector<uint8_t> SaveFont(const Bedrock::Counted<OTFile>& file) {
    auto out = Bedrock::MakeCounted<Bedrock::MemoryOutStream>();
    EXPECT_TRUE(file->Save(out));
    return out->GetData();
}

uint32_t FileChecksum(const std::vector<uint8_t>& bytes) {
    uint32_t sum = 0;
    for (size_t i = 0; i < bytes.size(); ++i) sum += uint32_t(bytes[i]) << (24 - 8 * (i % 4));
    return sum;
}

struct Entry {
    uint32_t checksum, offset, length;
};

// The directory of a saved single font, in file order.
std::vector<std::pair<std::string, Entry>> ReadDirectory(const std::vector<uint8_t>& bytes) {
    auto be32 = [&](size_t at) {
        return (uint32_t(bytes[at]) << 24) | (uint32_t(bytes[at + 1]) << 16) | (uint32_t(bytes[at + 2]) << 8) |
               bytes[at + 3];
    };
    std::vector<std::pair<std::string, Entry>> entries;
    const unsigned count = (bytes[4] << 8) | bytes[5];
    for (unsigned i = 0; i < count; ++i) {
        const size_t at = 12 + 16 * i;
        entries.push_back({std::string(bytes.begin() + at, bytes.begin() + at + 4),
                           Entry{be32(at + 4), be32(at + 8), be32(at + 12)}});
    }
    return entries;
}

}  // namespace

TEST(OTFile, RecognisesHeaders) {
    for (uint32_t tag : {0x00010000u, MakeTag("OTTO"), MakeTag("true"), MakeTag("typ1")}) {
        EXPECT_TRUE(OTFile::IsValidFontHeader(tag));
        EXPECT_FALSE(OTFile::IsValidCollectionHeader(tag));
    }
    EXPECT_TRUE(OTFile::IsValidCollectionHeader(MakeTag("ttcf")));
    EXPECT_FALSE(OTFile::IsValidFontHeader(MakeTag("wOFF")));

    // Each refusal leaves a reason that says what the bytes were.
    const struct {
        const char* bytes;
        const char* reason;
    } refused[] = {
        {"774f4646 00000000 00000000", "WOFF"},
        {"", "holds 0 bytes"},
        {"4f54", "holds 2 bytes"},
        {"3c3f786d 6c", "starts with '<?xm'"},
        {"00000001 00000000", "starts with 0x00000001"},
        {"74746366 00030000 00000001", "collection of version 0x00030000"},
    };
    for (const auto& c : refused) {
        auto file = OpenBytes(HexBytes(c.bytes));
        EXPECT_EQ(file->GetFontCount(), 0) << c.bytes;
        EXPECT_FALSE(file->GetFont(0)) << c.bytes;
        EXPECT_EQ(file->GetLastFailure().GetKind(), Failure::Kind::NotAFont) << c.bytes;
        EXPECT_NE(std::string(file->GetLastFailure().GetMessage().c_str()).find(c.reason), std::string::npos)
            << file->GetLastFailure().GetMessage().c_str();
    }
    auto font = OpenBytes(BuildFont(0x00010000, {{"maxp", MaxpBytes(3)}}));
    EXPECT_FALSE(font->GetFont(1));
    EXPECT_EQ(font->GetLastFailure().GetMessage(), "font index 1 is out of range: the file holds 1 font");
    EXPECT_TRUE(font->GetFont(0));
    EXPECT_FALSE(font->GetLastFailure());
}

TEST(OTFile, EachGetFontReadsTheFontAnew) {
    auto file = OpenBytes(BuildFont(0x00010000, {{"head", HeadBytes()}, {"maxp", MaxpBytes(3)}}));
    ASSERT_EQ(file->GetFontCount(), 1);
    auto first = file->GetFont(0);
    auto second = file->GetFont(0);
    ASSERT_TRUE(first && second);
    EXPECT_NE(first.Get(), second.Get());
    EXPECT_EQ(file->GetFonts()[0].Get(), second.Get());
    EXPECT_FALSE(file->GetFont(1));
    EXPECT_FALSE(file->GetFont(-1));

    EXPECT_EQ(second->GetTag(), 0x00010000u);
    EXPECT_EQ(second->GetNumTables(), 2);
    EXPECT_EQ(second->GetNumGlyphs(), 3);
    EXPECT_EQ(second->GetUnitsPerEm(), 1000);
    // Without post, CFF or cmap every glyph is numbered, glyph 0 included.
    const std::vector<Utf8String> names = second->GetGlyphNames();
    ASSERT_EQ(names.size(), 3u);
    EXPECT_EQ(names[0], "glyph00000");
    EXPECT_EQ(names[2], "glyph00002");
    unsigned short index = 99;
    EXPECT_TRUE(second->GetGlyphIndex(Utf8String("glyph00001"), index));
    EXPECT_EQ(index, 1);
    EXPECT_FALSE(second->GetGlyphIndex(Utf8String("a"), index));
    EXPECT_EQ(index, 1);
}

TEST(OTFile, SaveDropsSignatureAndKeepsOtherTablesByteForByte) {
    const std::vector<uint8_t> odd = HexBytes("01020304 050607");  // 7 bytes: padded to 8 in the file
    auto file = OpenBytes(BuildFont(
        0x00010000,
        {{"zzzz", odd}, {"DSIG", HexBytes("00000001 00000000")}, {"maxp", MaxpBytes(3)}, {"head", HeadBytes()}}));
    ASSERT_TRUE(file->GetFont(0));
    const auto saved = SaveFont(file);

    EXPECT_EQ(FileChecksum(saved), 0xB1B0AFBAu);
    const auto directory = ReadDirectory(saved);
    ASSERT_EQ(directory.size(), 3u);
    EXPECT_EQ(directory[0].first, "head");  // sorted by tag
    EXPECT_EQ(directory[1].first, "maxp");
    EXPECT_EQ(directory[2].first, "zzzz");
    EXPECT_EQ(saved[5], 3);  // numTables
    for (const auto& [tag, entry] : directory) {
        EXPECT_EQ(entry.offset % 4, 0u) << tag;
        ASSERT_LE(uint64_t(entry.offset) + entry.length, saved.size()) << tag;
        std::vector<uint8_t> padded(saved.begin() + entry.offset,
                                    saved.begin() + entry.offset + ((entry.length + 3) & ~3u));
        // Each entry's checksum is that of its table with head's adjustment word as zero.
        if (tag == "head") std::fill(padded.begin() + 8, padded.begin() + 12, 0);
        EXPECT_EQ(FileChecksum(padded), entry.checksum) << tag;
    }
    const Entry& zzzz = directory[2].second;
    EXPECT_EQ(zzzz.length, 7u);
    EXPECT_EQ(std::vector<uint8_t>(saved.begin() + zzzz.offset, saved.begin() + zzzz.offset + 8),
              HexBytes("01020304 05060700"));
    const Entry& maxp = directory[1].second;
    EXPECT_EQ(std::vector<uint8_t>(saved.begin() + maxp.offset, saved.begin() + maxp.offset + 6), MaxpBytes(3));

    // The output reads back as a font with the same tables and no signature.
    // The font refers to its file without owning it: keep the file alive.
    auto reopened = OpenBytes(saved);
    auto again = reopened->GetFont(0);
    ASSERT_TRUE(again);
    EXPECT_FALSE(again->GetTableForTag(MakeTag("DSIG")));
    auto head = again->GetTableT<OTheadTable>();
    ASSERT_TRUE(head);
    EXPECT_EQ(head->unitsPerEm, 1000);
    EXPECT_EQ(head->fontRevision.GetRaw(), 0x00010000);
}

// A layout table nobody asked for goes out as its bytes without being
// parsed: its object stays unloaded, so a save (and an instance) doesn't pay
// for building and freeing thousands of subtables it would not change.
TEST(OTFile, UntouchedLayoutTablesAreSavedWithoutParsing) {
    const std::vector<uint8_t> gpos = HexBytes("00010000 000A000A 000A 0000 01");
    auto file = OpenBytes(BuildFont(0x00010000, {{"GPOS", gpos}, {"maxp", MaxpBytes(3)}, {"head", HeadBytes()}}));
    const auto font = file->GetFont(0);
    ASSERT_TRUE(font);
    const auto saved = SaveFont(file);
    for (const auto& table : font->GetTables()) {
        if (table->GetTag() == MakeTag("GPOS")) {
            EXPECT_FALSE(table->IsLoaded());
        }
    }
    for (const auto& [tag, entry] : ReadDirectory(saved)) {
        if (tag != "GPOS") continue;
        EXPECT_EQ(std::vector<uint8_t>(saved.begin() + entry.offset, saved.begin() + entry.offset + entry.length),
                  gpos);
    }
    // Asked for, it is the table's class that loads, from the font's source.
    EXPECT_TRUE(font->GetTableT<OTGPOSTable>());
}

TEST(OTFile, PhysicalOrderPutsPreferredTablesFirstBySwapping) {
    // Preferred TrueType order starts head, hhea, maxp, ..., loca, glyf. The
    // others keep whatever places the swaps leave them in.
    auto file = OpenBytes(BuildFont(0x00010000, {{"zzzz", HexBytes("01")},
                                                 {"glyf", HexBytes("02")},
                                                 {"aaaa", HexBytes("03")},
                                                 {"maxp", MaxpBytes(1)},
                                                 {"head", HeadBytes()},
                                                 {"loca", HexBytes("0000 0000")}}));
    ASSERT_TRUE(file->GetFont(0));
    std::map<uint32_t, std::string> byOffset;
    for (const auto& [tag, entry] : ReadDirectory(SaveFont(file))) byOffset[entry.offset] = tag;
    std::vector<std::string> order;
    for (const auto& [offset, tag] : byOffset) order.push_back(tag);
    // head swaps with zzzz, maxp with glyf, loca with aaaa; glyf is then in place.
    EXPECT_EQ(order, (std::vector<std::string>{"head", "maxp", "loca", "glyf", "zzzz", "aaaa"}));
}

TEST(OTFile, CollectionFontsSaveAsStandaloneFonts) {
    const auto font0 = BuildFont(MakeTag("OTTO"), {{"head", HeadBytes()}, {"maxp", MaxpBytes(2)}}, 20);
    const auto font1Offset = 20 + static_cast<uint32_t>(font0.size());
    const auto font1 = BuildFont(0x00010000, {{"head", HeadBytes()}, {"maxp", MaxpBytes(5)}}, font1Offset);
    ByteWriter ttc;
    ttc.Tag("ttcf").U32(0x00010000).U32(2).U32(20).U32(font1Offset).Bytes(font0).Bytes(font1);
    auto file = OpenBytes(ttc.Data());
    ASSERT_EQ(file->GetFontCount(), 2);
    EXPECT_FALSE(file->GetFont(2));
    auto font = file->GetFont(1);
    ASSERT_TRUE(font);
    EXPECT_EQ(font->GetNumGlyphs(), 5);

    // A collection can't be saved; one of its fonts moved to a new file can.
    EXPECT_FALSE(file->Save(Bedrock::MakeCounted<Bedrock::MemoryOutStream>()));
    for (Tag tag : font->GetTableTags()) ASSERT_TRUE(font->GetTableForTag(tag));
    auto single = Bedrock::MakeCounted<OTFile>();
    single->AddFont(font);
    const auto saved = SaveFont(single);
    EXPECT_EQ(FileChecksum(saved), 0xB1B0AFBAu);
    auto reread = OpenBytes(saved);
    ASSERT_EQ(reread->GetFontCount(), 1);
    EXPECT_EQ(reread->GetFileTag(), 0x00010000u);  // the font's own version
    ASSERT_TRUE(reread->GetFont(0));
    EXPECT_EQ(reread->GetFont(0)->GetNumGlyphs(), 5);

    // Only versions 1.0 and 2.0 are collections.
    ByteWriter v3;
    v3.Tag("ttcf").U32(0x00030000).U32(1).U32(16).Bytes(font0);
    EXPECT_EQ(OpenBytes(v3.Data())->GetFontCount(), 0);
}

// A font read from one file and added to another, with no table asked for,
// still writes every table: it reads them from its own source, even once the
// file it was read through is gone. The result is what saving through the
// first file gives, and every table but head (whose dates, box and checksum
// adjustment are refreshed by any save) is the input's, byte for byte.
TEST(OTFile, AFontAddedToAnotherFileKeepsItsUntouchedTables) {
    const std::string path = std::string(TYPEFRAME_TEST_DATA_DIR) + "/TestTTF.ttf";
    auto stream = Bedrock::FileInStream::Open(path.c_str(), false);
    ASSERT_TRUE(stream);
    std::vector<uint8_t> input(stream->GetSize());
    ASSERT_EQ(stream->Read(input.data(), input.size()), input.size());

    auto direct = OpenBytes(input);
    ASSERT_TRUE(direct->GetFont(0));
    direct->SetSaveTime(0);
    const auto expected = SaveFont(direct);

    auto output = Bedrock::MakeCounted<OTFile>();
    {
        auto source = OpenBytes(input);
        auto font = source->GetFont(0);
        ASSERT_TRUE(font);
        output->AddFont(font);
    }
    output->SetSaveTime(0);
    const auto saved = SaveFont(output);
    EXPECT_EQ(saved, expected);

    auto original = ReadDirectory(input);
    const auto written = ReadDirectory(saved);
    original.erase(std::remove_if(original.begin(), original.end(), [](const auto& e) { return e.first == "DSIG"; }),
                   original.end());
    ASSERT_EQ(written.size(), original.size());
    std::map<std::string, Entry> byTag(written.begin(), written.end());
    for (const auto& [tag, entry] : original) {
        ASSERT_TRUE(byTag.count(tag)) << tag;
        const Entry& out = byTag[tag];
        ASSERT_EQ(out.length, entry.length) << tag;
        if (tag == "head") continue;
        EXPECT_TRUE(std::equal(input.begin() + entry.offset, input.begin() + entry.offset + entry.length,
                               saved.begin() + out.offset))
            << tag;
    }
}

TEST(OTFile, SaveStampsTheTimeItIsGiven) {
    auto file = OpenBytes(BuildFont(0x00010000, {{"maxp", MaxpBytes(3)}, {"head", HeadBytes()}}));
    ASSERT_TRUE(file->GetFont(0));
    file->SetSaveTime(int64_t(1700000000));
    const auto first = SaveFont(file);
    EXPECT_EQ(file->GetFonts()[0]->GetTableT<OTheadTable>()->modified, 1700000000);
    EXPECT_EQ(SaveFont(file), first);
}

TEST(OTFile, SaveNeedsExactlyOneFont) {
    auto empty = Bedrock::MakeCounted<OTFile>();
    EXPECT_FALSE(empty->Save(Bedrock::MakeCounted<Bedrock::MemoryOutStream>()));
    EXPECT_EQ(empty->GetLastFailure().GetKind(), Failure::Kind::CannotSave);
    auto two = Bedrock::MakeCounted<OTFile>();
    two->AddFont(Bedrock::MakeCounted<OTFont>());
    two->AddFont(Bedrock::MakeCounted<OTFont>());
    auto out = Bedrock::MakeCounted<Bedrock::MemoryOutStream>();
    EXPECT_FALSE(two->Save(out));
    EXPECT_TRUE(out->GetData().empty());
    EXPECT_EQ(two->GetLastFailure().GetMessage(),
              "the file holds 2 fonts, and only a file of exactly one can be saved");
}

TEST(OffsetTable, BinarySearchFields) {
    OffsetTable twenty(0x00010000, 20);
    EXPECT_EQ(twenty.searchRange, 256);
    EXPECT_EQ(twenty.entrySelector, 4);
    EXPECT_EQ(twenty.rangeShift, 64);
    OffsetTable one(0x00010000, 1);
    EXPECT_EQ(one.searchRange, 16);
    EXPECT_EQ(one.entrySelector, 0);
    EXPECT_EQ(one.rangeShift, 0);
    OffsetTable none(0x00010000, 0);
    EXPECT_EQ(none.searchRange, 0);
}

TEST(OTFont, TableListEditing) {
    // The directory names a "zzzz" table whose bytes lie past the end.
    ByteWriter w;
    w.U32(0x00010000).U16(2).U16(0).U16(0).U16(0);
    w.Tag("maxp").U32(0).U32(44).U32(6);
    w.Tag("zzzz").U32(0).U32(1000).U32(4);
    w.Bytes(MaxpBytes(1)).Zeros(2);
    auto file = OpenBytes(w.Data());
    auto font = file->GetFont(0);
    ASSERT_TRUE(font);
    EXPECT_FALSE(font->GetTableForTag(MakeTag("zzzz")));
    EXPECT_FALSE(font->GetTableForTag(MakeTag("none")));

    // Adding a tag that exists but can't be loaded leaves two objects, the
    // unreadable one first.
    auto replacement = Bedrock::MakeCounted<OTTable>(font, MakeTag("zzzz"));
    replacement->Load(Bedrock::MakeCounted<BigEndianBuffer>(4, 4));
    EXPECT_TRUE(font->AddTable(replacement));
    EXPECT_EQ(font->GetNumTables(), 3);
    EXPECT_FALSE(font->AddTable(Bedrock::MakeCounted<OTTable>(font, MakeTag("maxp"))));

    EXPECT_FALSE(font->RemoveTable(MakeTag("none")));
    EXPECT_TRUE(font->RemoveTable(MakeTag("zzzz")));
    EXPECT_EQ(font->GetTableTags(), (std::vector<Tag>{MakeTag("maxp")}));

    // SetTable keeps no position: the table goes to the end.
    auto extra = Bedrock::MakeCounted<OTTable>(font, MakeTag("aaaa"));
    extra->Load(Bedrock::MakeCounted<BigEndianBuffer>(2, 4));
    font->SetTable(extra);
    auto maxp = font->GetTableT<OTmaxpTable>();
    ASSERT_TRUE(maxp);
    auto maxpClone = maxp->Clone();
    maxpClone->SetIsDirty(true);
    font->SetTable(maxpClone);
    EXPECT_EQ(font->GetTableTags(), (std::vector<Tag>{MakeTag("aaaa"), MakeTag("maxp")}));

    // A clone is a deep copy and carries the dirty flag.
    auto cloneOfClone = maxpClone->Clone();
    EXPECT_TRUE(cloneOfClone->IsDirty());
    EXPECT_NE(cloneOfClone->GetBuffer().Get(), maxpClone->GetBuffer().Get());
    EXPECT_TRUE(cloneOfClone->IsEqual(*maxpClone));
}

TEST(OTFont, TableClassesComeFromTheFactory) {
    auto font = Bedrock::MakeCounted<OTFont>();
    TableManager manager(nullptr);
    EXPECT_TRUE(dynamic_cast<OTheadTable*>(manager.CreateTable(font, MakeTag("head")).Get()));
    EXPECT_TRUE(dynamic_cast<OTmaxpTable*>(manager.CreateTable(font, MakeTag("maxp")).Get()));
    auto plain = manager.CreateTable(font, MakeTag("kern"));
    const OTTable& plainTable = *plain;
    EXPECT_EQ(typeid(plainTable), typeid(OTTable));
    EXPECT_FALSE(plain->IsLoaded());

    // A table made in memory is found by class once it is dirty.
    auto maxp = Bedrock::MakeCounted<OTmaxpTable>(font);
    font->AddTable(maxp);
    EXPECT_FALSE(font->GetTableT<OTmaxpTable>());
    maxp->SetIsDirty(true);
    EXPECT_EQ(font->GetTableT<OTmaxpTable>().Get(), maxp.Get());
}
