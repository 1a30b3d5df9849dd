#include "layout/FeatureVariationsTable.h"

#include <algorithm>
#include <utility>

namespace Typeframe {

namespace {

// Version and a 32-bit record count.
constexpr unsigned long kTableHeaderSize = 8;
// Two 32-bit offsets: condition set, substitution table.
constexpr unsigned long kVariationRecordSize = 8;
constexpr unsigned long kConditionSetHeaderSize = 2;
constexpr unsigned long kConditionOffsetSize = 4;
// Version and a 16-bit count.
constexpr unsigned long kSubstitutionHeaderSize = 6;
// A 16-bit feature index and a 32-bit offset.
constexpr unsigned long kSubstitutionRecordSize = 6;

// Whether a child at `offset` from `start` begins inside the buffer. Written
// so that it cannot wrap, whatever the 32-bit offset.
bool StartsInside(const BigEndianBuffer& source, unsigned long start, uint32_t offset) {
    return source.IsInBounds(start, offset) && start + offset < source.GetLength();
}

}  // namespace

bool FeatureVariationsTable::ConditionTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!source) return false;
    const unsigned long start = source->Tell();
    if (!source->GetU16(start, format)) return false;
    if (format != 1) return false;
    // Read at fixed places rather than in sequence: a sequential fixed-point
    // read at the very end of a buffer gives the field before it again. So a
    // condition cut short keeps what its fields held for the parts that don't fit.
    source->GetU16(start + 2, axisIndex);
    source->GetFixed2_14(start + 4, filterRangeMinValue);
    source->GetFixed2_14(start + 6, filterRangeMaxValue);
    return true;
}

bool FeatureVariationsTable::ConditionTable::IsApplicable(const std::vector<Fixed2_14>& location) const {
    if (axisIndex >= location.size()) return false;
    // Raw signed values: the limits and the coordinate share one scale, so no
    // conversion is needed, and both limits count as inside.
    const int16_t coordinate = location[axisIndex].GetRaw();
    return filterRangeMinValue.GetRaw() <= coordinate && coordinate <= filterRangeMaxValue.GetRaw();
}

bool FeatureVariationsTable::ConditionTableSet::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool FeatureVariationsTable::ConditionTableSet::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const unsigned long start = source->Tell();
    if (!source->IsInBounds(start, kConditionSetHeaderSize)) return false;
    uint16_t count = 0;
    source->GetU16(count);

    const uint64_t kept = SubTable::KeepWithinBudget(
        std::min<uint64_t>(count, source->GetRemaining() / kConditionOffsetSize), sizeof(ConditionTable), budget);
    conditions.assign(kept, ConditionTable());
    const unsigned long offsets = start + kConditionSetHeaderSize;
    for (size_t i = 0; i < conditions.size(); ++i) {
        uint32_t offset = 0;
        source->GetU32(offsets + i * kConditionOffsetSize, offset);
        if (!StartsInside(*source, start, offset)) continue;
        // Followed even when 0, like the offsets of the other lists. A format
        // other than 1 keeps only its format: its axis and limits stay zero.
        source->Seek(start + offset);
        conditions[i].Load(source);
    }
    return true;
}

bool FeatureVariationsTable::ConditionTableSet::IsApplicable(const std::vector<Fixed2_14>& location) const {
    return std::all_of(conditions.begin(), conditions.end(),
                       [&location](const ConditionTable& condition) { return condition.IsApplicable(location); });
}

bool FeatureVariationsTable::FeatureTableSubstitutionTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool FeatureVariationsTable::FeatureTableSubstitutionTable::Load(Bedrock::Counted<BigEndianBuffer> source,
                                                                 uint64_t& budget) {
    if (!source) return false;
    const unsigned long start = source->Tell();
    if (!source->IsInBounds(start, kSubstitutionHeaderSize)) return false;
    uint16_t count = 0;
    source->GetU16(majorVersion);
    source->GetU16(minorVersion);
    source->GetU16(count);

    const uint64_t kept =
        SubTable::KeepWithinBudget(std::min<uint64_t>(count, source->GetRemaining() / kSubstitutionRecordSize),
                                   sizeof(FeatureTableSubstitutionRecord), budget);
    substitutions.clear();
    substitutions.resize(kept);
    const unsigned long records = start + kSubstitutionHeaderSize;
    for (size_t i = 0; i < substitutions.size(); ++i) {
        FeatureTableSubstitutionRecord& record = substitutions[i];
        uint32_t offset = 0;
        source->GetU16(records + i * kSubstitutionRecordSize, record.featureIndex);
        source->GetU32(records + i * kSubstitutionRecordSize + 2, offset);
        FeatureTable& alternate = record.alternateFeatureTable;
        alternate.font = font;
        // Tag 0 on purpose: the parameters class follows the tag, so an
        // alternate loads no parameters, and the feature it replaces loses
        // its own (a stylistic set's UI name, say) once substituted.
        alternate.tag = 0;
        if (!StartsInside(*source, start, offset)) continue;
        source->Seek(start + offset);
        alternate.Load(source, budget);
    }
    return true;
}

bool FeatureVariationsTable::FeatureVariationRecord::IsApplicable(const std::vector<Fixed2_14>& location) const {
    return conditionSet.IsApplicable(location);
}

FeatureVariationsTable::~FeatureVariationsTable() = default;

bool FeatureVariationsTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!source) return false;
    const unsigned long start = source->Tell();
    if (!source->IsInBounds(start, kTableHeaderSize)) return false;
    uint64_t budget = SubTable::GetLoadBudget(*source);
    uint32_t count = 0;
    source->GetU16(majorVersion);
    source->GetU16(minorVersion);
    source->GetU32(count);

    // A 32-bit count is bounded by the records the bytes hold before anything is allocated.
    const uint64_t kept =
        SubTable::KeepWithinBudget(std::min<uint64_t>(count, source->GetRemaining() / kVariationRecordSize),
                                   sizeof(FeatureVariationRecord), budget);
    records.clear();
    records.reserve(kept);
    for (uint64_t i = 0; i < kept; ++i) records.emplace_back(font);

    // Offsets are read at their places in the record array, so the position
    // that a part's load leaves doesn't matter. Many records may name one
    // shared set or table: each loads a copy, all within the one budget.
    const unsigned long recordsAt = start + kTableHeaderSize;
    for (size_t i = 0; i < records.size(); ++i) {
        FeatureVariationRecord& record = records[i];
        uint32_t conditionSetOffset = 0;
        uint32_t substitutionOffset = 0;
        source->GetU32(recordsAt + i * kVariationRecordSize, conditionSetOffset);
        source->GetU32(recordsAt + i * kVariationRecordSize + 4, substitutionOffset);
        // A zero condition set offset leaves the set empty, and so always applicable.
        if (conditionSetOffset != 0 && StartsInside(*source, start, conditionSetOffset)) {
            source->Seek(start + conditionSetOffset);
            record.conditionSet.Load(source, budget);
        }
        if (substitutionOffset != 0 && StartsInside(*source, start, substitutionOffset)) {
            source->Seek(start + substitutionOffset);
            record.substitutionTable.Load(source, budget);
        }
    }
    return true;
}

}  // namespace Typeframe
