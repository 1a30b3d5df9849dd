// Hostile glyph data: loca offsets out of order or past the table, contour
// end points that decrease, flag runs past the point count, instruction
// lengths past the glyph, point counts far above the bytes, and composites
// that refer to themselves, nest deeper than any font or fan out
// exponentially. Nothing may crash, hang or size memory by a count from the
// file; AllocationWatch records the largest single request.

#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "truetype/Glyf.h"
#include "truetype/GlyfComponent.h"
#include "truetype/OTglyfTable.h"
#include "truetype/OTlocaTable.h"
#include "core/AllocationWatch.h"
#include "GlyfTestUtil.h"
#include "TestUtil.h"

namespace {

using Bedrock::PointT;
using Typeframe::Glyf;
using Typeframe::GlyfComponent;
using TypeframeTest::BoxGlyphBytes;
using TypeframeTest::CompositeGlyphBytes;
using TypeframeTest::GlyphName;
using TypeframeTest::HexBytes;
using TypeframeTest::MakeTestFont;
using TypeframeTest::TestComponent;
using TypeframeTest::TestFont;
using TypeframeTest::TestFontOptions;

constexpr uint16_t kXY = GlyfComponent::ARGS_ARE_XY_VALUES;
constexpr uint16_t kMore = GlyfComponent::MORE_COMPONENTS;
// Far below what the counts in these glyphs would ask for, far above what
// their few bytes need.
constexpr size_t kAllocationLimit = 64 * 1024;

// Everything a caller may do with a loaded table, which must all end.
void Exercise(TestFont& t) {
    for (const auto& name : t.glyf->GetGlyphNames()) {
        auto glyph = t.glyf->GetGlyph(name);
        std::vector<PointT<double>> points;
        std::vector<unsigned char> flags;
        glyph->GetCoordinates(points, flags);
        for (int i = 0; i < glyph->GetNumberOfContours() && i < 100; ++i) {
            unsigned long first = 0;
            glyph->GetContour(i, first, points, flags);
        }
        glyph->GetNumberOfCoordinates();
        glyph->IsMarking();
        glyph->InvalidateBounds();
        glyph->GetBounds();
    }
    t.glyf->GetBounds();
    t.glyf->GetMaxComponentDepth(t.glyf->GetGlyphNames());
    t.glyf->SetIsDirty(true);
    t.glyf->Save();
    t.loca->Save();
    t.glyf->Subset({GlyphName(0)});
}

TEST(GlyfHostile, LocaOffsetsOutOfOrder) {
    // Glyph 1 ends before it starts: it is empty, and glyph 2 runs from that
    // lower end, taking glyph 0's bytes again.
    const auto box = BoxGlyphBytes(0, 0, 10, 10);
    TestFontOptions options;
    options.offsets = {0, 34, 0, 34};
    auto t = MakeTestFont({box, {}, {}}, options);
    ASSERT_TRUE(t.loaded);
    EXPECT_TRUE(t.glyf->GetGlyph(GlyphName(1))->IsEmpty());
    EXPECT_EQ(t.glyf->GetGlyph(GlyphName(2))->coordinates, t.glyf->GetGlyph(GlyphName(0))->coordinates);
    Exercise(t);
}

TEST(GlyfHostile, LocaPastTheEndOfGlyf) {
    TestFontOptions options;
    options.offsets = {0, 34, 0xFFFFFFF0u, 0xFFFFFFFFu};
    TypeframeTest::ResetLargestAllocation();
    auto t = MakeTestFont({BoxGlyphBytes(0, 0, 10, 10), {}, {}}, options);
    EXPECT_FALSE(t.loaded);
    // The count parses the glyphs, whose allocations are watched too.
    EXPECT_EQ(t.glyf->GetGlyphCount(), 1u);
    EXPECT_LT(TypeframeTest::GetLargestAllocation(), kAllocationLimit);
    Exercise(t);
}

TEST(GlyfHostile, ContourEndPointsThatDecrease) {
    // End points 5, 1, 3: four points, the second contour inverted.
    const auto bytes = HexBytes(
        "0003 0000 0000 0000 0000  0005 0001 0003  0000"
        "31 31 31 31");
    auto t = MakeTestFont({bytes});
    auto glyph = t.glyf->GetGlyph(GlyphName(0));
    ASSERT_EQ(glyph->coordinates.size(), 4u);
    unsigned long first = 0;
    std::vector<PointT<double>> points;
    std::vector<unsigned char> flags;
    EXPECT_TRUE(glyph->GetContour(0, first, points, flags));
    EXPECT_EQ(points.size(), 4u);  // cut at the points held
    points.clear();
    EXPECT_TRUE(glyph->GetContour(1, first, points, flags));
    EXPECT_TRUE(points.empty());
    Exercise(t);
}

TEST(GlyfHostile, FlagRepeatsPastThePointCount) {
    // Two points, but the first flag repeats 200 times.
    const auto bytes = HexBytes("0001 0000 0000 0000 0000  0001 0000  39 c8");
    auto t = MakeTestFont({bytes});
    auto glyph = t.glyf->GetGlyph(GlyphName(0));
    EXPECT_EQ(glyph->coordinates.size(), 2u);
    EXPECT_EQ(glyph->flags.size(), 2u);
    Exercise(t);
}

TEST(GlyfHostile, InstructionLengthPastTheGlyph) {
    const auto simple = HexBytes("0001 0000 0000 0000 0000  0000 ffff 01");
    const auto composite = HexBytes("ffff 0000 0000 0000 0000  0102 0000 00 00 ffff 2b");
    auto t = MakeTestFont({BoxGlyphBytes(0, 0, 1, 1), simple, composite});
    ASSERT_TRUE(t.loaded);  // the glyphs fail, the table loads
    EXPECT_TRUE(t.glyf->GetGlyph(GlyphName(1))->coordinates.empty());
    EXPECT_EQ(t.glyf->GetGlyph(GlyphName(2))->components.size(), 1u);
    Exercise(t);
}

TEST(GlyfHostile, PointCountsFarAboveTheBytes) {
    // 65535 end points promised, then a last end point of 65534 with no
    // flags; and 32767 contours with nothing behind them.
    const auto manyPoints = HexBytes("0001 0000 0000 0000 0000  fffe 0000  31");
    const auto manyContours = HexBytes("7fff 0000 0000 0000 0000  0001");
    TypeframeTest::ResetLargestAllocation();
    auto t = MakeTestFont({manyPoints, manyContours});
    EXPECT_TRUE(t.glyf->GetGlyph(GlyphName(0))->coordinates.empty());
    EXPECT_LT(TypeframeTest::GetLargestAllocation(), kAllocationLimit);
    EXPECT_TRUE(t.glyf->GetGlyph(GlyphName(1))->endPtsOfContours.empty());
    Exercise(t);
}

TEST(GlyfHostile, ComponentsThatNeverEnd) {
    // MORE_COMPONENTS on every record, until the bytes run out mid-record.
    const auto bytes = HexBytes("ffff 0000 0000 0000 0000  0022 0000 00 00  0022 0000 00 00  0022 00");
    auto t = MakeTestFont({BoxGlyphBytes(0, 0, 1, 1), bytes});
    auto glyph = t.glyf->GetGlyph(GlyphName(1));
    EXPECT_EQ(glyph->components.size(), 3u);
    Exercise(t);
}

TEST(GlyfHostile, CompositeCyclesEndQuietly) {
    // Glyph 0 draws itself; 1 and 2 draw each other and a box.
    auto t = MakeTestFont({
        CompositeGlyphBytes({{kXY, 0, 1, 1, {}}}),
        CompositeGlyphBytes({{kXY | kMore, 2, 0, 0, {}}, {kXY, 3, 0, 0, {}}}),
        CompositeGlyphBytes({{kXY, 1, 0, 0, {}}}),
        BoxGlyphBytes(0, 0, 10, 10),
    });
    EXPECT_EQ(t.glyf->GetGlyph(GlyphName(0))->GetNumberOfCoordinates(), 0);
    // 1 -> 2 -> (1 again: nothing), 1 -> 3: the box once.
    EXPECT_EQ(t.glyf->GetGlyph(GlyphName(1))->GetNumberOfCoordinates(), 4);
    std::vector<Typeframe::Utf8String> keep;
    t.glyf->FindDependentGlyphs(keep, GlyphName(1));
    EXPECT_EQ(keep.size(), 3u);
    Exercise(t);
}

TEST(GlyfHostile, NestingDeeperThanAnyFontStopsAtTheBound) {
    // Glyph i draws glyph i + 1, 300 levels down to a box.
    constexpr unsigned kLevels = 300;
    std::vector<std::vector<uint8_t>> glyphs;
    for (unsigned i = 0; i < kLevels; ++i) glyphs.push_back(CompositeGlyphBytes({{kXY, uint16_t(i + 1), 1, 0, {}}}));
    glyphs.push_back(BoxGlyphBytes(0, 0, 10, 10));
    auto t = MakeTestFont(glyphs);
    // Too deep from the top: nothing is drawn.
    EXPECT_EQ(t.glyf->GetGlyph(GlyphName(0))->GetNumberOfCoordinates(), 0);
    // Near the bottom the box is reached, moved by each level.
    std::vector<PointT<double>> points;
    std::vector<unsigned char> flags;
    ASSERT_TRUE(t.glyf->GetGlyph(GlyphName(kLevels - 3))->GetCoordinates(points, flags));
    EXPECT_EQ(points[0], (PointT<double>{3, 0}));
    EXPECT_EQ(t.glyf->GetMaxComponentDepth({GlyphName(kLevels - 3)}), 3);
    EXPECT_LE(t.glyf->GetMaxComponentDepth({GlyphName(0)}), Glyf::kMaxComponentDepth + 1);
    Exercise(t);
}

TEST(GlyfHostile, ExponentialFanOutIsBounded) {
    // Glyph i draws glyph i + 1 twice, 40 levels: 2^40 paths to the box.
    constexpr unsigned kLevels = 40;
    std::vector<std::vector<uint8_t>> glyphs;
    for (unsigned i = 0; i < kLevels; ++i) {
        const auto next = uint16_t(i + 1);
        glyphs.push_back(CompositeGlyphBytes({{kXY | kMore, next, 0, 0, {}}, {kXY, next, 0, 0, {}}}));
    }
    glyphs.push_back(BoxGlyphBytes(0, 0, 10, 10));
    auto t = MakeTestFont(glyphs);
    TypeframeTest::ResetLargestAllocation();
    const int count = t.glyf->GetGlyph(GlyphName(0))->GetNumberOfCoordinates();
    EXPECT_GT(count, 0);
    EXPECT_LE(static_cast<unsigned long>(count), 4 * Glyf::kMaxComponentVisits);
    EXPECT_EQ(t.glyf->GetMaxComponentDepth({GlyphName(0)}), int(kLevels));
    Exercise(t);
    EXPECT_LT(TypeframeTest::GetLargestAllocation(), size_t(1024 * 1024));
}

}  // namespace
