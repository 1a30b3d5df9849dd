// Coverage, class definition and device tables: load, save through a table
// graph, sharing, the device format choice and packing, hostile input.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFont.h"
#include "layout/ClassDefinitionTable.h"
#include "layout/CoverageTable.h"
#include "layout/DeviceTable.h"
#include "packing/TableGraph.h"
#include "TestUtil.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;
using TypeframeTest::HexBuffer;
using TypeframeTest::HexBytes;

namespace {

using Glyphs = std::vector<uint16_t>;
using Deltas = std::vector<int8_t>;

// Saves one table into a graph of its own and returns its bytes.
template <class T>
std::vector<uint8_t> SaveBytes(const T& table) {
    TableGraph graph;
    table.Save(graph);
    return BufferBytes(*table.buffer);
}

Bedrock::Counted<BigEndianBuffer> Buffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

}  // namespace

TEST(CoverageTable, LoadsBothFormatsAsOneListAndSavesInItsFormat) {
    const struct {
        const char *in, *saved;
        Glyphs glyphs;
    } cases[] = {
        {"0001 0003 0005 0002 0009", "0001 0003 0005 0002 0009", {5, 2, 9}},
        // The start coverage index is ignored on loading and made afresh.
        {"0002 0002 0004 0006 0000 0001 0001 0000", "0002 0002 0004 0006 0000 0001 0001 0003", {4, 5, 6, 1}},
        {"0002 0002 0009 0008 0000 0003 0003 0000", "0002 0001 0003 0003 0000", {3}},  // start above end
        {"0002 0000", "0002 0000", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.in);
        CoverageTable table;
        ASSERT_TRUE(table.Load(HexBuffer(c.in)));
        EXPECT_EQ(table.glyphs, c.glyphs);
        EXPECT_EQ(SaveBytes(table), HexBytes(c.saved));
    }
}

// Unsorted glyphs give more ranges, in list order; 0xFFFF + 1 is not 0.
TEST(CoverageTable, RangesFollowListOrder) {
    CoverageTable table;
    table.format = 2;
    table.glyphs = {7, 8, 3, 4, 5, 9, 9, 0xFFFF, 0};
    EXPECT_EQ(SaveBytes(table), HexBytes("0002 0006 0007 0008 0000 0003 0005 0002 0009 0009 0005"
                                         "0009 0009 0006 FFFF FFFF 0007 0000 0000 0008"));
    std::vector<unsigned short> gids;
    table.GetGids(gids);
    EXPECT_EQ(gids, table.glyphs);
}

// The format is written as held. An unknown one writes only itself, and Save
// gives index 0, not its node's. A count field says at most 65535.
TEST(CoverageTable, SaveWritesTheFormatItHolds) {
    TableGraph graph;
    CoverageTable first, table;
    first.glyphs = {9};
    EXPECT_EQ(first.Save(graph), 0u);
    table.format = 3;
    EXPECT_EQ(table.Save(graph), 0u);
    EXPECT_EQ(graph.nodes.size(), 2u);
    EXPECT_EQ(BufferBytes(*table.buffer), HexBytes("0003"));

    table.format = 1;
    table.glyphs.assign(0x10000, 7);
    const auto bytes = SaveBytes(table);
    EXPECT_EQ(bytes.size(), 4u + 2 * 0xFFFF);
    EXPECT_EQ(Glyphs(bytes.begin(), bytes.begin() + 4), (Glyphs{0, 1, 0xFF, 0xFF}));
}

TEST(ClassDefinitionTable, LoadsBothFormatsAndSavesInItsFormat) {
    const struct {
        const char *in, *saved;
        std::map<uint16_t, uint16_t> classes;
    } cases[] = {
        {"0001 0010 0003 0001 0000 0002", "0001 0010 0003 0001 0000 0002", {{16, 1}, {17, 0}, {18, 2}}},
        // Overlapping ranges: the first class read wins.
        {"0002 0002 0005 0008 0001 0007 0009 0002",
         "0002 0002 0005 0008 0001 0009 0009 0002",
         {{5, 1}, {6, 1}, {7, 1}, {8, 1}, {9, 2}}},
        {"0002 0002 0006 0005 0003 0001 0001 0004", "0002 0001 0001 0001 0004", {{1, 4}}},  // start above end
        // Entries past glyph 65535 name no glyph.
        {"0001 FFFE 0003 0001 0002 0003", "0001 FFFE 0002 0001 0002", {{0xFFFE, 1}, {0xFFFF, 2}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.in);
        ClassDefinitionTable table;
        ASSERT_TRUE(table.Load(HexBuffer(c.in)));
        EXPECT_EQ(table.classes, c.classes);
        EXPECT_EQ(SaveBytes(table), HexBytes(c.saved));
    }
}

TEST(ClassDefinitionTable, Format1FillsGapsAndAnEmptyMapWritesZeros) {
    ClassDefinitionTable table;
    table.format = 1;
    EXPECT_EQ(SaveBytes(table), HexBytes("0001 0000 0000"));
    table.classes = {{3, 1}, {6, 2}};
    EXPECT_EQ(SaveBytes(table), HexBytes("0001 0003 0004 0001 0000 0000 0002"));
    table.classes = {{0, 1}, {0xFFFF, 2}};  // a count can't span all 65536 ids: 65535 is left out
    EXPECT_EQ(SaveBytes(table).size(), 6u + 2 * 0xFFFF);
    table.format = 2;
    table.classes = {{1, 1}, {2, 1}, {3, 2}, {5, 2}};
    EXPECT_EQ(SaveBytes(table), HexBytes("0002 0003 0001 0002 0001 0003 0003 0002 0005 0005 0002"));
}

TEST(DeviceTable, SaveChoosesTheFormatAndPacksIt) {
    const struct {
        uint16_t startSize, endSize;
        Deltas deltas;
        const char* saved;
        Deltas reloaded;
    } cases[] = {
        // -1 is 255 as a byte: format 3. Word 0 holds value 1 alone, high
        // byte; word 1 values 2 and (missing) 3.
        {9, 11, {0, 1, -1}, "0009 000B 0003 0100 FF00", {1, 0, -1}},
        // Words 0 to 4: value 1 high; values 2, 3; value 4 low; nothing; value 9 high.
        {1,
         10,
         {-1, 2, 3, 4, 5, 6, 7, 8, 9, 10},
         "0001 000A 0003 0200 0304 0005 0000 0A00",
         {2, 0, 3, 4, 0, 5, 0, 0, 10, 0}},
        {1, 2, {2, 3}, "0001 0002 0001 B000", {-2, -1}},  // 2 and 3 "fit" 2 bits
        {1, 2, {1, 7}, "0001 0002 0002 1700", {1, 7}},
        {1, 4, {}, "0001 0004 0001 0000", {0, 0, 0, 0}},
        {5, 4, {}, "0005 0004 0001", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.saved);
        DeviceTable table;
        table.deltaFormat = 3;  // not consulted
        table.startSize = c.startSize;
        table.endSize = c.endSize;
        table.deltas = c.deltas;
        const auto bytes = SaveBytes(table);
        EXPECT_EQ(bytes, HexBytes(c.saved));
        DeviceTable reloaded;
        ASSERT_TRUE(reloaded.Load(Buffer(bytes)));
        EXPECT_EQ(reloaded.deltas, c.reloaded);
    }
}

TEST(DeviceTable, LoadSignExtendsFieldsAndKeepsVariationIndices) {
    const struct {
        const char* in;
        Deltas deltas;
    } cases[] = {
        {"0001 0003 0001 1B00", {0, 1, -2}},
        {"0001 0003 0002 7F80", {7, -1, -8}},
        {"0001 0002 0003 807F", {-128, 127}},
        {"0002 0007 8000", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.in);
        DeviceTable table;
        ASSERT_TRUE(table.Load(HexBuffer(c.in)));
        EXPECT_EQ(table.deltas, c.deltas);
        if (table.deltaFormat == DeviceTable::kVariationIndexFormat) {
            EXPECT_EQ(SaveBytes(table), HexBytes(c.in));
        }
    }
}

// Equal tables saved into one graph are one node; a difference in any
// compared field, the font pointer included, makes another.
TEST(CommonTables, EqualTablesShareOneNode) {
    TableGraph graph;
    CoverageTable a, b, otherGlyphs, otherFormat, otherFont;
    for (auto* t : {&a, &b, &otherGlyphs, &otherFormat, &otherFont}) t->glyphs = {4, 5};
    a.format = b.format = otherGlyphs.format = otherFont.format = 1;
    otherGlyphs.glyphs = {4, 6};
    otherFormat.format = 2;
    otherFont.font = Bedrock::MakeCounted<OTFont>();
    EXPECT_EQ((std::vector<unsigned long>{a.Save(graph), b.Save(graph), otherGlyphs.Save(graph),
                                          otherFormat.Save(graph), otherFont.Save(graph)}),
              (std::vector<unsigned long>{0, 0, 1, 2, 3}));
    EXPECT_FALSE(otherFormat.IsLessThan(otherGlyphs));  // format before glyphs

    ClassDefinitionTable c, d;
    c.format = d.format = 2;
    c.classes = d.classes = {{1, 1}};
    EXPECT_EQ(c.Save(graph), 4u);
    EXPECT_EQ(d.Save(graph), 4u);
    d.classes[1] = 2;
    EXPECT_EQ(d.Save(graph), 5u);

    DeviceTable e, f;
    e.deltas = f.deltas = {1, -1};
    EXPECT_EQ(e.Save(graph), 6u);
    EXPECT_EQ(f.Save(graph), 6u);
    f.deltas = {1, 1};
    EXPECT_EQ(f.Save(graph), 7u);
}

// Counts past the end fail; expansions stay within what distinct glyph ids allow.
TEST(CommonTables, HostileInputFailsOrStaysBounded) {
    const std::string all = " 0000 FFFF 0000";  // a range record of every glyph id
    const struct {
        char kind;  // Coverage, Class definition, Device
        std::string in;
        bool loads;
        size_t entries;
    } cases[] = {
        {'C', "0001", false, 0},
        {'C', "0001 0005 0001 0002", false, 0},
        {'C', "0002 0002 0000 0001 0000", false, 0},
        {'C', "0003 0000", false, 0},
        {'C', "0002 0001" + all, true, 0x10000},
        {'C', "0002 0002" + all + " 0005 0005 0000", false, 0},
        {'K', "0001 0000 0004 0001", false, 0},
        {'K', "0002 0001 0000 0001", false, 0},
        {'K', "0000", false, 0},
        {'K', "0002 0001" + all, true, 0x10000},
        {'K', "0002 0002" + all + all, false, 0},
        {'D', "0001 0003 0001", false, 0},
        {'D', "000A 0005 0003 0102", false, 0},  // start above end: 65532 sizes
        {'D', "0001 0001 0004 0000", false, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.in);
        CoverageTable coverage;
        ClassDefinitionTable classDef;
        DeviceTable device;
        const bool loaded = c.kind == 'C'   ? coverage.Load(HexBuffer(c.in))
                            : c.kind == 'K' ? classDef.Load(HexBuffer(c.in))
                                            : device.Load(HexBuffer(c.in));
        EXPECT_EQ(loaded, c.loads);
        EXPECT_EQ(coverage.glyphs.size() + classDef.classes.size() + device.deltas.size(), c.entries);
    }

    // 393 KB of records that would expand to four billion entries: refused at
    // once, and the list keeps what it held.
    TypeframeTest::ByteWriter records;
    records.U16(2).U16(0xFFFF);
    for (int i = 0; i < 0xFFFF; ++i) records.U16(0).U16(0xFFFF).U16(1);
    CoverageTable coverage;
    coverage.glyphs = {3};
    EXPECT_FALSE(coverage.Load(Buffer(records.Data())));
    EXPECT_EQ(coverage.glyphs, Glyphs{3});
    ClassDefinitionTable classDef;
    EXPECT_FALSE(classDef.Load(Buffer(records.Data())));
    EXPECT_TRUE(classDef.classes.empty());
}
