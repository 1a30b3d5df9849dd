#pragma once

// Glyph definitions ('GDEF'): the class of each glyph (base, ligature, mark,
// component), attachment points, ligature carets, mark attachment classes,
// mark glyph sets and, in a variable font, the item variation store that the
// variation indices of GDEF and GPOS refer to. A saved table is packed again
// through a table graph, like GSUB and GPOS.

#include <cstdint>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTTable.h"
#include "layout/AttachmentPointListTable.h"
#include "layout/ClassDefinitionTable.h"
#include "layout/LigatureCaretListTable.h"
#include "layout/MarkGlyphSetsTable.h"
#include "packing/GraphNode.h"
#include "packing/GraphNodeVisitable.h"
#include "variations/ItemVariationStore.h"

namespace Typeframe {

class OTFont;

class OTGDEFTable : public OTTable, public GraphNode, public GraphNodeVisitable {
public:
    explicit OTGDEFTable(Bedrock::NonCounted<OTFont> font);
    // A deep copy: no subtable or byte is shared with `other`.
    OTGDEFTable(const OTGDEFTable& other);

    OTTable* VirtualClone() const override;
    // Keeps `buffer` and loads each part from its offset; a part that doesn't
    // load stays as far as it got. False only when there is no buffer. The
    // mark glyph sets offset is read from version 1.2 on, the item variation
    // store offset from 1.3 on.
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    // A clean table is left as it is. Otherwise the header and the parts are
    // packed through a table graph; false, with a null buffer and the table
    // still dirty, when no layout fits the 16-bit offsets or a part has no
    // layout to write. The header has the fields of its minorVersion (12, 14
    // or 18 bytes); the item variation store is never written, and its offset
    // stays zero.
    bool Save() override;
    // The table's own buffer; the graph's root node is the table itself.
    Bedrock::Counted<BigEndianBuffer> GetBuffer() const override;
    // There is one GDEF per graph: two tables are never less than each other.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this table, then its ligature caret list, which reaches every
    // caret, and so every device table.
    void Accept(GraphNodeVisitor& visitor) override;
    // Moves the table, with every layout object in it, to `font`.
    void SetFont(Bedrock::NonCounted<OTFont> font) override;

    // 1.0; 1.2 when markGlyphSets has a format; 1.3 when the item variation
    // store has regions or data. Save doesn't call it.
    void SetMinimumRequiredVersion();
    // Replaces itemVariationStore by a copy of `store` and marks the table
    // dirty.
    void SetItemVariationStore(const ItemVariationStore& store);

    uint16_t majorVersion = 0;
    uint16_t minorVersion = 0;
    // Saved when its format isn't 0.
    ClassDefinitionTable glyphClassDef;
    // Saved when present.
    AttachmentPointListTable attachList;
    // Saved when present.
    LigatureCaretListTable ligCaretList;
    // Saved when its format isn't 0.
    ClassDefinitionTable markAttachClassDef;
    // Saved when its format isn't 0.
    MarkGlyphSetsTable markGlyphSets;
    // Read from a 1.3 table; never written.
    ItemVariationStore itemVariationStore;

private:
    // Points every layout object that names a font at `font`.
    void BindTo(Bedrock::NonCounted<OTFont> font);
};

}  // namespace Typeframe
