#pragma once

// All the tuples of variation data of one glyph ('gvar') or of the control
// values ('cvar'), with the point numbers they share.

#include <cstdint>
#include <memory>
#include <vector>

#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "core/BigEndianBuffer.h"
#include "core/Tag.h"
#include "variations/TupleVariation.h"

namespace Typeframe {

class TupleVariationStore : public Bedrock::Countable {
public:
    TupleVariationStore(unsigned int tag, const std::vector<unsigned int>& axisTags, unsigned short pointCount,
                        const TupleVariation::SharedTuples& sharedTuples);
    // The form for a table's many stores: the axis tags and shared tuples
    // shared, not copied.
    TupleVariationStore(unsigned int tag, std::shared_ptr<const std::vector<unsigned int>> axisTags,
                        unsigned short pointCount, std::shared_ptr<const TupleVariation::SharedTuples> sharedTuples);
    // Deep: the tuples are copied.
    TupleVariationStore(const TupleVariationStore& other);

    // Reads the store at the buffer's position; the data offset counts from
    // the buffer's start. Fewer than 4 bytes there make an empty store. A
    // tuple whose load fails is kept with what it read (its region, perhaps
    // some deltas) and the next is read after it; the result is true.
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer);

    // Null when out of range.
    Bedrock::Counted<TupleVariation> GetVariation(unsigned long index) const;
    size_t GetVariationCount() const { return variations.size(); }
    const std::vector<Bedrock::Counted<TupleVariation>>& GetVariations() const { return variations; }
    bool IsEmpty() const { return variations.empty(); }

    Bedrock::Counted<TupleVariationStore> Clone() const;

    unsigned int GetAxisTag(unsigned short axis) const;

    Tag tableTag = 0;
    // Never null.
    std::shared_ptr<const std::vector<unsigned int>> axisTags;
    unsigned short pointCount = 0;
    std::vector<unsigned short> sharedPoints;
    std::shared_ptr<const TupleVariation::SharedTuples> sharedTuples;
    std::vector<Bedrock::Counted<TupleVariation>> variations;
};

}  // namespace Typeframe
