// The GPOS table: loading it into objects, and rebuilding it (saving through
// the table graph and its writer), each timed alone and reported per KB of
// the input table as "per_KB".
//
// Argument 0 is the largest GPOS among the fonts named below (Inter's, about
// 120 KB, from fonts-inter-variable or the shared test copy), or the font
// named by TYPEFRAME_GPOS_BENCH_FONT when that is set; argument 1 is a made
// table of about 500 KB: eight lookups of class kerning, 150 by 200 classes
// with an x advance each, behind extensions.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "base/Counted.h"
#include "base/FileInStream.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "layout/OTGPOSTable.h"
#include "layout/PairPosLookup.h"

using namespace Typeframe;

namespace {

Bedrock::Counted<BigEndianBuffer> LargestRealTable() {
    std::vector<std::string> paths = {
        "/usr/share/fonts/truetype/inter-vf/Inter.var.ttf",
        std::string(TYPEFRAME_SHARED_DIR) + "/testdata/debian/Inter-VariableFont_slnt,wght.ttf"};
    if (const char* chosen = std::getenv("TYPEFRAME_GPOS_BENCH_FONT")) paths = {chosen};
    Bedrock::Counted<BigEndianBuffer> largest;
    for (const auto& path : paths) {
        auto stream = Bedrock::FileInStream::Open(path.c_str(), true);
        auto file = Bedrock::MakeCounted<OTFile>();
        if (!stream || !file->Load(stream)) continue;
        const auto font = file->GetFont(0);
        const auto table = font ? font->GetTableForTag(MakeTag("GPOS")) : nullptr;
        const auto bytes = table ? table->GetBuffer() : nullptr;
        if (bytes && (!largest || bytes->GetLength() > largest->GetLength())) largest = bytes->Clone();
    }
    return largest;
}

Bedrock::Counted<BigEndianBuffer> MadeTable() {
    OTGPOSTable table(nullptr);
    table.majorVersion = 1;
    table.lookupList.isPresent = true;
    for (uint16_t lookupIndex = 0; lookupIndex < 8; ++lookupIndex) {
        auto pair = Bedrock::MakeCounted<PairPosLookup>();
        pair->format = 2;
        pair->valueFormat1 = ValueRecord::kXAdvance;
        pair->coverage.format = 1;
        pair->classDef1.format = 2;
        pair->classDef2.format = 2;
        for (uint16_t glyph = 1; glyph < 150; ++glyph) {
            pair->coverage.glyphs.push_back(glyph);
            pair->classDef1.classes[glyph] = glyph;
        }
        for (uint16_t glyph = 0; glyph < 200; ++glyph) pair->classDef2.classes[1000 + glyph] = glyph;
        pair->class1Count = 150;
        pair->class2Count = 200;
        for (uint32_t i = 0; i < 150u * 200u; ++i) {
            pair->classValues.emplace_back(pair->valueFormat1, 0);
            pair->classValues.back().xAdvance = static_cast<int16_t>((i * 37 + lookupIndex) % 200 - 100);
            pair->classValues.emplace_back(pair->valueFormat2, 0);
        }
        LookupTable lookup;
        lookup.lookupType = 9;
        lookup.subTables.push_back(table.MakeExtensionSubTable(pair));
        table.lookupList.lookups.push_back(lookup);
    }
    table.SetIsDirty(true);
    return table.Save() ? table.GetBuffer() : nullptr;
}

Bedrock::Counted<BigEndianBuffer> GetSubject(int64_t which) {
    static const Bedrock::Counted<BigEndianBuffer> real = LargestRealTable();
    static const Bedrock::Counted<BigEndianBuffer> made = MadeTable();
    return which == 0 ? real : made;
}

void SetPerKB(benchmark::State& state, const BigEndianBuffer& bytes) {
    const double kb = bytes.GetLength() / 1024.0;
    state.counters["KB"] = kb;
    state.counters["per_KB"] =
        benchmark::Counter(kb, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_GPOSLoad(benchmark::State& state) {
    const auto bytes = GetSubject(state.range(0));
    if (!bytes) {
        state.SkipWithError("no GPOS table to measure");
        return;
    }
    for (auto _ : state) {
        OTGPOSTable table(nullptr);
        table.Load(bytes);
        benchmark::DoNotOptimize(table.lookupList.lookups.data());
    }
    SetPerKB(state, *bytes);
}
BENCHMARK(BM_GPOSLoad)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// The rebuild alone: each iteration saves the same loaded objects again.
void BM_GPOSRebuild(benchmark::State& state) {
    const auto bytes = GetSubject(state.range(0));
    if (!bytes) {
        state.SkipWithError("no GPOS table to measure");
        return;
    }
    OTGPOSTable table(nullptr);
    table.Load(bytes);
    for (auto _ : state) {
        table.SetIsDirty(true);
        if (!table.Save()) state.SkipWithError("the table could not be rebuilt");
    }
    SetPerKB(state, *bytes);
}
BENCHMARK(BM_GPOSRebuild)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
