#pragma once

// Glyph positioning ('GPOS'): the common layout skeleton with the subtables
// of the positioning lookups (single, pair, cursive, the three mark
// attachments, context, chained context, extension), each held as an object.

#include <cstdint>

#include "base/Counted.h"
#include "layout/LayoutTable.h"
#include "layout/LookupSubTable.h"

namespace Typeframe {

class OTFont;

class OTGPOSTable : public LayoutTable {
public:
    explicit OTGPOSTable(Bedrock::NonCounted<OTFont> font);
    // A deep copy whose lookups make their subtables through the copy.
    OTGPOSTable(const OTGPOSTable& other);

    OTTable* VirtualClone() const override;
    // Visits this table, then its lookup list, which reaches every value
    // record and anchor, and so every device table.
    void Accept(GraphNodeVisitor& visitor) override;

    Bedrock::Counted<LookupSubTable> MakeSubTable(unsigned short type, Bedrock::NonCounted<OTFont> font) const override;
    Bedrock::Counted<LookupSubTable> MakeExtensionSubTable(Bedrock::Counted<LookupSubTable> subTable) const override;
    uint16_t GetExtensionType() const override { return 9; }

protected:
    void BindSubTables(Bedrock::NonCounted<OTFont> font) override;
};

}  // namespace Typeframe
