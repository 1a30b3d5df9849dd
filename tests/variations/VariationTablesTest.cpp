// HVAR, VVAR and MVAR: where each offset leads, the deliberate readings
// (store offset 0, 8-byte MVAR records), Save, the factory, and hostile
// tables whose counts promise far more than their bytes hold.

#include <algorithm>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "core/AllocationWatch.h"
#include "core/BigEndianBuffer.h"
#include "core/TableManager.h"
#include "core/Tag.h"
#include "variations/OTHVARTable.h"
#include "variations/OTMVARTable.h"
#include "variations/OTVVARTable.h"
#include "variations/VariationTestUtil.h"
#include "TestUtil.h"

using namespace Typeframe;
using TypeframeTest::ByteWriter;
using TypeframeTest::DataBlock;
using TypeframeTest::StoreBytes;

namespace {

Bedrock::Counted<BigEndianBuffer> ToBuffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

template <class T>
Bedrock::Counted<T> Loaded(const std::vector<uint8_t>& bytes) {
    auto table = Bedrock::MakeCounted<T>(nullptr);
    EXPECT_TRUE(table->Load(ToBuffer(bytes)));
    return table;
}

// A two-entry map with 8 inner bits; entry values as given.
std::vector<uint8_t> MapBytes(uint16_t first, uint16_t second) {
    return ByteWriter().U8(0).U8(0x17).U16(2).U16(first).U16(second).Data();
}

unsigned short Inner(const DeltaSetIndexMap& map, unsigned short glyph) {
    DeltaSetIndexMap::IndexEntry entry;
    EXPECT_TRUE(map.GetIndexEntry(glyph, entry));
    return entry.innerIndex;
}

// One region on one axis, one block of two items with one byte each.
std::vector<uint8_t> SmallStore() { return StoreBytes(1, {{0, 16384, 16384}}, {DataBlock{2, 0, {0}, {10, 0xF6}}}); }

}  // namespace

TEST(OTHVARTable, OffsetsLeadToStoreAndMaps) {
    const auto store = SmallStore();
    const auto advance = MapBytes(0x0001, 0x0000);
    const auto rsb = MapBytes(0x0000, 0x0001);
    const uint32_t storeAt = 20;
    const uint32_t advanceAt = storeAt + uint32_t(store.size());
    const uint32_t rsbAt = advanceAt + uint32_t(advance.size());
    auto hvar = Loaded<OTHVARTable>(ByteWriter()
                                        .U16(1)
                                        .U16(0)
                                        .U32(storeAt)
                                        .U32(advanceAt)
                                        .U32(0)
                                        .U32(rsbAt)
                                        .Bytes(store)
                                        .Bytes(advance)
                                        .Bytes(rsb)
                                        .Data());
    EXPECT_EQ(hvar->GetTag(), MakeTag("HVAR"));
    EXPECT_EQ(hvar->majorVersion, 1);
    EXPECT_EQ(Inner(hvar->advanceWidthMapping, 0), 1);
    EXPECT_EQ(Inner(hvar->rsbMapping, 1), 1);
    DeltaSetIndexMap::IndexEntry entry;
    EXPECT_FALSE(hvar->lsbMapping.GetIndexEntry(0, entry));

    std::vector<int> deltas;
    ASSERT_TRUE(hvar->itemVariationStore.GetDeltaSet({0, 1}, deltas));
    EXPECT_EQ(deltas, (std::vector<int>{-10}));

    // Read-only: clean saves succeed, a changed table can't be written.
    EXPECT_TRUE(hvar->Save());
    hvar->SetIsDirty(true);
    EXPECT_FALSE(hvar->Save());
}

TEST(OTHVARTable, StoreOffsetZeroReadsFromTheTableStart) {
    // Deliberate: offset 0 is not "no store". The store then reads the
    // header: format is the major version, the region list offset is made
    // of the minor version and the store offset, and so on.
    auto hvar = Loaded<OTHVARTable>(ByteWriter().U16(1).U16(0).U32(0).U32(0).U32(0).U32(0).Data());
    EXPECT_EQ(hvar->itemVariationStore.format, 1);
    EXPECT_EQ(hvar->itemVariationStore.regionListOffset, 0u);
    EXPECT_EQ(hvar->itemVariationStore.regionList.axisCount, 1);
    ASSERT_TRUE(hvar->itemVariationStore.GetBuffer());
    EXPECT_GT(hvar->itemVariationStore.GetBuffer()->GetLength(), 0u);
}

TEST(OTVVARTable, FourMapsInPublishedOrder) {
    const auto store = SmallStore();
    std::vector<std::vector<uint8_t>> maps = {MapBytes(1, 1), MapBytes(2, 2), MapBytes(3, 3), MapBytes(4, 4)};
    ByteWriter table;
    uint32_t at = 24;
    table.U16(1).U16(0).U32(at);
    at += uint32_t(store.size());
    for (const auto& map : maps) {
        table.U32(at);
        at += uint32_t(map.size());
    }
    table.Bytes(store);
    for (const auto& map : maps) table.Bytes(map);
    auto vvar = Loaded<OTVVARTable>(table.Data());
    EXPECT_EQ(vvar->GetTag(), MakeTag("VVAR"));
    EXPECT_EQ(Inner(vvar->advanceHeightMapping, 0), 1);
    EXPECT_EQ(Inner(vvar->tsbMapping, 0), 2);
    EXPECT_EQ(Inner(vvar->bsbMapping, 0), 3);
    EXPECT_EQ(Inner(vvar->vOrgMapping, 0), 4);
}

TEST(OTMVARTable, RecordsByTagAndPosition) {
    const auto store = SmallStore();
    auto mvar = Loaded<OTMVARTable>(ByteWriter()
                                        .U16(1)
                                        .U16(0)
                                        .U16(0)
                                        .U16(8)
                                        .U16(3)
                                        .U16(36)
                                        .Tag("hasc")
                                        .U16(0)
                                        .U16(1)
                                        .Tag("xhgt")
                                        .U16(0)
                                        .U16(0)
                                        .Tag("hasc")
                                        .U16(0)
                                        .U16(0)
                                        .Bytes(store)
                                        .Data());
    OTMVARTable::ValueRecord record;
    ASSERT_TRUE(mvar->GetValueRecord(static_cast<unsigned int>(MakeTag("hasc")), record));
    EXPECT_EQ(record.deltaSetInnerIndex, 1);  // the first of the two
    ASSERT_TRUE(mvar->GetValueRecord(static_cast<unsigned short>(1), record));
    EXPECT_EQ(record.valueTag, MakeTag("xhgt"));
    EXPECT_FALSE(mvar->GetValueRecord(static_cast<unsigned short>(3), record));
    EXPECT_FALSE(mvar->GetValueRecord(static_cast<unsigned int>(MakeTag("cpht")), record));

    std::vector<int> deltas;
    ASSERT_TRUE(mvar->itemVariationStore.GetDeltaSet(mvar->valueRecords[0].GetIndexEntry(), deltas));
    EXPECT_EQ(deltas, (std::vector<int>{-10}));
    EXPECT_TRUE(mvar->Save());
    mvar->SetIsDirty(true);
    EXPECT_FALSE(mvar->Save());
}

TEST(OTMVARTable, RecordsAreReadAsEightBytesWhateverTheirSize) {
    // Deliberate: valueRecordSize 12 is stored but records are read back to
    // back as 8 bytes, so the second record is made of the first's padding.
    auto mvar = Loaded<OTMVARTable>(ByteWriter()
                                        .U16(1)
                                        .U16(0)
                                        .U16(0)
                                        .U16(12)
                                        .U16(2)
                                        .U16(0)
                                        .Tag("hasc")
                                        .U16(0)
                                        .U16(1)
                                        .Tag("zzzz")
                                        .Tag("xhgt")
                                        .U16(0)
                                        .U16(2)
                                        .Tag("zzzz")
                                        .Data());
    EXPECT_EQ(mvar->valueRecordSize, 12);
    OTMVARTable::ValueRecord record;
    ASSERT_TRUE(mvar->GetValueRecord(static_cast<unsigned short>(1), record));
    EXPECT_EQ(record.valueTag, MakeTag("zzzz"));
    EXPECT_EQ(record.deltaSetOuterIndex, 0x7868);  // "xh"
    EXPECT_FALSE(mvar->GetValueRecord(static_cast<unsigned int>(MakeTag("xhgt")), record));
}

TEST(VariationTables, FactoryMakesTheirClasses) {
    TableManager manager(nullptr);
    EXPECT_NE(dynamic_cast<OTHVARTable*>(manager.CreateTable(nullptr, MakeTag("HVAR")).Get()), nullptr);
    EXPECT_NE(dynamic_cast<OTVVARTable*>(manager.CreateTable(nullptr, MakeTag("VVAR")).Get()), nullptr);
    EXPECT_NE(dynamic_cast<OTMVARTable*>(manager.CreateTable(nullptr, MakeTag("MVAR")).Get()), nullptr);
}

// Hostile tables: counts far beyond the bytes. Loading stays small and
// quiet; what lies past the end reads as zeros or is not there.
class HostileVariations : public ::testing::Test {
protected:
    static constexpr size_t kSmall = 64 * 1024;
    void SetUp() override { TypeframeTest::ResetLargestAllocation(); }
    size_t Largest() const { return TypeframeTest::GetLargestAllocation(); }
};

TEST_F(HostileVariations, HugeRowCountsInATinyStore) {
    // 65535 items of 65535 long-word regions, 10 bytes of rows.
    const auto bytes = ByteWriter()
                           .U16(1)
                           .U32(12)
                           .U16(1)
                           .U32(16)
                           .U16(0)
                           .U16(0)
                           .U16(0xFFFF)
                           .U16(0x8FFF)
                           .U16(0xFFFF)
                           .U32(7)
                           .U32(8)
                           .U16(9)
                           .Data();
    ItemVariationStore store;
    ASSERT_TRUE(store.Load(ToBuffer(bytes)));
    EXPECT_LT(Largest(), kSmall);
    ASSERT_EQ(store.data.size(), 1u);
    const auto& block = store.data[0];
    EXPECT_EQ(block.itemCount, 0xFFFF);
    EXPECT_EQ(block.regionIndexCount, 0xFFFF);
    // The region indexes took the bytes the rows were meant to have.
    EXPECT_EQ(block.regionIndexes.size(), 5u);
    EXPECT_TRUE(block.deltaSets.empty());
    std::vector<int> deltas;
    EXPECT_TRUE(store.GetDeltaSet({0, 60000}, deltas));
    EXPECT_TRUE(deltas.empty());  // the region list has no regions

    // 65535 items of three 32-bit values (a word count above the region
    // count makes every value wide), 10 bytes of rows: one short row.
    const auto wide = ByteWriter()
                          .U16(1)
                          .U32(12)
                          .U16(1)
                          .U32(16)
                          .U16(0)
                          .U16(0)
                          .U16(0xFFFF)
                          .U16(0x8FFF)
                          .U16(3)
                          .U16(0)
                          .U16(1)
                          .U16(2)
                          .U32(7)
                          .U32(0xFFFFFFF8)
                          .U16(9)
                          .Data();
    TypeframeTest::ResetLargestAllocation();
    ASSERT_TRUE(store.Load(ToBuffer(wide)));
    EXPECT_LT(Largest(), kSmall);
    ASSERT_EQ(store.data.size(), 1u);
    EXPECT_EQ(store.data[0].deltaSets.size(), 1u);
    ItemVariationStore::VariationData data;
    ASSERT_TRUE(store.GetVariationData(0, data));
    ASSERT_TRUE(data.GetDeltaSet(0, deltas));
    EXPECT_EQ(deltas, (std::vector<int>{7, -8, 0}));
    ASSERT_TRUE(data.GetDeltaSet(65534, deltas));
    EXPECT_EQ(deltas, (std::vector<int>{0, 0, 0}));
}

TEST_F(HostileVariations, HugeDataAndRegionCounts) {
    // 65535 blocks, 65535 regions of 65535 axes, a few bytes of each.
    const auto bytes = ByteWriter()
                           .U16(1)
                           .U32(12)
                           .U16(0xFFFF)
                           .U32(12)
                           .U16(0xFFFF)
                           .U16(0xFFFF)
                           .U16(0xC000)
                           .U16(0x4000)
                           .U16(0x4000)
                           .U16(0x2000)
                           .Data();
    ItemVariationStore store;
    ASSERT_TRUE(store.Load(ToBuffer(bytes)));
    EXPECT_LT(Largest(), kSmall);
    EXPECT_LE(store.data.size(), bytes.size() / 4);
    ASSERT_EQ(store.regionList.regions.size(), 1u);
    EXPECT_EQ(store.regionList.GetAxisCount(), 2);  // the second triple was begun
    ItemVariationStore::VariationRegion region;
    ItemVariationStore::VariationRegion::Region extent;
    ASSERT_TRUE(store.GetVariationRegion(0, region));
    ASSERT_TRUE(region.GetRegion(1, extent));
    EXPECT_EQ(extent.start.GetRaw(), 0x2000);
    EXPECT_EQ(extent.peak.GetRaw(), 0);
    // Past the bytes: a region with nothing to weigh.
    ASSERT_TRUE(store.GetVariationRegion(65534, region));
    EXPECT_TRUE(region.axes.empty());
}

TEST_F(HostileVariations, OverlappingBlocksCannotMultiplyMemory) {
    // 8000 offsets to one block of 8000 one-byte rows: read naively, 64
    // million rows.
    const uint16_t blocks = 8000;
    const uint32_t blockAt = 8 + 4u * blocks + 4;
    ByteWriter out;
    out.U16(1).U32(8 + 4u * blocks).U16(blocks);
    for (int i = 0; i < blocks; ++i) out.U32(blockAt);
    out.U16(0).U16(0);
    out.U16(blocks).U16(0).U16(1).U16(0);
    for (int i = 0; i < blocks; ++i) out.U8(uint32_t(i) & 0x7F);
    ItemVariationStore store;
    ASSERT_TRUE(store.Load(ToBuffer(out.Data())));
    ASSERT_EQ(store.data.size(), blocks);
    size_t kept = 0;
    for (const auto& block : store.data) {
        kept += block.regionIndexes.size() + block.deltaSets.size();
        for (const auto& row : block.deltaSets) kept += row.size();
    }
    EXPECT_LE(kept, 2 * out.Size() + 65536);
    // The first block is whole; a late one reads zeros.
    std::vector<int> deltas;
    ASSERT_TRUE(store.data.front().GetDeltaSet(129, deltas));
    EXPECT_EQ(deltas, (std::vector<int>{1}));
    ASSERT_TRUE(store.data.back().GetDeltaSet(129, deltas));
    EXPECT_EQ(deltas, (std::vector<int>{0}));
}

TEST_F(HostileVariations, HugeMapAndRecordCounts) {
    // An HVAR whose advance map promises 2^32-1 four-byte entries, with
    // offsets past the end for the store and the other maps.
    auto hvar = Loaded<OTHVARTable>(ByteWriter()
                                        .U16(1)
                                        .U16(0)
                                        .U32(0xFFFFFFF0)
                                        .U32(20)
                                        .U32(0xFFFFFFFF)
                                        .U32(21)
                                        .U8(1)
                                        .U8(0x3F)
                                        .U32(0xFFFFFFFF)
                                        .U32(0x00010002)
                                        .Data());
    EXPECT_LT(Largest(), kSmall);
    EXPECT_EQ(hvar->advanceWidthMapping.mapCount, 0xFFFFFFFFu);
    EXPECT_EQ(hvar->advanceWidthMapping.entries.size(), 1u);
    EXPECT_EQ(Inner(hvar->advanceWidthMapping, 0), 2);
    EXPECT_EQ(Inner(hvar->advanceWidthMapping, 0xFFFF), 0);
    // A map past the end of the table is empty.
    DeltaSetIndexMap::IndexEntry entry;
    EXPECT_FALSE(hvar->lsbMapping.GetIndexEntry(0, entry));
    std::vector<int> deltas;
    EXPECT_FALSE(hvar->itemVariationStore.GetDeltaSet({0, 0}, deltas));

    TypeframeTest::ResetLargestAllocation();
    auto mvar = Loaded<OTMVARTable>(
        ByteWriter().U16(1).U16(0).U16(0).U16(8).U16(0xFFFF).U16(0xFFFF).Tag("hasc").U16(0).U16(3).Data());
    EXPECT_LT(Largest(), kSmall);
    EXPECT_EQ(mvar->valueRecords.size(), 1u);
    OTMVARTable::ValueRecord record;
    ASSERT_TRUE(mvar->GetValueRecord(static_cast<unsigned short>(40000), record));
    EXPECT_EQ(record.valueTag, 0u);
    EXPECT_TRUE(mvar->GetValueRecord(0u, record));

    // Tables too short for their own header still load, all zeros; only a
    // missing buffer fails.
    auto tiny = Loaded<OTVVARTable>({0x00, 0x01, 0x00});
    EXPECT_EQ(tiny->majorVersion, 1);
    EXPECT_EQ(tiny->minorVersion, 0);
    EXPECT_FALSE(OTHVARTable(nullptr).Load(nullptr));
}
