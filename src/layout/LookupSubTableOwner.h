#pragma once

// What a lookup asks of the table that holds it (GSUB or GPOS): the subtable
// class for a lookup type, and how that table wraps a subtable in an
// extension. The lookup classes stay the same for both tables.

#include <cstdint>

#include "base/Counted.h"
#include "core/OTFont.h"
#include "layout/LookupSubTable.h"

namespace Typeframe {

class LookupSubTableOwner : public virtual Bedrock::Countable {
public:
    ~LookupSubTableOwner() override;

    // A new, empty subtable of lookup type `type` for `font`, or null for a
    // type this table doesn't know.
    virtual Bedrock::Counted<LookupSubTable> MakeSubTable(unsigned short type,
                                                          Bedrock::NonCounted<OTFont> font) const = 0;
    // `subTable` wrapped in this table's extension subtable.
    virtual Bedrock::Counted<LookupSubTable> MakeExtensionSubTable(Bedrock::Counted<LookupSubTable> subTable) const = 0;
    // The extension lookup type: 7 in GSUB, 9 in GPOS.
    virtual uint16_t GetExtensionType() const = 0;
};

}  // namespace Typeframe
