// The per-glyph metrics tables: expansion of the trailing run on Load, its
// compaction and the header counts on Save, the dirty links to 'hhea', VORG's
// choice of default, hostile counts, and real fonts through a dirty save.
// Linked with AllocationWatch to see that no count from a file sizes memory.

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "base/FileInStream.h"
#include "base/MemoryInStream.h"
#include "base/MemoryOutStream.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "tables/OTVORGTable.h"
#include "tables/OThheaTable.h"
#include "tables/OThmtxTable.h"
#include "tables/OTmaxpTable.h"
#include "tables/OTvheaTable.h"
#include "tables/OTvmtxTable.h"
#include "TestUtil.h"
#include "core/AllocationWatch.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;
using TypeframeTest::ByteWriter;
using TypeframeTest::HexBuffer;
using TypeframeTest::HexBytes;

namespace {

using HMetric = OThmtxTable::LongHorMetric;
using VMetric = OTvmtxTable::LongVerMetric;

Bedrock::Counted<BigEndianBuffer> ToBuffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

// A font in memory with a short 'maxp' and, on request, 'hhea' and 'vhea'
// holding the given long metric counts. All tables are loaded and clean.
struct MetricsFont {
    Bedrock::Counted<OTFont> font = Bedrock::MakeCounted<OTFont>();
    Bedrock::Counted<OTmaxpTable> maxp;
    Bedrock::Counted<OThheaTable> hhea;
    Bedrock::Counted<OTvheaTable> vhea;

    MetricsFont(int numGlyphs, int numberOfHMetrics, int numOfLongVerMetrics = -1) {
        if (numGlyphs >= 0) {
            maxp = Bedrock::MakeCounted<OTmaxpTable>(font);
            EXPECT_TRUE(maxp->Load(ToBuffer(ByteWriter().U32(0x5000).U16(uint32_t(numGlyphs)).Data())));
            font->AddTable(maxp);
        }
        if (numberOfHMetrics >= 0) {
            hhea = Bedrock::MakeCounted<OThheaTable>(font);
            EXPECT_TRUE(
                hhea->Load(ToBuffer(ByteWriter().U32(0x10000).Zeros(30).U16(uint32_t(numberOfHMetrics)).Data())));
            font->AddTable(hhea);
        }
        if (numOfLongVerMetrics >= 0) {
            vhea = Bedrock::MakeCounted<OTvheaTable>(font);
            EXPECT_TRUE(
                vhea->Load(ToBuffer(ByteWriter().U32(0x11000).Zeros(30).U16(uint32_t(numOfLongVerMetrics)).Data())));
            font->AddTable(vhea);
        }
    }

    template <class T>
    Bedrock::Counted<T> Add(const std::string& hex) {
        auto table = Bedrock::MakeCounted<T>(font);
        EXPECT_TRUE(table->Load(HexBuffer(hex)));
        font->AddTable(table);
        return table;
    }
};

std::vector<uint16_t> Advances(const OThmtxTable& hmtx) {
    std::vector<uint16_t> widths;
    EXPECT_TRUE(hmtx.GetAdvanceWidths(widths));
    return widths;
}

std::vector<int> Bearings(const OThmtxTable& hmtx) {
    std::vector<int> lsbs;
    for (const auto& m : hmtx.metrics) lsbs.push_back(m.lsb);
    return lsbs;
}

std::vector<uint8_t> SaveDirty(OTTable& table) {
    table.SetIsDirty(true);
    EXPECT_TRUE(table.Save());
    return BufferBytes(*table.GetBuffer());
}

// Advances 500, 600, 700, 700, 700; bearings 10, 20, 30, -10, 40.
const char* const kFiveGlyphs = "01F4 000A 0258 0014 02BC 001E FFF6 0028";

}  // namespace

TEST(OThmtxTableTest, TrailingGlyphsTakeTheLastLongAdvance) {
    MetricsFont f(5, 3);
    EXPECT_EQ(f.font->GetAdvanceWidthMax(), 0.0);  // no 'hmtx' yet
    auto hmtx = f.Add<OThmtxTable>(kFiveGlyphs);
    EXPECT_EQ(hmtx->GetTag(), MakeTag("hmtx"));
    EXPECT_FALSE(hmtx->IsDirty());
    EXPECT_EQ(Advances(*hmtx), (std::vector<uint16_t>{500, 600, 700, 700, 700}));
    EXPECT_EQ(Bearings(*hmtx), (std::vector<int>{10, 20, 30, -10, 40}));

    HMetric m;
    ASSERT_TRUE(hmtx->GetLongHorMetric(4, m));
    EXPECT_EQ(m.advanceWidth, 700);
    EXPECT_EQ(m.lsb, 40);
    HMetric untouched{1, 2};
    EXPECT_FALSE(hmtx->GetLongHorMetric(5, untouched));
    EXPECT_EQ(untouched.advanceWidth, 1);
    EXPECT_EQ(untouched.lsb, 2);

    EXPECT_EQ(hmtx->GetAdvanceWidthMin(), 500);
    EXPECT_EQ(hmtx->GetAdvanceWidthMax(), 700);
    EXPECT_EQ(hmtx->GetMinLeftSideBearing(), -10);
    EXPECT_EQ(hmtx->GetMinRightSideBearing(), 0);
    EXPECT_EQ(f.font->GetAdvanceWidthMax(), 700.0);
    EXPECT_EQ(f.font->GetMinLeftSideBearing(), -10.0);

    // Already compact: a dirty save gives the same bytes and count, and
    // dirtying the metrics dirtied 'hhea' too.
    EXPECT_EQ(SaveDirty(*hmtx), HexBytes(kFiveGlyphs));
    EXPECT_FALSE(hmtx->IsDirty());
    EXPECT_EQ(f.hhea->numberOfHMetrics, 3);
    EXPECT_TRUE(f.hhea->IsDirty());

    // ... so that 'hhea' takes its extremes from these metrics.
    EXPECT_TRUE(f.hhea->Save());
    EXPECT_EQ(f.hhea->advanceWidthMax, 700);
    EXPECT_EQ(f.hhea->minLeftSideBearing, -10);
}

TEST(OThmtxTableTest, SaveCompactsOnlyTheTrailingRun) {
    struct Case {
        std::vector<uint16_t> advances;
        uint16_t expected;
    };
    const std::vector<Case> cases = {
        {{500, 600, 700, 700, 700}, 3},
        {{400, 400, 400, 400}, 1},  // all equal: one long metric
        {{400}, 1},                 // a single glyph
        {{500, 500, 600}, 3},       // equal advances not at the end stay long
        {{700, 600, 700, 700}, 3},  // the run stops at the first difference
    };
    for (const auto& c : cases) {
        const auto n = static_cast<int>(c.advances.size());
        MetricsFont f(n, n);
        ByteWriter w;
        for (int i = 0; i < n; ++i) w.U16(c.advances[size_t(i)]).U16(uint32_t(i + 1));
        auto hmtx = Bedrock::MakeCounted<OThmtxTable>(f.font);
        ASSERT_TRUE(hmtx->Load(ToBuffer(w.Data())));
        f.font->AddTable(hmtx);
        EXPECT_FALSE(f.hhea->IsDirty());

        ByteWriter expected;
        for (int i = 0; i < n; ++i) {
            if (i < c.expected) expected.U16(c.advances[size_t(i)]);
            expected.U16(uint32_t(i + 1));
        }
        EXPECT_EQ(SaveDirty(*hmtx), expected.Data()) << "glyphs " << n;
        EXPECT_EQ(f.hhea->numberOfHMetrics, c.expected);

        // The saved bytes read back to the same records.
        auto again = Bedrock::MakeCounted<OThmtxTable>(f.font);
        ASSERT_TRUE(again->Load(hmtx->GetBuffer()->Clone()));
        EXPECT_EQ(Advances(*again), c.advances);
    }
}

TEST(OThmtxTableTest, SaveMarksHheaDirtyOnlyWhenTheCountMoves) {
    MetricsFont f(5, 3);
    auto hmtx = f.Add<OThmtxTable>(kFiveGlyphs);
    // Straight to the base flag, past the override: 'hhea' stays clean.
    hmtx->OTTable::SetIsDirty(true);
    ASSERT_TRUE(hmtx->Save());
    EXPECT_FALSE(f.hhea->IsDirty());

    hmtx->metrics[2].advanceWidth = 650;
    hmtx->OTTable::SetIsDirty(true);
    ASSERT_TRUE(hmtx->Save());
    EXPECT_EQ(f.hhea->numberOfHMetrics, 4);
    EXPECT_TRUE(f.hhea->IsDirty());
    EXPECT_EQ(BufferBytes(*hmtx->GetBuffer()), HexBytes("01F4 000A 0258 0014 028A 001E 02BC FFF6 0028"));
}

TEST(OThmtxTableTest, SetLongHorMetricGrowsAndDirtiesHhea) {
    MetricsFont f(5, 3);
    auto hmtx = f.Add<OThmtxTable>(kFiveGlyphs);
    EXPECT_FALSE(f.hhea->IsDirty());
    EXPECT_TRUE(hmtx->SetLongHorMetric(1, HMetric{550, -5}));
    EXPECT_TRUE(hmtx->IsDirty());
    EXPECT_TRUE(f.hhea->IsDirty());
    HMetric m;
    ASSERT_TRUE(hmtx->GetLongHorMetric(1, m));
    EXPECT_EQ(m.advanceWidth, 550);
    EXPECT_EQ(m.lsb, -5);

    // 'hhea' saved in between is dirtied again by the next change.
    ASSERT_TRUE(f.hhea->Save());
    EXPECT_TRUE(hmtx->SetLongHorMetric(2, HMetric{700, 0}));
    EXPECT_TRUE(f.hhea->IsDirty());

    // One record more than numGlyphs can't be saved; the table stays dirty.
    EXPECT_TRUE(hmtx->SetLongHorMetric(5, HMetric{100, 1}));
    EXPECT_EQ(hmtx->metrics.size(), 6u);
    const auto before = BufferBytes(*hmtx->GetBuffer());
    EXPECT_FALSE(hmtx->Save());
    EXPECT_TRUE(hmtx->IsDirty());
    EXPECT_EQ(BufferBytes(*hmtx->GetBuffer()), before);
}

TEST(OThmtxTableTest, LoadAndSaveNeedMaxpAndHhea) {
    {
        MetricsFont noMaxp(-1, 3);
        auto hmtx = Bedrock::MakeCounted<OThmtxTable>(noMaxp.font);
        EXPECT_FALSE(hmtx->Load(HexBuffer(kFiveGlyphs)));
        EXPECT_TRUE(hmtx->IsLoaded());  // the buffer stays attached
        hmtx->metrics.assign(5, HMetric{});
        hmtx->SetIsDirty(true);
        EXPECT_FALSE(hmtx->Save());
    }
    {
        // Without 'hhea' the records are left as they were.
        MetricsFont noHhea(5, -1);
        auto hmtx = Bedrock::MakeCounted<OThmtxTable>(noHhea.font);
        hmtx->metrics.assign(2, HMetric{9, 9});
        EXPECT_FALSE(hmtx->Load(HexBuffer(kFiveGlyphs)));
        EXPECT_EQ(hmtx->metrics.size(), 2u);
        hmtx->metrics.assign(5, HMetric{});
        hmtx->SetIsDirty(true);
        EXPECT_FALSE(hmtx->Save());
    }
    {
        OThmtxTable orphan(nullptr);
        EXPECT_FALSE(orphan.Load(HexBuffer(kFiveGlyphs)));
        EXPECT_FALSE(orphan.Load(nullptr));
    }
    {
        // No glyphs: nothing to save.
        MetricsFont empty(0, 0);
        auto hmtx = empty.Add<OThmtxTable>("");
        EXPECT_TRUE(hmtx->metrics.empty());
        hmtx->SetIsDirty(true);
        EXPECT_FALSE(hmtx->Save());
    }
}

TEST(OThmtxTableTest, HostileCountsStayWithinTheGlyphsAndTheBytes) {
    {
        // More long metrics announced than glyphs: numGlyphs pairs are read,
        // the rest is ignored, and the count is corrected on saving.
        MetricsFont f(3, 10);
        auto hmtx = f.Add<OThmtxTable>("0001 0002 0003 0004 0005 0006 0007 0008 0009 000A");
        EXPECT_EQ(Advances(*hmtx), (std::vector<uint16_t>{1, 3, 5}));
        EXPECT_EQ(Bearings(*hmtx), (std::vector<int>{2, 4, 6}));
        EXPECT_EQ(SaveDirty(*hmtx), HexBytes("0001 0002 0003 0004 0005 0006"));
        EXPECT_EQ(f.hhea->numberOfHMetrics, 3);
    }
    {
        // No long metrics: every glyph has advance 0 and its bearing.
        MetricsFont f(3, 0);
        auto hmtx = f.Add<OThmtxTable>("0001 FFFF 0003");
        EXPECT_EQ(Advances(*hmtx), (std::vector<uint16_t>{0, 0, 0}));
        EXPECT_EQ(Bearings(*hmtx), (std::vector<int>{1, -1, 3}));
        EXPECT_EQ(SaveDirty(*hmtx), HexBytes("0000 0001 FFFF 0003"));
        EXPECT_EQ(f.hhea->numberOfHMetrics, 1);
    }
    {
        // A table shorter than announced: what is missing reads as zero, a
        // cut pair keeps the half that is there.
        MetricsFont f(4, 2);
        auto hmtx = f.Add<OThmtxTable>("01F4 000A 0258");
        EXPECT_EQ(Advances(*hmtx), (std::vector<uint16_t>{500, 600, 600, 600}));
        EXPECT_EQ(Bearings(*hmtx), (std::vector<int>{10, 0, 0, 0}));
    }
    {
        // The most glyphs a font can have and four bytes: one small record
        // per glyph and nothing larger, in linear time.
        TypeframeTest::ResetLargestAllocation();
        MetricsFont f(65535, 65535);
        auto hmtx = f.Add<OThmtxTable>("01F4 000A");
        EXPECT_LE(TypeframeTest::GetLargestAllocation(), 65535 * sizeof(HMetric));
        ASSERT_EQ(hmtx->metrics.size(), 65535u);
        EXPECT_EQ(hmtx->metrics[0].advanceWidth, 500);
        EXPECT_EQ(hmtx->metrics[65534].advanceWidth, 0);
        HMetric m;
        EXPECT_TRUE(hmtx->GetLongHorMetric(65534, m));
        EXPECT_EQ(SaveDirty(*hmtx).size(), 2u * 4u + 65533u * 2u);
        EXPECT_EQ(f.hhea->numberOfHMetrics, 2);
    }
}

TEST(OTvmtxTableTest, TwinOfHmtxBoundToVhea) {
    MetricsFont f(5, 3, 3);
    auto vmtx = f.Add<OTvmtxTable>(kFiveGlyphs);
    EXPECT_EQ(vmtx->GetTag(), MakeTag("vmtx"));
    VMetric m;
    ASSERT_TRUE(vmtx->GetLongVerMetric(4, m));
    EXPECT_EQ(m.advanceHeight, 700);
    EXPECT_EQ(m.tsb, 40);
    VMetric untouched{1, 2};
    EXPECT_FALSE(vmtx->GetLongVerMetric(5, untouched));
    EXPECT_EQ(untouched.advanceHeight, 1);

    // Setting a metric leaves 'vhea' alone, and so does a save that keeps
    // the count.
    EXPECT_TRUE(vmtx->SetLongVerMetric(0, VMetric{500, 11}));
    EXPECT_TRUE(vmtx->IsDirty());
    EXPECT_FALSE(f.vhea->IsDirty());
    EXPECT_FALSE(f.hhea->IsDirty());
    ASSERT_TRUE(vmtx->Save());
    EXPECT_FALSE(vmtx->IsDirty());
    EXPECT_FALSE(f.vhea->IsDirty());
    EXPECT_EQ(BufferBytes(*vmtx->GetBuffer()), HexBytes("01F4 000B 0258 0014 02BC 001E FFF6 0028"));

    // A save that finds a new count writes it to 'vhea' and dirties it.
    EXPECT_TRUE(vmtx->SetLongVerMetric(4, VMetric{800, 40}));
    EXPECT_FALSE(f.vhea->IsDirty());
    ASSERT_TRUE(vmtx->Save());
    EXPECT_EQ(f.vhea->numOfLongVerMetrics, 5);
    EXPECT_TRUE(f.vhea->IsDirty());
    EXPECT_FALSE(f.hhea->IsDirty());

    // Growing past numGlyphs makes the table unsaveable.
    EXPECT_TRUE(vmtx->SetLongVerMetric(5, VMetric{}));
    EXPECT_FALSE(vmtx->Save());
    EXPECT_TRUE(vmtx->IsDirty());
}

TEST(OTvmtxTableTest, NeedsVheaAndSurvivesHostileCounts) {
    {
        MetricsFont noVhea(5, 3);
        auto vmtx = Bedrock::MakeCounted<OTvmtxTable>(noVhea.font);
        EXPECT_FALSE(vmtx->Load(HexBuffer(kFiveGlyphs)));
        EXPECT_TRUE(vmtx->metrics.empty());
        vmtx->metrics.assign(5, VMetric{});
        vmtx->SetIsDirty(true);
        EXPECT_FALSE(vmtx->Save());
    }
    {
        MetricsFont f(2, 3, 9);
        auto vmtx = f.Add<OTvmtxTable>("03E8 0064");
        EXPECT_EQ(vmtx->metrics.size(), 2u);
        EXPECT_EQ(vmtx->metrics[1].advanceHeight, 0);
        EXPECT_EQ(SaveDirty(*vmtx), HexBytes("03E8 0064 0000 0000"));
        EXPECT_EQ(f.vhea->numOfLongVerMetrics, 2);
    }
}

TEST(OTVORGTableTest, SaveChoosesTheMostCommonOriginAsDefault) {
    MetricsFont f(4, 1);
    auto vorg = f.Add<OTVORGTable>("0001 0000 0000 0004  0000 0370 0001 0370 0002 0384 0003 0384");
    EXPECT_EQ(vorg->GetTag(), MakeTag("VORG"));
    EXPECT_EQ(vorg->majorVersion, 1);
    EXPECT_EQ(vorg->vertOriginYMetrics.size(), 4u);

    // 880, 880, 900, 900: a tie, and the lower origin wins.
    EXPECT_EQ(SaveDirty(*vorg), HexBytes("0001 0000 0370 0002  0002 0384 0003 0384"));
    EXPECT_EQ(vorg->defaultVertOriginY, 880);
    EXPECT_EQ(vorg->vertOriginYMetrics, (std::map<uint16_t, int16_t>{{2, 900}, {3, 900}}));
    // Deliberately left dirty: every save chooses again, to the same bytes.
    EXPECT_TRUE(vorg->IsDirty());
    ASSERT_TRUE(vorg->Save());
    EXPECT_EQ(BufferBytes(*vorg->GetBuffer()), HexBytes("0001 0000 0370 0002  0002 0384 0003 0384"));

    // Unlisted glyphs count with the old default; glyphs past numGlyphs
    // fall away.
    vorg->defaultVertOriginY = -5;
    vorg->vertOriginYMetrics = {{0, 7}, {9, 7}};
    ASSERT_TRUE(vorg->Save());
    EXPECT_EQ(vorg->defaultVertOriginY, -5);
    EXPECT_EQ(vorg->vertOriginYMetrics, (std::map<uint16_t, int16_t>{{0, 7}}));
}

TEST(OTVORGTableTest, LoadKeepsFirstOfRepeatsAndOnlyTheBytesRead) {
    MetricsFont f(3, 1);
    // The count promises 65535 pairs; two and a half are there, and glyph 1
    // comes twice.
    auto vorg = f.Add<OTVORGTable>("0001 0000 0370 FFFF  0001 0384 0001 0398 0002");
    EXPECT_EQ(vorg->defaultVertOriginY, 880);
    EXPECT_EQ(vorg->vertOriginYMetrics, (std::map<uint16_t, int16_t>{{1, 900}}));
    EXPECT_EQ(vorg->GetLength(), 16u);  // the cut pair is dropped
    EXPECT_FALSE(vorg->IsDirty());
    ASSERT_TRUE(vorg->Save());  // clean: bytes as kept
    EXPECT_EQ(BufferBytes(*vorg->GetBuffer()), HexBytes("0001 0000 0370 FFFF  0001 0384 0001 0398"));

    // A cut header keeps what it read.
    auto shortVorg = Bedrock::MakeCounted<OTVORGTable>(f.font);
    ASSERT_TRUE(shortVorg->Load(HexBuffer("0001 00")));
    EXPECT_EQ(shortVorg->GetLength(), 2u);
    EXPECT_TRUE(shortVorg->vertOriginYMetrics.empty());
    EXPECT_FALSE(shortVorg->Load(nullptr));
}

TEST(OTVORGTableTest, SaveNeedsMaxpAndKeepsTheDefaultWithoutGlyphs) {
    MetricsFont noMaxp(-1, -1);
    auto orphan = noMaxp.Add<OTVORGTable>("0001 0000 0370 0000");
    orphan->SetIsDirty(true);
    EXPECT_FALSE(orphan->Save());

    // No glyph to count: the default stays and the list empties.
    MetricsFont none(0, -1);
    auto vorg = none.Add<OTVORGTable>("0001 0000 0370 0001 0000 0384");
    EXPECT_EQ(SaveDirty(*vorg), HexBytes("0001 0000 0370 0000"));
}

namespace {

struct RealFont {
    std::string path;
    Bedrock::Counted<OTFile> file;
    Bedrock::Counted<OTFont> font;
};

RealFont OpenFont(const std::string& path) {
    RealFont real{path, Bedrock::MakeCounted<OTFile>(), nullptr};
    auto stream = Bedrock::FileInStream::Open(path.c_str(), false);
    if (stream && real.file->Load(stream)) real.font = real.file->GetFont(0);
    return real;
}

// The project's fonts and every font of the shared test data.
std::vector<std::string> TestFontPaths() {
    std::vector<std::string> paths;
    namespace fs = std::filesystem;
    for (const char* dir : {TYPEFRAME_TEST_DATA_DIR, TYPEFRAME_SHARED_DIR "/testdata"}) {
        std::error_code error;
        if (!fs::is_directory(dir, error)) continue;
        for (fs::recursive_directory_iterator it(dir, error), end; !error && it != end; it.increment(error)) {
            const auto ext = it->path().extension().string();
            if (it->is_regular_file(error) && (ext == ".ttf" || ext == ".otf")) paths.push_back(it->path().string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

// The long metric count that Save should write, counted here from scratch.
template <class Metric, class Advance>
size_t CompactCount(const std::vector<Metric>& metrics, Advance advance) {
    size_t count = metrics.size();
    while (count > 1 && advance(metrics[count - 1]) == advance(metrics[count - 2])) --count;
    return count;
}

// Saves the table dirty. Where the file was compact already and holds no
// bytes behind its records, the bytes must come back unchanged; otherwise the
// saved table must read back to the same records. Returns whether the bytes
// were compared.
template <class Table, class Header, class Count, class Advance>
bool CheckRoundTrip(const RealFont& real, Table& table, Header& header, Count count, Advance advance) {
    const auto original = BufferBytes(*table.GetBuffer());
    const auto records = table.metrics;
    const size_t fileCount = header.*count;
    const size_t compact = CompactCount(records, advance);
    const bool exact = fileCount == compact && original.size() == compact * 4 + (records.size() - compact) * 2;

    table.SetIsDirty(true);
    EXPECT_TRUE(table.Save()) << real.path;
    EXPECT_EQ(size_t(header.*count), compact) << real.path;
    const auto saved = BufferBytes(*table.GetBuffer());
    if (exact) {
        EXPECT_EQ(saved, original) << real.path;
    } else {
        Table again(real.font);
        EXPECT_TRUE(again.Load(ToBuffer(saved))) << real.path;
        EXPECT_TRUE(again.metrics == records) << real.path;
    }
    return exact;
}

}  // namespace

TEST(MetricsRealFonts, TestTTFMetricsAsFontToolsReadsThem) {
    auto real = OpenFont(std::string(TYPEFRAME_TEST_DATA_DIR) + "/TestTTF.ttf");
    if (!real.font) GTEST_SKIP() << "missing " << real.path;
    auto hmtx = real.font->GetTableT<OThmtxTable>();
    ASSERT_TRUE(hmtx);
    EXPECT_EQ(Advances(*hmtx), (std::vector<uint16_t>{500, 0, 250, 250, 241, 723}));
    EXPECT_EQ(Bearings(*hmtx), (std::vector<int>{50, 0, 0, 0, 55, 55}));
    EXPECT_EQ(real.font->GetAdvanceWidthMax(), 723.0);
    EXPECT_EQ(real.font->GetMinLeftSideBearing(), 0.0);
}

TEST(MetricsRealFonts, DirtySaveOfCompactTablesGivesTheSameBytes) {
    size_t fonts = 0, hmtxSame = 0, vmtxSame = 0, vorgSame = 0;
    for (const auto& path : TestFontPaths()) {
        auto real = OpenFont(path);
        if (!real.font) continue;
        auto hhea = real.font->GetTableT<OThheaTable>();
        auto hmtx = real.font->GetTableT<OThmtxTable>();
        if (hhea && hmtx && !hmtx->metrics.empty()) {
            ++fonts;
            hmtxSame += CheckRoundTrip(real, *hmtx, *hhea, &OThheaTable::numberOfHMetrics,
                                       [](const HMetric& m) { return m.advanceWidth; });
        }
        auto vhea = real.font->GetTableT<OTvheaTable>();
        auto vmtx = real.font->GetTableT<OTvmtxTable>();
        if (vhea && vmtx && !vmtx->metrics.empty()) {
            vmtxSame += CheckRoundTrip(real, *vmtx, *vhea, &OTvheaTable::numOfLongVerMetrics,
                                       [](const VMetric& m) { return m.advanceHeight; });
        }
        if (auto vorg = real.font->GetTableT<OTVORGTable>()) {
            // Every glyph's origin survives; a table whose default already is
            // the most common origin comes back byte for byte.
            const auto original = BufferBytes(*vorg->GetBuffer());
            auto originOf = [&](unsigned glyph) {
                auto it = vorg->vertOriginYMetrics.find(static_cast<uint16_t>(glyph));
                return it != vorg->vertOriginYMetrics.end() ? it->second : vorg->defaultVertOriginY;
            };
            std::vector<int16_t> before;
            for (unsigned g = 0; g < real.font->GetNumGlyphs(); ++g) before.push_back(originOf(g));
            vorg->SetIsDirty(true);
            ASSERT_TRUE(vorg->Save()) << path;
            std::vector<int16_t> after;
            for (unsigned g = 0; g < real.font->GetNumGlyphs(); ++g) after.push_back(originOf(g));
            EXPECT_EQ(after, before) << path;
            vorgSame += BufferBytes(*vorg->GetBuffer()) == original;
        }
    }
    if (fonts == 0) GTEST_SKIP() << "no test fonts";
    EXPECT_GT(hmtxSame, 0u);
    if (std::filesystem::is_directory(TYPEFRAME_SHARED_DIR "/testdata/fonttools")) {
        // fontTools' instancer fonts carry vmtx and VORG tables.
        EXPECT_GT(vmtxSame, 0u);
        EXPECT_GT(vorgSame, 0u);
    }
}

TEST(MetricsRealFonts, ChangedAdvanceReachesHheaThroughAFileSave) {
    auto real = OpenFont(std::string(TYPEFRAME_TEST_DATA_DIR) + "/TestTTF.ttf");
    if (!real.font) GTEST_SKIP() << "missing " << real.path;
    auto hmtx = real.font->GetTableT<OThmtxTable>();
    ASSERT_TRUE(hmtx);
    // period takes ellipsis' advance: the last two glyphs become a run.
    ASSERT_TRUE(hmtx->SetLongHorMetric(4, HMetric{723, 55}));
    auto out = Bedrock::MakeCounted<Bedrock::MemoryOutStream>();
    ASSERT_TRUE(real.file->Save(out));

    auto reread = Bedrock::MakeCounted<OTFile>();
    ASSERT_TRUE(
        reread->Load(Bedrock::MakeCounted<Bedrock::MemoryInStream>(out->GetData().data(), out->GetData().size())));
    auto font = reread->GetFont(0);
    ASSERT_TRUE(font);
    auto hhea = font->GetTableT<OThheaTable>();
    auto saved = font->GetTableT<OThmtxTable>();
    ASSERT_TRUE(hhea && saved);
    EXPECT_EQ(hhea->numberOfHMetrics, 5);
    EXPECT_EQ(hhea->advanceWidthMax, 723);
    EXPECT_EQ(saved->GetLength(), 5u * 4 + 2);
    EXPECT_EQ(Advances(*saved), (std::vector<uint16_t>{500, 0, 250, 250, 723, 723}));
}

TEST(MetricsRealFonts, DirtyVorgKeepsAFileSaveFromSettling) {
    auto real = OpenFont(std::string(TYPEFRAME_TEST_DATA_DIR) + "/TestOTF.otf");
    if (!real.font) GTEST_SKIP() << "missing " << real.path;
    auto vorg = Bedrock::MakeCounted<OTVORGTable>(real.font);
    ASSERT_TRUE(vorg->Load(HexBuffer("0001 0000 0370 0000")));
    ASSERT_TRUE(real.font->AddTable(vorg));
    // Clean, the table is written as read.
    EXPECT_TRUE(real.file->Save(Bedrock::MakeCounted<Bedrock::MemoryOutStream>()));
    // Dirty, it stays dirty after every Save, so the writer's passes never
    // settle and the file is not saved.
    vorg->SetIsDirty(true);
    EXPECT_FALSE(real.file->Save(Bedrock::MakeCounted<Bedrock::MemoryOutStream>()));
}
