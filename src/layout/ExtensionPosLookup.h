#pragma once

// A GPOS extension subtable (lookup type 9): one positioning subtable of
// another type behind a 32-bit offset.

#include <cstdint>

#include "base/Counted.h"
#include "layout/ExtensionLookup.h"

namespace Typeframe {

class ExtensionPosLookup : public ExtensionLookup {
public:
    static constexpr uint16_t kType = 9;

    uint16_t GetType() const override { return kType; }
    // Copies the wrapped subtable as well.
    Bedrock::Counted<LookupSubTable> Clone() const override;
    // Visits this extension, then hands the visitor on to the wrapped
    // subtable, when there is one.
    void Accept(GraphNodeVisitor& visitor) override;
};

}  // namespace Typeframe
