// Test helper for varstore_oracle.py: prints the deltas of a variable font's
// HVAR and VVAR advances and MVAR values at given normalised locations, as
// FontInstancer::ApplyVariation computes them from the item variation store.
//
// usage: varstore_dump FONT LOCATION...
// A LOCATION is the normalised coordinates as 2.14 integers joined by commas,
// one per fvar axis ("-" for a font without axes). Lines:
//   glyphs N
//   table HVAR|VVAR|MVAR
//   L I H|V GLYPH DELTA        advance delta of a glyph at location I
//   L I M INDEX TAG DELTA      MVAR record INDEX (TAG as 8 hex digits)
// Exit status 0, or 1 when the font can't be read.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/Counted.h"
#include "base/FileInStream.h"
#include "base/FixedPoint.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "instancer/FontInstancer.h"
#include "variations/DeltaSetIndexMap.h"
#include "variations/ItemVariationStore.h"
#include "variations/OTHVARTable.h"
#include "variations/OTMVARTable.h"
#include "variations/OTVVARTable.h"

using namespace Typeframe;

namespace {

// The instancer's own delta arithmetic is what the oracle judges.
bool ApplyVariation(int& value, DeltaSetIndexMap::IndexEntry entry, const ItemVariationStore& store,
                    const std::vector<Fixed2_14>& coordinates) {
    return FontInstancer::ApplyVariation(value, entry, store, coordinates);
}

std::vector<Fixed2_14> ParseLocation(const std::string& text) {
    std::vector<Fixed2_14> coordinates;
    if (text == "-") return coordinates;
    size_t start = 0;
    while (start <= text.size()) {
        size_t comma = text.find(',', start);
        if (comma == std::string::npos) comma = text.size();
        const long raw = std::strtol(text.substr(start, comma - start).c_str(), nullptr, 10);
        coordinates.push_back(Fixed2_14::FromRaw(static_cast<int16_t>(raw)));
        start = comma + 1;
    }
    return coordinates;
}

void DumpAdvances(int location, char kind, const DeltaSetIndexMap& map, const ItemVariationStore& store,
                  unsigned int glyphCount, const std::vector<Fixed2_14>& coordinates) {
    for (unsigned int glyph = 0; glyph < glyphCount; ++glyph) {
        DeltaSetIndexMap::IndexEntry entry;
        // Without a map, glyph g uses item g of the first block.
        if (!map.GetIndexEntry(static_cast<unsigned short>(glyph), entry)) {
            entry.outerIndex = 0;
            entry.innerIndex = static_cast<uint16_t>(glyph);
        }
        int delta = 0;
        ApplyVariation(delta, entry, store, coordinates);
        std::printf("L %d %c %u %d\n", location, kind, glyph, delta);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: varstore_dump FONT LOCATION...\n");
        return 1;
    }
    auto stream = Bedrock::FileInStream::Open(argv[1], false);
    auto file = Bedrock::MakeCounted<OTFile>();
    if (!stream || !file->Load(stream)) {
        std::fprintf(stderr, "%s: can't be read\n", argv[1]);
        return 1;
    }
    auto font = file->GetFont(0);
    if (!font) {
        std::fprintf(stderr, "%s: no font\n", argv[1]);
        return 1;
    }
    const unsigned int glyphCount = font->GetNumGlyphs();
    auto hvar = font->GetTableT<OTHVARTable>();
    auto vvar = font->GetTableT<OTVVARTable>();
    auto mvar = font->GetTableT<OTMVARTable>();
    std::printf("glyphs %u\n", glyphCount);
    if (hvar) std::printf("table HVAR\n");
    if (vvar) std::printf("table VVAR\n");
    if (mvar) std::printf("table MVAR\n");

    for (int i = 2; i < argc; ++i) {
        const int location = i - 2;
        const auto coordinates = ParseLocation(argv[i]);
        if (hvar) {
            DumpAdvances(location, 'H', hvar->advanceWidthMapping, hvar->itemVariationStore, glyphCount, coordinates);
        }
        if (vvar) {
            DumpAdvances(location, 'V', vvar->advanceHeightMapping, vvar->itemVariationStore, glyphCount, coordinates);
        }
        if (mvar) {
            for (unsigned int r = 0; r < mvar->valueRecordCount; ++r) {
                OTMVARTable::ValueRecord record;
                if (!mvar->GetValueRecord(static_cast<unsigned short>(r), record)) continue;
                int delta = 0;
                ApplyVariation(delta, record.GetIndexEntry(), mvar->itemVariationStore, coordinates);
                std::printf("L %d M %u %08x %d\n", location, r, static_cast<unsigned int>(record.valueTag), delta);
            }
        }
    }
    return 0;
}
