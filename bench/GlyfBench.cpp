// TrueType outlines of large fonts: loading 'glyf' and parsing every glyph
// (disassembling its instructions, phantom points), loading it and taking
// its bounds without a parse (what saving an untouched font costs), compiling
// every glyph on
// its own (Glyf::Save, instructions assembled; a component looks its glyph
// index up in the font's glyph order) and saving the table (every glyph
// compiled with the indexes at hand, offsets laid out, 'maxp' limits). Each
// reports its time per glyph as "per_glyph".
//
// Argument 0 is Inter (about 2,500 glyphs, no hinting; Debian's
// fonts-inter-variable or the shared test copy), argument 1 DejaVu Sans
// (about 6,250 glyphs, hinted; fonts-dejavu-core), or the font named by
// TYPEFRAME_GLYF_BENCH_FONT when that is set.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "base/Counted.h"
#include "base/FileInStream.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "truetype/Glyf.h"
#include "truetype/OTglyfTable.h"

using namespace Typeframe;

namespace {

struct Subject {
    Bedrock::Counted<OTFile> file;
    Bedrock::Counted<OTFont> font;
    Bedrock::Counted<OTglyfTable> glyf;
    Bedrock::Counted<BigEndianBuffer> bytes;
    std::string path;
};

Subject OpenSubject(const std::vector<std::string>& paths) {
    for (const auto& path : paths) {
        auto stream = Bedrock::FileInStream::Open(path.c_str(), false);
        if (!stream) continue;
        auto file = Bedrock::MakeCounted<OTFile>();
        file->Load(stream);
        auto font = file->GetFont(0);
        auto glyf = font ? font->GetTableT<OTglyfTable>() : nullptr;
        if (!glyf) continue;
        return {file, font, glyf, glyf->GetBuffer(), path};
    }
    return {};
}

const Subject& GetSubject(int64_t which) {
    static const Subject inter =
        OpenSubject({"/usr/share/fonts/truetype/inter-vf/Inter.var.ttf",
                     std::string(TYPEFRAME_SHARED_DIR) + "/testdata/debian/Inter-VariableFont_slnt,wght.ttf"});
    static const Subject large = [] {
        const char* chosen = std::getenv("TYPEFRAME_GLYF_BENCH_FONT");
        return OpenSubject({chosen ? chosen : "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"});
    }();
    return which == 0 ? inter : large;
}

void SetPerGlyph(benchmark::State& state, size_t glyphs) {
    state.counters["glyphs"] = static_cast<double>(glyphs);
    state.counters["per_glyph"] = benchmark::Counter(
        static_cast<double>(glyphs), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// Loads the table afresh each iteration, then makes `use` of it.
template <class Use>
void RunLoad(benchmark::State& state, Use use) {
    const Subject& subject = GetSubject(state.range(0));
    if (!subject.glyf) {
        state.SkipWithError("the font is not installed");
        return;
    }
    for (auto _ : state) {
        auto table = Bedrock::MakeCounted<OTglyfTable>(subject.font.Get());
        benchmark::DoNotOptimize(table->Load(subject.bytes));
        use(*table);
    }
    state.SetLabel(subject.path);
    SetPerGlyph(state, subject.glyf->GetGlyphCount());
}

// The parse waits for the first use of the glyphs: counting them is one.
void BM_GlyfLoad(benchmark::State& state) {
    RunLoad(state, [](OTglyfTable& table) { benchmark::DoNotOptimize(table.GetGlyphCount()); });
}

void BM_GlyfLoadUntouched(benchmark::State& state) {
    RunLoad(state, [](OTglyfTable& table) { benchmark::DoNotOptimize(table.GetBounds()); });
}

void BM_GlyfCompile(benchmark::State& state) {
    const Subject& subject = GetSubject(state.range(0));
    if (!subject.glyf) {
        state.SkipWithError("the font is not installed");
        return;
    }
    std::vector<Bedrock::Counted<Glyf>> glyphs;
    for (const auto& name : subject.glyf->GetGlyphNames()) glyphs.push_back(subject.glyf->GetGlyph(name));
    for (auto _ : state) {
        for (const auto& glyph : glyphs) glyph->Save(false);
        benchmark::ClobberMemory();
    }
    state.SetLabel(subject.path);
    SetPerGlyph(state, glyphs.size());
}

void BM_GlyfSave(benchmark::State& state) {
    const Subject& subject = GetSubject(state.range(0));
    if (!subject.glyf) {
        state.SkipWithError("the font is not installed");
        return;
    }
    // A copy, so that the font's own table keeps its bytes for the load.
    auto table = Bedrock::StaticCast<OTglyfTable>(subject.glyf->Clone());
    subject.font->SetTable(table);
    for (auto _ : state) {
        table->SetIsDirty(true);
        benchmark::DoNotOptimize(table->Save());
    }
    subject.font->SetTable(subject.glyf);
    state.SetLabel(subject.path);
    SetPerGlyph(state, table->GetGlyphCount());
}

}  // namespace

BENCHMARK(BM_GlyfLoad)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GlyfLoadUntouched)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GlyfCompile)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GlyfSave)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
