#pragma once

// The parameters of a feature table: a small record whose shape depends on
// the feature's tag. Held through a counted pointer, so that a feature table
// and its copies share one parameters object; the subclasses hold the fields.

#include <cstdint>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFont.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class FeatureParams : public Bedrock::Countable, public SubTable {
public:
    ~FeatureParams() override;

    // Called only with parameters of the same class: `font` as a pointer,
    // then the fields in order.
    bool IsLessThan(const GraphNode& other) const override = 0;
    // Reads at the buffer's position. False, with nothing changed, when the
    // fixed fields don't fit.
    virtual bool Load(Bedrock::Counted<BigEndianBuffer> source) = 0;
    virtual unsigned long Save(TableGraph& graph) const = 0;
    // A copy of the same class, for a table's copy.
    virtual Bedrock::Counted<FeatureParams> Clone() const = 0;
    // The same within `budget` (see SubTable::GetLoadBudget), reduced by the
    // bytes of the entries kept. Fixed-size parameters keep no entries, so
    // by default this is the plain Load.
    virtual bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);

    Bedrock::NonCounted<OTFont> font;

protected:
    // The order of two fonts as pointers; 0 when they are the same font.
    static int CompareFonts(const OTFont* a, const OTFont* b);
};

}  // namespace Typeframe
