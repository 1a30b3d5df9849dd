#include "layout/LigatureSubstLookup.h"

#include <algorithm>
#include <utility>

#include "layout/SequenceContextTable.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

// format, coverage offset, set count.
constexpr unsigned long kHeaderSize = 6;
// ligatureGlyph, component count.
constexpr unsigned long kLigatureHeaderSize = 4;

}  // namespace

bool LigatureSubstLookup::LigatureTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool LigatureSubstLookup::LigatureTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const uint64_t start = source->Tell();
    uint16_t glyph = 0;
    uint16_t componentCount = 0;
    if (!source->GetU16(start, glyph) || !source->GetU16(start + 2, componentCount)) return false;
    // The count includes the first glyph; taking 1 from 0 would announce
    // 65535 components.
    if (componentCount == 0) return false;
    const uint64_t components = componentCount - 1u;
    // Kept whole or not at all: a shorter ligature would form where the
    // font's doesn't.
    if (!source->IsInBounds(start + kLigatureHeaderSize, 2 * components)) return false;
    if (components * sizeof(uint16_t) > budget) return false;
    ligatureGlyph = glyph;
    SequenceContext::ReadIds(*source, start + kLigatureHeaderSize, components, componentGlyphs, budget);
    source->Seek(start + kLigatureHeaderSize + 2 * components);
    isPresent = true;
    return true;
}

unsigned long LigatureSubstLookup::LigatureTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    BigEndianBuffer& out = StartSave();
    // The count written is one more than the glyphs held, for the first glyph.
    const size_t count = std::min(componentGlyphs.size(), kMaxCount - 1);
    out.SetU16(ligatureGlyph);
    out.SetU16(static_cast<uint16_t>(count + 1));
    SequenceContext::WriteIds(out, componentGlyphs, count);
    return index;
}

bool LigatureSubstLookup::LigatureTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const LigatureTable&>(other);
    // Deliberately presence plays no part: an absent ligature equals a
    // present one with glyph 0 and no components.
    if (ligatureGlyph != that.ligatureGlyph) return ligatureGlyph < that.ligatureGlyph;
    return componentGlyphs < that.componentGlyphs;
}

bool LigatureSubstLookup::LigatureSet::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool LigatureSubstLookup::LigatureSet::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const uint64_t start = source->Tell();
    uint16_t count = 0;
    if (!source->GetU16(start, count)) return false;
    SequenceContext::LoadAtOffsets(source, start, start + 2, count, ligatures, budget);
    return true;
}

unsigned long LigatureSubstLookup::LigatureSet::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const size_t count = std::min(ligatures.size(), kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    for (size_t i = 0; i < count; ++i) {
        const TableOffset offset(out, 0, 2, true);
        if (ligatures[i].isPresent) graph.AddOffset(index, offset, ligatures[i].Save(graph));
    }
    return index;
}

bool LigatureSubstLookup::LigatureSet::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const LigatureSet&>(other);
    return std::lexicographical_compare(ligatures.begin(), ligatures.end(), that.ligatures.begin(),
                                        that.ligatures.end());
}

bool LigatureSubstLookup::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool LigatureSubstLookup::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const uint64_t start = source->Tell();
    if (!source->IsInBounds(start, kHeaderSize)) return false;
    uint16_t coverageOffset = 0;
    uint16_t count = 0;
    source->GetU16(start, format);
    source->GetU16(start + 2, coverageOffset);
    source->GetU16(start + 4, count);
    // Sets that many offsets share load once per offset, so the budget
    // bounds them as well as the bytes of the offsets.
    source->Seek(start + kHeaderSize);
    const uint64_t kept = KeepWithinBudget(std::min<uint64_t>(count, source->GetRemaining() / sizeof(uint16_t)),
                                           sizeof(LigatureSet), budget);
    std::vector<uint16_t> offsets(kept);
    for (uint16_t& offset : offsets) source->GetU16(offset);
    SequenceContext::LoadChild(source, start, coverageOffset, font, coverage, budget);
    ligatureSets.assign(kept, LigatureSet());
    for (uint64_t i = 0; i < kept; ++i) {
        if (offsets[i] == 0) continue;
        source->Seek(start + offsets[i]);
        ligatureSets[i].Load(source, budget);
    }
    return format == 1;
}

unsigned long LigatureSubstLookup::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    out->SetU16(format);
    // Deliberately the coverage is saved before its placeholder is made;
    // since each node writes a buffer of its own, neither these bytes nor the
    // graph differ from the other order.
    const unsigned long coverageIndex = coverage.Save(graph);
    const TableOffset coverageOffset(out, 0, 2, true);
    graph.AddOffset(index, coverageOffset, coverageIndex);
    const size_t count = std::min(ligatureSets.size(), kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    for (size_t i = 0; i < count; ++i) {
        const TableOffset offset(out, 0, 2, true);
        graph.AddOffset(index, offset, ligatureSets[i].Save(graph));
    }
    return index;
}

bool LigatureSubstLookup::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const LigatureSubstLookup&>(other);
    if (format != that.format) return format < that.format;
    if (coverage < that.coverage) return true;
    if (that.coverage < coverage) return false;
    return std::lexicographical_compare(ligatureSets.begin(), ligatureSets.end(), that.ligatureSets.begin(),
                                        that.ligatureSets.end());
}

}  // namespace Typeframe
