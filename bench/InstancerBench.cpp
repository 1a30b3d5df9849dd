// Making a static instance of a TrueType variable font, in the three steps
// the `instance` command takes, each timed on its own:
//
//   BM_InstancerLoad         FontInstancer::LoadFont(path, 0): the file read
//                            and every table read (glyphs are parsed later,
//                            on first use).
//   BM_InstancerMakeInstance MakeInstance at an interior location, on a font
//                            freshly loaded for each call. The loads are made
//                            from a copy of the file in memory, a batch at a
//                            time with the clock stopped, so that they count
//                            neither in the figure nor in the clock's stops.
//   BM_InstancerSave         SaveFont of a freshly made instance to /dev/null:
//                            the first save of an instance, which writes
//                            every table the instance changed (a second save
//                            of the same font would only copy bytes).
//
// The interior location puts each axis halfway from its default to its
// maximum (to its minimum when the default is the maximum). Argument 0 is the
// small test font of the tree, 1 Inter from the shared test data, 2 Inter
// from Debian's fonts-inter-variable and 3 Karla from fonts-karla; a font that
// is absent is reported as skipped.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "base/Counted.h"
#include "base/FileOutStream.h"
#include "base/MemoryInStream.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "instancer/FontInstancer.h"
#include "tables/OTmaxpTable.h"
#include "variations/OTfvarTable.h"

using namespace Typeframe;

namespace {

struct Subject {
    std::string path;
    std::vector<uint8_t> bytes;
    std::vector<double> location;
    double glyphs = 0;
};

bool ReadWholeFile(const std::string& path, std::vector<uint8_t>& bytes) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return false;
    bytes.clear();
    unsigned char chunk[1 << 16];
    size_t got = 0;
    while ((got = std::fread(chunk, 1, sizeof(chunk), file)) != 0) bytes.insert(bytes.end(), chunk, chunk + got);
    const bool ok = !std::ferror(file);
    std::fclose(file);
    return ok && !bytes.empty();
}

Subject OpenSubject(const std::string& path) {
    Subject subject;
    FontInstancer instancer;
    if (!ReadWholeFile(path, subject.bytes) || !instancer.LoadFont(Bedrock::Utf8String(path.c_str()), 0)) return {};
    auto font = instancer.GetFont();
    auto fvar = font->GetTableT<OTfvarTable>();
    if (!fvar) return {};
    for (const auto& axis : fvar->axes) {
        const double defaultValue = axis->defaultValue.ToDouble();
        const double maxValue = axis->maxValue.ToDouble();
        const double minValue = axis->minValue.ToDouble();
        const double end = maxValue > defaultValue ? maxValue : minValue;
        subject.location.push_back(defaultValue + (end - defaultValue) / 2);
    }
    if (auto maxp = font->GetTableT<OTmaxpTable>()) subject.glyphs = maxp->numGlyphs;
    subject.path = path;
    return subject;
}

const Subject& GetSubject(int64_t which) {
    static const std::vector<Subject> subjects = [] {
        std::vector<Subject> all;
        all.push_back(OpenSubject(std::string(TYPEFRAME_SOURCE_DIR) + "/tests/data/PartialInstancerTest3-VF.ttf"));
        all.push_back(
            OpenSubject(std::string(TYPEFRAME_SHARED_DIR) + "/testdata/debian/Inter-VariableFont_slnt,wght.ttf"));
        all.push_back(OpenSubject("/usr/share/fonts/truetype/inter-vf/Inter.var.ttf"));
        all.push_back(OpenSubject("/usr/share/fonts/truetype/karla-variable/Karla[wght].ttf"));
        return all;
    }();
    static const Subject none;
    return which >= 0 && static_cast<size_t>(which) < subjects.size() ? subjects[static_cast<size_t>(which)] : none;
}

// The file name, for the report line.
std::string ShortName(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

void Describe(benchmark::State& state, const Subject& subject) {
    state.SetLabel(ShortName(subject.path));
    state.counters["glyphs"] = subject.glyphs;
    state.counters["file_bytes"] = static_cast<double>(subject.bytes.size());
}

// One font loaded from the memory copy, with the file object it belongs to
// (the font refers back to it while it is saved).
struct Loaded {
    Bedrock::Counted<OTFile> file;
    Bedrock::Counted<FontInstancer> instancer;
};

bool LoadFromMemory(const Subject& subject, Loaded& loaded) {
    loaded.file = Bedrock::MakeCounted<OTFile>();
    loaded.instancer = Bedrock::MakeCounted<FontInstancer>();
    if (!loaded.file->Load(Bedrock::MemoryInStream::Wrap(subject.bytes.data(), subject.bytes.size()))) return false;
    auto font = loaded.file->GetFont(0);
    return font && loaded.instancer->LoadFont(font);
}

// Enough fonts per batch to make the clock's stops negligible, few enough
// that a batch of large fonts stays well within memory.
int64_t BatchSize(const Subject& subject) {
    constexpr size_t kBatchBytes = 8 << 20;
    return static_cast<int64_t>(std::clamp<size_t>(kBatchBytes / std::max<size_t>(subject.bytes.size(), 1), 1, 64));
}

// Fills `batch` with freshly loaded fonts, made instances when asked; false
// (with the benchmark marked failed) when one can't be had.
bool PrepareBatch(benchmark::State& state, const Subject& subject, bool instanced, std::vector<Loaded>& batch) {
    for (auto& loaded : batch) {
        if (!LoadFromMemory(subject, loaded)) {
            state.SkipWithError("the font cannot be loaded from memory");
            return false;
        }
        if (instanced && !loaded.instancer->MakeInstance(subject.location)) {
            state.SkipWithError("MakeInstance failed");
            return false;
        }
    }
    return true;
}

void BM_InstancerLoad(benchmark::State& state) {
    const Subject& subject = GetSubject(state.range(0));
    if (subject.path.empty()) {
        state.SkipWithError("the font is not installed");
        return;
    }
    const Bedrock::Utf8String path(subject.path.c_str());
    for (auto _ : state) {
        FontInstancer instancer;
        if (!instancer.LoadFont(path, 0)) {
            state.SkipWithError("LoadFont failed");
            break;
        }
        benchmark::DoNotOptimize(instancer.GetFont());
    }
    Describe(state, subject);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(subject.bytes.size()));
}

void BM_InstancerMakeInstance(benchmark::State& state) {
    const Subject& subject = GetSubject(state.range(0));
    if (subject.path.empty()) {
        state.SkipWithError("the font is not installed");
        return;
    }
    std::vector<Loaded> batch(static_cast<size_t>(BatchSize(subject)));
    while (state.KeepRunningBatch(static_cast<benchmark::IterationCount>(batch.size()))) {
        state.PauseTiming();
        const bool prepared = PrepareBatch(state, subject, false, batch);
        state.ResumeTiming();
        if (!prepared) break;
        for (auto& loaded : batch) {
            if (!loaded.instancer->MakeInstance(subject.location)) {
                state.SkipWithError("MakeInstance failed");
                break;
            }
        }
        // The fonts are freed with the clock stopped, when the batch is refilled.
    }
    Describe(state, subject);
}

void BM_InstancerSave(benchmark::State& state) {
    const Subject& subject = GetSubject(state.range(0));
    if (subject.path.empty()) {
        state.SkipWithError("the font is not installed");
        return;
    }
    const Bedrock::Utf8String output("/dev/null");
    std::vector<Loaded> batch(static_cast<size_t>(BatchSize(subject)));
    while (state.KeepRunningBatch(static_cast<benchmark::IterationCount>(batch.size()))) {
        state.PauseTiming();
        const bool prepared = PrepareBatch(state, subject, true, batch);
        state.ResumeTiming();
        if (!prepared) break;
        for (auto& loaded : batch) {
            if (!loaded.instancer->SaveFont(output)) {
                state.SkipWithError("SaveFont failed");
                break;
            }
        }
    }
    Describe(state, subject);
}

}  // namespace

BENCHMARK(BM_InstancerLoad)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InstancerMakeInstance)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InstancerSave)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);
