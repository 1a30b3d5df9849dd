#pragma once

// A GSUB extension subtable (lookup type 7): one substitution subtable of
// another type behind a 32-bit offset. Loading, saving and comparing are
// ExtensionLookup's; an extension that names type 7 is refused.

#include <cstdint>

#include "base/Counted.h"
#include "core/OTFont.h"
#include "layout/ExtensionLookup.h"
#include "layout/LookupSubTable.h"
#include "layout/LookupSubTableOwner.h"

namespace Typeframe {

class ExtensionSubLookup : public ExtensionLookup {
public:
    static constexpr uint16_t kType = 7;

    ExtensionSubLookup() = default;
    // An empty extension that makes the subtable it loads through `owner`.
    ExtensionSubLookup(Bedrock::NonCounted<OTFont> subTableFont,
                       Bedrock::NonCounted<const LookupSubTableOwner> subTableOwner);
    // `wrapped` behind an extension of format 1 that names its type (type 0
    // when `wrapped` is null).
    ExtensionSubLookup(Bedrock::NonCounted<OTFont> subTableFont,
                       Bedrock::NonCounted<const LookupSubTableOwner> subTableOwner,
                       Bedrock::Counted<LookupSubTable> wrapped);

    uint16_t GetType() const override { return kType; }
    // Copies the wrapped subtable as well.
    Bedrock::Counted<LookupSubTable> Clone() const override;
    // Hands the visitor on to the wrapped subtable, when there is one; the
    // extension itself holds nothing to visit.
    void Accept(GraphNodeVisitor& visitor) override;
};

}  // namespace Typeframe
