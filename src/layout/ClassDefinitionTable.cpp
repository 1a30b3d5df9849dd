#include "layout/ClassDefinitionTable.h"

#include <algorithm>
#include <functional>

namespace Typeframe {

namespace {

// Glyph ids are 16 bits and the ranges of a well-formed table don't overlap,
// so their spans add up to at most 65536 glyphs. More means glyphs listed
// again, where the first class wins anyway; refusing it is the smallest bound
// that changes nothing for a good font, and it keeps 65535 records of 65536
// glyphs each from costing billions of map look-ups.
constexpr uint64_t kMaxExpandedGlyphs = 0x10000;

// A count field is 16 bits, and a map can span all 65536 glyph ids (or make
// 65536 one-glyph ranges). What lies past 65535 entries is then left out: that
// is glyph 65535, which no font has, since numGlyphs is 16 bits too.
constexpr uint32_t kMaxCount = 0xFFFF;

bool LoadClassArray(BigEndianBuffer& in, std::map<uint16_t, uint16_t>& classes) {
    uint16_t startGlyphID = 0;
    uint16_t count = 0;
    if (!in.GetU16(startGlyphID) || !in.GetU16(count)) return false;
    if (in.GetRemaining() / 2 < count) return false;
    const unsigned long values = in.Tell();
    classes.clear();
    // Entries that would lie past glyph 65535 name no glyph and are skipped.
    const uint32_t kept = std::min<uint32_t>(count, 0x10000u - startGlyphID);
    for (uint32_t i = 0; i < kept; ++i) {
        uint16_t classValue = 0;
        in.GetU16(values + 2 * i, classValue);
        classes.emplace_hint(classes.end(), static_cast<uint16_t>(startGlyphID + i), classValue);
    }
    in.Seek(values + 2ul * count);
    return true;
}

bool LoadClassRanges(BigEndianBuffer& in, std::map<uint16_t, uint16_t>& classes) {
    constexpr unsigned long kRecordSize = 6;
    uint16_t count = 0;
    if (!in.GetU16(count)) return false;
    if (in.GetRemaining() / kRecordSize < count) return false;
    const unsigned long records = in.Tell();
    // A first pass bounds the expansion before anything is stored. A record
    // with start above end is skipped.
    uint64_t total = 0;
    for (unsigned i = 0; i < count; ++i) {
        uint16_t start = 0;
        uint16_t end = 0;
        in.GetU16(records + kRecordSize * i, start);
        in.GetU16(records + kRecordSize * i + 2, end);
        if (start <= end) total += end - start + 1u;
    }
    if (total > kMaxExpandedGlyphs) return false;
    classes.clear();
    for (unsigned i = 0; i < count; ++i) {
        uint16_t start = 0;
        uint16_t end = 0;
        uint16_t classValue = 0;
        in.GetU16(records + kRecordSize * i, start);
        in.GetU16(records + kRecordSize * i + 2, end);
        in.GetU16(records + kRecordSize * i + 4, classValue);
        // emplace_hint never replaces an entry: the first class read wins.
        // The hint is right, and the insertion constant, for sorted ranges.
        for (uint32_t glyph = start; glyph <= end; ++glyph) {
            classes.emplace_hint(classes.end(), static_cast<uint16_t>(glyph), classValue);
        }
    }
    in.Seek(records + kRecordSize * count);
    return true;
}

}  // namespace

bool ClassDefinitionTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!source) return false;
    BigEndianBuffer& in = *source;
    if (!in.GetU16(format)) return false;
    if (format == 1) return LoadClassArray(in, classes);
    if (format == 2) return LoadClassRanges(in, classes);
    return false;
}

unsigned long ClassDefinitionTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    BigEndianBuffer& out = StartSave();
    out.SetU16(format);
    if (format == 1) {
        // From the lowest glyph to the highest, 0 for a glyph the map lacks;
        // an empty map writes start 0 and count 0.
        const uint16_t first = classes.empty() ? 0 : classes.begin()->first;
        const uint32_t count =
            classes.empty() ? 0 : std::min<uint32_t>(classes.rbegin()->first - first + 1u, kMaxCount);
        out.SetU16(first);
        out.SetU16(static_cast<uint16_t>(count));
        auto entry = classes.begin();
        for (uint32_t i = 0; i < count; ++i) {
            if (entry != classes.end() && entry->first == first + i) {
                out.SetU16(entry->second);
                ++entry;
            } else {
                out.SetU16(0);
            }
        }
    } else if (format == 2) {
        std::vector<RangeRecord> ranges;
        MakeRanges(ranges);
        const size_t count = std::min<size_t>(ranges.size(), kMaxCount);
        out.SetU16(static_cast<uint16_t>(count));
        for (size_t i = 0; i < count; ++i) {
            out.SetU16(ranges[i].start);
            out.SetU16(ranges[i].end);
            out.SetU16(ranges[i].classValue);
        }
    } else {
        // An unknown format has no body: the node holds the format alone, and
        // the index returned is 0 rather than this node's.
        return 0;
    }
    return index;
}

bool ClassDefinitionTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const ClassDefinitionTable&>(other);
    if (font.Get() != that.font.Get()) return std::less<const OTFont*>()(font.Get(), that.font.Get());
    if (format != that.format) return format < that.format;
    return classes < that.classes;
}

void ClassDefinitionTable::MakeRanges(std::vector<RangeRecord>& ranges) const {
    ranges.clear();
    for (const auto& [glyph, classValue] : classes) {
        if (!ranges.empty() && glyph == ranges.back().end + 1 && classValue == ranges.back().classValue) {
            ranges.back().end = glyph;
        } else {
            ranges.push_back({glyph, glyph, classValue});
        }
    }
}

}  // namespace Typeframe
