#include "layout/CoverageTable.h"

#include <algorithm>
#include <functional>

namespace Typeframe {

namespace {

// Glyph ids are 16 bits and a well-formed coverage lists each glyph once, so
// no well-formed table expands to more than 65536 glyphs. A longer expansion
// repeats glyphs; refusing it is the smallest bound that changes nothing for
// a good font, and it keeps 6-byte range records (up to 65535 of them, each
// up to 65536 glyphs wide) from costing more than 128 KiB.
constexpr uint64_t kMaxExpandedGlyphs = 0x10000;

// A count field is 16 bits: entries past 65535 are left out, so that the
// count written always matches what follows it.
constexpr size_t kMaxCount = 0xFFFF;

bool LoadGlyphArray(BigEndianBuffer& in, uint16_t count, std::vector<uint16_t>& glyphs) {
    if (in.GetRemaining() / 2 < count) return false;
    glyphs.clear();
    glyphs.reserve(count);
    for (unsigned i = 0; i < count; ++i) {
        uint16_t glyph = 0;
        in.GetU16(glyph);
        glyphs.push_back(glyph);
    }
    return true;
}

bool LoadRangeRecords(BigEndianBuffer& in, uint16_t count, std::vector<uint16_t>& glyphs) {
    constexpr unsigned long kRecordSize = 6;
    if (in.GetRemaining() / kRecordSize < count) return false;
    const unsigned long records = in.Tell();
    // A first pass finds the expanded length, to bound it and to allocate
    // once. A record with start above end holds no glyph.
    uint64_t total = 0;
    for (unsigned i = 0; i < count; ++i) {
        uint16_t start = 0;
        uint16_t end = 0;
        in.GetU16(records + kRecordSize * i, start);
        in.GetU16(records + kRecordSize * i + 2, end);
        if (start <= end) total += end - start + 1u;
    }
    if (total > kMaxExpandedGlyphs) return false;
    glyphs.clear();
    glyphs.reserve(total);
    // The start coverage index is not read: it follows from the list.
    for (unsigned i = 0; i < count; ++i) {
        uint16_t start = 0;
        uint16_t end = 0;
        in.GetU16(records + kRecordSize * i, start);
        in.GetU16(records + kRecordSize * i + 2, end);
        for (uint32_t glyph = start; glyph <= end; ++glyph) glyphs.push_back(static_cast<uint16_t>(glyph));
    }
    in.Seek(records + kRecordSize * count);
    return true;
}

}  // namespace

bool CoverageTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!source) return false;
    BigEndianBuffer& in = *source;
    if (!in.GetU16(format) || (format != 1 && format != 2)) return false;
    uint16_t count = 0;
    if (!in.GetU16(count)) return false;
    return format == 1 ? LoadGlyphArray(in, count, glyphs) : LoadRangeRecords(in, count, glyphs);
}

unsigned long CoverageTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    BigEndianBuffer& out = StartSave();
    out.SetU16(format);
    if (format == 1) {
        const size_t count = std::min(glyphs.size(), kMaxCount);
        out.SetU16(static_cast<uint16_t>(count));
        for (size_t i = 0; i < count; ++i) out.SetU16(glyphs[i]);
    } else if (format == 2) {
        std::vector<RangeRecord> ranges;
        MakeRanges(ranges);
        const size_t count = std::min(ranges.size(), kMaxCount);
        out.SetU16(static_cast<uint16_t>(count));
        for (size_t i = 0; i < count; ++i) {
            out.SetU16(ranges[i].start);
            out.SetU16(ranges[i].end);
            out.SetU16(ranges[i].startCoverageIndex);
        }
    } else {
        // An unknown format has no body: the node holds the format alone, and
        // the index returned is 0 rather than this node's.
        return 0;
    }
    return index;
}

bool CoverageTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const CoverageTable&>(other);
    if (font.Get() != that.font.Get()) return std::less<const OTFont*>()(font.Get(), that.font.Get());
    if (format != that.format) return format < that.format;
    return glyphs < that.glyphs;
}

void CoverageTable::GetGids(std::vector<unsigned short>& out) const { out = glyphs; }

void CoverageTable::MakeRanges(std::vector<RangeRecord>& ranges) const {
    ranges.clear();
    for (size_t i = 0; i < glyphs.size(); ++i) {
        const uint16_t glyph = glyphs[i];
        if (!ranges.empty() && glyph == ranges.back().end + 1) {
            ranges.back().end = glyph;
        } else {
            ranges.push_back({glyph, glyph, static_cast<uint16_t>(i)});
        }
    }
}

}  // namespace Typeframe
