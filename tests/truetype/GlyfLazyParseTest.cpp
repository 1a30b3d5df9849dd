// The glyph table parses its glyphs at their first use, not at Load. What a
// deferred parse gives must be what a parse at Load gives: the same glyphs,
// phantom points from the metrics as they were at Load, the same names, the
// same saved bytes; the bounds of an untouched table, read from the glyph
// headers, must be those of the parsed glyphs. Checked on hand-made tables
// for the corner cases and on every real font at hand.

#include <algorithm>
#include <filesystem>
#include <latch>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "base/FileInStream.h"
#include "base/Trace.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "truetype/Glyf.h"
#include "truetype/GlyfComponent.h"
#include "truetype/OTglyfTable.h"
#include "truetype/OTlocaTable.h"
#include "truetype/TTCompiler.h"
#include "GlyfTestUtil.h"
#include "TestUtil.h"

namespace {

using Bedrock::Counted;
using Bedrock::RectT;
using Typeframe::Glyf;
using Typeframe::GlyfComponent;
using Typeframe::OTFont;
using Typeframe::OTglyfTable;
using Typeframe::Utf8String;
using TypeframeTest::BoxGlyphBytes;
using TypeframeTest::BufferBytes;
using TypeframeTest::CompositeGlyphBytes;
using TypeframeTest::GlyphName;
using TypeframeTest::HexBytes;
using TypeframeTest::MakeTestFont;
using TypeframeTest::SimpleGlyphBytes;
using TypeframeTest::TestFont;
using TypeframeTest::TestFontOptions;

constexpr uint16_t kXY = GlyfComponent::ARGS_ARE_XY_VALUES;
constexpr uint16_t kMore = GlyfComponent::MORE_COMPONENTS;
constexpr uint16_t kInstructions = GlyfComponent::WE_HAVE_INSTRUCTIONS;

std::string Describe(const RectT<double>& box) {
    std::ostringstream out;
    out << '(' << box.left << ", " << box.bottom << ", " << box.right << ", " << box.top << ')';
    return out.str();
}

// The first difference between two glyphs, or "".
std::string CompareGlyphs(const Glyf& a, const Glyf& b) {
    if (a.numberOfContours != b.numberOfContours) return "numberOfContours";
    if (a.boundsValid != b.boundsValid) return "boundsValid";
    if (a.bounds != b.bounds) return "bounds " + Describe(a.bounds) + " " + Describe(b.bounds);
    if (a.GetBounds() != b.GetBounds()) return "GetBounds";
    if (a.phantoms != b.phantoms) return "phantoms " + Describe(a.phantoms) + " " + Describe(b.phantoms);
    if (a.endPtsOfContours != b.endPtsOfContours) return "endPtsOfContours";
    if (a.flags != b.flags) return "flags";
    if (a.coordinates != b.coordinates) return "coordinates";
    if (!a.buffer != !b.buffer || (a.buffer && BufferBytes(*a.buffer) != BufferBytes(*b.buffer))) return "buffer";
    if (!a.instructions != !b.instructions) return "instructions";
    if (a.instructions) {
        if (a.instructions->assembly != b.instructions->assembly) return "assembly";
        const auto& x = a.instructions->buffer;
        const auto& y = b.instructions->buffer;
        if (!x != !y || (x && BufferBytes(*x) != BufferBytes(*y))) return "instruction bytes";
    }
    if (a.components.size() != b.components.size()) return "component count";
    for (size_t i = 0; i < a.components.size(); ++i) {
        const auto& c = a.components[i];
        const auto& d = b.components[i];
        if (!c != !d) return "component";
        if (!c) continue;
        if (c->glyphName != d->glyphName || c->flags != d->flags || c->glyphIndex != d->glyphIndex || c->x != d->x ||
            c->y != d->y || c->point1 != d->point1 || c->point2 != d->point2 ||
            c->isPointMatched != d->isPointMatched || c->xScale.GetRaw() != d->xScale.GetRaw() ||
            c->scale01.GetRaw() != d->scale01.GetRaw() || c->scale10.GetRaw() != d->scale10.GetRaw() ||
            c->yScale.GetRaw() != d->yScale.GetRaw() || c->hasTransform != d->hasTransform) {
            return "component " + std::to_string(i);
        }
    }
    return "";
}

// The first difference between the glyphs of two tables, or "".
std::string CompareTables(const OTglyfTable& a, const OTglyfTable& b) {
    const auto names = a.GetGlyphNames();
    if (names != b.GetGlyphNames()) return "glyph names";
    for (const auto& name : names) {
        auto x = a.GetGlyph(name);
        auto y = b.GetGlyph(name);
        if (!x || !y) return "missing glyph " + name.ToStdString();
        const std::string difference = CompareGlyphs(*x, *y);
        if (!difference.empty()) return name.ToStdString() + ": " + difference;
    }
    return "";
}

// ---------------------------------------------------------------------------
// Hand-made tables.

TEST(GlyfLazyParse, LoadDefersTheParseToTheFirstUse) {
    auto t = MakeTestFont({BoxGlyphBytes(0, 0, 10, 10), CompositeGlyphBytes({{kXY, 0, 5, 5, {}}})});
    ASSERT_TRUE(t.loaded);
    EXPECT_FALSE(t.glyf->IsParsed());
    // The bounds and a clean save leave the glyphs alone.
    EXPECT_EQ(t.glyf->GetBounds(), (RectT<double>{0, 0, 10, 10}));
    const auto bytes = BufferBytes(*t.glyf->GetBuffer());
    EXPECT_TRUE(t.glyf->Save());
    EXPECT_FALSE(t.glyf->IsParsed());
    EXPECT_EQ(BufferBytes(*t.glyf->GetBuffer()), bytes);
    EXPECT_TRUE(t.glyf->GetGlyph(GlyphName(1)));
    EXPECT_TRUE(t.glyf->IsParsed());

    // Every operation on the glyphs parses them first.
    const std::vector<void (*)(TestFont&)> uses = {
        [](TestFont& u) { u.glyf->GetGlyphCount(); },
        [](TestFont& u) { u.glyf->GetGlyphNames(); },
        [](TestFont& u) { u.glyf->AddGlyph(Utf8String("new")); },
        [](TestFont& u) { u.glyf->SetGlyph(GlyphName(0), Bedrock::MakeCounted<Glyf>()); },
        [](TestFont& u) { u.glyf->Subset({GlyphName(0)}); },
        [](TestFont& u) { u.glyf->GetMaxComponentDepth({GlyphName(1)}); },
        [](TestFont& u) {
            std::vector<Utf8String> keep;
            u.glyf->FindDependentGlyphs(keep, GlyphName(1));
        },
        [](TestFont& u) { u.glyf->GetAverageAdvanceWidth(); },
        [](TestFont& u) { u.glyf->RefreshPhantoms(Bedrock::MakeCounted<Glyf>(), 0); },
        [](TestFont& u) { u.glyf->Clone(); },
        [](TestFont& u) {
            u.glyf->SetIsDirty(true);
            u.glyf->Save();
        },
    };
    for (size_t i = 0; i < uses.size(); ++i) {
        auto u = MakeTestFont({BoxGlyphBytes(0, 0, 10, 10), CompositeGlyphBytes({{kXY, 0, 5, 5, {}}})});
        ASSERT_FALSE(u.glyf->IsParsed());
        uses[i](u);
        EXPECT_TRUE(u.glyf->IsParsed()) << i;
    }
}

// Two copies of a table made by `make`: one parsed at once, one whose bounds
// are asked for first. The bounds must agree; `staysUnparsed` says whether
// the headers could answer (a table without glyphs has nothing to parse).
template <class Make>
void ExpectHeaderBoundsAsParsed(Make make, bool staysUnparsed, const char* what) {
    TestFont eager = make();
    eager.glyf->GetGlyphCount();
    ASSERT_TRUE(eager.glyf->IsParsed()) << what;
    TestFont lazy = make();
    const auto box = lazy.glyf->GetBounds();
    EXPECT_EQ(lazy.glyf->IsParsed(), !staysUnparsed) << what;
    EXPECT_EQ(box, eager.glyf->GetBounds())
        << what << ": " << Describe(box) << " " << Describe(eager.glyf->GetBounds());
    EXPECT_EQ(CompareTables(*eager.glyf, *lazy.glyf), "") << what;
}

TestFont Reloaded(TestFont t, const std::vector<Utf8String>& names) {
    t.font->SetGlyphNames(names);
    t.loaded = t.glyf->Load(t.glyf->GetBuffer());
    return t;
}

TEST(GlyfLazyParse, HeaderBoundsAreTheBoundsOfTheParsedGlyphs) {
    const auto big = BoxGlyphBytes(-500, -500, 900, 900);
    const auto lowest = HexBytes("0000 8001 8001 8001 8001");
    // A glyph without contours but with a box, one whose body fails after a
    // good header, and glyphs too short for a header.
    const std::vector<std::vector<uint8_t>> glyphs = {
        BoxGlyphBytes(10, 20, 30, 40),
        {},
        HexBytes("00"),
        HexBytes("0001 0002 0003 0004 00"),
        HexBytes("0000 0005 fff0 0009 0009"),
        HexBytes("0001 0064 0064 00c8 00c8 0000"),
        CompositeGlyphBytes({{kXY, 0, 5, 5, {}}}, {}, {-7, 1, 2, 3}),
    };
    ExpectHeaderBoundsAsParsed([&] { return MakeTestFont(glyphs); }, true, "mixed glyphs");
    const std::vector<std::vector<uint8_t>> withLowest = {BoxGlyphBytes(10, 20, 30, 40), lowest};
    ExpectHeaderBoundsAsParsed([&] { return MakeTestFont(withLowest); }, true, "a box of 0x8001 words");
    ExpectHeaderBoundsAsParsed([&] { return MakeTestFont({}); }, false, "no glyphs");
    ExpectHeaderBoundsAsParsed([&] { return MakeTestFont({{}, HexBytes("0102")}); }, true, "only empty glyphs");

    // Three glyphs, the first a big box, under the names given.
    auto named = [&big](std::vector<Utf8String> names) {
        return [&big, names] {
            return Reloaded(MakeTestFont({big, BoxGlyphBytes(0, 0, 1, 1), BoxGlyphBytes(2, 2, 3, 3)}), names);
        };
    };
    // A repeated name keeps the later glyph: the earlier one, the big box,
    // is not in the union.
    ExpectHeaderBoundsAsParsed(named({Utf8String("a"), Utf8String("b"), Utf8String("a")}), true, "repeated names");
    // Glyphs past the glyph order get made-up names; a name of the order
    // that looks like one of them takes the parse.
    ExpectHeaderBoundsAsParsed(named({Utf8String("a"), Utf8String("b")}), true, "made-up names");
    ExpectHeaderBoundsAsParsed(named({Utf8String("qrvautoglyph2"), Utf8String("b")}), false,
                               "a name like a made-up one");
    ExpectHeaderBoundsAsParsed(named({Utf8String("qrvautoglyph"), Utf8String("b"), Utf8String("c")}), true,
                               "no made-up names to meet");

    // A table shorter than loca says fails to load and keeps the glyphs
    // before the first one that ends past it.
    TestFontOptions shortTable;
    shortTable.offsets = {0, 34, 68, 400, 400};
    ExpectHeaderBoundsAsParsed(
        [&] {
            auto t = MakeTestFont({BoxGlyphBytes(1, 1, 2, 2), BoxGlyphBytes(3, 3, 4, 4), big, {}}, shortTable);
            EXPECT_FALSE(t.loaded);
            return t;
        },
        true, "a short table");
}

TEST(GlyfLazyParse, TheParseUsesTheMetricsAndNamesOfLoad) {
    // Phantom points come from hmtx, vmtx, hhea and head, and component
    // names from the glyph order, all as they were at Load, however they
    // change before the glyphs are first used.
    TestFontOptions options;
    options.metrics = {{600, 30}, {700, -20}};
    options.vertical = true;
    const std::vector<std::vector<uint8_t>> glyphs = {
        BoxGlyphBytes(50, -10, 550, 700),
        CompositeGlyphBytes({{kXY | kMore, 0, 5, 5, {}}, {kXY | kInstructions, 0, 9, 9, {}}}, {0xb0, 0x01},
                            {-7, -7, 600, 700}),
    };
    auto eager = MakeTestFont(glyphs, options);
    eager.glyf->GetGlyphCount();
    auto lazy = MakeTestFont(glyphs, options);
    ASSERT_FALSE(lazy.glyf->IsParsed());
    lazy.hmtx->metrics[0] = {1, 1};
    lazy.hmtx->metrics[1] = {2, 2};
    lazy.vmtx->metrics.clear();
    lazy.font->SetGlyphNames({Utf8String("renamed0"), Utf8String("renamed1")});
    EXPECT_EQ(lazy.glyf->GetBounds(), eager.glyf->GetBounds());
    EXPECT_EQ(CompareTables(*eager.glyf, *lazy.glyf), "");
    EXPECT_EQ(lazy.glyf->GetGlyph(GlyphName(0))->GetPhantoms(), (RectT<double>{20, -200, 620, 800}));
    EXPECT_EQ(lazy.glyf->GetGlyph(GlyphName(1))->components[1]->glyphName, GlyphName(0));
    EXPECT_FALSE(lazy.glyf->GetGlyph(Utf8String("renamed0")));

    // Without vmtx, hhea's ascender and head's em as they were at Load.
    options.vertical = false;
    auto noVmtx = MakeTestFont(glyphs, options);
    noVmtx.hhea->ascender = 1;
    noVmtx.head->unitsPerEm = 2;
    EXPECT_EQ(noVmtx.glyf->GetGlyph(GlyphName(0))->GetPhantoms(), (RectT<double>{20, -200, 620, 800}));
    // RefreshPhantoms itself reads the tables as they are now.
    auto glyph = noVmtx.glyf->GetGlyph(GlyphName(0));
    noVmtx.glyf->RefreshPhantoms(glyph, 0);
    EXPECT_EQ(glyph->GetPhantoms(), (RectT<double>{20, -1, 620, 1}));
}

TEST(GlyfLazyParse, LoadAndParseTraces) {
    // The checks against loca are traced by Load; a glyph that fails to
    // parse, by the parse, once.
    std::vector<std::string> traces;
    Bedrock::SetTraceSink([&traces](const char* message) { traces.emplace_back(message); });
    TestFontOptions options;
    options.trailingBytes = 4;
    auto t = MakeTestFont({BoxGlyphBytes(0, 0, 1, 1), HexBytes("0001 0000 0000 0000 0000")}, options);
    ASSERT_EQ(traces.size(), 1u);
    EXPECT_EQ(traces[0], "OTglyfTable::Load: Too much 'glyf' table data: expected 44, received 48 bytes\n");
    t.glyf->GetBounds();
    EXPECT_EQ(traces.size(), 1u);
    t.glyf->GetGlyph(GlyphName(0));
    t.glyf->GetGlyph(GlyphName(1));
    Bedrock::SetTraceSink(nullptr);
    ASSERT_EQ(traces.size(), 2u);
    EXPECT_EQ(traces[1], "OTglyfTable::Load: Failed to load Glyph glyph00001 (1) (34 - 44)\n");
}

TEST(GlyfLazyParse, ThreadsMeetingAnUnparsedTableShareOneParse) {
    // As the variation loops do, right after Load: every thread reads glyphs
    // of every share and replaces its own; the first call parses, the others
    // wait for it and see its glyphs.
    constexpr unsigned kGlyphs = 400;
    constexpr unsigned kThreads = 8;
    std::vector<std::vector<uint8_t>> glyphs;
    for (unsigned i = 0; i < kGlyphs; ++i) glyphs.push_back(BoxGlyphBytes(0, 0, int(i), 5));
    auto t = MakeTestFont(glyphs);
    ASSERT_FALSE(t.glyf->IsParsed());
    std::vector<Utf8String> names;
    for (unsigned i = 0; i < kGlyphs; ++i) names.push_back(GlyphName(i));

    std::vector<std::vector<const Glyf*>> seen(kThreads, std::vector<const Glyf*>(kGlyphs, nullptr));
    std::latch start(kThreads);
    std::vector<std::thread> threads;
    for (unsigned k = 0; k < kThreads; ++k) {
        threads.emplace_back([&, k] {
            start.arrive_and_wait();
            // Glyphs of the last share are read before any thread replaces
            // one of them: they stay the parsed ones throughout.
            for (unsigned i = kGlyphs - kThreads; i < kGlyphs; ++i) seen[k][i] = t.glyf->GetGlyph(names[i]).Get();
            for (unsigned i = k; i < kGlyphs - kThreads; i += kThreads) {
                auto glyph = t.glyf->GetGlyph(names[i])->Clone();
                glyph->SetCoordinates({{double(i), 1}}, {1});
                EXPECT_TRUE(t.glyf->SetGlyph(names[i], glyph));
            }
        });
    }
    for (auto& thread : threads) thread.join();
    for (unsigned k = 1; k < kThreads; ++k) {
        for (unsigned i = kGlyphs - kThreads; i < kGlyphs; ++i) EXPECT_EQ(seen[k][i], seen[0][i]);
    }
    EXPECT_EQ(t.glyf->GetGlyphCount(), size_t(kGlyphs));
    for (unsigned i = 0; i < kGlyphs - kThreads; ++i) {
        EXPECT_EQ(t.glyf->GetGlyph(names[i])->coordinates, (std::vector<Bedrock::PointT<double>>{{double(i), 1}}));
    }
    EXPECT_EQ(t.glyf->GetBounds(), (RectT<double>{0, 0, kGlyphs - 1, 5}));
}

// ---------------------------------------------------------------------------
// Real fonts.

// The project's fonts, the shared test fonts and Debian's DejaVu fonts.
std::vector<std::string> RealFontPaths() {
    namespace fs = std::filesystem;
    std::vector<std::string> paths;
    for (const std::string& dir : {std::string(TYPEFRAME_TEST_DATA_DIR), std::string(TYPEFRAME_SHARED_DIR "/testdata"),
                                   std::string("/usr/share/fonts/truetype/dejavu")}) {
        std::error_code error;
        if (!fs::is_directory(dir, error)) continue;
        for (fs::recursive_directory_iterator it(dir, error), end; !error && it != end; it.increment(error)) {
            const auto ext = it->path().extension().string();
            if (it->is_regular_file(error) && (ext == ".ttf" || ext == ".ttc" || ext == ".otf")) {
                paths.push_back(it->path().string());
            }
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

struct OpenFont {
    Counted<Typeframe::OTFile> file;
    Counted<OTFont> font;
    Counted<OTglyfTable> glyf;
};

OpenFont Open(const std::string& path, int index) {
    OpenFont open{Bedrock::MakeCounted<Typeframe::OTFile>(), nullptr, nullptr};
    auto stream = Bedrock::FileInStream::Open(path.c_str());
    if (!stream || !open.file->Load(stream) || index >= open.file->GetFontCount()) return open;
    open.font = open.file->GetFont(index);
    if (open.font) open.glyf = open.font->GetTableT<OTglyfTable>();
    return open;
}

int FontCount(const std::string& path) {
    auto file = Bedrock::MakeCounted<Typeframe::OTFile>();
    auto stream = Bedrock::FileInStream::Open(path.c_str());
    return stream && file->Load(stream) ? file->GetFontCount() : 0;
}

struct SavedTables {
    bool saved = false;
    std::vector<uint8_t> glyf;
    std::vector<uint32_t> offsets;
    std::vector<uint16_t> limits;
};

SavedTables SaveDirty(const OpenFont& open) {
    SavedTables result;
    open.glyf->SetIsDirty(true);
    result.saved = open.glyf->Save();
    result.glyf = BufferBytes(*open.glyf->GetBuffer());
    if (auto loca = open.font->GetTableT<Typeframe::OTlocaTable>()) result.offsets = loca->offsets;
    if (auto maxp = open.font->GetTableT<Typeframe::OTmaxpTable>()) {
        result.limits = {maxp->numGlyphs,
                         maxp->maxPoints,
                         maxp->maxContours,
                         maxp->maxCompositePoints,
                         maxp->maxCompositeContours,
                         maxp->maxComponentElements,
                         maxp->maxComponentDepth};
    }
    return result;
}

TEST(GlyfLazyParse, RealFontsCompareWithAParseAtLoad) {
    size_t fonts = 0;
    size_t answeredByHeaders = 0;
    for (const auto& path : RealFontPaths()) {
        const int count = FontCount(path);
        for (int index = 0; index < count; ++index) {
            const std::string where = path + "#" + std::to_string(index);
            OpenFont eager = Open(path, index);
            if (!eager.glyf) continue;
            ++fonts;
            eager.glyf->GetGlyphCount();

            // The bounds before any parse.
            OpenFont lazy = Open(path, index);
            ASSERT_TRUE(lazy.glyf) << where;
            ASSERT_FALSE(lazy.glyf->IsParsed()) << where;
            EXPECT_EQ(lazy.glyf->GetBounds(), eager.glyf->GetBounds()) << where;
            if (!lazy.glyf->IsParsed()) ++answeredByHeaders;
            EXPECT_EQ(CompareTables(*eager.glyf, *lazy.glyf), "") << where;

            // Metrics and names that change after Load don't reach the glyphs.
            OpenFont changed = Open(path, index);
            ASSERT_TRUE(changed.glyf) << where;
            if (auto hmtx = changed.font->GetTableT<Typeframe::OThmtxTable>()) {
                for (auto& metric : hmtx->metrics) {
                    metric.advanceWidth = static_cast<uint16_t>(metric.advanceWidth + 100);
                    metric.lsb = static_cast<int16_t>(metric.lsb - 50);
                }
            }
            if (auto vmtx = changed.font->GetTableT<Typeframe::OTvmtxTable>()) {
                for (auto& metric : vmtx->metrics) metric.tsb = static_cast<int16_t>(metric.tsb + 25);
            }
            if (auto hhea = changed.font->GetTableT<Typeframe::OThheaTable>()) hhea->ascender = 3;
            std::vector<Utf8String> renamed = changed.font->GetGlyphNames();
            for (auto& name : renamed) name = Utf8String(("renamed." + name.ToStdString()).c_str());
            changed.font->SetGlyphNames(renamed);
            EXPECT_EQ(changed.glyf->GetBounds(), eager.glyf->GetBounds()) << where;
            EXPECT_EQ(CompareTables(*eager.glyf, *changed.glyf), "") << where;

            // Saved dirty, the same bytes.
            const SavedTables a = SaveDirty(eager);
            const SavedTables b = SaveDirty(lazy);
            EXPECT_EQ(a.saved, b.saved) << where;
            EXPECT_TRUE(a.glyf == b.glyf) << where;
            EXPECT_EQ(a.offsets, b.offsets) << where;
            EXPECT_EQ(a.limits, b.limits) << where;
        }
    }
    if (fonts == 0) GTEST_SKIP() << "no font with a 'glyf' table";
    EXPECT_GT(answeredByHeaders, 0u);
}

}  // namespace
