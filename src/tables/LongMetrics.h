#pragma once

// The file form shared by hmtx and vmtx: long metrics (advance and bearing)
// for the first glyphs, then bearings alone for the glyphs that repeat the
// last advance. In memory both tables hold one full record per glyph; these
// helpers expand and compact the trailing run.

#include <cstdint>
#include <vector>

#include "core/BigEndianBuffer.h"

namespace Typeframe::LongMetrics {

// Reads `longCount` long metrics and bearings for the rest, up to
// `numGlyphs` records. The glyphs behind the long metrics share the last long
// advance, or 0 when there is none; bytes missing at the end read as zero.
template <class Record>
void Read(BigEndianBuffer& in, unsigned longCount, unsigned numGlyphs, std::vector<Record>& metrics,
          uint16_t Record::*advance, int16_t Record::*bearing) {
    metrics.assign(numGlyphs, Record{});
    in.Seek(0);
    for (unsigned i = 0; i < longCount; ++i) {
        in.GetU16(metrics[i].*advance);
        in.GetS16(metrics[i].*bearing);
    }
    const uint16_t lastAdvance = longCount != 0 ? metrics[longCount - 1].*advance : 0;
    for (unsigned i = longCount; i < numGlyphs; ++i) {
        metrics[i].*advance = lastAdvance;
        in.GetS16(metrics[i].*bearing);
    }
}

// How many long metrics the records need: the trailing run of advances equal
// to the last one is stored as bearings only, its first member kept long.
template <class Record>
size_t CountLong(const std::vector<Record>& metrics, uint16_t Record::*advance) {
    size_t count = metrics.size();
    while (count > 1 && metrics[count - 1].*advance == metrics[count - 2].*advance) --count;
    return count;
}

template <class Record>
void Write(BigEndianBuffer& out, const std::vector<Record>& metrics, size_t longCount, uint16_t Record::*advance,
           int16_t Record::*bearing) {
    for (size_t i = 0; i < longCount; ++i) {
        out.SetU16(metrics[i].*advance);
        out.SetS16(metrics[i].*bearing);
    }
    for (size_t i = longCount; i < metrics.size(); ++i) out.SetS16(metrics[i].*bearing);
}

}  // namespace Typeframe::LongMetrics
