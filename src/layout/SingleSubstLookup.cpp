#include "layout/SingleSubstLookup.h"

#include <algorithm>
#include <utility>

#include "layout/SequenceContextTable.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

// format, coverage offset, and the delta or the glyph count.
constexpr unsigned long kHeaderSize = 6;

}  // namespace

bool SingleSubstLookup::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool SingleSubstLookup::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const uint64_t start = source->Tell();
    uint16_t readFormat = 0;
    if (!source->GetU16(start, readFormat)) return false;
    if (readFormat != 1 && readFormat != 2) {
        format = readFormat;
        return false;
    }
    if (!source->IsInBounds(start, kHeaderSize)) return false;
    format = readFormat;
    uint16_t coverageOffset = 0;
    uint16_t field = 0;
    source->GetU16(start + 2, coverageOffset);
    source->GetU16(start + 4, field);
    if (format == 1) {
        deltaGlyphID = field;
    } else {
        SequenceContext::ReadIds(*source, start + kHeaderSize, field, substituteGlyphs, budget);
    }
    SequenceContext::LoadChild(source, start, coverageOffset, font, coverage, budget);
    return MakeMapping();
}

bool SingleSubstLookup::MakeMapping() {
    // Deliberately made once: a mapping already there stays as it is, even
    // when the fields have changed since.
    if (!mapping.empty()) return false;
    const std::vector<uint16_t>& glyphs = coverage.glyphs;
    if (format == 1) {
        // The sum wraps at 16 bits, as the delta is applied modulo 65536.
        for (uint16_t glyph : glyphs) mapping[glyph] = static_cast<uint16_t>(glyph + deltaGlyphID);
        return true;
    }
    if (format != 2 || substituteGlyphs.size() != glyphs.size()) return false;
    for (size_t i = 0; i < glyphs.size(); ++i) mapping[glyphs[i]] = substituteGlyphs[i];
    return true;
}

unsigned long SingleSubstLookup::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    out->SetU16(format);
    const TableOffset coverageOffset(out, 0, 2, true);
    graph.AddOffset(index, coverageOffset, coverage.Save(graph));
    if (format == 1) {
        out->SetU16(deltaGlyphID);
        return index;
    }
    if (format == 2) {
        const size_t count = std::min(substituteGlyphs.size(), kMaxCount);
        out->SetU16(static_cast<uint16_t>(count));
        SequenceContext::WriteIds(*out, substituteGlyphs, count);
        return index;
    }
    // An unknown format has no layout to write: 0 tells the caller that this
    // subtable is not to be written.
    return 0;
}

bool SingleSubstLookup::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const SingleSubstLookup&>(other);
    if (const int order = ThreeWay(format, that.format)) return order < 0;
    if (const int order = ThreeWay<GraphNode>(coverage, that.coverage)) return order < 0;
    if (const int order = ThreeWay(deltaGlyphID, that.deltaGlyphID)) return order < 0;
    return substituteGlyphs < that.substituteGlyphs;
}

}  // namespace Typeframe
