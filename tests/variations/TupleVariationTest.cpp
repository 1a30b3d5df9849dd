#include "variations/TupleVariation.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "TestUtil.h"
#include "variations/TupleVariationStore.h"

using namespace Typeframe;
using TypeframeTest::ByteWriter;
using TypeframeTest::HexBuffer;
using Points = std::vector<unsigned short>;
using Deltas = std::vector<short>;

namespace {

constexpr Tag kGvar = MakeTag("gvar");
constexpr Tag kCvar = MakeTag("cvar");
constexpr int16_t kOne = 16384;

Bedrock::Counted<BigEndianBuffer> Buffer(const ByteWriter& w) {
    return Bedrock::MakeCounted<BigEndianBuffer>(w.Data().data(), w.Data().size(), 4);
}

Bedrock::Counted<TupleVariation> Tuple(Tag tag, unsigned short axes, unsigned short points,
                                       const TupleVariation::SharedTuples& shared = {},
                                       const Points& sharedPoints = {}) {
    std::vector<unsigned int> tags(axes, MakeTag("wght"));
    return Bedrock::MakeCounted<TupleVariation>(tag, tags, sharedPoints, axes, points, shared);
}

std::vector<int16_t> Raw(const std::vector<TupleVariation::Region>& regions) {
    std::vector<int16_t> raw;
    for (const auto& r : regions) {
        for (auto v : {r.start, r.peak, r.end}) raw.push_back(v.GetRaw());
    }
    return raw;
}

}  // namespace

TEST(TupleVariation, PackedPointNumbers) {
    Points points;
    // A count of 0: every point, phantoms included.
    EXPECT_TRUE(TupleVariation::LoadPoints(HexBuffer("00"), 5, points));
    EXPECT_EQ(points, (Points{0, 1, 2, 3, 4}));
    // Differences; the second run goes on from the first's sum.
    EXPECT_TRUE(TupleVariation::LoadPoints(HexBuffer("04 01 02 03 01 04 05"), 20, points));
    EXPECT_EQ(points, (Points{2, 5, 9, 14}));
    // Words, and a count in two bytes.
    EXPECT_TRUE(TupleVariation::LoadPoints(HexBuffer("80 02 81 0100 0002"), 300, points));
    EXPECT_EQ(points, (Points{256, 258}));
    // A run past the count is kept whole.
    EXPECT_TRUE(TupleVariation::LoadPoints(HexBuffer("02 02 01 01 01"), 10, points));
    EXPECT_EQ(points, (Points{1, 2, 3}));
    // A point number at or past the count fails, as does a cut run.
    EXPECT_FALSE(TupleVariation::LoadPoints(HexBuffer("02 01 04 06"), 10, points));
    EXPECT_FALSE(TupleVariation::LoadPoints(HexBuffer("03 02 01"), 10, points));
    EXPECT_FALSE(TupleVariation::LoadPoints(HexBuffer(""), 10, points));
    EXPECT_FALSE(TupleVariation::LoadPoints(HexBuffer("81"), 10, points));
    // The sums wrap at 16 bits; a sum out of range fails even when a later
    // one wraps back.
    EXPECT_FALSE(TupleVariation::LoadPoints(HexBuffer("02 81 FFFF 0003"), 10, points));
    EXPECT_EQ(points, (Points{65535, 2}));
    EXPECT_FALSE(TupleVariation::LoadPoints(nullptr, 10, points));
}

TEST(TupleVariation, PackedDeltas) {
    Deltas deltas;
    // Bytes, a word, a zero run.
    EXPECT_TRUE(TupleVariation::LoadDeltas(HexBuffer("01 05 FB 40 0100 81"), 5, deltas));
    EXPECT_EQ(deltas, (Deltas{5, -5, 256, 0, 0}));
    EXPECT_TRUE(TupleVariation::LoadDeltas(HexBuffer("41 8000 7FFF"), 2, deltas));
    EXPECT_EQ(deltas, (Deltas{-32768, 32767}));
    EXPECT_TRUE(TupleVariation::LoadDeltas(HexBuffer(""), 0, deltas));
    EXPECT_TRUE(deltas.empty());
    // Unlike points, a run past the count fails.
    EXPECT_FALSE(TupleVariation::LoadDeltas(HexBuffer("83"), 3, deltas));
    EXPECT_FALSE(TupleVariation::LoadDeltas(HexBuffer("41 0001"), 2, deltas));
    EXPECT_FALSE(TupleVariation::LoadDeltas(HexBuffer("01 05"), 2, deltas));
}

TEST(TupleVariation, RegionsFromEmbeddedSharedAndIntermediateTuples) {
    // Embedded peak (0.5, -1): each axis runs from 0 to its peak.
    auto header = Buffer(ByteWriter().U16(0).U16(0x8000).U16(kOne / 2).U16(uint16_t(-kOne)));
    auto data = HexBuffer("");
    auto tuple = Tuple(kCvar, 2, 0, {}, {});
    EXPECT_TRUE(tuple->Load(header, data));
    EXPECT_EQ(Raw(tuple->GetRegions()), (std::vector<int16_t>{0, kOne / 2, kOne / 2, -kOne, -kOne, 0}));
    EXPECT_EQ(tuple->GetAxisTag(1), MakeTag("wght"));
    EXPECT_EQ(tuple->GetAxisTag(2), 0u);
    TupleVariation::Region region;
    EXPECT_FALSE(tuple->GetRegion(2, region));
    EXPECT_FALSE(tuple->GetRegion(-1, region));

    // Shared peak 1 with an intermediate region 0.25 .. 1.
    TupleVariation::SharedTuples shared{{Fixed2_14::FromRaw(kOne / 4)}, {Fixed2_14::FromRaw(kOne)}};
    header = Buffer(ByteWriter().U16(0).U16(0x4001).U16(kOne / 4).U16(kOne));
    tuple = Tuple(kCvar, 1, 0, shared);
    EXPECT_TRUE(tuple->Load(header, data));
    EXPECT_EQ(Raw(tuple->GetRegions()), (std::vector<int16_t>{kOne / 4, kOne, kOne}));

    // A shared index out of range fails before any region.
    header = Buffer(ByteWriter().U16(0).U16(0x0002));
    tuple = Tuple(kCvar, 1, 0, shared);
    EXPECT_FALSE(tuple->Load(header, data));
    EXPECT_TRUE(tuple->GetRegions().empty());
    // A shared tuple recorded with fewer axes than the font has.
    header = Buffer(ByteWriter().U16(0).U16(0x0000));
    tuple = Tuple(kCvar, 2, 0, shared);
    EXPECT_TRUE(tuple->Load(header, data));
    EXPECT_EQ(Raw(tuple->GetRegions()), (std::vector<int16_t>{0, kOne / 4, kOne / 4, 0, 0, 0}));
    // A header cut in the peak or the intermediate values.
    EXPECT_FALSE(Tuple(kCvar, 2, 0)->Load(Buffer(ByteWriter().U16(0).U16(0x8000).U16(1)), data));
    EXPECT_FALSE(Tuple(kCvar, 1, 0)->Load(Buffer(ByteWriter().U16(0).U16(0xC000).U16(1).U16(1)), data));
    EXPECT_FALSE(Tuple(kCvar, 1, 0)->Load(Buffer(ByteWriter().U16(0)), data));
}

TEST(TupleVariation, DeltasOfGlyphsAndControlValues) {
    // gvar: private points 1 and 3 of 6, x deltas then y deltas.
    auto header = Buffer(ByteWriter().U16(0).U16(0xA000).U16(kOne));
    auto data = HexBuffer("02 01 01 02  01 0A F6  01 14 EC  FF");
    auto tuple = Tuple(kGvar, 1, 6);
    ASSERT_TRUE(tuple->Load(header, data));
    const auto& deltas = tuple->GetPointDeltas();
    ASSERT_EQ(deltas.size(), 2u);
    EXPECT_EQ(deltas[0].index, 1);
    EXPECT_EQ(deltas[0].x, 10.0);
    EXPECT_EQ(deltas[0].y, 20.0);
    EXPECT_EQ(deltas[1].index, 3);
    EXPECT_EQ(deltas[1].x, -10.0);
    EXPECT_EQ(deltas[1].y, -20.0);
    // The data position is left after this tuple's data.
    EXPECT_EQ(data->Tell(), 10u);

    // cvar: one list, shared points 0 and 2.
    data = HexBuffer("01 07 F9");
    tuple = Tuple(kCvar, 1, 4, {}, Points{0, 2});
    ASSERT_TRUE(tuple->Load(Buffer(ByteWriter().U16(0).U16(0x8000).U16(kOne)), data));
    TupleVariation::PointDelta delta;
    EXPECT_TRUE(tuple->GetPointDelta(2, delta));
    EXPECT_EQ(delta.x, -7.0);
    EXPECT_EQ(delta.y, 0.0);
    // A value without a delta reads as a zero delta with its own index.
    EXPECT_TRUE(tuple->GetPointDelta(1, delta));
    EXPECT_EQ(delta.index, 1);
    EXPECT_EQ(delta.x, 0.0);

    // Cut deltas: the tuple keeps its region and fails.
    data = HexBuffer("02 01 01 02  01 0A");
    tuple = Tuple(kGvar, 1, 6);
    EXPECT_FALSE(tuple->Load(Buffer(ByteWriter().U16(0).U16(0xA000).U16(kOne)), data));
    EXPECT_EQ(tuple->GetRegions().size(), 1u);
    EXPECT_TRUE(tuple->GetPointDeltas().empty());
    // Other tables' tuples have regions only.
    tuple = Tuple(MakeTag("xxxx"), 1, 6);
    EXPECT_TRUE(tuple->Load(Buffer(ByteWriter().U16(0).U16(0x8000).U16(kOne)), HexBuffer("")));
    EXPECT_TRUE(tuple->GetPointDeltas().empty());
}

TEST(TupleVariation, Interpolation) {
    auto tuple = Tuple(kGvar, 1, 0);
    EXPECT_EQ(tuple->InterpolateDelta(0, 100, 50, 10, 30), 20.0);
    EXPECT_EQ(tuple->InterpolateDelta(100, 0, 25, 10, 30), 25.0);
    // Outside the span: the nearer reference's delta, whichever comes first.
    EXPECT_EQ(tuple->InterpolateDelta(0, 100, -5, 10, 30), 10.0);
    EXPECT_EQ(tuple->InterpolateDelta(100, 0, -5, 10, 30), 30.0);
    EXPECT_EQ(tuple->InterpolateDelta(100, 0, 100, 10, 30), 10.0);
    // References at one coordinate: their delta if they agree, else none.
    EXPECT_EQ(tuple->InterpolateDelta(40, 40, 10, 7, 7), 7.0);
    EXPECT_EQ(tuple->InterpolateDelta(40, 40, 10, 7, 8), 0.0);

    // Two contours, points 0-4 and 5-8.
    const std::vector<Bedrock::PointT<double>> first{{0, 0}, {50, 0}, {100, 0}, {100, 100}, {0, 100}};
    const std::vector<Bedrock::PointT<double>> second{{200, 0}, {300, 0}, {300, 100}, {200, 100}};
    tuple->pointDeltas = {{0, 10, 0}, {2, 30, 0}, {7, 4, 6}};
    TupleVariation::PointDelta delta;
    ASSERT_TRUE(tuple->GetInterpolatedPointDelta(0, first, 1, delta));
    EXPECT_EQ(delta.x, 20.0);
    ASSERT_TRUE(tuple->GetInterpolatedPointDelta(0, first, 2, delta));
    EXPECT_EQ(delta.x, 30.0);
    // Point 4 lies between point 2 (previous, wrapping forward) and point 0.
    ASSERT_TRUE(tuple->GetInterpolatedPointDelta(0, first, 4, delta));
    EXPECT_EQ(delta.x, 10.0);
    EXPECT_EQ(delta.y, 0.0);
    // One reference moves the whole contour; the first contour's deltas
    // don't reach it.
    for (unsigned short p = 5; p < 9; ++p) {
        ASSERT_TRUE(tuple->GetInterpolatedPointDelta(5, second, p, delta));
        EXPECT_EQ(delta.index, p);
        EXPECT_EQ(delta.x, 4.0);
        EXPECT_EQ(delta.y, 6.0);
    }
    // A contour without references takes nothing from this tuple.
    tuple->pointDeltas = {{7, 4, 6}};
    EXPECT_FALSE(tuple->GetInterpolatedPointDelta(0, first, 1, delta));
    std::vector<Bedrock::PointT<double>> sums(first.size());
    EXPECT_FALSE(tuple->AddContourDeltas(0, first, 1.0, sums));
    // A point outside the contour asked for is refused.
    EXPECT_FALSE(tuple->GetInterpolatedPointDelta(5, second, 9, delta));
}

// The whole-contour pass gives the numbers of the point-by-point inference,
// also for deltas out of order, repeated or outside the contour.
TEST(TupleVariation, ContourPassAgreesWithPointByPointInference) {
    std::mt19937 random(7);
    auto tuple = Tuple(kGvar, 1, 0);
    for (int round = 0; round < 400; ++round) {
        const unsigned long start = random() % 20;
        const size_t count = 1 + random() % 12;
        std::vector<Bedrock::PointT<double>> points(count);
        for (auto& p : points) p = {double(int(random() % 21) - 10), double(int(random() % 21) - 10)};
        tuple->pointDeltas.clear();
        const size_t deltaCount = random() % 8;
        for (size_t k = 0; k < deltaCount; ++k) {
            tuple->pointDeltas.push_back({static_cast<uint16_t>(random() % (start + count + 4)),
                                          double(int(random() % 41) - 20), double(int(random() % 41) - 20)});
        }
        if (round % 2) {
            std::sort(tuple->pointDeltas.begin(), tuple->pointDeltas.end(),
                      [](const auto& a, const auto& b) { return a.index < b.index; });
        }
        const double scale = 0.75;
        std::vector<Bedrock::PointT<double>> sums(count, {1.0, -1.0});
        const bool any = tuple->AddContourDeltas(start, points, scale, sums);
        for (size_t p = 0; p < count; ++p) {
            TupleVariation::PointDelta delta;
            const bool has =
                tuple->GetInterpolatedPointDelta(start, points, static_cast<unsigned short>(start + p), delta);
            ASSERT_EQ(has, any);
            const Bedrock::PointT<double> expected =
                has ? Bedrock::PointT<double>{1.0 + scale * delta.x, -1.0 + scale * delta.y}
                    : Bedrock::PointT<double>{1.0, -1.0};
            ASSERT_EQ(sums[p], expected) << "round " << round << " point " << p;
        }
    }
}

TEST(TupleVariationStore, LoadsTuplesBackToBack) {
    // Fewer than 4 bytes: no tuples.
    TupleVariationStore empty(kGvar, {MakeTag("wght")}, 6, TupleVariation::SharedTuples());
    EXPECT_TRUE(empty.Load(HexBuffer("0001")));
    EXPECT_TRUE(empty.IsEmpty());

    // Shared points 0 and 1 (flag 0x8000), two tuples: the first names a
    // shared tuple that doesn't exist and is kept without regions, the
    // second is read after it.
    ByteWriter w;
    w.U16(0x8002).U16(16);
    w.U16(0).U16(0x0005);
    w.U16(0).U16(0x8000).U16(uint16_t(-kOne));
    w.Zeros(16 - w.Size());
    w.Bytes(TypeframeTest::HexBytes("02 01 00 01  01 03 04  01 05 06"));
    TupleVariationStore store(kGvar, {MakeTag("wght")}, 6, TupleVariation::SharedTuples());
    ASSERT_TRUE(store.Load(Buffer(w)));
    ASSERT_EQ(store.GetVariationCount(), 2u);
    EXPECT_EQ(store.sharedPoints, (Points{0, 1}));
    EXPECT_TRUE(store.GetVariation(0)->GetRegions().empty());
    auto second = store.GetVariation(1);
    ASSERT_EQ(second->GetPointDeltas().size(), 2u);
    EXPECT_EQ(second->GetPointDeltas()[1].index, 1);
    EXPECT_EQ(second->GetPointDeltas()[1].x, 4.0);
    EXPECT_EQ(second->GetPointDeltas()[1].y, 6.0);
    EXPECT_EQ(store.GetVariation(2), nullptr);

    // A copy is deep.
    auto copy = store.Clone();
    copy->GetVariation(1)->pointDeltas.clear();
    EXPECT_EQ(second->GetPointDeltas().size(), 2u);
}

TEST(TupleVariationStore, HostileCountsAndOffsets) {
    // 4095 tuples announced, one present: the rest fail at their headers.
    ByteWriter w;
    w.U16(0x0FFF).U16(10).U16(0).U16(0xA000).U16(kOne).Bytes(TypeframeTest::HexBytes("00 02 01 02 03"));
    TupleVariationStore store(kCvar, {MakeTag("wght")}, 3, TupleVariation::SharedTuples());
    ASSERT_TRUE(store.Load(Buffer(w)));
    EXPECT_EQ(store.GetVariationCount(), 4095u);
    EXPECT_EQ(store.GetVariation(0)->GetPointDeltas().size(), 3u);
    EXPECT_TRUE(store.GetVariation(1)->GetRegions().empty());

    // A data offset past the end: tuples keep their regions, no deltas.
    ByteWriter far;
    far.U16(1).U16(0xFFF0).U16(0).U16(0x8000).U16(kOne);
    TupleVariationStore cut(kGvar, {MakeTag("wght")}, 3, TupleVariation::SharedTuples());
    ASSERT_TRUE(cut.Load(Buffer(far)));
    ASSERT_EQ(cut.GetVariationCount(), 1u);
    EXPECT_EQ(cut.GetVariation(0)->GetRegions().size(), 1u);
    EXPECT_TRUE(cut.GetVariation(0)->GetPointDeltas().empty());
}
