// The GPOS table as a whole: its header on saving, copies that share nothing
// and follow their font, large tables that only fit through extensions, real
// tables saved twice to the same bytes, and hostile headers and lookups.
// fontTools' reading of rebuilt real tables is the oracle test's.

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "base/FileInStream.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "core/Tag.h"
#include "layout/ExtensionPosLookup.h"
#include "layout/OTGPOSTable.h"
#include "layout/PairPosLookup.h"
#include "TestUtil.h"
#include "LayoutTestUtil.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;
using TypeframeTest::ByteWriter;
using TypeframeTest::Equal;
using TypeframeTest::HexBytes;

namespace {

Bedrock::Counted<BigEndianBuffer> ToBuffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

std::vector<uint8_t> Rebuild(OTGPOSTable& table) {
    table.SetIsDirty(true);
    if (!table.Save()) return {};
    return BufferBytes(*table.GetBuffer());
}

// A pair adjustment by classes: `rows` first classes of one glyph each, 200
// second classes, an x advance per pair: 400 * rows bytes of values.
Bedrock::Counted<LookupSubTable> ClassKerning(uint16_t rows, uint16_t seed) {
    auto pair = Bedrock::MakeCounted<PairPosLookup>();
    pair->format = 2;
    pair->valueFormat1 = ValueRecord::kXAdvance;
    pair->coverage.format = 1;
    pair->classDef1.format = 2;
    pair->classDef2.format = 2;
    for (uint16_t glyph = 1; glyph < rows; ++glyph) {
        pair->coverage.glyphs.push_back(glyph);
        pair->classDef1.classes[glyph] = glyph;
    }
    for (uint16_t glyph = 0; glyph < 200; ++glyph) pair->classDef2.classes[1000 + glyph] = glyph;
    pair->class1Count = rows;
    pair->class2Count = 200;
    for (uint32_t i = 0; i < uint32_t(rows) * 200; ++i) {
        pair->classValues.emplace_back(pair->valueFormat1, 0);
        pair->classValues.back().xAdvance = static_cast<int16_t>(i * 7 + seed);
        pair->classValues.emplace_back(pair->valueFormat2, 0);
    }
    return pair;
}

OTGPOSTable WithLookups(const std::vector<Bedrock::Counted<LookupSubTable>>& subTables, uint16_t type) {
    OTGPOSTable table(nullptr);
    table.majorVersion = 1;
    table.lookupList.isPresent = true;
    for (const auto& subTable : subTables) {
        LookupTable lookup;
        lookup.lookupType = type;
        lookup.subTables.push_back(subTable);
        table.lookupList.lookups.push_back(lookup);
    }
    return table;
}

}  // namespace

// An empty table made in memory is a bare header; feature variations keep a
// 4-byte field whose offset is never filled in, whatever they hold.
TEST(GPOSTable, HeaderAndTheFeatureVariationsFieldOnSaving) {
    OTGPOSTable empty(nullptr);
    EXPECT_EQ(Rebuild(empty), HexBytes("0000 0000 0000 0000 0000"));
    empty.SetMinimumRequiredVersion();
    EXPECT_EQ(Rebuild(empty), HexBytes("0001 0000 0000 0000 0000"));

    OTGPOSTable varied(nullptr);
    FeatureVariationsTable variations;
    variations.majorVersion = 1;
    variations.records.emplace_back(nullptr);
    varied.SetFeatureVariations(variations);
    EXPECT_TRUE(varied.IsDirty());
    varied.SetMinimumRequiredVersion();
    EXPECT_EQ(Rebuild(varied), HexBytes("0001 0001 0000 0000 0000 00000000"));

    // Read back, the zero offset leaves no feature variations behind.
    OTGPOSTable reread(nullptr);
    ASSERT_TRUE(reread.Load(ToBuffer(BufferBytes(*varied.GetBuffer()))));
    EXPECT_EQ(reread.minorVersion, 1);
    EXPECT_EQ(reread.featureVariations.majorVersion, 0);
}

// Three 60 KB subtables can't all be reached by 16-bit offsets from their
// lookups: the save refuses rather than wrap an offset. Wrapped in
// extensions, they are cut out of the main layout and placed after it.
TEST(GPOSTable, LargeSubtablesFitOnlyBehindExtensions) {
    std::vector<Bedrock::Counted<LookupSubTable>> kerning;
    for (uint16_t i = 0; i < 3; ++i) kerning.push_back(ClassKerning(150, i));

    OTGPOSTable plain = WithLookups(kerning, 2);
    EXPECT_TRUE(Rebuild(plain).empty());
    EXPECT_FALSE(plain.GetBuffer());
    EXPECT_TRUE(plain.IsDirty());

    std::vector<Bedrock::Counted<LookupSubTable>> wrapped;
    for (const auto& subTable : kerning) wrapped.push_back(plain.MakeExtensionSubTable(subTable));
    OTGPOSTable extended = WithLookups(wrapped, 9);
    const std::vector<uint8_t> bytes = Rebuild(extended);
    ASSERT_GT(bytes.size(), 3u * 60000);

    OTGPOSTable reread(nullptr);
    ASSERT_TRUE(reread.Load(ToBuffer(bytes)));
    ASSERT_EQ(reread.lookupList.lookups.size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        const auto& lookup = reread.lookupList.lookups[i];
        ASSERT_EQ(lookup.subTables.size(), 1u);
        const auto& extension = static_cast<const ExtensionPosLookup&>(*lookup.subTables[0]);
        ASSERT_TRUE(extension.subTable);
        EXPECT_EQ(extension.extensionLookupType, 2);
        EXPECT_TRUE(Equal(*extension.subTable, *kerning[i])) << "lookup " << i;
    }
}

// A copied font's GPOS shares no subtable with the original, makes its
// subtables through itself and names the copy's font, so that changing the
// copy leaves the original's bytes alone.
TEST(GPOSTable, CopiesShareNothingAndFollowTheirFont) {
    const std::string path = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
    auto stream = Bedrock::FileInStream::Open(path.c_str(), false);
    auto file = Bedrock::MakeCounted<OTFile>();
    if (!stream || !file->Load(stream)) GTEST_SKIP() << path << " is not installed";
    const Bedrock::Counted<OTFont> font = file->GetFont(0);
    const auto original = font->GetTableT<OTGPOSTable>();
    ASSERT_TRUE(original);
    const std::vector<uint8_t> before = Rebuild(*original);

    const Bedrock::Counted<OTFont> copyFont = font->Clone();
    const auto copy = copyFont->GetTableT<OTGPOSTable>();
    ASSERT_TRUE(copy);
    ASSERT_NE(copy.Get(), original.Get());
    EXPECT_EQ(copy->lookupList.font.Get(), copyFont.Get());
    EXPECT_EQ(copy->lookupList.owner.Get(), static_cast<const LookupSubTableOwner*>(copy.Get()));
    int pairs = 0;
    for (size_t i = 0; i < copy->lookupList.lookups.size(); ++i) {
        const LookupTable& lookup = copy->lookupList.lookups[i];
        EXPECT_EQ(lookup.font.Get(), copyFont.Get());
        for (size_t j = 0; j < lookup.subTables.size(); ++j) {
            const auto& subTable = lookup.subTables[j];
            if (!subTable) continue;
            EXPECT_NE(subTable.Get(), original->lookupList.lookups[i].subTables[j].Get());
            EXPECT_EQ(subTable->font.Get(), copyFont.Get());
            if (auto* pair = dynamic_cast<PairPosLookup*>(subTable.Get()); pair && pair->format == 2) {
                pair->classValues.front().xAdvance += 100;
                EXPECT_EQ(pair->coverage.font.Get(), copyFont.Get());
                ++pairs;
            }
        }
    }
    ASSERT_GT(pairs, 0);
    EXPECT_EQ(Rebuild(*original), before);
    EXPECT_NE(Rebuild(*copy), before);
}

// Saving a real table, reading it back and saving again gives the same
// bytes: what a save writes, a load reads whole.
TEST(GPOSTable, RealTablesSaveTheSameBytesTwice) {
    const int seen = TypeframeTest::ForEachDejaVuTable(
        {MakeTag("GPOS")},
        [](const std::string& label, const Bedrock::Counted<OTFont>& font, Bedrock::Counted<BigEndianBuffer> bytes) {
            OTGPOSTable first(font);
            ASSERT_TRUE(first.Load(bytes)) << label;
            const std::vector<uint8_t> once = Rebuild(first);
            ASSERT_FALSE(once.empty()) << label;
            OTGPOSTable second(font);
            ASSERT_TRUE(second.Load(ToBuffer(once))) << label;
            EXPECT_EQ(Rebuild(second), once) << label;
        });
    if (seen == 0) GTEST_SKIP() << "no DejaVu fonts installed";
}

// Hostile tables load without crashing and keep no more than their bytes
// justify; a lookup of an unknown type keeps a null entry. A part that has no
// layout to write (a coverage that didn't load, a pair adjustment of format
// 3, an extension's subtable past the end) would point an offset back at the
// header, so such a table refuses to save; the rest save and read back.
TEST(GPOSTable, HostileTablesLoadAndSaveOrRefuse) {
    struct Case {
        const char* name;
        std::vector<uint8_t> bytes;
        size_t nullEntries;
        bool saves;
    };
    // Lookup list at 10: one lookup at 4 from the list, of the given type,
    // with one subtable at 8 from the lookup.
    auto oneLookup = [](uint16_t type, const std::vector<uint8_t>& subTable) {
        ByteWriter w;
        w.U16(1).U16(0).U16(0).U16(0).U16(10);
        w.U16(1).U16(4);
        w.U16(type).U16(0).U16(1).U16(8);
        return w.Bytes(subTable).Data();
    };
    const std::vector<Case> cases = {
        {"empty", {}, 0, true},
        {"cut header", HexBytes("0001 0000 00"), 0, true},
        {"offsets past the end", HexBytes("0001 0001 FFF0 FFF0 FFF0 FFFFFFF0"), 0, true},
        {"lists pointing at the header", HexBytes("0001 0000 0002 0002 0002"), 0, true},
        {"lookup type 10", oneLookup(10, HexBytes("0001")), 1, true},
        {"lookup type 0", oneLookup(0, HexBytes("0001")), 1, true},
        {"extension of an extension", oneLookup(9, HexBytes("0001 0009 00000000")), 0, true},
        {"extension past the end", oneLookup(9, HexBytes("0001 0001 7FFFFFFF")), 0, false},
        {"coverage count past the end", oneLookup(1, HexBytes("0001 0006 0000 0001 FFFF")), 0, false},
        {"huge lookup count", HexBytes("0001 0000 0000 0000 000A FFFF 0004"), 0, true},
        {"pair adjustment of format 3", oneLookup(2, HexBytes("0003 0000 0000 0000")), 0, false},
    };
    for (const Case& c : cases) {
        OTGPOSTable table(nullptr);
        ASSERT_TRUE(table.Load(ToBuffer(c.bytes))) << c.name;
        EXPECT_LE(table.lookupList.lookups.size(), std::max<size_t>(1, c.bytes.size() / 2)) << c.name;
        size_t nulls = 0;
        for (const auto& lookup : table.lookupList.lookups) {
            for (const auto& subTable : lookup.subTables) nulls += subTable ? 0 : 1;
        }
        EXPECT_EQ(nulls, c.nullEntries) << c.name;
        table.SetIsDirty(true);
        ASSERT_EQ(table.Save(), c.saves) << c.name;
        if (c.saves) {
            OTGPOSTable reread(nullptr);
            EXPECT_TRUE(reread.Load(table.GetBuffer())) << c.name;
        } else {
            EXPECT_FALSE(table.GetBuffer()) << c.name;
            EXPECT_TRUE(table.IsDirty()) << c.name;
        }
    }
}
