// Glyphs on their own: parsing of simple glyphs, the compaction of flag runs,
// bounds, and composite glyphs with their components' placement and
// encoding.

#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "truetype/Glyf.h"
#include "truetype/GlyfComponent.h"
#include "truetype/OTglyfTable.h"
#include "truetype/TTCompiler.h"
#include "GlyfTestUtil.h"
#include "TestUtil.h"

namespace {

using Bedrock::Counted;
using Bedrock::PointT;
using Typeframe::BigEndianBuffer;
using Typeframe::Glyf;
using Typeframe::GlyfComponent;
using TypeframeTest::BufferBytes;
using TypeframeTest::ByteWriter;
using TypeframeTest::CompositeGlyphBytes;
using TypeframeTest::GlyphName;
using TypeframeTest::HexBuffer;
using TypeframeTest::HexBytes;
using TypeframeTest::MakeTestFont;
using TypeframeTest::SimpleGlyphBytes;

using Points = std::vector<PointT<double>>;

Counted<Glyf> LoadGlyph(const std::vector<uint8_t>& bytes) {
    auto glyph = Bedrock::MakeCounted<Glyf>();
    EXPECT_TRUE(glyph->Load(Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4)));
    return glyph;
}

std::vector<uint8_t> Saved(Glyf& glyph) {
    glyph.Save(false);
    return BufferBytes(*glyph.GetBuffer());
}

// The flag bytes that CompileDeltasGreedy writes for `count` points that do
// not move (every flag on-curve, x and y the same: 0x31).
std::vector<uint8_t> FlagBytesOfStillPoints(size_t count) {
    std::vector<unsigned char> flags(count, 1);
    std::vector<PointT<int16_t>> deltas(count);
    BigEndianBuffer out;
    Glyf::CompileDeltasGreedy(flags, deltas, out);
    return BufferBytes(out);
}

TEST(Glyf, LoadsSimpleGlyphsAsAbsolutePointsWithContours) {
    auto glyph = LoadGlyph(SimpleGlyphBytes({{{10, 20}, {10, 700, false}, {400, 700}}, {{100, 100}, {200, -50}}},
                                            {0xB0, 0x01, 0x30}));  // PUSHB[0] 1, IUP[0]
    EXPECT_EQ(glyph->numberOfContours, 2);
    EXPECT_EQ(glyph->endPtsOfContours, (std::vector<uint16_t>{2, 4}));
    EXPECT_EQ(glyph->coordinates, (Points{{10, 20}, {10, 700}, {400, 700}, {100, 100}, {200, -50}}));
    EXPECT_EQ(glyph->flags, (std::vector<unsigned char>{1, 0, 1, 1, 1}));
    EXPECT_TRUE(glyph->boundsValid);
    EXPECT_EQ(glyph->GetBounds(), (Bedrock::RectT<double>{10, -50, 400, 700}));
    ASSERT_TRUE(glyph->instructions);
    EXPECT_EQ(glyph->GetNumberOfCoordinates(), 5);
    EXPECT_EQ(glyph->GetNumberOfContours(), 2);

    unsigned long first = 99;
    Points points;
    std::vector<unsigned char> flags;
    ASSERT_TRUE(glyph->GetContour(1, first, points, flags));
    EXPECT_EQ(first, 3u);
    EXPECT_EQ(points, (Points{{100, 100}, {200, -50}}));
    EXPECT_FALSE(glyph->GetContour(2, first, points, flags));
    EXPECT_FALSE(glyph->GetContour(-1, first, points, flags));

    // Saved and read again, the glyph is the same, instructions included.
    const auto bytes = Saved(*glyph);
    auto again = LoadGlyph(bytes);
    EXPECT_EQ(again->coordinates, glyph->coordinates);
    EXPECT_EQ(again->flags, glyph->flags);
    EXPECT_EQ(again->endPtsOfContours, glyph->endPtsOfContours);
    EXPECT_EQ(std::vector<uint8_t>(bytes.begin() + 16, bytes.begin() + 19), (std::vector<uint8_t>{0xB0, 0x01, 0x30}));
}

TEST(Glyf, ReadsEveryCoordinateForm) {
    // Four points: x as a positive byte, a negative byte, "same" and a word;
    // y the other way round.
    const auto bytes = HexBytes(
        "0001 0000 0000 0000 0000"  // one contour (the stored box is not checked)
        "0003 0000"                 // end point 3, no instructions
        "13 07 31 25"               // x+ short / y word; x- short / y- short; same/same; x word / y+ short
        "05 07 0100"                // x: +5, -7, (same), +256
        "fc18 09 04");              // y: -1000, -9, (same), +4
    auto glyph = LoadGlyph(bytes);
    EXPECT_EQ(glyph->coordinates, (Points{{5, -1000}, {-2, -1009}, {-2, -1009}, {254, -1005}}));
    EXPECT_EQ(glyph->flags, (std::vector<unsigned char>{1, 1, 1, 1}));
}

TEST(Glyf, KeepsOnlyOnCurveOverlapAndHighFlagBits) {
    const auto bytes = HexBytes("0001 0000 0000 0000 0000 0001 0000 F1 B0 0000 0000");
    auto glyph = LoadGlyph(bytes);
    EXPECT_EQ(glyph->flags, (std::vector<unsigned char>{0xC1, 0x80}));
    // Written back with their own coordinate bits, the kept bits unchanged.
    auto again = LoadGlyph(Saved(*glyph));
    EXPECT_EQ(again->flags, glyph->flags);
}

TEST(Glyf, FlagRunsAreCompactedGreedily) {
    // One point: the flag alone. Two equal flags: two plain bytes, no repeat.
    EXPECT_EQ(FlagBytesOfStillPoints(1), (std::vector<uint8_t>{0x31}));
    EXPECT_EQ(FlagBytesOfStillPoints(2), (std::vector<uint8_t>{0x31, 0x31}));
    // Three: the flag, then the flag with REPEAT_FLAG and a count of 1.
    EXPECT_EQ(FlagBytesOfStillPoints(3), (std::vector<uint8_t>{0x31, 0x39, 1}));
    // A run stops at a repeat byte of 254 (256 points); 300 points start a
    // fresh run for the other 44.
    EXPECT_EQ(FlagBytesOfStillPoints(256), (std::vector<uint8_t>{0x31, 0x39, 254}));
    EXPECT_EQ(FlagBytesOfStillPoints(257), (std::vector<uint8_t>{0x31, 0x39, 254, 0x31}));
    EXPECT_EQ(FlagBytesOfStillPoints(300), (std::vector<uint8_t>{0x31, 0x39, 254, 0x31, 0x39, 42}));

    // A run is broken by a change of flag, whether of the point or of the
    // coordinate form; values are written as short bytes within 255 and as
    // words beyond.
    std::vector<unsigned char> flags{1, 1, 0, 0, 0};
    std::vector<PointT<int16_t>> deltas{{0, 0}, {255, 0}, {-255, 0}, {-256, 0}, {-256, 0}};
    BigEndianBuffer out;
    Glyf::CompileDeltasGreedy(flags, deltas, out);
    EXPECT_EQ(BufferBytes(out), HexBytes("31 33 22 20 20  ff ff ff00 ff00"));
}

TEST(Glyf, RepeatByteOf255CoversNoPoint) {
    // Kept as required: the run length wraps in 8 bits, so this flag and its
    // repeat are dropped and the next two flags give the two points.
    auto in = HexBuffer("39 ff 31 33 07");
    std::vector<unsigned char> rawFlags;
    std::vector<PointT<int>> deltas;
    ASSERT_TRUE(Glyf::LoadCoordinatesRaw(*in, 2, rawFlags, deltas));
    EXPECT_EQ(rawFlags, (std::vector<unsigned char>{0x31, 0x33}));
    EXPECT_EQ(deltas[1].x, 7);

    // A run that overshoots leaves surplus flags, whose values are read too.
    in = HexBuffer("33 39 02 05 06");
    ASSERT_TRUE(Glyf::LoadCoordinatesRaw(*in, 2, rawFlags, deltas));
    EXPECT_EQ(rawFlags.size(), 4u);
    EXPECT_EQ(deltas[0].x, 5);
    EXPECT_EQ(in->Tell(), 4u);
}

TEST(Glyf, CoordinatesAreRoundedAndDeltasWrapInSixteenBits) {
    auto glyph = Bedrock::MakeCounted<Glyf>();
    glyph->numberOfContours = 1;
    glyph->endPtsOfContours = {2};
    glyph->instructions = Bedrock::MakeCounted<Typeframe::TTCompiler>();
    glyph->SetCoordinates({{-20000.4, 0.5}, {10000, -0.5}, {12.5, 1.49}}, {1, 1, 1});
    glyph->Save(true);
    auto again = LoadGlyph(BufferBytes(*glyph->GetBuffer()));
    // floor(v + 0.5), the box too.
    EXPECT_EQ(again->coordinates, (Points{{-20000, 1}, {10000, 0}, {13, 1}}));
    EXPECT_EQ(again->bounds, (Bedrock::RectT<double>{-20000, 0, 10000, 1}));

    std::vector<PointT<int16_t>> deltas;
    Glyf::AbsoluteToRelative({{-30000, 0}, {30000, 0}}, deltas);
    EXPECT_EQ(deltas, (std::vector<PointT<int16_t>>{{-30000, 0}, {-5536, 0}}));
}

TEST(Glyf, BoxOfFour8001WordsIsTheLowestDouble) {
    // Kept as required: that box pattern stands for the lowest finite double.
    auto glyph = LoadGlyph(HexBytes("0001 8001 8001 8001 8001 0000 0000 31"));
    const double lowest = std::numeric_limits<double>::lowest();
    EXPECT_EQ(glyph->bounds, (Bedrock::RectT<double>{lowest, lowest, lowest, lowest}));
    EXPECT_TRUE(glyph->boundsValid);
}

TEST(Glyf, EmptyGlyphs) {
    auto glyph = LoadGlyph({});
    EXPECT_EQ(glyph->numberOfContours, 0);
    EXPECT_FALSE(glyph->boundsValid);
    EXPECT_TRUE(glyph->IsEmpty());
    EXPECT_FALSE(glyph->IsMarking());
    Points points;
    std::vector<unsigned char> flags;
    EXPECT_FALSE(glyph->GetCoordinates(points, flags));
    EXPECT_EQ(glyph->GetBounds(), Bedrock::RectT<double>());
    EXPECT_TRUE(Saved(*glyph).empty());

    // A header with no contours is empty too, and saves to nothing.
    glyph = LoadGlyph(HexBytes("0000 0001 0002 0003 0004"));
    EXPECT_TRUE(glyph->IsEmpty());
    EXPECT_TRUE(Saved(*glyph).empty());
}

TEST(Glyf, NegativeContourCountsOtherThanMinusOneAreSimpleWithoutPoints) {
    auto glyph = LoadGlyph(HexBytes("fffe 0000 0000 0000 0000 0001 2b"));  // CALL
    EXPECT_EQ(glyph->numberOfContours, -2);
    EXPECT_TRUE(glyph->endPtsOfContours.empty());
    EXPECT_TRUE(glyph->coordinates.empty());
    EXPECT_TRUE(glyph->IsMarking());
    EXPECT_EQ(Saved(*glyph), HexBytes("fffe 0000 0000 0000 0000 0001 2b"));
}

TEST(Glyf, GlyphWithoutCompilerWritesNoInstructionLength) {
    auto glyph = Bedrock::MakeCounted<Glyf>();
    glyph->numberOfContours = 1;
    glyph->endPtsOfContours = {0};
    glyph->SetCoordinates({{3, 4}}, {1});
    glyph->Save(true);
    EXPECT_EQ(BufferBytes(*glyph->GetBuffer()), HexBytes("0001 0003 0004 0003 0004 0000 37 03 04"));
}

TEST(Glyf, BoundsCachesAreInvalidatedSeparately) {
    auto t = MakeTestFont({TypeframeTest::BoxGlyphBytes(0, 0, 100, 100)});
    auto glyph = t.glyf->GetGlyph(GlyphName(0));
    EXPECT_EQ(t.glyf->GetBounds(), (Bedrock::RectT<double>{0, 0, 100, 100}));

    // SetCoordinates makes the glyph's box stale, not the table's union.
    glyph->SetCoordinates({{-5, -5}, {50, 200}}, {1, 1});
    EXPECT_FALSE(glyph->boundsValid);
    EXPECT_EQ(t.glyf->GetBounds(), (Bedrock::RectT<double>{0, 0, 100, 100}));
    // InvalidateBounds makes both stale.
    glyph->InvalidateBounds();
    EXPECT_EQ(t.glyf->GetBounds(), (Bedrock::RectT<double>{-5, -5, 50, 200}));
}

// ---------------------------------------------------------------------------
// Composite glyphs

constexpr uint16_t kWords = GlyfComponent::ARG_1_AND_2_ARE_WORDS;
constexpr uint16_t kXY = GlyfComponent::ARGS_ARE_XY_VALUES;
constexpr uint16_t kMore = GlyfComponent::MORE_COMPONENTS;

Points CoordinatesOf(const Glyf& glyph) {
    Points points;
    std::vector<unsigned char> flags;
    glyph.GetCoordinates(points, flags);
    return points;
}

TEST(GlyfComposite, PlacesComponentsByOffsetAndTransformation) {
    const auto base = SimpleGlyphBytes({{{0, 0}, {100, 200}}});
    auto t = MakeTestFont({
        base,
        // Offset in bytes.
        CompositeGlyphBytes({{kXY, 0, -3, 5, {}}}),
        // One scale of 0.5, offset in words.
        CompositeGlyphBytes({{kXY | kWords | GlyfComponent::WE_HAVE_A_SCALE, 0, 1000, -1000, {0x2000}}}),
        // x and y scales of 0.5 and 0.25.
        CompositeGlyphBytes({{kXY | GlyfComponent::WE_HAVE_AN_X_AND_Y_SCALE, 0, 0, 0, {0x2000, 0x1000}}}),
        // 2x2: xScale 0, scale01 1, scale10 -1, yScale 0 (a quarter turn).
        CompositeGlyphBytes({{kXY | GlyfComponent::WE_HAVE_A_TWO_BY_TWO, 0, 10, 0, {0, 0x4000, -0x4000, 0}}}),
        // The same with the offset scaled as well.
        CompositeGlyphBytes(
            {{kXY | GlyfComponent::WE_HAVE_A_SCALE | GlyfComponent::SCALED_COMPONENT_OFFSET, 0, 10, 20, {0x2000}}}),
    });
    ASSERT_TRUE(t.loaded);
    auto glyph = [&](unsigned i) { return t.glyf->GetGlyph(GlyphName(i)); };
    EXPECT_EQ(CoordinatesOf(*glyph(1)), (Points{{-3, 5}, {97, 205}}));
    EXPECT_EQ(CoordinatesOf(*glyph(2)), (Points{{1000, -1000}, {1050, -900}}));
    EXPECT_EQ(CoordinatesOf(*glyph(3)), (Points{{0, 0}, {50, 50}}));
    // x' = xScale x + scale10 y, y' = scale01 x + yScale y.
    EXPECT_EQ(CoordinatesOf(*glyph(4)), (Points{{10, 0}, {-190, 100}}));
    EXPECT_EQ(CoordinatesOf(*glyph(5)), (Points{{5, 10}, {55, 110}}));

    auto component = glyph(4)->components[0];
    EXPECT_EQ(component->GetTransform(), (Typeframe::IContourInterface::Transform{0, -1, 0, 1, 0, 0}));
    EXPECT_EQ(component->GetGlyphName(), GlyphName(0));
    EXPECT_EQ(component->GetNumberOfCoordinates(), 2);
    EXPECT_TRUE(glyph(4)->IsMarking());
    // A composite's bounds come from its placed points once refreshed.
    glyph(4)->InvalidateBounds();
    EXPECT_EQ(glyph(4)->GetBounds(), (Bedrock::RectT<double>{-190, 0, 10, 100}));
}

TEST(GlyfComposite, OffsetsAndScalesChooseTheirEncoding) {
    auto t = MakeTestFont({SimpleGlyphBytes({{{0, 0}}})});
    GlyfComponent component(t.glyf.Get());
    component.glyphName = GlyphName(0);
    auto saved = [&]() {
        component.Save(false, false);
        return BufferBytes(*component.GetBuffer());
    };

    // Bytes for offsets within [-128, 127] before rounding; words beyond.
    component.x = 127.0;
    component.y = -128.0;
    EXPECT_EQ(saved(), HexBytes("0002 0000 7f 80"));
    component.x = 127.4;
    EXPECT_EQ(saved(), HexBytes("0003 0000 007f ff80"));
    component.x = 126.6;
    component.y = -0.5;
    EXPECT_EQ(saved(), HexBytes("0002 0000 7f 00"));

    // One scale when x and y agree, two when not, four with a rotation.
    component.x = component.y = 0;
    component.hasTransform = true;
    component.xScale = component.yScale = Typeframe::Fixed2_14(0.5);
    EXPECT_EQ(saved(), HexBytes("000a 0000 00 00 2000"));
    component.yScale = Typeframe::Fixed2_14(0.25);
    EXPECT_EQ(saved(), HexBytes("0042 0000 00 00 2000 1000"));
    component.scale01 = Typeframe::Fixed2_14(-0.5);
    EXPECT_EQ(saved(), HexBytes("0082 0000 00 00 2000 e000 0000 1000"));

    // The meaningful flags stay (ROUND_XY_TO_GRID, NON_OVERLAPPING,
    // USE_MY_METRICS, OVERLAP_COMPOUND, SCALED and UNSCALED_COMPONENT_OFFSET);
    // the layout bits are worked out afresh; MORE_COMPONENTS and
    // WE_HAVE_INSTRUCTIONS come from the caller.
    component.hasTransform = false;
    component.flags = 0xFFFF;
    EXPECT_EQ(saved(), HexBytes("1e16 0000 00 00"));
    component.Save(true, true);
    EXPECT_EQ(BufferBytes(*component.GetBuffer()), HexBytes("1f36 0000 00 00"));

    // The index comes from the name at each save: 65535 when it is unknown.
    component.glyphName = Typeframe::Utf8String("nosuchglyph");
    EXPECT_EQ(saved(), HexBytes("1e16 ffff 00 00"));
}

TEST(GlyfComposite, ComponentsPlacedByPointsAreDrawnAndWrittenAtTheOrigin) {
    // Kept as required: Load reads the point numbers but never sets
    // isPointMatched, so such a component sits at (0, 0) and is written with
    // ARGS_ARE_XY_VALUES and a zero offset.
    auto t = MakeTestFont({
        SimpleGlyphBytes({{{0, 0}, {300, 0}}}),
        SimpleGlyphBytes({{{10, 10}, {20, 20}}}),
        CompositeGlyphBytes({{kXY | kMore, 0, 0, 0, {}}, {GlyfComponent::USE_MY_METRICS, 1, 1, 0, {}}}),
    });
    auto glyph = t.glyf->GetGlyph(GlyphName(2));
    auto anchored = glyph->components[1];
    EXPECT_FALSE(anchored->isPointMatched);
    EXPECT_EQ(anchored->point1, 1);
    EXPECT_EQ(anchored->point2, 0);
    EXPECT_EQ(CoordinatesOf(*glyph), (Points{{0, 0}, {300, 0}, {10, 10}, {20, 20}}));
    glyph->Save(false);
    EXPECT_EQ(BufferBytes(*glyph->GetBuffer()), HexBytes("ffff 0000 0000 0000 0000  0022 0000 00 00  0202 0001 00 00"));

    // With the flag set, point 0 of the component lands on point 1 of what
    // the glyph has drawn so far; a point number outside moves nothing.
    anchored->isPointMatched = true;
    EXPECT_EQ(CoordinatesOf(*glyph), (Points{{0, 0}, {300, 0}, {300, 0}, {310, 10}}));
    anchored->point1 = 7;
    EXPECT_EQ(CoordinatesOf(*glyph), (Points{{0, 0}, {300, 0}, {10, 10}, {20, 20}}));
    anchored->point1 = 300;
    anchored->Save(false, false);
    EXPECT_EQ(BufferBytes(*anchored->GetBuffer()), HexBytes("0201 0001 012c 0000"));
}

TEST(GlyfComposite, InstructionsFollowTheLastComponent) {
    auto t = MakeTestFont({
        SimpleGlyphBytes({{{0, 0}}}),
        CompositeGlyphBytes({{kXY | kMore, 0, 1, 1, {}}, {kXY | GlyfComponent::WE_HAVE_INSTRUCTIONS, 0, 2, 2, {}}},
                            {0xB0, 0x05, 0x2B}),  // PUSHB[0] 5, CALL
        // Empty instructions still set the flag on the way out.
        CompositeGlyphBytes({{kXY | GlyfComponent::WE_HAVE_INSTRUCTIONS, 0, 0, 0, {}}}, {}),
    });
    auto glyph = t.glyf->GetGlyph(GlyphName(1));
    ASSERT_EQ(glyph->components.size(), 2u);
    ASSERT_TRUE(glyph->instructions);
    glyph->Save(false);
    EXPECT_EQ(BufferBytes(*glyph->GetBuffer()),
              HexBytes("ffff 0000 0000 0000 0000  0022 0000 01 01  0102 0000 02 02  0003 b0052b"));
    auto empty = t.glyf->GetGlyph(GlyphName(2));
    empty->Save(false);
    EXPECT_EQ(BufferBytes(*empty->GetBuffer()), HexBytes("ffff 0000 0000 0000 0000  0102 0000 00 00 0000"));
}

TEST(GlyfComposite, InstructionsFlagOnAnEarlierComponentIsSticky) {
    // Kept as required: once a component has WE_HAVE_INSTRUCTIONS,
    // instructions are read after it and after every later component.
    const auto bytes = HexBytes(
        "ffff 0000 0000 0000 0000"
        "0122 0000 01 01  0001 2b"    // first component, flag set, then CALL
        "0002 0000 02 02  0001 21");  // last component, then POP
    auto t = MakeTestFont({SimpleGlyphBytes({{{0, 0}}}), bytes});
    auto glyph = t.glyf->GetGlyph(GlyphName(1));
    ASSERT_EQ(glyph->components.size(), 2u);
    EXPECT_EQ(glyph->components[1]->x, 2);
    ASSERT_TRUE(glyph->instructions);
    // The last program read is the one kept.
    ASSERT_TRUE(glyph->instructions->Save());
    EXPECT_EQ(BufferBytes(*glyph->instructions->buffer), (std::vector<uint8_t>{0x21}));
}

TEST(GlyfComposite, NestedCompositesCountEveryPointTheyDraw) {
    auto t = MakeTestFont({
        SimpleGlyphBytes({{{0, 0}, {1, 1}, {2, 2}}}),
        SimpleGlyphBytes({{{0, 0}, {5, 5}}, {{9, 9}}}),
        CompositeGlyphBytes({{kXY | kMore, 0, 0, 0, {}}, {kXY, 1, 0, 0, {}}}),
        CompositeGlyphBytes({{kXY | kMore, 2, 100, 0, {}}, {kXY, 0, 0, 0, {}}}),
    });
    auto outer = t.glyf->GetGlyph(GlyphName(3));
    EXPECT_EQ(outer->GetNumberOfCoordinates(), 9);
    EXPECT_EQ(outer->GetNumberOfContours(), 4);
    EXPECT_EQ(outer->GetNumberOfComponents(), 2);
    EXPECT_EQ(CoordinatesOf(*outer).front(), (PointT<double>{100, 0}));
    EXPECT_EQ(outer->components[0]->GetNumberOfComponents(), 2);
    EXPECT_EQ(t.glyf->GetMaxComponentDepth({GlyphName(3)}), 2);
    EXPECT_EQ(t.glyf->GetMaxComponentDepth({GlyphName(0), GlyphName(2)}), 1);
    EXPECT_EQ(t.glyf->GetMaxComponentDepth({GlyphName(0)}), 0);
    // A component whose target is gone draws nothing and counts nothing.
    outer->components[0]->glyphName = Typeframe::Utf8String("gone");
    EXPECT_EQ(outer->GetNumberOfCoordinates(), 3);
    EXPECT_FALSE(outer->components[0]->IsMarking());
}

TEST(GlyfComposite, ClonesAreDeep) {
    auto t = MakeTestFont({SimpleGlyphBytes({{{0, 0}}}), CompositeGlyphBytes({{kXY, 0, 4, 4, {}}}, {})});
    auto glyph = t.glyf->GetGlyph(GlyphName(1));
    auto copy = glyph->Clone();
    EXPECT_NE(copy->components[0].Get(), glyph->components[0].Get());
    copy->components[0]->x = 50;
    EXPECT_EQ(glyph->components[0]->x, 4);
    EXPECT_EQ(copy->table.Get(), t.glyf.Get());

    // SetComponent ignores an index out of range and a null component.
    auto replacement = glyph->components[0]->Clone();
    replacement->y = 9;
    glyph->boundsValid = true;
    glyph->SetComponent(1, replacement);
    glyph->SetComponent(0, nullptr);
    EXPECT_TRUE(glyph->boundsValid);
    glyph->SetComponent(0, replacement);
    EXPECT_FALSE(glyph->boundsValid);
    EXPECT_EQ(CoordinatesOf(*glyph), (Points{{4, 9}}));
}

}  // namespace
