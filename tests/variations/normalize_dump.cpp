// Test helper for normalize_oracle.py: prints the normalised location of
// every named instance and every axis extreme of a variable font, as the
// instancer computes it from fvar and avar: clamp to the axis range, scale to
// [-1, 1] around the default, map through avar, round to 2.14 half away from
// zero. The oracle prints the same lines from fontTools and compares.
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
#include "variations/OTavarTable.h"
#include "variations/OTfvarTable.h"

using namespace Typeframe;

namespace {

std::vector<int> Normalize(const OTfvarTable& fvar, const OTavarTable* avar, const std::vector<double>& location) {
    std::vector<int> result;
    for (size_t i = 0; i < location.size(); ++i) {
        auto axis = fvar.GetVariationAxis(static_cast<unsigned short>(i));
        if (!axis) {
            result.push_back(0);
            continue;
        }
        const double minValue = axis->minValue.GetRaw() * (1.0 / 65536);
        const double defaultValue = axis->defaultValue.GetRaw() * (1.0 / 65536);
        const double maxValue = axis->maxValue.GetRaw() * (1.0 / 65536);
        const double v = std::min(maxValue, std::max(minValue, location[i]));
        double n = 0;
        if (defaultValue > v) {
            n = -(defaultValue - v) / (defaultValue - minValue);
        } else if (v > defaultValue) {
            n = (v - defaultValue) / (maxValue - defaultValue);
        }
        n = std::min(1.0, std::max(-1.0, n));
        if (avar) n = avar->NormalizeValue(static_cast<int>(i), n);
        result.push_back(Fixed2_14(n).GetRaw());
    }
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

    const size_t axisCount = fvar->axes.size();
    for (size_t i = 0; i < fvar->instances.size(); ++i) {
        std::vector<double> location;
        for (const Fixed16_16& value : fvar->instances[i]->coordinates) location.push_back(value.ToDouble());
        std::printf("instance %zu", i);
        Print(location, Normalize(*fvar, avar.Get(), location));
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
            Print({location[i]}, Normalize(*fvar, avar.Get(), location));
        }
    }
    return 0;
}
