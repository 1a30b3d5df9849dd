// TrueType instructions through text: Disassemble (what every glyph load
// pays) and Assemble (every save) over all programs of DejaVu Sans, fpgm,
// prep and every glyph's instructions, reported per instruction. Without the
// font a synthetic program of the same mix stands in.

#include <cstdint>
#include <vector>

#include <benchmark/benchmark.h>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "truetype/FontPrograms.h"
#include "truetype/TTCompiler.h"

using namespace Typeframe;

namespace {

struct Corpus {
    std::vector<Bedrock::Counted<BigEndianBuffer>> programs;
    std::vector<std::vector<Utf8String>> texts;
    int64_t instructions = 0;
    int64_t lines = 0;
    int64_t bytes = 0;
};

// Instructions in a program: every opcode, each push counting once however
// many values it carries.
int64_t CountInstructions(const std::vector<uint8_t>& code) {
    int64_t count = 0;
    size_t p = 0;
    while (p < code.size()) {
        const uint8_t op = code[p];
        ++count;
        if (op == 0x40 || op == 0x41) {
            const size_t n = p + 1 < code.size() ? code[p + 1] : 0;
            p += 2 + n * (op == 0x41 ? 2 : 1);
        } else if (op >= 0xB0 && op <= 0xBF) {
            const size_t n = (op & 7) + 1;
            p += 1 + n * (op >= 0xB8 ? 2 : 1);
        } else {
            ++p;
        }
    }
    return count;
}

std::vector<uint8_t> SyntheticProgram() {
    // Pushes of bytes and words, argument-bit instructions and plain ones.
    const std::vector<uint8_t> block = {0xB1, 0x05, 0x11, 0x2F, 0xB8, 0x01, 0x2C, 0xF6, 0xC9, 0x3E,
                                        0x30, 0x40, 0x03, 0x07, 0x08, 0x09, 0x1F, 0x3C, 0x20, 0x60};
    std::vector<uint8_t> code;
    for (int i = 0; i < 5000; ++i) code.insert(code.end(), block.begin(), block.end());
    return code;
}

const Corpus& GetCorpus() {
    static const Corpus corpus = [] {
        Corpus result;
        std::vector<std::vector<uint8_t>> programs;
        const auto fonts = TypeframeTest::ReadFontPrograms("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf");
        if (!fonts.empty()) {
            programs.push_back(fonts[0].fpgm);
            programs.push_back(fonts[0].prep);
            programs.insert(programs.end(), fonts[0].glyphs.begin(), fonts[0].glyphs.end());
        } else {
            programs.push_back(SyntheticProgram());
        }
        TTCompiler compiler;
        for (const auto& code : programs) {
            auto buffer = Bedrock::MakeCounted<BigEndianBuffer>(code.data(), code.size(), 4);
            if (!compiler.Load(buffer)) continue;
            result.programs.push_back(buffer);
            result.texts.push_back(compiler.assembly);
            result.instructions += CountInstructions(code);
            result.lines += static_cast<int64_t>(compiler.assembly.size());
            result.bytes += static_cast<int64_t>(code.size());
        }
        return result;
    }();
    return corpus;
}

void SetCounters(benchmark::State& state, const Corpus& corpus) {
    state.counters["programs"] = static_cast<double>(corpus.programs.size());
    state.counters["instructions"] = static_cast<double>(corpus.instructions);
    // Seconds per instruction and per line of text, printed with an SI
    // prefix ("25.4n" is 25.4 ns).
    const auto kPerItem = benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert;
    state.counters["time/instruction"] = benchmark::Counter(static_cast<double>(corpus.instructions), kPerItem);
    state.counters["time/line"] = benchmark::Counter(static_cast<double>(corpus.lines), kPerItem);
    state.SetBytesProcessed(state.iterations() * corpus.bytes);
}

void BM_Disassemble(benchmark::State& state) {
    const Corpus& corpus = GetCorpus();
    // One compiler per program, as glyphs have.
    std::vector<TTCompiler> compilers(corpus.programs.size());
    for (auto _ : state) {
        for (size_t i = 0; i < corpus.programs.size(); ++i) {
            benchmark::DoNotOptimize(compilers[i].Load(corpus.programs[i]));
        }
    }
    SetCounters(state, corpus);
}
BENCHMARK(BM_Disassemble)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Disassemble)->Unit(benchmark::kMillisecond)->Threads(2)->UseRealTime();

void BM_Assemble(benchmark::State& state) {
    const Corpus& corpus = GetCorpus();
    std::vector<TTCompiler> compilers(corpus.texts.size());
    for (size_t i = 0; i < compilers.size(); ++i) compilers[i].assembly = corpus.texts[i];
    for (auto _ : state) {
        for (auto& compiler : compilers) benchmark::DoNotOptimize(compiler.Assemble());
    }
    SetCounters(state, corpus);
}
BENCHMARK(BM_Assemble)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Assemble)->Unit(benchmark::kMillisecond)->Threads(2)->UseRealTime();

}  // namespace
