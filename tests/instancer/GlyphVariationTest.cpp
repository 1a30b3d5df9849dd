#include "instancer/ApplyGlyphVariations.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <algorithm>
#include <random>
#include <string>

#include "TestUtil.h"
#include "base/FileInStream.h"
#include "base/MemoryInStream.h"
#include "base/MemoryOutStream.h"
#include "core/OTFile.h"
#include "tables/OThmtxTable.h"
#include "tables/OTcvtTable.h"
#include "tables/OTvmtxTable.h"
#include "truetype/GlyfComponent.h"
#include "truetype/OTglyfTable.h"
#include "variations/OTcvarTable.h"
#include "variations/OTgvarTable.h"

using namespace Typeframe;
using TypeframeTest::ByteWriter;
using Point = Bedrock::PointT<double>;

namespace {

constexpr int16_t kOne = 16384;

Fixed2_14 F(int16_t raw) { return Fixed2_14::FromRaw(raw); }
std::vector<Fixed2_14> At(double c) { return {Fixed2_14(c)}; }

// A one-axis tuple over (start, peak, end), raw 2.14 values, with deltas.
Bedrock::Counted<TupleVariation> Tuple(int16_t start, int16_t peak, int16_t end,
                                       std::vector<TupleVariation::PointDelta> deltas, unsigned short points = 0) {
    auto tuple =
        Bedrock::MakeCounted<TupleVariation>(MakeTag("gvar"), std::vector<unsigned int>{MakeTag("wght")},
                                             std::vector<unsigned short>{}, 1, points, TupleVariation::SharedTuples());
    tuple->regions.push_back({F(start), F(peak), F(end)});
    tuple->pointDeltas = std::move(deltas);
    return tuple;
}

Bedrock::Counted<TupleVariationStore> Store(std::vector<Bedrock::Counted<TupleVariation>> tuples) {
    auto store = Bedrock::MakeCounted<TupleVariationStore>(MakeTag("gvar"), std::vector<unsigned int>{MakeTag("wght")},
                                                           0, TupleVariation::SharedTuples());
    store->variations = std::move(tuples);
    return store;
}

// Two contours: a triangle (points 0-2) and a square (points 3-6), advance
// 600 with the left phantom at 0, and a vertical box from 800 down to -200.
Bedrock::Counted<Glyf> SimpleGlyph() {
    auto glyph = Bedrock::MakeCounted<Glyf>();
    glyph->numberOfContours = 2;
    glyph->endPtsOfContours = {2, 6};
    glyph->coordinates = {{0, 0}, {100, 0}, {50, 100}, {200, 0}, {300, 0}, {300, 100}, {200, 100}};
    glyph->flags = std::vector<unsigned char>(7, Glyf::ON_CURVE_POINT);
    glyph->SetPhantoms({0, -200, 600, 800});
    return glyph;
}

Bedrock::Counted<GlyfComponent> Component(uint16_t flags, double x, double y) {
    auto component = Bedrock::MakeCounted<GlyfComponent>();
    component->flags = flags;
    component->x = x;
    component->y = y;
    return component;
}

double Round(double v) { return std::floor(v + 0.5); }

std::vector<Point> Rounded(const Glyf& glyph) {
    std::vector<Point> points;
    for (const auto& p : glyph.coordinates) points.push_back({Round(p.x), Round(p.y)});
    return points;
}

Bedrock::Counted<OTFont> OpenFont(const std::string& path, Bedrock::Counted<OTFile>& file) {
    auto stream = Bedrock::FileInStream::Open(path.c_str(), false);
    if (!stream) return nullptr;
    file = Bedrock::MakeCounted<OTFile>();
    if (!file->Load(stream)) return nullptr;
    return file->GetFont(0);
}

const std::string kBundled = std::string(TYPEFRAME_TEST_DATA_DIR) + "/PartialInstancerTest3-VF.ttf";

}  // namespace

TEST(TupleScalars, RegionTests) {
    auto scalar = [](int16_t start, int16_t peak, int16_t end, double c) {
        return GetGlyphTupleScalar(*Tuple(start, peak, end, {}), At(c));
    };
    EXPECT_EQ(scalar(0, kOne, kOne, 0.5), 0.5);
    EXPECT_EQ(scalar(0, kOne, kOne, 0.0), 0.0);  // the default is outside every peaked region
    EXPECT_EQ(scalar(0, kOne, kOne, 1.0), 1.0);
    EXPECT_EQ(scalar(-kOne, -kOne, 0, 0.5), 0.0);
    EXPECT_EQ(scalar(kOne / 4, kOne / 2, kOne, 0.75), 0.5);
    EXPECT_EQ(scalar(kOne / 4, kOne / 2, kOne, 0.375), 0.5);
    EXPECT_EQ(scalar(kOne / 4, kOne / 2, kOne, 0.125), 0.0);
    // A zero peak applies everywhere, as do a region across the default and
    // a malformed one.
    EXPECT_EQ(scalar(0, 0, 0, 0.0), 1.0);
    EXPECT_EQ(scalar(-kOne, 0, kOne, -0.7), 1.0);
    EXPECT_EQ(scalar(-kOne / 2, kOne / 2, kOne, -0.25), 1.0);
    EXPECT_EQ(scalar(kOne, kOne / 2, kOne, 0.0), 1.0);

    // Axes multiply; an axis without a region is left out.
    auto tuple = Bedrock::MakeCounted<TupleVariation>(
        MakeTag("gvar"), std::vector<unsigned int>{MakeTag("wght"), MakeTag("wdth"), MakeTag("opsz")},
        std::vector<unsigned short>{}, 3, 0, TupleVariation::SharedTuples());
    tuple->regions = {{F(0), F(kOne), F(kOne)}, {F(0), F(kOne), F(kOne)}};
    EXPECT_EQ(GetGlyphTupleScalar(*tuple, {Fixed2_14(0.5), Fixed2_14(0.25), Fixed2_14(0.0)}), 0.125);
}

// Control values take their quotient in 2.14 arithmetic, rounded there,
// where glyph points take it in doubles: 1/3 is 5461/16384 for them.
TEST(TupleScalars, ControlValuesDivideIn2Dot14) {
    auto tuple = Tuple(0, 3, 3, {});
    const std::vector<Fixed2_14> c{F(1)};
    EXPECT_EQ(GetGlyphTupleScalar(*tuple, c), 1.0 / 3.0);
    EXPECT_EQ(GetCvtTupleScalar(*tuple, c), 5461.0 / 16384.0);
    EXPECT_EQ(GetCvtTupleScalar(*Tuple(0, kOne, kOne, {}), At(0.5)), 0.5);
}

TEST(ApplyGVar, SimpleGlyphOutlinesAndPhantoms) {
    auto glyph = SimpleGlyph();
    // Point 0 moves the triangle; the square has no point in this tuple.
    // The right phantom (point 8) has its own delta; the others move only
    // by deltas of their own point numbers, never by inference.
    auto store = Store({Tuple(0, kOne, kOne, {{0, 10, 20}, {8, 40, 0}, {10, 0, 30}})});

    auto same = ApplyGVar(Bedrock::Counted<const Glyf>(glyph), store, At(0.0));
    ASSERT_TRUE(same);
    EXPECT_EQ(same->coordinates, glyph->coordinates);
    EXPECT_EQ(same->GetPhantoms(), glyph->GetPhantoms());
    // Even at the default the first point is marked as possibly overlapping.
    EXPECT_EQ(same->flags[0], Glyf::ON_CURVE_POINT | Glyf::OVERLAP_SIMPLE);
    EXPECT_EQ(same->flags[1], Glyf::ON_CURVE_POINT);

    auto moved = ApplyGVar(Bedrock::Counted<const Glyf>(glyph), store, At(0.5));
    ASSERT_TRUE(moved);
    EXPECT_EQ(moved->coordinates,
              (std::vector<Point>{{5, 10}, {105, 10}, {55, 110}, {200, 0}, {300, 0}, {300, 100}, {200, 100}}));
    EXPECT_EQ(moved->GetPhantoms(), (Bedrock::RectT<double>{0, -185, 620, 800}));
    // The source glyph is untouched.
    EXPECT_EQ(glyph->coordinates[0], (Point{0, 0}));
    EXPECT_EQ(glyph->flags[0], Glyf::ON_CURVE_POINT);

    // A tuple peaked at 0 applies at the default too; tuples add up.
    auto everywhere = Store({Tuple(0, 0, 0, {{3, 1, 1}}), Tuple(0, kOne, kOne, {{3, 2, 2}})});
    moved = ApplyGVar(Bedrock::Counted<const Glyf>(glyph), everywhere, At(1.0));
    EXPECT_EQ(moved->coordinates[3], (Point{203, 3}));
    EXPECT_EQ(moved->coordinates[6], (Point{203, 103}));
    EXPECT_EQ(moved->coordinates[0], (Point{0, 0}));
}

TEST(ApplyGVar, GlyphWithoutContoursChangesItsAdvanceOnly) {
    auto space = Bedrock::MakeCounted<Glyf>();
    space->SetPhantoms({0, 0, 250, 0});
    auto store = Store({Tuple(0, kOne, kOne, {{1, 50, 0}})});
    auto moved = ApplyGVar(Bedrock::Counted<const Glyf>(space), store, At(1.0));
    ASSERT_TRUE(moved);
    EXPECT_TRUE(moved->coordinates.empty());
    EXPECT_TRUE(moved->flags.empty());
    EXPECT_EQ(moved->GetPhantoms(), (Bedrock::RectT<double>{0, 0, 300, 0}));
    EXPECT_FALSE(ApplyGVar(nullptr, store, At(1.0)));
    EXPECT_FALSE(ApplyGVar(Bedrock::Counted<const Glyf>(space), nullptr, At(1.0)));
}

TEST(ApplyGVar, CompositeOffsets) {
    auto glyph = Bedrock::MakeCounted<Glyf>();
    glyph->numberOfContours = -1;
    glyph->components = {Component(GlyfComponent::ARGS_ARE_XY_VALUES, 10, 20),
                         Component(GlyfComponent::ARGS_ARE_XY_VALUES | GlyfComponent::ROUND_XY_TO_GRID, 30, 40)};
    glyph->SetPhantoms({0, 0, 500, 0});
    // Each offset is a point of its own; point 2 is the left phantom.
    auto store = Store({Tuple(0, kOne, kOne, {{1, 6, 8}, {2, -4, 0}})});
    auto moved = ApplyGVar(Bedrock::Counted<const Glyf>(glyph), store, At(0.5));
    ASSERT_TRUE(moved);
    ASSERT_EQ(moved->components.size(), 2u);
    EXPECT_EQ(moved->components[0]->x, 10.0);  // no inference from point 1
    EXPECT_EQ(moved->components[0]->y, 20.0);
    EXPECT_EQ(moved->components[1]->x, 33.0);
    EXPECT_EQ(moved->components[1]->y, 44.0);
    EXPECT_EQ(moved->components[0]->flags, GlyfComponent::ARGS_ARE_XY_VALUES | GlyfComponent::OVERLAP_COMPOUND);
    EXPECT_EQ(moved->components[1]->flags, GlyfComponent::ARGS_ARE_XY_VALUES | GlyfComponent::ROUND_XY_TO_GRID);
    EXPECT_EQ(moved->GetPhantoms(), (Bedrock::RectT<double>{-2, 0, 500, 0}));
    EXPECT_EQ(glyph->components[1]->x, 30.0);  // the source's components are not shared
}

// Deliberate: moved offsets are paired with components by component index,
// though only offset-placed components were moved; an anchored component
// ahead of others shifts the pairing, and the last one keeps its offset.
TEST(ApplyGVar, AnchoredComponentShiftsThePairing) {
    auto glyph = Bedrock::MakeCounted<Glyf>();
    glyph->numberOfContours = -1;
    glyph->components = {Component(0, 0, 0), Component(GlyfComponent::ARGS_ARE_XY_VALUES, 100, 0),
                         Component(GlyfComponent::ARGS_ARE_XY_VALUES | GlyfComponent::USE_MY_METRICS, 200, 0)};
    auto store = Store({Tuple(0, kOne, kOne, {{0, 1, 0}, {1, 2, 0}})});
    auto moved = ApplyGVar(Bedrock::Counted<const Glyf>(glyph), store, At(1.0));
    ASSERT_TRUE(moved);
    EXPECT_EQ(moved->components[0]->x, 0.0);
    // Component 1 gets the second moved offset, that of component 2 (202),
    // and its flags; component 2 is past the two moved offsets.
    EXPECT_EQ(moved->components[1]->x, 202.0);
    EXPECT_EQ(moved->components[1]->flags, GlyfComponent::ARGS_ARE_XY_VALUES | GlyfComponent::USE_MY_METRICS);
    EXPECT_EQ(moved->components[2]->x, 200.0);
}

TEST(ApplyCVar, ValuesAreRoundedOnceWithTheValueAdded) {
    auto store =
        Store({Tuple(0, kOne, kOne, {{0, 3, 0}, {1, -3, 0}, {2, 2, 0}}), Tuple(-kOne, -kOne, 0, {{0, 100, 0}})});
    std::vector<short> out;
    EXPECT_TRUE(ApplyCVarValues({100, -5, 32767, 7}, out, store, At(0.5)));
    // 100 + 1.5 -> 102; -5 - 1.5 -> -6; 32767 + 1 wraps; no delta for 7.
    EXPECT_EQ(out, (std::vector<short>{102, -6, -32768, 7}));
    out.clear();
    EXPECT_TRUE(ApplyCVarValues({100, -5}, out, nullptr, At(0.5)));
    EXPECT_EQ(out, (std::vector<short>{100, -5}));
}

// Outlines and advances of the bundled font's glyphs at wght 550, as
// fontTools' instancer makes them (rounded coordinates, hmtx).
TEST(ApplyGVar, BundledFontAgreesWithFontTools) {
    Bedrock::Counted<OTFile> file;
    auto font = OpenFont(kBundled, file);
    ASSERT_TRUE(font);
    auto before = font->GetTableT<OTglyfTable>();
    ASSERT_TRUE(before);
    // wght 400..700, default 400: 550 is 0.5.
    ASSERT_TRUE(ApplyGVar(font, At(0.5)));
    auto glyf = font->GetTableT<OTglyfTable>();
    ASSERT_TRUE(glyf);
    EXPECT_NE(glyf.Get(), before.Get());
    EXPECT_EQ(Rounded(*glyf->GetGlyph(Utf8String("A"))),
              (std::vector<Point>{{133, 646}, {370, 646}, {370, -66}, {133, -66}}));
    EXPECT_EQ(Rounded(*glyf->GetGlyph(Utf8String("B"))),
              (std::vector<Point>{
                  {-172, 448}, {772, 448}, {772, 215}, {-172, 215}, {109, 602}, {421, 602}, {421, 29}, {109, 29}}));
    auto c = glyf->GetGlyph(Utf8String("C"));
    ASSERT_EQ(c->components.size(), 2u);
    EXPECT_EQ(Round(c->components[0]->x), -250.0);
    EXPECT_EQ(Round(c->components[1]->x), 19.0);
    EXPECT_EQ(Round(c->components[1]->y), -28.0);
    EXPECT_EQ(c->components[0]->flags & GlyfComponent::OVERLAP_COMPOUND, GlyfComponent::OVERLAP_COMPOUND);

    auto hmtx = font->GetTableT<OThmtxTable>();
    ASSERT_TRUE(hmtx);
    const std::vector<std::pair<unsigned short, OThmtxTable::LongHorMetric>> expected{
        {1, {500, 133}}, {2, {500, -172}}, {3, {500, -153}}, {7, {600, 0}}};
    for (const auto& [index, metric] : expected) {
        OThmtxTable::LongHorMetric got;
        ASSERT_TRUE(hmtx->GetLongHorMetric(index, got));
        EXPECT_EQ(got.advanceWidth, metric.advanceWidth) << index;
        EXPECT_EQ(got.lsb, metric.lsb) << index;
    }

    // The instance saves, and reads back with the same outline.
    auto out = Bedrock::MakeCounted<Bedrock::MemoryOutStream>();
    ASSERT_TRUE(file->Save(Bedrock::Counted<Bedrock::OutStream>(out)));
    auto reread = Bedrock::MakeCounted<OTFile>();
    ASSERT_TRUE(reread->Load(Bedrock::MakeCounted<Bedrock::MemoryInStream>(out->GetData())));
    auto saved = reread->GetFont(0)->GetTableT<OTglyfTable>();
    ASSERT_TRUE(saved);
    EXPECT_EQ(saved->GetGlyph(Utf8String("A"))->coordinates[3], (Point{133, -66}));
    EXPECT_EQ(saved->GetGlyph(Utf8String("A"))->flags[0] & Glyf::OVERLAP_SIMPLE, Glyf::OVERLAP_SIMPLE);
}

TEST(ApplyGVar, MissingTables) {
    auto empty = Bedrock::MakeCounted<OTFont>();
    EXPECT_FALSE(ApplyGVar(empty, At(0.5)));
    EXPECT_FALSE(ApplyCVar(empty, At(0.5)));
    Bedrock::Counted<OTFile> file;
    auto font = OpenFont(std::string(TYPEFRAME_TEST_DATA_DIR) + "/TestTTF.ttf", file);
    ASSERT_TRUE(font);
    EXPECT_FALSE(ApplyGVar(font, At(0.5)));
    EXPECT_FALSE(ApplyCVar(font, At(0.5)));
    // A gvar needs fvar, glyf and post in its font.
    OTgvarTable gvar(font);
    EXPECT_FALSE(gvar.Load(TypeframeTest::HexBuffer("0001 0000 0001 0000 00000014 0000 0000 00000014")));
    EXPECT_FALSE(gvar.Load(nullptr));
    OTcvarTable cvar(font);
    EXPECT_FALSE(cvar.Load(TypeframeTest::HexBuffer("0001 0000 0000 0004")));
}

// Hostile glyph variation tables on the bundled font: each loads, the font
// instances and saves, and the glyphs whose data is bad keep their outline
// (or what the tuples read before failing gives them).
TEST(ApplyGVar, HostileGlyphVariationTables) {
    // Glyph 1 ('A', 4 points + 4 phantoms) gets `data`; the others none.
    auto gvarBytes = [](const std::vector<uint8_t>& data, uint16_t sharedCount = 1, uint16_t glyphCount = 8,
                        std::vector<uint16_t> halfOffsets = {}) {
        ByteWriter w;
        const uint32_t offsetsEnd = 20 + 2 * (glyphCount + 1u);
        if (halfOffsets.empty()) {
            halfOffsets.assign(glyphCount + 1u, static_cast<uint16_t>((data.size() + 1) / 2));
            halfOffsets[0] = halfOffsets[1] = 0;
        }
        w.U16(1).U16(0).U16(1).U16(sharedCount).U32(offsetsEnd).U16(glyphCount).U16(0).U32(offsetsEnd + 2);
        for (size_t i = 0; i < halfOffsets.size() && i < 9; ++i) w.U16(halfOffsets[i]);
        w.U16(kOne);  // the one shared tuple: peak wght 1
        std::vector<uint8_t> padded = data;
        if (padded.size() % 2) padded.push_back(0);
        // Glyph 1's range begins at 0 and ends at its padded length.
        return w.Bytes(padded).Data();
    };
    const std::vector<std::pair<const char*, std::vector<uint8_t>>> cases{
        {"shared tuple index out of range", TypeframeTest::HexBytes("0001 0008 0000 0007 00 83 83")},
        {"tuple count past the data", TypeframeTest::HexBytes("0FFF 0008 0000 0000 00 87")},
        {"point count past the data", TypeframeTest::HexBytes("0001 0008 0000 2000 7F FF 01 02")},
        {"delta run past the end", TypeframeTest::HexBytes("0001 0008 0000 2000 00 7F 01 02")},
        {"data offset past the end", TypeframeTest::HexBytes("0001 FFF0 0000 2000")},
        {"shared points past the data", TypeframeTest::HexBytes("8001 0008 0000 0000 7F 01")},
    };
    for (const auto& [what, data] : cases) {
        SCOPED_TRACE(what);
        Bedrock::Counted<OTFile> file;
        auto font = OpenFont(kBundled, file);
        ASSERT_TRUE(font);
        auto original = font->GetTableT<OTglyfTable>()->GetGlyph(Utf8String("A"))->coordinates;
        const auto bytes = gvarBytes(data);
        auto gvar = Bedrock::MakeCounted<OTgvarTable>(font);
        ASSERT_TRUE(gvar->Load(Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4)));
        font->SetTable(gvar);
        ASSERT_TRUE(ApplyGVar(font, At(1.0)));
        EXPECT_EQ(font->GetTableT<OTglyfTable>()->GetGlyph(Utf8String("A"))->coordinates, original);
        auto out = Bedrock::MakeCounted<Bedrock::MemoryOutStream>();
        font->RemoveTable(MakeTag("gvar"));
        EXPECT_TRUE(file->Save(Bedrock::Counted<Bedrock::OutStream>(out)));
    }

    // Offsets that go backwards, and a glyph count and shared-tuple count far
    // beyond the bytes.
    const std::vector<std::pair<const char*, std::vector<uint8_t>>> tables{
        {"offsets not monotonic",
         gvarBytes(TypeframeTest::HexBytes("0001 0008 0000 0000 00 87 87"), 1, 8, {0, 8, 2, 2, 40000, 3, 3, 3, 3})},
        {"counts beyond the bytes", gvarBytes({}, 65535, 65535)},
    };
    for (const auto& [what, bytes] : tables) {
        SCOPED_TRACE(what);
        Bedrock::Counted<OTFile> file;
        auto font = OpenFont(kBundled, file);
        ASSERT_TRUE(font);
        auto gvar = Bedrock::MakeCounted<OTgvarTable>(font);
        ASSERT_TRUE(gvar->Load(Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4)));
        // No more stores than the bytes hold offsets.
        EXPECT_LE(gvar->stores.size(), bytes.size() / 2);
        font->SetTable(gvar);
        EXPECT_TRUE(ApplyGVar(font, At(1.0)));
    }
}

// Deliberate: the top side bearing is measured from the outline's lower
// bound to the bottom phantom point.
TEST(ApplyGVar, VerticalMetricsFromThePhantoms) {
    const std::string path =
        std::string(TYPEFRAME_SHARED_DIR) + "/testdata/fonttools/compiled/instancer/PartialInstancerTest-VF.ttf";
    Bedrock::Counted<OTFile> file;
    auto font = OpenFont(path, file);
    if (!font) GTEST_SKIP() << path << " is absent";
    ASSERT_TRUE(font->GetTableT<OTvmtxTable>());
    ASSERT_TRUE(ApplyGVar(font, {Fixed2_14(1.0), Fixed2_14(0.0)}));
    auto glyf = font->GetTableT<OTglyfTable>();
    auto vmtx = font->GetTableT<OTvmtxTable>();
    const auto& names = font->GetGlyphNames();
    int checked = 0;
    for (unsigned short i = 0; i < names.size(); ++i) {
        auto glyph = glyf->GetGlyph(names[i]);
        const auto bounds = glyph->GetBounds();
        const auto phantoms = glyph->GetPhantoms();
        OTvmtxTable::LongVerMetric metric;
        ASSERT_TRUE(vmtx->GetLongVerMetric(i, metric));
        EXPECT_EQ(metric.tsb, Round(bounds.bottom - phantoms.bottom)) << names[i].c_str();
        EXPECT_EQ(metric.advanceHeight, std::max(0.0, Round(phantoms.top - phantoms.bottom))) << names[i].c_str();
        if (bounds.bottom != bounds.top) ++checked;
    }
    EXPECT_GT(checked, 0);
}

TEST(ApplyCVar, ControlValuesOfAFontWithCvar) {
    const std::string path =
        std::string(TYPEFRAME_SHARED_DIR) + "/testdata/fonttools/compiled/instancer/PartialInstancerTest-VF.ttf";
    Bedrock::Counted<OTFile> file;
    auto font = OpenFont(path, file);
    if (!font) GTEST_SKIP() << path << " is absent";
    auto cvt = font->GetTableT<OTcvtTable>();
    auto cvar = font->GetTableT<OTcvarTable>();
    ASSERT_TRUE(cvt && cvar);
    EXPECT_EQ(cvar->valueCount, cvt->GetValueCount());
    EXPECT_EQ(cvar->GetAxisTag(0), MakeTag("wght"));
    EXPECT_EQ(cvar->GetAxisTag(9), 0u);
    std::vector<short> before;
    cvt->GetValues(before);
    ASSERT_TRUE(ApplyCVar(font, {Fixed2_14(0.0), Fixed2_14(0.0)}));
    auto atDefault = font->GetTableT<OTcvtTable>();
    EXPECT_NE(atDefault.Get(), cvt.Get());
    std::vector<short> values;
    atDefault->GetValues(values);
    EXPECT_EQ(values, before);
    EXPECT_TRUE(cvar->Save());  // a clean table writes nothing and succeeds
    cvar->SetIsDirty(true);
    EXPECT_FALSE(cvar->Save());
}

namespace {

// The plain reading of the rules: every contour, then every phantom point
// on its own, point by point, tuple by tuple, each delta found or inferred
// afresh.
std::vector<Point> MoveLiterally(const Glyf& glyph, const TupleVariationStore& store,
                                 const std::vector<Fixed2_14>& coordinates, Bedrock::RectT<double>& phantoms) {
    std::vector<Point> out;
    auto move = [&](unsigned long start, const std::vector<Point>& points) {
        for (size_t p = 0; p < points.size(); ++p) {
            Point delta;
            for (const auto& tuple : store.GetVariations()) {
                TupleVariation::PointDelta d;
                if (!tuple->GetInterpolatedPointDelta(start, points, static_cast<unsigned short>(start + p), d))
                    continue;
                const double scalar = GetGlyphTupleScalar(*tuple, coordinates);
                delta.x += scalar * d.x;
                delta.y += scalar * d.y;
            }
            out.push_back({points[p].x + delta.x, points[p].y + delta.y});
        }
    };
    for (size_t i = 0; i < glyph.endPtsOfContours.size(); ++i) {
        unsigned long first = 0;
        std::vector<Point> points;
        std::vector<unsigned char> flags;
        if (glyph.GetContour(static_cast<int>(i), first, points, flags)) move(first, points);
    }
    const size_t outline = out.size();
    const auto box = glyph.GetPhantoms();
    const Point corners[4] = {{box.left, 0}, {box.right, 0}, {0, box.top}, {0, box.bottom}};
    for (int k = 0; k < 4; ++k) move(outline + k, {corners[k]});
    phantoms = {out[outline].x, out[outline + 3].y, out[outline + 1].x, out[outline + 2].y};
    out.resize(outline);
    return out;
}

}  // namespace

// The instancer's glyph pass sorts each tuple's deltas into the contours in
// one sweep; it must give the very numbers of the plain reading, also for
// deltas out of order or repeated, points past the outline, tuples that
// don't apply, and contour ends that go backwards or past the points.
TEST(ApplyGVar, GlyphPassAgreesWithThePlainReading) {
    std::mt19937 random(11);
    auto pick = [&](int low, int high) { return low + int(random() % unsigned(high - low + 1)); };
    for (int round = 0; round < 300; ++round) {
        auto glyph = Bedrock::MakeCounted<Glyf>();
        const int contours = pick(1, 5);
        int end = -1;
        for (int c = 0; c < contours; ++c) {
            end += pick(1, 6);
            glyph->endPtsOfContours.push_back(static_cast<uint16_t>(end));
        }
        glyph->numberOfContours = static_cast<int16_t>(contours);
        const int points = end + 1;
        for (int p = 0; p < points; ++p) glyph->coordinates.push_back({double(pick(-50, 50)), double(pick(-50, 50))});
        glyph->flags.assign(size_t(points), Glyf::ON_CURVE_POINT);
        if (round % 10 == 9) {
            // Hostile contour ends: backwards, or past the points.
            glyph->endPtsOfContours[0] = static_cast<uint16_t>(pick(0, points + 3));
        }
        glyph->SetPhantoms({double(pick(-20, 0)), -200, double(pick(300, 600)), 800});

        auto store = Store({});
        const int tuples = pick(0, 4);
        for (int t = 0; t < tuples; ++t) {
            std::vector<TupleVariation::PointDelta> deltas;
            const int count = pick(0, points + 6);
            for (int k = 0; k < count; ++k) {
                deltas.push_back(
                    {static_cast<uint16_t>(pick(0, points + 5)), double(pick(-30, 30)), double(pick(-30, 30))});
            }
            if (t % 2 == 0) {
                std::stable_sort(deltas.begin(), deltas.end(),
                                 [](const auto& a, const auto& b) { return a.index < b.index; });
            }
            const int16_t peak = t == 3 ? 0 : static_cast<int16_t>(pick(-1, 1) * kOne);
            store->variations.push_back(Tuple(std::min<int16_t>(peak, 0), peak, std::max<int16_t>(peak, 0), deltas));
        }
        const auto location = At(pick(-4, 4) / 4.0);
        Bedrock::RectT<double> phantoms;
        const auto expected = MoveLiterally(*glyph, *store, location, phantoms);
        auto moved = ApplyGVar(Bedrock::Counted<const Glyf>(glyph), store, location);
        ASSERT_TRUE(moved);
        ASSERT_EQ(moved->coordinates, expected) << "round " << round;
        ASSERT_EQ(moved->GetPhantoms(), phantoms) << "round " << round;

        // One contour through the public per-contour routine.
        unsigned long first = 0;
        std::vector<Point> contour;
        std::vector<unsigned char> flags;
        ASSERT_TRUE(glyph->GetContour(contours - 1, first, contour, flags));
        std::vector<Point> out{{7, 7}};
        EXPECT_TRUE(ApplyGVarCoords(static_cast<int>(first), contour, out, store, location));
        ASSERT_EQ(out.size(), contour.size() + 1);
        EXPECT_EQ(out[0], (Point{7, 7}));
        const size_t at = expected.size() - contour.size();
        if (glyph->endPtsOfContours[0] <= glyph->endPtsOfContours.back()) {
            EXPECT_EQ(std::vector<Point>(out.begin() + 1, out.end()),
                      std::vector<Point>(expected.begin() + long(at), expected.end()));
        }
    }
}
