// Test helper for normalize_oracle.py: prints the normalised location of
// every named instance and every axis extreme of a variable font, as
// FontInstancer::MapVarParams computes it from fvar and avar. The oracle prints the same lines from fontTools and
// compares.
//
// usage: normalize_dump FONT
// Lines:
//   instance I C1 ... -> N1 ...      (C: user values as 16.16 words)
//   axis I TAG min|default|max C -> N1 ...
// Exit status 0, or 1 when the font or its fvar can't be read.

#include <algorithm>
#include <cstdio>
#include <vector>

#include "base/Counted.h"
#include "base/FileInStream.h"
#include "base/FixedPoint.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "core/Tag.h"
#include "instancer/FontInstancer.h"
#include "variations/OTavarTable.h"
#include "variations/OTfvarTable.h"

using namespace Typeframe;

namespace {

// The instancer's own mapping: clamp, scale around the default, avar, 2.14.
std::vector<int> Normalize(const FontInstancer& instancer, const Bedrock::Counted<OTfvarTable>& fvar,
                           const Bedrock::Counted<OTavarTable>& avar, const std::vector<double>& location) {
    std::vector<Fixed2_14> coordinates;
    std::vector<int> result;
    if (!instancer.MapVarParams(fvar, avar, location, coordinates)) return result;
    for (const Fixed2_14& value : coordinates) result.push_back(value.GetRaw());
    return result;
}

void Print(const std::vector<double>& location, const std::vector<int>& normalized) {
    for (double value : location) std::printf(" %d", Fixed16_16(value).GetRaw());
    std::printf(" ->");
    for (int value : normalized) std::printf(" %d", value);
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: normalize_dump FONT\n");
        return 1;
    }
    auto stream = Bedrock::FileInStream::Open(argv[1], false);
    auto file = Bedrock::MakeCounted<OTFile>();
    if (!stream || !file->Load(stream)) {
        std::fprintf(stderr, "%s: can't be read\n", argv[1]);
        return 1;
    }
    auto font = file->GetFont(0);
    auto fvar = font ? font->GetTableT<OTfvarTable>() : nullptr;
    if (!fvar) {
        std::fprintf(stderr, "%s: no readable fvar\n", argv[1]);
        return 1;
    }
    auto avar = font->GetTableT<OTavarTable>();
    FontInstancer instancer;

    const size_t axisCount = fvar->axes.size();
    for (size_t i = 0; i < fvar->instances.size(); ++i) {
        std::vector<double> location;
        for (const Fixed16_16& value : fvar->instances[i]->coordinates) location.push_back(value.ToDouble());
        std::printf("instance %zu", i);
        Print(location, Normalize(instancer, fvar, avar, location));
    }
    std::vector<double> defaults;
    for (const auto& axis : fvar->axes) defaults.push_back(axis->defaultValue.ToDouble());
    for (size_t i = 0; i < axisCount; ++i) {
        const auto& axis = fvar->axes[i];
        const struct {
            const char* name;
            Fixed16_16 value;
        } extremes[] = {{"min", axis->minValue}, {"default", axis->defaultValue}, {"max", axis->maxValue}};
        for (const auto& extreme : extremes) {
            std::vector<double> location = defaults;
            location[i] = extreme.value.ToDouble();
            std::printf("axis %zu %s %s", i, TagToString(axis->axisTag).c_str(), extreme.name);
            Print({location[i]}, Normalize(instancer, fvar, avar, location));
        }
    }
    return 0;
}
