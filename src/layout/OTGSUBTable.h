#pragma once

// Glyph substitution ('GSUB'): the common layout skeleton with the subtables
// of the substitution lookups (single, multiple, alternate, ligature,
// context, chained context, extension, reverse chained single), each held as
// an object.

#include <cstdint>

#include "base/Counted.h"
#include "layout/LayoutTable.h"
#include "layout/LookupSubTable.h"

namespace Typeframe {

class OTFont;

class OTGSUBTable : public LayoutTable {
public:
    explicit OTGSUBTable(Bedrock::NonCounted<OTFont> font);
    // A deep copy whose lookups make their subtables through the copy.
    OTGSUBTable(const OTGSUBTable& other);

    OTTable* VirtualClone() const override;
    // Hands the visitor to the lookup list; no GSUB subtable holds a device
    // table, and visitors have no use for the table itself.
    void Accept(GraphNodeVisitor& visitor) override;

    Bedrock::Counted<LookupSubTable> MakeSubTable(unsigned short type, Bedrock::NonCounted<OTFont> font) const override;
    Bedrock::Counted<LookupSubTable> MakeExtensionSubTable(Bedrock::Counted<LookupSubTable> subTable) const override;
    uint16_t GetExtensionType() const override { return 7; }

protected:
    void BindSubTables(Bedrock::NonCounted<OTFont> font) override;
};

}  // namespace Typeframe
