#pragma once

// The feature list of GSUB and GPOS: one feature table per record, each
// holding the record's tag, kept in file order.

#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFont.h"
#include "layout/FeatureTable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class FeatureList : public SubTable {
public:
    // Reads at the buffer's position; offsets count from there. False, with
    // nothing changed, when the two-byte count doesn't fit. Otherwise sets
    // isPresent and keeps the records that the bytes hold, each feature
    // given the record's tag and `font` before it loads from its offset; one
    // that lies past the end stays empty. What one load keeps is bounded by
    // SubTable::GetLoadBudget.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // The count, then per feature its tag and offset; then each feature.
    unsigned long Save(TableGraph& graph) const;
    // Compares `font` (as a pointer), `isPresent`, `featureTables`.
    bool IsLessThan(const GraphNode& other) const override;

    // Replaces the feature at `index` by a copy of `table`, keeping the old
    // tag when the copy's is 0. False, with nothing changed, for an index
    // that is negative or not below the number of features.
    bool SetFeatureTable(int index, const FeatureTable& table);

    Bedrock::NonCounted<OTFont> font;
    // Whether the list was in the file.
    bool isPresent = false;
    // In file order, never sorted.
    std::vector<FeatureTable> featureTables;
};

}  // namespace Typeframe
