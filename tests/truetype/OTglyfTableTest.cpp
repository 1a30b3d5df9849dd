// The glyph table as a whole with its partners: loading through 'loca',
// saving with the choice of the 'loca' form and the 'maxp' limits, phantom
// points, bounds, the edits (AddGlyph, SetGlyph, Subset) and the font-wide
// queries that read the outlines.

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "base/Trace.h"
#include "core/OTFont.h"
#include "truetype/Glyf.h"
#include "truetype/GlyfComponent.h"
#include "truetype/OTglyfTable.h"
#include "truetype/OTlocaTable.h"
#include "GlyfTestUtil.h"
#include "TestUtil.h"

namespace {

using Bedrock::Counted;
using Bedrock::RectT;
using Typeframe::BigEndianBuffer;
using Typeframe::Glyf;
using Typeframe::GlyfComponent;
using Typeframe::OThmtxTable;
using Typeframe::OTlocaTable;
using TypeframeTest::BoxGlyphBytes;
using TypeframeTest::BufferBytes;
using TypeframeTest::CompositeGlyphBytes;
using TypeframeTest::GlyphName;
using TypeframeTest::HexBuffer;
using TypeframeTest::HexBytes;
using TypeframeTest::MakeTestFont;
using TypeframeTest::SimpleGlyphBytes;
using TypeframeTest::TestFont;
using TypeframeTest::TestFontOptions;
using TypeframeTest::TestPoint;

constexpr uint16_t kXY = GlyfComponent::ARGS_ARE_XY_VALUES;
constexpr uint16_t kMore = GlyfComponent::MORE_COMPONENTS;

// A simple glyph of `count` points whose flags alternate (so no run forms)
// and whose x values jump by 1000 (words): compiled, it takes 14 + 3 count
// bytes.
std::vector<uint8_t> ZigzagGlyphBytes(int count) {
    std::vector<TestPoint> points;
    for (int i = 0; i < count; ++i) points.push_back({i % 2 == 0 ? 1000 : 0, 0, i % 2 == 0});
    return SimpleGlyphBytes({points});
}

bool SaveGlyf(TestFont& t) {
    t.glyf->SetIsDirty(true);
    return t.glyf->Save();
}

TEST(OTglyfTable, SavesGlyphsInGlyphOrderAndReadsThemBack) {
    auto t = MakeTestFont({{},
                           BoxGlyphBytes(10, 0, 500, 700),
                           SimpleGlyphBytes({{{0, 0}, {1, 1, false}}}, {0x2b}),
                           CompositeGlyphBytes({{kXY, 1, 5, 5, {}}}, {}, {1, 2, 3, 4})});
    ASSERT_TRUE(t.loaded);
    EXPECT_EQ(t.glyf->GetGlyphCount(), 4u);
    EXPECT_FALSE(t.glyf->IsDirty());
    ASSERT_TRUE(SaveGlyf(t));
    EXPECT_FALSE(t.glyf->IsDirty());

    // The empty glyph takes no bytes; odd lengths are padded to two, so that
    // the short form of loca can hold the offsets.
    const auto& offsets = t.loca->offsets;
    ASSERT_EQ(offsets.size(), 5u);
    EXPECT_EQ(offsets[0], 0u);
    EXPECT_EQ(offsets[1], 0u);
    for (uint32_t offset : offsets) EXPECT_EQ(offset % 2, 0u);
    EXPECT_EQ(offsets.back(), t.glyf->GetLength());

    // The saved bytes, read by a fresh table, give the same glyphs.
    TestFontOptions options;
    options.offsets = offsets;
    const auto saved = BufferBytes(*t.glyf->GetBuffer());
    std::vector<std::vector<uint8_t>> glyphs(4);
    glyphs[0] = saved;  // all bytes in one piece; the offsets cut them
    auto u = MakeTestFont(glyphs, options);
    ASSERT_TRUE(u.loaded);
    for (unsigned i = 0; i < 4; ++i) {
        auto a = t.glyf->GetGlyph(GlyphName(i));
        auto b = u.glyf->GetGlyph(GlyphName(i));
        ASSERT_TRUE(a && b);
        EXPECT_EQ(a->numberOfContours, b->numberOfContours);
        EXPECT_EQ(a->coordinates, b->coordinates);
        EXPECT_EQ(a->flags, b->flags);
        EXPECT_EQ(a->bounds, b->bounds) << i;
    }
    EXPECT_EQ(u.glyf->GetGlyph(GlyphName(3))->components[0]->glyphName, GlyphName(1));
    // Kept as required: the table saves each glyph's box as held, here the
    // composite's stale stored box, without recomputing it.
    EXPECT_EQ(u.glyf->GetGlyph(GlyphName(3))->bounds, (RectT<double>{1, 2, 3, 4}));
}

TEST(OTglyfTable, LoadNeedsLocaAndEnoughBytes) {
    // Glyph 1 is said to end past the table: Load fails, keeping glyph 0.
    TestFontOptions options;
    options.offsets = {0, 16, 400};
    auto t = MakeTestFont({BoxGlyphBytes(0, 0, 1, 1), {}}, options);
    EXPECT_FALSE(t.loaded);
    EXPECT_EQ(t.glyf->GetGlyphCount(), 1u);

    // A font without loca has no glyf either.
    auto font = Bedrock::MakeCounted<Typeframe::OTFont>();
    Typeframe::OTglyfTable lone(font.Get());
    EXPECT_FALSE(lone.Load(HexBuffer("00")));
}

TEST(OTglyfTable, TrailingBytesAreAWarningFromFourOn) {
    std::vector<std::string> traces;
    Bedrock::SetTraceSink([&traces](const char* message) { traces.emplace_back(message); });
    TestFontOptions options;
    options.trailingBytes = 3;
    EXPECT_TRUE(MakeTestFont({BoxGlyphBytes(0, 0, 1, 1)}, options).loaded);
    EXPECT_TRUE(traces.empty());
    options.trailingBytes = 4;
    EXPECT_TRUE(MakeTestFont({BoxGlyphBytes(0, 0, 1, 1)}, options).loaded);
    Bedrock::SetTraceSink(nullptr);
    ASSERT_EQ(traces.size(), 1u);
    EXPECT_EQ(traces[0], "OTglyfTable::Load: Too much 'glyf' table data: expected 34, received 38 bytes\n");
}

TEST(OTglyfTable, GlyphsPastTheNamesGetMadeUpNames) {
    auto t = MakeTestFont({BoxGlyphBytes(0, 0, 1, 1), BoxGlyphBytes(0, 0, 2, 2)});
    t.maxp->numGlyphs = 1;
    t.font->InvalidateGlyphNames();
    ASSERT_TRUE(t.glyf->Load(t.glyf->GetBuffer()));
    EXPECT_TRUE(t.glyf->GetGlyph(Typeframe::Utf8String("qrvautoglyph1")));
    // Only the glyphs of the glyph order are written.
    ASSERT_TRUE(SaveGlyf(t));
    EXPECT_EQ(t.loca->offsets.size(), 2u);
    EXPECT_EQ(t.maxp->numGlyphs, 1);
}

TEST(OTlocaTable, ShortFormUpTo131071) {
    auto t = MakeTestFont({});
    t.loca->SetOffsets({0, 131071});
    t.head->indexToLocFormat = 1;
    t.head->SetIsDirty(false);
    ASSERT_TRUE(t.loca->Save());
    EXPECT_EQ(t.head->indexToLocFormat, 0);
    EXPECT_TRUE(t.head->IsDirty());
    // The short form halves the offsets: an odd one loses its low bit.
    EXPECT_EQ(BufferBytes(*t.loca->GetBuffer()), HexBytes("0000 ffff"));

    t.loca->SetOffsets({0, 131072});
    EXPECT_TRUE(t.loca->IsDirty());
    ASSERT_TRUE(t.loca->Save());
    EXPECT_EQ(t.head->indexToLocFormat, 1);
    EXPECT_EQ(BufferBytes(*t.loca->GetBuffer()), HexBytes("0000 0000 0002 0000"));

    // The same offsets again leave the table clean; none can't be saved.
    t.loca->SetOffsets({0, 131072});
    EXPECT_FALSE(t.loca->IsDirty());
    t.loca->SetOffsets({});
    EXPECT_FALSE(t.loca->Save());
}

TEST(OTlocaTable, LoadReadsWhatTheBytesHold) {
    auto t = MakeTestFont({{}, {}});
    OTlocaTable loca(t.font.Get());
    t.head->indexToLocFormat = 0;
    EXPECT_TRUE(loca.Load(HexBuffer("0000 0002 0005")));
    EXPECT_EQ(loca.offsets, (std::vector<uint32_t>{0, 4, 10}));
    // Not numGlyphs + 1 entries: false, the entries kept. A stray odd byte
    // is not an entry.
    EXPECT_FALSE(loca.Load(HexBuffer("0000 0002 0005 0006 07")));
    EXPECT_EQ(loca.offsets.size(), 4u);
    t.head->indexToLocFormat = 1;
    EXPECT_TRUE(loca.Load(HexBuffer("0000 0000 0001 0000 0002 0001")));
    EXPECT_EQ(loca.offsets, (std::vector<uint32_t>{0, 65536, 131073}));
}

TEST(OTglyfTable, OddGlyphsArePaddedWhenTheShortFormStillFits) {
    // Three odd glyphs and an even one, 131063 bytes: with three pad bytes
    // the total stays within the short form, so the odd ones are padded.
    auto t =
        MakeTestFont({ZigzagGlyphBytes(14557), ZigzagGlyphBytes(14557), ZigzagGlyphBytes(14553), ZigzagGlyphBytes(2)});
    ASSERT_TRUE(SaveGlyf(t));
    EXPECT_EQ(t.loca->offsets, (std::vector<uint32_t>{0, 43686, 87372, 131046, 131066}));
    ASSERT_TRUE(t.loca->Save());
    EXPECT_EQ(t.head->indexToLocFormat, 0);
}

TEST(OTglyfTable, OddGlyphsStayOddWhenPaddingWouldReach131072) {
    // Kept as required: at 131069 bytes the three pad bytes would reach
    // 131072, so nothing is padded; the short form is still chosen and
    // halves the odd offsets.
    auto t =
        MakeTestFont({ZigzagGlyphBytes(14557), ZigzagGlyphBytes(14557), ZigzagGlyphBytes(14555), ZigzagGlyphBytes(2)});
    ASSERT_TRUE(SaveGlyf(t));
    EXPECT_EQ(t.loca->offsets, (std::vector<uint32_t>{0, 43685, 87370, 131049, 131069}));
    ASSERT_TRUE(t.loca->Save());
    EXPECT_EQ(t.head->indexToLocFormat, 0);
    EXPECT_EQ(BufferBytes(*t.loca->GetBuffer()), HexBytes("0000 5552 aaa5 fff4 fffe"));

    // Past the short form, glyphs stay byte-aligned and the long form is used.
    auto u = MakeTestFont({ZigzagGlyphBytes(21845), ZigzagGlyphBytes(21845), ZigzagGlyphBytes(1)});
    ASSERT_TRUE(SaveGlyf(u));
    EXPECT_EQ(u.loca->offsets.back(), 131115u);
    ASSERT_TRUE(u.loca->Save());
    EXPECT_EQ(u.head->indexToLocFormat, 1);

    // A padding of 2 or more pads every glyph.
    auto v = MakeTestFont({ZigzagGlyphBytes(1), ZigzagGlyphBytes(1)});
    v.glyf->padding = 4;
    ASSERT_TRUE(SaveGlyf(v));
    EXPECT_EQ(v.loca->offsets, (std::vector<uint32_t>{0, 20, 40}));
}

TEST(OTglyfTable, AllEmptyGlyphsSaveOneZeroByte) {
    auto t = MakeTestFont({{}, {}, {}});
    ASSERT_TRUE(SaveGlyf(t));
    EXPECT_EQ(BufferBytes(*t.glyf->GetBuffer()), (std::vector<uint8_t>{0}));
    EXPECT_EQ(t.loca->offsets, (std::vector<uint32_t>{0, 0, 0, 0}));
}

TEST(OTglyfTable, SavingTwiceGivesTheSameBytes) {
    // The glyphs are written from the start of the table's buffer, wherever
    // the previous save left its position: saved again, and saved from a
    // clone of a saved table, the bytes are the same and loca fits them.
    auto t = MakeTestFont({BoxGlyphBytes(0, 0, 10, 10), {}, CompositeGlyphBytes({{kXY, 0, 5, 5, {}}})});
    ASSERT_TRUE(SaveGlyf(t));
    const auto first = BufferBytes(*t.glyf->GetBuffer());
    const auto offsets = t.loca->offsets;
    ASSERT_TRUE(SaveGlyf(t));
    EXPECT_EQ(BufferBytes(*t.glyf->GetBuffer()), first);
    EXPECT_EQ(t.loca->offsets, offsets);
    EXPECT_EQ(offsets.back(), first.size());

    auto clone = Bedrock::StaticCast<Typeframe::OTglyfTable>(t.glyf->Clone());
    t.font->SetTable(clone);
    clone->SetIsDirty(true);
    ASSERT_TRUE(clone->Save());
    EXPECT_EQ(BufferBytes(*clone->GetBuffer()), first);

    // The bytes read back to the same glyphs.
    TestFontOptions options;
    options.offsets = offsets;
    auto u = MakeTestFont({first, {}, {}}, options);
    ASSERT_TRUE(u.loaded);
    EXPECT_EQ(u.glyf->GetGlyph(GlyphName(0))->coordinates, t.glyf->GetGlyph(GlyphName(0))->coordinates);
    EXPECT_TRUE(u.glyf->GetGlyph(GlyphName(1))->IsEmpty());
    EXPECT_EQ(u.glyf->GetGlyph(GlyphName(2))->components.at(0)->glyphName, GlyphName(0));

    // A table of empty glyphs stays one zero byte.
    auto v = MakeTestFont({{}, {}});
    ASSERT_TRUE(SaveGlyf(v));
    ASSERT_TRUE(SaveGlyf(v));
    EXPECT_EQ(BufferBytes(*v.glyf->GetBuffer()), (std::vector<uint8_t>{0}));
}

TEST(OTglyfTable, SaveRecomputesTheGlyphLimitsOfMaxp) {
    auto t = MakeTestFont({
        SimpleGlyphBytes({{{0, 0}, {1, 1}, {2, 2}}, {{5, 5}}}),        // 4 points, 2 contours
        SimpleGlyphBytes({{{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4}}}),  // 5 points, 1 contour
        CompositeGlyphBytes({{kXY | kMore, 0, 0, 0, {}}, {kXY | kMore, 1, 0, 0, {}}, {kXY, 0, 9, 9, {}}}),
        CompositeGlyphBytes({{kXY | kMore, 2, 0, 0, {}}, {kXY, 1, 0, 0, {}}}),
    });
    t.maxp->maxSizeOfInstructions = 77;
    t.maxp->maxPoints = 5;
    t.maxp->SetIsDirty(false);
    ASSERT_TRUE(SaveGlyf(t));
    EXPECT_TRUE(t.maxp->IsDirty());
    EXPECT_EQ(t.maxp->numGlyphs, 4);
    EXPECT_EQ(t.maxp->maxPoints, 5);
    EXPECT_EQ(t.maxp->maxContours, 2);
    EXPECT_EQ(t.maxp->maxCompositePoints, 18);   // 13 of the inner composite and 5
    EXPECT_EQ(t.maxp->maxCompositeContours, 6);  // 5 and 1
    EXPECT_EQ(t.maxp->maxComponentElements, 3);
    EXPECT_EQ(t.maxp->maxComponentDepth, 2);
    EXPECT_EQ(t.maxp->maxSizeOfInstructions, 77);

    // Unchanged limits leave maxp clean.
    t.maxp->SetIsDirty(false);
    ASSERT_TRUE(SaveGlyf(t));
    EXPECT_FALSE(t.maxp->IsDirty());
}

TEST(OTglyfTable, CompositeSumsAreSignedSixteenBit) {
    // Kept as required: a composite of more than 32767 points wraps negative
    // in the sum and does not raise maxCompositePoints.
    std::vector<TestPoint> many(20000, TestPoint{0, 0});
    auto t = MakeTestFont({
        SimpleGlyphBytes({many}),
        CompositeGlyphBytes({{kXY | kMore, 0, 0, 0, {}}, {kXY, 0, 0, 0, {}}}),  // 40000 points
        CompositeGlyphBytes({{kXY, 0, 0, 0, {}}}),                              // 20000 points
    });
    ASSERT_TRUE(SaveGlyf(t));
    EXPECT_EQ(t.maxp->maxPoints, 20000);
    EXPECT_EQ(t.maxp->maxCompositePoints, 20000);
}

TEST(OTglyfTable, PhantomPointsComeFromTheMetricTables) {
    TestFontOptions options;
    options.metrics = {{600, 30}};
    options.vertical = true;
    auto t = MakeTestFont({BoxGlyphBytes(50, -10, 550, 700)}, options);
    // left = xMin - lsb, right = left + advance; top = yMax + tsb, bottom =
    // top - advance height.
    EXPECT_EQ(t.glyf->GetGlyph(GlyphName(0))->GetPhantoms(), (RectT<double>{20, -200, 620, 800}));

    options.vertical = false;
    t = MakeTestFont({BoxGlyphBytes(50, -10, 550, 700)}, options);
    EXPECT_EQ(t.glyf->GetGlyph(GlyphName(0))->GetPhantoms(), (RectT<double>{20, -200, 620, 800}));
    options.ascender = 900;
    options.unitsPerEm = 2048;
    t = MakeTestFont({BoxGlyphBytes(50, -10, 550, 700)}, options);
    EXPECT_EQ(t.glyf->GetGlyph(GlyphName(0))->GetPhantoms(), (RectT<double>{20, -1148, 620, 900}));

    options.hhea = false;
    options.hmtx = false;
    t = MakeTestFont({BoxGlyphBytes(50, -10, 550, 700)}, options);
    EXPECT_EQ(t.glyf->GetGlyph(GlyphName(0))->GetPhantoms(), (RectT<double>{0, 0, 0, 2048}));

    // An index without a metric counts as zero metrics; a null glyph is
    // passed over.
    const TestFont previous = t;
    auto glyph = previous.glyf->GetGlyph(GlyphName(0));
    options.hmtx = true;
    options.hhea = true;
    t = MakeTestFont({BoxGlyphBytes(50, -10, 550, 700)}, options);
    EXPECT_TRUE(t.glyf->RefreshPhantoms(glyph, 5));
    EXPECT_EQ(glyph->GetPhantoms().left, 50);
    EXPECT_EQ(glyph->GetPhantoms().right, 50);
    EXPECT_TRUE(t.glyf->RefreshPhantoms(nullptr, 0));
}

TEST(OTglyfTable, BoundsUnionHoldsTheOriginWhenAGlyphIsEmpty) {
    // Kept as required: an empty glyph's box (0, 0, 0, 0) takes part.
    auto t = MakeTestFont({BoxGlyphBytes(100, 200, 300, 400), BoxGlyphBytes(150, 250, 350, 450)});
    EXPECT_EQ(t.glyf->GetBounds(), (RectT<double>{100, 200, 350, 450}));
    EXPECT_EQ(t.font->GetBounds(), (RectT<double>{100, 200, 350, 450}));
    t = MakeTestFont({BoxGlyphBytes(100, 200, 300, 400), {}});
    EXPECT_EQ(t.glyf->GetBounds(), (RectT<double>{0, 0, 300, 400}));

    // The "average advance width" is the mean xMax of the glyphs whose xMax
    // is not zero; not-a-number without such glyphs.
    EXPECT_EQ(t.glyf->GetAverageAdvanceWidth(), 300);
    t = MakeTestFont({{}, {}});
    EXPECT_TRUE(std::isnan(t.glyf->GetAverageAdvanceWidth()));
}

TEST(OTglyfTable, FontQueriesReadTheOutlines) {
    TestFontOptions options;
    // advance, lsb; boxes of width 400 and 1000 and an empty glyph.
    options.metrics = {{500, 50}, {900, -20}, {250, 0}};
    auto t = MakeTestFont({BoxGlyphBytes(50, 0, 450, 10), BoxGlyphBytes(-20, 0, 980, 10), {}}, options);
    // min(advance - lsb - width) over marking glyphs: 500-50-400, 900+20-1000.
    EXPECT_EQ(t.font->GetMinRightSideBearing(), -80);
    // max(lsb + width): 450, 980.
    EXPECT_EQ(t.font->GetxMaxExtent(), 980);

    // Without marking glyphs the right side bearing is the largest double and
    // the extent 0; without hmtx both are 0.
    t = MakeTestFont({{}}, options);
    EXPECT_EQ(t.font->GetMinRightSideBearing(), std::numeric_limits<double>::max());
    EXPECT_EQ(t.font->GetxMaxExtent(), 0);
    options.hmtx = false;
    t = MakeTestFont({BoxGlyphBytes(50, 0, 450, 10)}, options);
    EXPECT_EQ(t.font->GetMinRightSideBearing(), 0);
    EXPECT_EQ(t.font->GetxMaxExtent(), 0);
    // A font without glyf has no bounds.
    EXPECT_EQ(Typeframe::OTFont().GetBounds(), RectT<double>());
}

TEST(OTglyfTable, AddAndSetGlyph) {
    auto t = MakeTestFont({BoxGlyphBytes(0, 0, 1, 1)});
    EXPECT_FALSE(t.glyf->AddGlyph(GlyphName(0)));
    EXPECT_FALSE(t.glyf->IsDirty());
    EXPECT_TRUE(t.glyf->AddGlyph(Typeframe::Utf8String("added")));
    EXPECT_TRUE(t.glyf->IsDirty());
    auto added = t.glyf->GetGlyph(Typeframe::Utf8String("added"));
    ASSERT_TRUE(added);
    EXPECT_TRUE(added->IsEmpty());
    t.glyf->SetIsDirty(false);
    EXPECT_FALSE(t.glyf->IsDirty());

    auto glyph = Bedrock::MakeCounted<Glyf>();
    glyph->components.push_back(Bedrock::MakeCounted<GlyfComponent>());
    EXPECT_FALSE(t.glyf->SetGlyph(Typeframe::Utf8String("unknown"), glyph));
    EXPECT_FALSE(t.glyf->IsDirty());
    EXPECT_FALSE(t.glyf->SetGlyph(GlyphName(0), nullptr));
    EXPECT_TRUE(t.glyf->SetGlyph(GlyphName(0), glyph));
    EXPECT_TRUE(t.glyf->IsDirty());
    EXPECT_EQ(glyph->table.Get(), t.glyf.Get());
    EXPECT_EQ(glyph->components[0]->table.Get(), t.glyf.Get());
    EXPECT_EQ(t.glyf->GetGlyph(GlyphName(0)), glyph);
}

TEST(OTglyfTable, SubsetEmptiesWhatTheNamesDoNotReach) {
    auto t = MakeTestFont({
        BoxGlyphBytes(0, 0, 10, 10),
        BoxGlyphBytes(0, 0, 20, 20),
        CompositeGlyphBytes({{kXY | kMore, 0, 0, 0, {}}, {kXY, 4, 0, 0, {}}}),
        BoxGlyphBytes(0, 0, 30, 30),
        CompositeGlyphBytes({{kXY, 3, 0, 0, {}}}),
    });
    std::vector<Typeframe::Utf8String> keep;
    t.glyf->FindDependentGlyphs(keep, GlyphName(2));
    EXPECT_EQ(keep, (std::vector<Typeframe::Utf8String>{GlyphName(2), GlyphName(0), GlyphName(4), GlyphName(3)}));

    EXPECT_TRUE(t.glyf->Subset({GlyphName(2)}));
    EXPECT_TRUE(t.glyf->IsDirty());
    EXPECT_TRUE(t.glyf->GetGlyph(GlyphName(1))->IsEmpty());
    EXPECT_FALSE(t.glyf->GetGlyph(GlyphName(3))->IsEmpty());
    ASSERT_TRUE(SaveGlyf(t));
    // The dropped glyph keeps its index with a length of 0.
    const auto& offsets = t.loca->offsets;
    ASSERT_EQ(offsets.size(), 6u);
    EXPECT_EQ(offsets[1], offsets[2]);
    EXPECT_LT(offsets[2], offsets[3]);

    // Keeping everything changes nothing.
    t.glyf->SetIsDirty(false);
    EXPECT_TRUE(t.glyf->Subset({GlyphName(0), GlyphName(1), GlyphName(2), GlyphName(3), GlyphName(4)}));
    EXPECT_FALSE(t.glyf->IsDirty());
}

TEST(OTglyfTable, ClonesOwnTheirGlyphs) {
    auto t = MakeTestFont({BoxGlyphBytes(0, 0, 1, 1), CompositeGlyphBytes({{kXY, 0, 0, 0, {}}})});
    auto clone = Bedrock::StaticCast<Typeframe::OTglyfTable>(t.glyf->Clone());
    auto original = t.glyf->GetGlyph(GlyphName(1));
    auto copy = clone->GetGlyph(GlyphName(1));
    ASSERT_TRUE(copy);
    EXPECT_NE(copy.Get(), original.Get());
    EXPECT_EQ(copy->table.Get(), clone.Get());
    EXPECT_EQ(copy->components[0]->table.Get(), clone.Get());
    EXPECT_TRUE(clone->SetGlyph(GlyphName(0), Bedrock::MakeCounted<Glyf>()));
    EXPECT_FALSE(t.glyf->GetGlyph(GlyphName(0))->IsEmpty());
}

TEST(OTglyfTable, ConcurrentSetGlyphAndBoundsAsTheVariationLoopsDo) {
    // Glyphs 0 to 999 are boxes, 1000 to 1999 composites of two of them. The
    // first loop gives each box a new outline, every thread its own share,
    // while all read glyphs of every share; the second refreshes the bounds
    // of every glyph, composites reading the boxes of other threads' shares.
    constexpr unsigned kSimple = 1000;
    constexpr unsigned kThreads = 8;
    std::vector<std::vector<uint8_t>> glyphs(kSimple, BoxGlyphBytes(0, 0, 5, 5));
    for (unsigned i = 0; i < kSimple; ++i) {
        glyphs.push_back(CompositeGlyphBytes(
            {{kXY | kMore, uint16_t(i), 0, 0, {}}, {kXY, uint16_t((i * 7 + 1) % kSimple), 0, 10, {}}}));
    }
    auto t = MakeTestFont(glyphs);
    ASSERT_TRUE(t.loaded);
    t.glyf->SetIsDirty(false);
    std::vector<Typeframe::Utf8String> names;
    for (unsigned i = 0; i < 2 * kSimple; ++i) names.push_back(GlyphName(i));

    auto inParallel = [](auto body) {
        std::vector<std::thread> threads;
        for (unsigned k = 0; k < kThreads; ++k) threads.emplace_back(body, k);
        for (auto& thread : threads) thread.join();
    };
    inParallel([&](unsigned k) {
        for (unsigned i = k; i < kSimple; i += kThreads) {
            auto glyph = t.glyf->GetGlyph(names[i])->Clone();
            glyph->SetCoordinates({{double(i), 0}}, {1});
            EXPECT_TRUE(t.glyf->SetGlyph(names[i], glyph));
            t.glyf->GetGlyph(names[(i * 13) % (2 * kSimple)]);
        }
    });
    inParallel([&](unsigned k) {
        for (unsigned i = k; i < 2 * kSimple; i += kThreads) {
            auto glyph = t.glyf->GetGlyph(names[i]);
            glyph->InvalidateBounds();
            glyph->GetBounds();
        }
    });
    EXPECT_TRUE(t.glyf->IsDirty());
    for (unsigned i = 0; i < kSimple; ++i) {
        EXPECT_EQ(t.glyf->GetGlyph(names[i])->coordinates[0].x, i);
        const double other = (i * 7 + 1) % kSimple;
        EXPECT_EQ(t.glyf->GetGlyph(names[kSimple + i])->GetBounds(),
                  (RectT<double>{std::min<double>(i, other), 0, std::max<double>(i, other), 10}));
    }
    EXPECT_EQ(t.glyf->GetBounds(), (RectT<double>{0, 0, kSimple - 1, 10}));
}

}  // namespace
