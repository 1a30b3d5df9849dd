// The GDEF table: its header by version, the mark glyph sets behind 32-bit
// offsets, carets and attachment points laid out byte for byte, the visiting
// order, copies that share nothing, real tables saved twice to the same
// bytes, and hostile tables.

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "base/FileInStream.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "core/Tag.h"
#include "layout/AttachmentPointListTable.h"
#include "layout/LigatureCaretListTable.h"
#include "layout/MarkGlyphSetsTable.h"
#include "layout/OTGDEFTable.h"
#include "packing/GraphNodeVisitor.h"
#include "packing/SubTable.h"
#include "TestUtil.h"
#include "LayoutTestUtil.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;
using TypeframeTest::ByteWriter;
using TypeframeTest::Equal;
using TypeframeTest::HexBuffer;
using TypeframeTest::HexBytes;
using TypeframeTest::Pack;

namespace {

Bedrock::Counted<BigEndianBuffer> ToBuffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

std::vector<uint8_t> Rebuild(OTGDEFTable& table) {
    table.SetIsDirty(true);
    if (!table.Save()) return {};
    return BufferBytes(*table.GetBuffer());
}

CoverageTable Coverage(std::vector<uint16_t> glyphs) {
    CoverageTable coverage;
    coverage.format = 1;
    coverage.glyphs = std::move(glyphs);
    return coverage;
}

// Every part of `a` and `b` but the store, which is never written.
void ExpectSameParts(const OTGDEFTable& a, const OTGDEFTable& b, const std::string& label) {
    EXPECT_EQ(a.majorVersion, b.majorVersion) << label;
    EXPECT_EQ(a.minorVersion, b.minorVersion) << label;
    EXPECT_TRUE(Equal(a.glyphClassDef, b.glyphClassDef)) << label;
    EXPECT_TRUE(Equal(a.attachList, b.attachList)) << label;
    EXPECT_TRUE(Equal(a.ligCaretList, b.ligCaretList)) << label;
    EXPECT_TRUE(Equal(a.markAttachClassDef, b.markAttachClassDef)) << label;
    EXPECT_TRUE(Equal(a.markGlyphSets, b.markGlyphSets)) << label;
}

// The GDEF of every font under the installed DejaVu, Inter and Karla folders
// and the shared test data; returns how many were seen.
int ForEachRealGDEF(const std::function<void(const std::string&, const Bedrock::Counted<OTFont>&,
                                             Bedrock::Counted<BigEndianBuffer>)>& visit) {
    int seen = 0;
    for (const char* folder : {"/usr/share/fonts/truetype", TYPEFRAME_SHARED_DIR "/testdata"}) {
        std::error_code error;
        for (auto it = std::filesystem::recursive_directory_iterator(folder, error);
             !error && it != std::filesystem::recursive_directory_iterator(); it.increment(error)) {
            const std::string extension = it->path().extension().string();
            if (extension != ".ttf" && extension != ".otf") continue;
            auto file = Bedrock::MakeCounted<OTFile>();
            auto stream = Bedrock::FileInStream::Open(it->path().c_str(), false);
            if (!stream || !file->Load(stream)) continue;
            const Bedrock::Counted<OTFont> font = file->GetFont(0);
            const auto table = font ? font->GetTableForTag(MakeTag("GDEF")) : nullptr;
            if (!table || !table->GetBuffer()) continue;
            visit(it->path().string(), font, table->GetBuffer());
            ++seen;
        }
    }
    return seen;
}

class RecordingVisitor : public GraphNodeVisitor {
public:
    using GraphNodeVisitor::Visit;
    void Visit(OTGDEFTable&) override { visited += "G"; }
    void Visit(LigatureCaretListTable&) override { visited += "L"; }
    void Visit(LigatureGlyphTable& glyph) override { visited += std::to_string(glyph.caretValues.size()); }
    std::string visited;
};

}  // namespace

// The header has the fields of its minor version, filled or not; the store's
// offset is always zero. SetMinimumRequiredVersion asks for mark glyph sets
// and a store with regions or data.
TEST(GDEFTable, HeaderFollowsTheVersion) {
    OTGDEFTable table(nullptr);
    table.SetMinimumRequiredVersion();
    EXPECT_EQ(Rebuild(table), HexBytes("0001 0000 0000 0000 0000 0000"));

    table.markGlyphSets.format = 1;
    table.SetMinimumRequiredVersion();
    EXPECT_EQ(table.minorVersion, 2);
    table.markGlyphSets.format = 0;
    EXPECT_EQ(Rebuild(table), HexBytes("0001 0002 0000 0000 0000 0000 0000"));

    ItemVariationStore store;
    store.data.emplace_back();
    table.SetIsDirty(false);
    table.SetItemVariationStore(store);
    EXPECT_TRUE(table.IsDirty());
    table.SetMinimumRequiredVersion();
    EXPECT_EQ(table.minorVersion, 3);
    EXPECT_EQ(Rebuild(table), HexBytes("0001 0003 0000 0000 0000 0000 0000 00000000"));

    table.SetItemVariationStore(ItemVariationStore());
    table.SetMinimumRequiredVersion();
    EXPECT_EQ(table.minorVersion, 0);
}

// Mark glyph sets point at their coverages with 32-bit offsets. A coverage
// that only they name goes behind the rest of the table, once per offset,
// even when two are equal; one that a 16-bit offset also names is shared.
// Below version 1.2 there is no field for the sets, and their offset lands on
// the major version.
TEST(GDEFTable, MarkGlyphSetsAndTheirCoverages) {
    OTGDEFTable table(nullptr);
    table.majorVersion = 1;
    table.markGlyphSets.format = 1;
    table.markGlyphSets.coverages = {Coverage({5})};
    EXPECT_EQ(Rebuild(table), HexBytes("000C 0000 0000 0000 0000 0000  0001 0001 00000008  0001 0001 0005"));
    table.minorVersion = 2;
    EXPECT_EQ(Rebuild(table), HexBytes("0001 0002 0000 0000 0000 0000 000E  0001 0001 00000008  0001 0001 0005"));

    table.ligCaretList.isPresent = true;
    table.ligCaretList.coverage = Coverage({9});
    table.markGlyphSets.coverages = {Coverage({5}), Coverage({5}), Coverage({9})};
    const std::vector<uint8_t> bytes = Rebuild(table);
    ASSERT_FALSE(bytes.empty());
    const auto in = ToBuffer(bytes);
    uint16_t listOffset = 0, listCoverage = 0, setsOffset = 0;
    uint32_t first = 0, second = 0, third = 0;
    in->GetU16(8, listOffset);
    in->GetU16(listOffset, listCoverage);
    in->GetU16(12, setsOffset);
    in->GetU32(setsOffset + 4, first);
    in->GetU32(setsOffset + 8, second);
    in->GetU32(setsOffset + 12, third);
    EXPECT_NE(first, second);
    EXPECT_EQ(setsOffset + third, listOffset + listCoverage);
    EXPECT_EQ(bytes.size(), 14u + 4 + 16 + 3 * 6);  // header, caret list, sets, three coverages

    OTGDEFTable reread(nullptr);
    ASSERT_TRUE(reread.Load(in));
    ExpectSameParts(reread, table, "mark glyph sets");
}

// A ligature caret list of one glyph with a caret of each format, and an
// attachment list whose two entries share one point list: each loads field by
// field and saves to the same bytes (the shared list once).
TEST(GDEFTable, CaretsAndAttachmentPointsSaveAsRead) {
    const std::vector<uint8_t> carets = HexBytes(
        "0001 0000 0000 0000 000C 0000"  // header: caret list at 12
        "0006 0001 000C"                 // list: coverage at 18, one glyph at 24
        "0001 0001 000A"                 // coverage: glyph 10
        "0003 0008 000C 0010"            // three carets, at 32, 36, 40
        "0001 0064  0002 0007  0003 FFFB 0006"
        "0001 0002 8000");  // variation index 1, 2
    OTGDEFTable table(nullptr);
    ASSERT_TRUE(table.Load(ToBuffer(carets)));
    ASSERT_EQ(table.ligCaretList.ligGlyphs.size(), 1u);
    const auto& values = table.ligCaretList.ligGlyphs[0].caretValues;
    ASSERT_EQ(values.size(), 3u);
    EXPECT_EQ(values[0].coordinate, 100);
    EXPECT_EQ(values[1].caretValuePointIndex, 7);
    EXPECT_EQ(values[2].coordinate, -5);
    EXPECT_EQ(values[2].deviceTable.deltaFormat, DeviceTable::kVariationIndexFormat);
    EXPECT_EQ(values[2].deviceTable.startSize, 1);
    EXPECT_EQ(Rebuild(table), carets);

    const std::vector<uint8_t> points = HexBytes(
        "0001 0000 0000 000C 0000 0000"  // header: attachment list at 12
        "0008 0002 0010 0010"            // list: coverage at 20, both entries at 28
        "0001 0002 0003 0004"            // coverage: glyphs 3, 4
        "0002 0001 0002");               // points 1, 2
    ASSERT_TRUE(table.Load(ToBuffer(points)));
    ASSERT_EQ(table.attachList.attachPoints.size(), 2u);
    EXPECT_EQ(table.attachList.attachPoints[1].pointIndices, (std::vector<uint16_t>{1, 2}));
    EXPECT_EQ(Rebuild(table), points);

    // An empty list is still written, as its coverage offset and count.
    AttachmentPointListTable empty;
    empty.isPresent = true;
    empty.coverage.format = 1;
    EXPECT_EQ(Pack(empty), HexBytes("0004 0000  0001 0000"));
}

// A format 3 caret reads its device at its offset whatever it is: a zero
// offset lands on the caret itself, which is no device, so none is kept and
// none is written. A caret the glyph has no offset to keeps a zero offset.
TEST(GDEFTable, CaretDevicesAndAbsentCarets) {
    CaretValueTable caret;
    ASSERT_TRUE(caret.Load(HexBuffer("0003 0010 0000")));
    EXPECT_EQ(caret.deviceTable.deltaFormat, 0);
    EXPECT_EQ(caret.deviceTable.startSize, 0);
    EXPECT_EQ(Pack(caret), HexBytes("0003 0010 0000"));

    caret.deviceTable.startSize = 9;
    caret.deviceTable.endSize = 10;
    caret.deviceTable.deltaFormat = 1;
    caret.deviceTable.deltas = {1, 1};
    EXPECT_EQ(Pack(caret), HexBytes("0003 0010 0006  0009 000A 0001 5000"));

    LigatureGlyphTable glyph;
    ASSERT_TRUE(glyph.Load(HexBuffer("0002 0000 0006  0001 0020")));
    EXPECT_EQ(glyph.caretValues[0].format, 0);
    EXPECT_EQ(Pack(glyph), HexBytes("0002 0000 0006  0001 0020"));
}

// Accept visits the table, its caret list, then each ligature glyph in turn.
TEST(GDEFTable, AcceptVisitsTheCaretsInOrder) {
    OTGDEFTable table(nullptr);
    table.ligCaretList.ligGlyphs.resize(2);
    table.ligCaretList.ligGlyphs[1].caretValues.resize(3);
    RecordingVisitor visitor;
    table.Accept(visitor);
    EXPECT_EQ(visitor.visited, "GL03");
}

// Every real GDEF saves, reads back to the same parts and saves again to the
// same bytes; a store is read but not written. A copy moved to another font
// names it everywhere and can change without touching the original.
TEST(GDEFTable, RealTablesSaveTheSameBytesTwice) {
    int stores = 0;
    const int seen = ForEachRealGDEF([&stores](const std::string& label, const Bedrock::Counted<OTFont>& font,
                                               Bedrock::Counted<BigEndianBuffer> bytes) {
        OTGDEFTable first(font);
        ASSERT_TRUE(first.Load(bytes)) << label;
        const bool hasStore = !first.itemVariationStore.data.empty();
        stores += hasStore;
        const std::vector<uint8_t> once = Rebuild(first);
        ASSERT_FALSE(once.empty()) << label;
        OTGDEFTable second(font);
        ASSERT_TRUE(second.Load(ToBuffer(once))) << label;
        ExpectSameParts(first, second, label);
        EXPECT_TRUE(second.itemVariationStore.data.empty()) << label;
        EXPECT_EQ(Rebuild(second), once) << label;

        OTGDEFTable copy(first);
        copy.SetFont(nullptr);
        std::vector<const OTFont*> fonts = {copy.glyphClassDef.font.Get(), copy.attachList.coverage.font.Get(),
                                            copy.ligCaretList.coverage.font.Get(), copy.markAttachClassDef.font.Get(),
                                            copy.markGlyphSets.font.Get()};
        for (const CoverageTable& coverage : copy.markGlyphSets.coverages) fonts.push_back(coverage.font.Get());
        EXPECT_EQ(std::count(fonts.begin(), fonts.end(), nullptr), long(fonts.size())) << label;
        EXPECT_EQ(hasStore, !copy.itemVariationStore.data.empty()) << label;
        copy.glyphClassDef.classes.clear();
        for (auto& glyph : copy.ligCaretList.ligGlyphs) glyph.caretValues.clear();
        Rebuild(copy);
        EXPECT_EQ(BufferBytes(*first.GetBuffer()), once) << label;
        EXPECT_EQ(Rebuild(first), once) << label;
    });
    if (seen == 0) GTEST_SKIP() << "no fonts with GDEF installed";
    RecordProperty("tables", seen);
    RecordProperty("stores", stores);
}

// Hostile tables load without crashing and keep no more than their bytes
// justify. A part that has no layout to write (a coverage or class
// definition of no known format, a caret of format 4) would point an offset
// back at the header, so such a table refuses to save, keeping no bytes and
// staying dirty; the rest save and read back.
TEST(GDEFTable, HostileTablesLoadAndSaveOrRefuse) {
    // A caret list at 12 covering glyph 1, whose one glyph has `count` caret
    // offsets, all to one caret.
    auto caretList = [](uint16_t count, const std::vector<uint8_t>& caret) {
        ByteWriter w;
        w.U16(1).U16(0).U16(0).U16(0).U16(12).U16(0);
        w.U16(6).U16(1).U16(12).U16(1).U16(1).U16(1);
        w.U16(count);
        for (uint16_t i = 0; i < count; ++i) w.U16(2 + 2 * count);
        return w.Bytes(caret).Data();
    };
    // Version 1.2 with mark glyph sets at 14: `count` offsets to one coverage
    // of all 65536 glyphs.
    auto markSets = [](uint16_t count) {
        ByteWriter w;
        w.U16(1).U16(2).U16(0).U16(0).U16(0).U16(0).U16(14);
        w.U16(1).U16(count);
        for (uint16_t i = 0; i < count; ++i) w.U32(4 + 4 * uint32_t(count));
        return w.U16(2).U16(1).U16(0).U16(0xFFFF).U16(0).Data();
    };
    struct Case {
        const char* name;
        std::vector<uint8_t> bytes;
        bool saves;
    };
    const std::vector<Case> cases = {
        {"empty", {}, true},
        {"cut header", HexBytes("0001 0003 00"), true},
        {"offsets past the end", HexBytes("0001 0003 FFF0 FFF0 FFF0 FFF0 FFF0 FFFFFFF0"), true},
        {"parts pointing at the header", HexBytes("0001 0002 0002 0002 0002 0002 0002"), false},
        {"class definition of format 3", HexBytes("0001 0000 000C 0000 0000 0000 0003"), false},
        {"attachment list without coverage", HexBytes("0001 0000 0000 000C 0000 0000 0000 0001 0006 0000"), false},
        {"huge attachment count", HexBytes("0001 0000 0000 000C 0000 0000 0004 FFFF 0001 0000"), true},
        {"caret of format 4", caretList(1, HexBytes("0004 0000")), false},
        {"caret device past the end", caretList(1, HexBytes("0003 0001 7FFF")), true},
        {"many offsets to one caret", caretList(30000, HexBytes("0003 0001 0000")), true},
        {"mark glyph sets of format 0", HexBytes("0001 0002 0000 0000 0000 0000 000E 0000 0000"), true},
        {"mark glyph set at offset 0", HexBytes("0001 0002 0000 0000 0000 0000 000E 0001 0001 00000000"), false},
        {"many offsets to one mark glyph set", markSets(2000), false},
    };
    for (const Case& c : cases) {
        OTGDEFTable table(nullptr);
        ASSERT_TRUE(table.Load(ToBuffer(c.bytes))) << c.name;
        const uint64_t budget = SubTable::GetLoadBudget(*ToBuffer(c.bytes));
        EXPECT_LE(table.attachList.attachPoints.size(), c.bytes.size() / 2) << c.name;
        uint64_t kept = 0;
        for (const auto& glyph : table.ligCaretList.ligGlyphs) {
            kept += glyph.caretValues.size() * sizeof(CaretValueTable);
            for (const auto& caret : glyph.caretValues) kept += caret.deviceTable.deltas.size();
        }
        for (const auto& coverage : table.markGlyphSets.coverages) kept += coverage.glyphs.size() * 2;
        EXPECT_LE(kept, budget) << c.name;
        table.SetIsDirty(true);
        ASSERT_EQ(table.Save(), c.saves) << c.name;
        if (c.saves) {
            OTGDEFTable reread(nullptr);
            EXPECT_TRUE(reread.Load(table.GetBuffer())) << c.name;
            ExpectSameParts(reread, table, c.name);
        } else {
            EXPECT_FALSE(table.GetBuffer()) << c.name;
            EXPECT_TRUE(table.IsDirty()) << c.name;
        }
    }
}
