#pragma once

// What GSUB and GPOS share: a header over a script list, a feature list, a
// lookup list and the feature variations of a variable font. The lists load
// from their offsets, and a changed table is packed again through a table
// graph, which shares equal subtables and chooses a layout in which every
// 16-bit offset fits. Each table adds the subtable classes of its lookup
// types (as the LookupSubTableOwner the lookups ask).

#include <cstdint>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTTable.h"
#include "core/Tag.h"
#include "layout/FeatureList.h"
#include "layout/FeatureVariationsTable.h"
#include "layout/LookupList.h"
#include "layout/LookupSubTableOwner.h"
#include "layout/ScriptList.h"
#include "packing/GraphNode.h"
#include "packing/GraphNodeVisitable.h"

namespace Typeframe {

class OTFont;
class SequenceContextTable;
class ChainedSequenceContextTable;

class LayoutTable : public OTTable, public GraphNode, public GraphNodeVisitable, public LookupSubTableOwner {
public:
    LayoutTable(Bedrock::NonCounted<OTFont> font, Tag tag);
    // A deep copy: no subtable, parameter object or byte is shared with
    // `other`. The derived copy points the copy's lookups at itself.
    LayoutTable(const LayoutTable& other);

    // Keeps `buffer` and loads each list from its offset; a list that
    // doesn't load stays as far as it got. False only when there is no
    // buffer. The feature variations offset is read when the minor version
    // isn't 0.
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    // A clean table is left as it is. Otherwise the header and the three
    // lists are packed through a table graph. False, with a null buffer and
    // the table still dirty, when no layout fits the 16-bit offsets, or when
    // a part has no layout to write (see below). The feature variations
    // field, present when featureVariations has a major version, is always
    // written as a zero offset: feature variations are resolved by
    // instancing, never written back.
    bool Save() override;
    // The table's own buffer; the graph's root node is the table itself.
    Bedrock::Counted<BigEndianBuffer> GetBuffer() const override;
    // There is one such table per graph: two are never less than each other.
    bool IsLessThan(const GraphNode& other) const override;
    // Moves the table, with every layout object in it, to `font`.
    void SetFont(Bedrock::NonCounted<OTFont> font) override;

    // 1.1 when featureVariations holds a table (a major version), else 1.0.
    // Save doesn't call it.
    void SetMinimumRequiredVersion();
    // Replaces featureVariations by a copy of `table` and marks the table
    // dirty.
    void SetFeatureVariations(const FeatureVariationsTable& table);

    // Points a context subtable, which both tables hold, and its coverages
    // and class definitions at `font`.
    static void BindContext(SequenceContextTable& table, Bedrock::NonCounted<OTFont> font);
    static void BindContext(ChainedSequenceContextTable& table, Bedrock::NonCounted<OTFont> font);

    uint16_t majorVersion = 0;
    uint16_t minorVersion = 0;
    ScriptList scriptList;
    FeatureList featureList;
    LookupList lookupList;
    FeatureVariationsTable featureVariations;

protected:
    // Points every layout object's font at `font`, and the lookups at this
    // table; the subtables through BindSubTables.
    void BindTo(Bedrock::NonCounted<OTFont> font);
    // Points the subtables of the lookups, and what they hold, at `font`,
    // and any extension at this table.
    virtual void BindSubTables(Bedrock::NonCounted<OTFont> font) = 0;
};

}  // namespace Typeframe
