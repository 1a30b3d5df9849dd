// Item variation stores and delta-set index maps: the widths of delta rows,
// the word-count mask, entry formats, what a map does past its end, and the
// store's answers for indexes it does not have.

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "variations/DeltaSetIndexMap.h"
#include "variations/ItemVariationStore.h"
#include "variations/VariationTestUtil.h"
#include "TestUtil.h"

using namespace Typeframe;
using TypeframeTest::ByteWriter;
using TypeframeTest::DataBlock;
using TypeframeTest::StoreBytes;

namespace {

using Region = ItemVariationStore::VariationRegion::Region;

Bedrock::Counted<BigEndianBuffer> ToBuffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

ItemVariationStore LoadStore(const std::vector<uint8_t>& bytes) {
    ItemVariationStore store;
    EXPECT_TRUE(store.Load(ToBuffer(bytes)));
    return store;
}

std::vector<int> Row(const ItemVariationStore& store, unsigned short outer, unsigned short item) {
    ItemVariationStore::VariationData block;
    std::vector<int> row;
    EXPECT_TRUE(store.GetVariationData(outer, block));
    EXPECT_TRUE(block.GetDeltaSet(item, row));
    return row;
}

DeltaSetIndexMap LoadMap(const std::vector<uint8_t>& bytes) {
    DeltaSetIndexMap map;
    EXPECT_TRUE(map.Load(ToBuffer(bytes)));
    return map;
}

DeltaSetIndexMap::IndexEntry Entry(const DeltaSetIndexMap& map, unsigned short glyph) {
    DeltaSetIndexMap::IndexEntry entry;
    EXPECT_TRUE(map.GetIndexEntry(glyph, entry));
    return entry;
}

}  // namespace

TEST(ItemVariationStore, LongWordRowsReadWideThenHalfWidth) {
    // Word count 3 with long words over five regions: three 32-bit values,
    // then two 16-bit ones; the second row must start right after.
    DataBlock block{2,
                    0x8003,
                    {0, 1, 2, 3, 4},
                    ByteWriter()
                        .U32(0x12345678)
                        .U32(0xFFFFFFFE)
                        .U32(70000)
                        .U16(0xFFFD)
                        .U16(300)
                        .U32(1)
                        .U32(2)
                        .U32(3)
                        .U16(4)
                        .U16(0x8000)
                        .Data()};
    const auto store = LoadStore(StoreBytes(1, {}, {block}));
    EXPECT_EQ(Row(store, 0, 0), (std::vector<int>{0x12345678, -2, 70000, -3, 300}));
    EXPECT_EQ(Row(store, 0, 1), (std::vector<int>{1, 2, 3, 4, -32768}));
}

TEST(ItemVariationStore, ShortRowsAndTheWordCountMask) {
    // Without long words: 16-bit words, then signed bytes.
    DataBlock shortWords{1, 1, {0, 1, 2}, ByteWriter().U16(0xFF00).U8(0xFF).U8(0x7F).Data()};
    // 0x8000: long words with a count of 0, so every value is 16-bit.
    DataBlock longNoWords{1, 0x8000, {0, 1}, ByteWriter().U16(0xFFFE).U16(1000).Data()};
    // Deliberate: bits 12 to 14 are not part of the count (0x7002 counts 2).
    DataBlock highBits{1, 0x7002, {0, 1, 2}, ByteWriter().U16(0x0102).U16(0xFFFF).U8(0x80).Data()};
    const auto store = LoadStore(StoreBytes(1, {}, {shortWords, longNoWords, highBits}));
    EXPECT_EQ(Row(store, 0, 0), (std::vector<int>{-256, -1, 127}));
    EXPECT_EQ(Row(store, 1, 0), (std::vector<int>{-2, 1000}));
    EXPECT_EQ(Row(store, 2, 0), (std::vector<int>{0x0102, -1, -128}));

    ItemVariationStore::VariationData data;
    ASSERT_TRUE(store.GetVariationData(2, data));
    EXPECT_EQ(data.GetWordCount(), 2);
    EXPECT_FALSE(data.HasLongWords());
    EXPECT_EQ(data.wordDeltaCount, 0x7002);
}

TEST(ItemVariationStore, RegionsAndOffsetsAreRelativeToTheStoreStart) {
    // Two axes, two regions; the store starts 6 bytes into the buffer.
    const std::vector<std::vector<int16_t>> regions = {{-16384, -16384, 0, 0, 8192, 16384},
                                                       {0, 16384, 16384, -8192, -8192, 0}};
    DataBlock block{1, 0, {1}, ByteWriter().U8(5).Data()};
    const auto storeBytes = StoreBytes(2, regions, {block});
    auto buffer = ToBuffer(ByteWriter().Zeros(6).Bytes(storeBytes).U32(0xDEADBEEF).Data());
    buffer->Seek(6);
    ItemVariationStore store;
    ASSERT_TRUE(store.Load(buffer));

    EXPECT_EQ(store.regionList.GetRegionCount(), 2);
    EXPECT_EQ(store.regionList.GetAxisCount(), 2);
    ItemVariationStore::VariationRegion region;
    ASSERT_TRUE(store.GetVariationRegion(1, region));
    Region extent;
    ASSERT_TRUE(region.GetRegion(1, extent));
    EXPECT_EQ(extent.start.GetRaw(), -8192);
    EXPECT_EQ(extent.peak.GetRaw(), -8192);
    EXPECT_EQ(extent.end.GetRaw(), 0);
    EXPECT_FALSE(region.GetRegion(2, extent));
    EXPECT_FALSE(store.GetVariationRegion(2, region));

    // The kept bytes run from the store's start to where loading stopped:
    // the trailing word is not part of them.
    ASSERT_TRUE(store.GetBuffer());
    EXPECT_EQ(TypeframeTest::BufferBytes(*store.GetBuffer()), storeBytes);
}

TEST(ItemVariationStore, DeltaSetHasOneValuePerRegionOfTheList) {
    // Four regions; the block names regions 3, 0 and 9 (past the list).
    const std::vector<std::vector<int16_t>> regions(4, std::vector<int16_t>{0, 16384, 16384});
    DataBlock block{2, 0, {3, 0, 9}, ByteWriter().U8(7).U8(0xFE).U8(4).U8(0).U8(1).U8(0).Data()};
    const auto store = LoadStore(StoreBytes(1, regions, {block}));

    std::vector<int> deltas;
    ASSERT_TRUE(store.GetDeltaSet({0, 0}, deltas));
    EXPECT_EQ(deltas, (std::vector<int>{-2, 0, 0, 7}));
    ASSERT_TRUE(store.GetDeltaSet({0, 1}, deltas));
    EXPECT_EQ(deltas, (std::vector<int>{1, 0, 0, 0}));

    // A delta-set index outside the store.
    EXPECT_FALSE(store.GetDeltaSet({0, 2}, deltas));
    EXPECT_FALSE(store.GetDeltaSet({1, 0}, deltas));
    EXPECT_FALSE(store.GetDeltaSet({0xFFFF, 0xFFFF}, deltas));

    ItemVariationStore::VariationData data;
    ASSERT_TRUE(store.GetVariationData(0, data));
    unsigned short index = 0;
    ASSERT_TRUE(data.GetRegionIndex(2, index));
    EXPECT_EQ(index, 9);
    EXPECT_FALSE(data.GetRegionIndex(3, index));
    EXPECT_FALSE(data.GetDeltaSet(2, deltas));
    EXPECT_FALSE(store.GetVariationData(1, data));
}

TEST(ItemVariationStore, CutStoreReadsZerosAndStillLoads) {
    // Two items of two 16-bit values promised; the second row stops after
    // one byte of its first value.
    DataBlock block{2, 2, {0, 1}, ByteWriter().U16(0x0102).U16(0xFFFF).U8(0x7F).Data()};
    const auto store = LoadStore(StoreBytes(1, {{0, 16384, 16384}, {0, 8192, 16384}}, {block}));
    EXPECT_EQ(Row(store, 0, 0), (std::vector<int>{0x0102, -1}));
    EXPECT_EQ(Row(store, 0, 1), (std::vector<int>{0, 0}));

    // Long words, one 32-bit value then two 16-bit ones, and three bytes
    // left: the 32-bit read fails and reads 0, the 16-bit one after it fits.
    DataBlock tail{1, 0x8001, {0, 1, 2}, ByteWriter().U16(5).U8(1).Data()};
    const auto cut = LoadStore(StoreBytes(1, {}, {tail}));
    EXPECT_EQ(Row(cut, 0, 0), (std::vector<int>{0, 5, 0}));

    // A store of three bytes: every field reads 0.
    const auto empty = LoadStore({0x00, 0x01, 0x00});
    EXPECT_EQ(empty.format, 1);
    EXPECT_EQ(empty.dataCount, 0);
    EXPECT_EQ(empty.regionList.GetAxisCount(), 0);
    std::vector<int> deltas;
    EXPECT_FALSE(empty.GetDeltaSet({0, 0}, deltas));
}

TEST(DeltaSetIndexMap, EntryFormatsSplitOuterAndInner) {
    // 0x3F: four-byte entries with a 16-bit inner index.
    const auto wide = LoadMap(ByteWriter().U8(0).U8(0x3F).U16(2).U32(0x00020003).U32(0xFFFF0001).Data());
    EXPECT_EQ(wide.GetEntrySize(), 4u);
    EXPECT_EQ(Entry(wide, 0).outerIndex, 2);
    EXPECT_EQ(Entry(wide, 0).innerIndex, 3);
    EXPECT_EQ(Entry(wide, 1).outerIndex, 0xFFFF);
    EXPECT_EQ(Entry(wide, 1).innerIndex, 1);

    // 0x00: one byte, one inner bit. 0x13: two bytes, four inner bits.
    const auto narrow = LoadMap(ByteWriter().U8(0).U8(0x00).U16(1).U8(0x05).Data());
    EXPECT_EQ(Entry(narrow, 0).outerIndex, 2);
    EXPECT_EQ(Entry(narrow, 0).innerIndex, 1);
    const auto nibble = LoadMap(ByteWriter().U8(0).U8(0x13).U16(1).U16(0x0123).Data());
    EXPECT_EQ(Entry(nibble, 0).outerIndex, 0x12);
    EXPECT_EQ(Entry(nibble, 0).innerIndex, 3);

    // Format 1: a 32-bit count; three-byte entries with 8 inner bits.
    const auto format1 = LoadMap(ByteWriter().U8(1).U8(0x27).U32(2).U8(0x01).U16(0x0203).U8(0).U16(0x0405).Data());
    EXPECT_EQ(format1.mapCount, 2u);
    EXPECT_EQ(Entry(format1, 0).outerIndex, 0x0102);
    EXPECT_EQ(Entry(format1, 0).innerIndex, 3);
    EXPECT_EQ(Entry(format1, 1).outerIndex, 0x0004);
    EXPECT_EQ(Entry(format1, 1).innerIndex, 5);
}

TEST(DeltaSetIndexMap, GlyphsPastTheEndTakeTheLastEntry) {
    // Deliberate: a glyph at or past the end of the map reads the last entry.
    const auto map = LoadMap(ByteWriter().U8(0).U8(0x17).U16(3).U16(1).U16(2).U16(0x0105).Data());
    EXPECT_EQ(Entry(map, 1).innerIndex, 2);
    EXPECT_EQ(Entry(map, 3).outerIndex, 1);
    EXPECT_EQ(Entry(map, 3).innerIndex, 5);
    EXPECT_EQ(Entry(map, 0xFFFF).innerIndex, 5);

    DeltaSetIndexMap::IndexEntry entry;
    EXPECT_FALSE(LoadMap(ByteWriter().U8(0).U8(0x17).U16(0).Data()).GetIndexEntry(0, entry));
    EXPECT_FALSE(DeltaSetIndexMap().GetIndexEntry(0, entry));

    // A map cut short: entries past the bytes read as (0, 0), and the last
    // entry a late glyph takes is one of them.
    const auto cut = LoadMap(ByteWriter().U8(0).U8(0x17).U16(4).U16(0x0203).U16(0x0405).U8(9).Data());
    EXPECT_EQ(cut.entries.size(), 2u);
    EXPECT_EQ(Entry(cut, 1).outerIndex, 4);
    EXPECT_EQ(Entry(cut, 2).outerIndex, 0);
    EXPECT_EQ(Entry(cut, 2).innerIndex, 0);
    EXPECT_EQ(Entry(cut, 100).innerIndex, 0);
}
