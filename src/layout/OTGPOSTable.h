#pragma once

// Glyph positioning ('GPOS'): the script, feature and lookup lists, and the
// feature variations of a variable font. Each lookup's subtables are made by
// this table for their type (single, pair, cursive, the three mark
// attachments, context, chained context, extension) and held as objects; a
// saved table is packed again through a table graph, which shares equal
// subtables and chooses a layout in which every 16-bit offset fits.

#include <cstdint>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTTable.h"
#include "layout/FeatureList.h"
#include "layout/FeatureVariationsTable.h"
#include "layout/LookupList.h"
#include "layout/LookupSubTableOwner.h"
#include "layout/ScriptList.h"
#include "packing/GraphNode.h"
#include "packing/GraphNodeVisitable.h"

namespace Typeframe {

class OTFont;

class OTGPOSTable : public OTTable, public GraphNode, public GraphNodeVisitable, public LookupSubTableOwner {
public:
    explicit OTGPOSTable(Bedrock::NonCounted<OTFont> font);
    // A deep copy: no subtable, parameter object or byte is shared with
    // `other`, and the copy's lookups make their subtables through the copy.
    OTGPOSTable(const OTGPOSTable& other);

    OTTable* VirtualClone() const override;
    // Keeps `buffer` and loads each list from its offset; a list that
    // doesn't load stays as far as it got. False only when there is no
    // buffer. The feature variations offset is read when the minor version
    // isn't 0.
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    // A clean table is left as it is. Otherwise the header and the three
    // lists are packed through a table graph; false, with a null buffer and
    // the table still dirty, when no layout fits the 16-bit offsets.
    // The feature variations field, present when featureVariations has a
    // major version, is always written as a zero offset: feature variations
    // are resolved by instancing, never written back.
    bool Save() override;
    // The table's own buffer; the graph's root node is the table itself.
    Bedrock::Counted<BigEndianBuffer> GetBuffer() const override;
    // There is one GPOS per graph: two tables are never less than each other.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this table, then its lookup list, which reaches every value
    // record and anchor, and so every device table.
    void Accept(GraphNodeVisitor& visitor) override;
    // Moves the table, with every layout object in it, to `font`.
    void SetFont(Bedrock::NonCounted<OTFont> font) override;

    Bedrock::Counted<LookupSubTable> MakeSubTable(unsigned short type, Bedrock::NonCounted<OTFont> font) const override;
    Bedrock::Counted<LookupSubTable> MakeExtensionSubTable(Bedrock::Counted<LookupSubTable> subTable) const override;
    uint16_t GetExtensionType() const override { return 9; }

    // 1.1 when featureVariations holds a table (a major version), else 1.0.
    // Save doesn't call it.
    void SetMinimumRequiredVersion();
    // Replaces featureVariations by a copy of `table` and marks the table
    // dirty.
    void SetFeatureVariations(const FeatureVariationsTable& table);

    uint16_t majorVersion = 0;
    uint16_t minorVersion = 0;
    ScriptList scriptList;
    FeatureList featureList;
    LookupList lookupList;
    FeatureVariationsTable featureVariations;

private:
    // Points every layout object's font at `font`, and every lookup's and
    // extension's owner at this table.
    void BindTo(Bedrock::NonCounted<OTFont> font);
};

}  // namespace Typeframe
