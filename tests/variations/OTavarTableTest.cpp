// avar: segment maps read within the table's bytes, and the piecewise linear
// map with its kept oddities (no mapping above the last record, not a number
// below the first, the first of equal records wins).

#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "variations/OTavarTable.h"
#include "TestUtil.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;
using TypeframeTest::ByteWriter;

namespace {

using Map = std::vector<std::pair<int, int>>;  // (from, to) as 2.14 words

// A version 1.0 avar with these maps; the axis count is the number of maps
// unless given.
std::vector<uint8_t> AvarBytes(const std::vector<Map>& maps, int axisCount = -1) {
    ByteWriter w;
    w.U16(1).U16(0).U16(0).U16(axisCount < 0 ? uint32_t(maps.size()) : uint32_t(axisCount));
    for (const Map& map : maps) {
        w.U16(uint32_t(map.size()));
        for (const auto& [from, to] : map) w.U16(uint32_t(from) & 0xFFFF).U16(uint32_t(to) & 0xFFFF);
    }
    return w.Data();
}

Bedrock::Counted<OTavarTable> Loaded(const std::vector<uint8_t>& bytes) {
    auto avar = Bedrock::MakeCounted<OTavarTable>(nullptr);
    EXPECT_TRUE(avar->Load(Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4)));
    return avar;
}

const Map kIdentity = {{-16384, -16384}, {0, 0}, {16384, 16384}};
// -1 to -1, 0 to 0, 0.5 to 0.8, 1 to 1.
const Map kBent = {{-16384, -16384}, {0, 0}, {8192, 13107}, {16384, 16384}};

}  // namespace

TEST(OTavarTableTest, InterpolatesBetweenRecordsWithoutRounding) {
    auto avar = Loaded(AvarBytes({kIdentity, kBent}));
    EXPECT_EQ(avar->GetTag(), MakeTag("avar"));
    EXPECT_EQ(avar->majorVersion, 1);
    ASSERT_EQ(avar->segmentMaps.size(), 2u);
    ASSERT_EQ(avar->segmentMaps[1].size(), 4u);
    EXPECT_EQ(avar->segmentMaps[1][2].toCoordinate.GetRaw(), 13107);
    EXPECT_EQ(avar->NormalizeValue(1, 0.25), 13107.0 / 32768);
    EXPECT_EQ(avar->NormalizeValue(1, 0.5), 13107.0 / 16384);
    EXPECT_EQ(avar->NormalizeValue(1, -0.5), -0.5);
    EXPECT_EQ(avar->NormalizeValue(1, 1.0), 1.0);
    EXPECT_EQ(avar->NormalizeValue(0, 0.3), 0.3);
    // No map: index -1, past the end, or an axis whose map is empty.
    EXPECT_EQ(avar->NormalizeValue(-1, 0.25), 0.25);
    EXPECT_EQ(avar->NormalizeValue(2, 0.25), 0.25);
    auto empty = Loaded(AvarBytes({{}}));
    ASSERT_EQ(empty->segmentMaps.size(), 1u);
    EXPECT_EQ(empty->NormalizeValue(0, 0.25), 0.25);
}

TEST(OTavarTableTest, ValuesOutsideTheMapAndTies) {
    // A map that ends at 0.5: above it the value is not mapped, not clamped.
    auto shortTop = Loaded(AvarBytes({{{-16384, -16384}, {0, 0}, {8192, 4096}}}));
    EXPECT_EQ(shortTop->NormalizeValue(0, 0.75), 0.75);
    // Kept as is: below the first record the segment has no width and the
    // result is not a number.
    auto shortBottom = Loaded(AvarBytes({{{-8192, -8192}, {0, 0}, {16384, 16384}}}));
    EXPECT_TRUE(std::isnan(shortBottom->NormalizeValue(0, -0.75)));
    // Equal fromCoordinates: the first record decides.
    auto ties = Loaded(AvarBytes({{{-16384, -16384}, {0, 0}, {8192, 4096}, {8192, 12288}, {16384, 16384}}}));
    EXPECT_EQ(ties->NormalizeValue(0, 0.5), 0.25);
    EXPECT_EQ(ties->NormalizeValue(0, 0.75), 0.875);
}

// Maps of fewer than three records are malformed but must map without
// reading out of range.
TEST(OTavarTableTest, MapsOfFewerThanThreeRecords) {
    auto avar = Loaded(AvarBytes({{}, {{0, 8192}}, {{0, 0}, {16384, 8192}}}));
    ASSERT_EQ(avar->segmentMaps.size(), 3u);
    for (double v : {-1.0, -0.5, 0.0, 0.5, 1.0}) EXPECT_EQ(avar->NormalizeValue(0, v), v);
    EXPECT_EQ(avar->NormalizeValue(1, 0.0), 0.5);
    EXPECT_EQ(avar->NormalizeValue(1, 0.5), 0.5);
    EXPECT_TRUE(std::isnan(avar->NormalizeValue(1, -0.5)));
    EXPECT_EQ(avar->NormalizeValue(2, 0.5), 0.25);
    EXPECT_EQ(avar->NormalizeValue(2, 1.0), 0.5);
    EXPECT_TRUE(std::isnan(avar->NormalizeValue(2, -1.0)));
}

// Save never writes, dirty or not; bytes behind the maps (later versions'
// data) stay unparsed and go out unchanged. A second Load appends.
TEST(OTavarTableTest, SaveNeverWritesAndLoadAppends) {
    auto bytes = AvarBytes({kBent});
    bytes[1] = 2;  // version 2.0 with data behind the maps
    bytes.insert(bytes.end(), {0, 0, 0, 0x20, 0xDE, 0xAD});
    auto avar = Loaded(bytes);
    avar->segmentMaps[0].clear();
    avar->SetIsDirty(true);
    EXPECT_TRUE(avar->Save());
    EXPECT_EQ(BufferBytes(*avar->GetBuffer()), bytes);
    EXPECT_TRUE(avar->Load(Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4)));
    ASSERT_EQ(avar->segmentMaps.size(), 2u);
    EXPECT_EQ(avar->segmentMaps[1].size(), 4u);
    EXPECT_FALSE(avar->Load(nullptr));
}

// Counts that promise more than the table holds: no record is made without
// its bytes, and reading stops at the end.
TEST(OTavarTableTest, HostileCountsStopAtTheEnd) {
    // 65535 axes, two maps present: fewer maps than the font's axes.
    auto avar = Loaded(AvarBytes({kIdentity, kBent}, 65535));
    ASSERT_EQ(avar->segmentMaps.size(), 2u);
    EXPECT_EQ(avar->NormalizeValue(5, 0.25), 0.25);
    // A map announcing 65535 pairs with three present.
    auto bytes = AvarBytes({kIdentity, kBent});
    bytes[9] = 0xFF, bytes[8] = 0xFF;
    avar = Loaded(bytes);
    ASSERT_EQ(avar->segmentMaps.size(), 1u);
    EXPECT_LE(avar->segmentMaps[0].capacity(), bytes.size() / 4);
    // Cut inside a pair: the whole pairs stay, nothing after them is read.
    bytes = AvarBytes({kBent, kIdentity});
    bytes.resize(8 + 2 + 4 * 2 + 2);
    avar = Loaded(bytes);
    ASSERT_EQ(avar->segmentMaps.size(), 1u);
    ASSERT_EQ(avar->segmentMaps[0].size(), 2u);
    EXPECT_EQ(avar->NormalizeValue(0, -0.5), -0.5);
    EXPECT_EQ(avar->NormalizeValue(0, 0.5), 0.5);
    // A header alone, and less than a header.
    EXPECT_TRUE(Loaded({0, 1, 0, 0, 0, 0, 0, 3})->segmentMaps.empty());
    EXPECT_TRUE(Loaded({0, 1, 0})->segmentMaps.empty());
}
