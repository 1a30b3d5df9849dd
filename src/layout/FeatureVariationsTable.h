#pragma once

// The feature variations of GSUB and GPOS: records that each pair a set of
// conditions on the design axes with feature tables that replace features of
// the feature list where the conditions hold. The library only reads them;
// the instancer brings the substituted features into the feature list, and
// the conditions are tested only by hosts that ask.
//
// The small records (condition tables, sets, substitutions) live here with
// their owner.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFont.h"
#include "layout/FeatureTable.h"

namespace Typeframe {

class FeatureVariationsTable {
public:
    // One condition on one axis: the axis's normalised coordinate lies in a
    // closed range.
    struct ConditionTable {
        // Reads at the buffer's position. False, with nothing changed, when
        // the format doesn't fit; false, with only `format` kept, for a
        // format other than 1. Otherwise true, with the fields that fit.
        bool Load(Bedrock::Counted<BigEndianBuffer> source);
        // False when `axisIndex` is not below the size of `location`;
        // otherwise whether the coordinate lies between the two limits, both
        // included, compared as raw signed values. `format` isn't looked at,
        // so a condition of an unknown format (zero axis and limits) holds
        // exactly where axis 0 is at its default.
        bool IsApplicable(const std::vector<Fixed2_14>& location) const;

        uint16_t format = 0;
        uint16_t axisIndex = 0;
        Fixed2_14 filterRangeMinValue;
        Fixed2_14 filterRangeMaxValue;
    };

    // All of its conditions must hold; an empty set holds everywhere.
    class ConditionTableSet {
    public:
        // Reads at the buffer's position; offsets count from there. False,
        // with nothing changed, when the two-byte count doesn't fit.
        // Otherwise keeps one condition per offset that the bytes (and the
        // budget) hold, each read from its offset (0 included) as
        // ConditionTable::Load reads it; one that lies past the end stays
        // all zero.
        bool Load(Bedrock::Counted<BigEndianBuffer> source);
        bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
        // The conditions in order, false at the first that fails; true
        // otherwise, for an empty set too.
        bool IsApplicable(const std::vector<Fixed2_14>& location) const;

        // In file order.
        std::vector<ConditionTable> conditions;
    };

    // A feature table that replaces the feature at `featureIndex` of the
    // feature list.
    struct FeatureTableSubstitutionRecord {
        uint16_t featureIndex = 0;
        // Tag 0: an alternate is no list's record and has no tag of its own.
        FeatureTable alternateFeatureTable;
    };

    class FeatureTableSubstitutionTable {
    public:
        explicit FeatureTableSubstitutionTable(Bedrock::NonCounted<OTFont> ownerFont = nullptr) : font(ownerFont) {}

        // Reads at the buffer's position; offsets count from there. False,
        // with nothing changed, when the six-byte header doesn't fit.
        // Otherwise keeps the versions and the records that the bytes (and
        // the budget) hold, each alternate loaded from its offset (0
        // included) with tag 0, so the parameters it points at are dropped;
        // one that lies past the end stays empty.
        bool Load(Bedrock::Counted<BigEndianBuffer> source);
        bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);

        Bedrock::NonCounted<OTFont> font;
        uint16_t majorVersion = 0;
        uint16_t minorVersion = 0;
        // In file order.
        std::vector<FeatureTableSubstitutionRecord> substitutions;
    };

    class FeatureVariationRecord {
    public:
        explicit FeatureVariationRecord(Bedrock::NonCounted<OTFont> ownerFont) : substitutionTable(ownerFont) {}

        // Whether every condition of the set holds (see ConditionTableSet).
        bool IsApplicable(const std::vector<Fixed2_14>& location) const;

        // Empty when the record's offset is 0 or past the end.
        ConditionTableSet conditionSet;
        FeatureTableSubstitutionTable substitutionTable;
    };

    FeatureVariationsTable() = default;
    explicit FeatureVariationsTable(Bedrock::NonCounted<OTFont> ownerFont) : font(ownerFont) {}
    FeatureVariationsTable(const FeatureVariationsTable&) = default;
    FeatureVariationsTable& operator=(const FeatureVariationsTable&) = default;
    virtual ~FeatureVariationsTable();

    // Reads at the buffer's position; offsets count from there. False, with
    // nothing changed, when the eight-byte header doesn't fit. Otherwise
    // keeps the versions and the records that the bytes hold (8 bytes each),
    // each given `font`, and loads each part from its non-zero offset; a
    // part whose offset is 0 or past the end stays empty. What one load
    // keeps is bounded by SubTable::GetLoadBudget, since many records may
    // point at one large set or substitution table.
    virtual bool Load(Bedrock::Counted<BigEndianBuffer> source);

    Bedrock::NonCounted<OTFont> font;
    // A major version of 0 marks a table that holds no feature variations.
    uint16_t majorVersion = 0;
    uint16_t minorVersion = 0;
    // In file order.
    std::vector<FeatureVariationRecord> records;
};

}  // namespace Typeframe
