#include "layout/OTGDEFTable.h"

#include <utility>

#include "core/OTFont.h"
#include "packing/GraphNodeVisitor.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"
#include "packing/TableGraphWriter.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

// The minor versions that add a field to the header.
constexpr uint16_t kMarkGlyphSetsVersion = 2;
constexpr uint16_t kItemVariationStoreVersion = 3;

bool HasVariations(const ItemVariationStore& store) { return !store.regionList.regions.empty() || !store.data.empty(); }

}  // namespace

OTGDEFTable::OTGDEFTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("GDEF")) { BindTo(font); }

OTGDEFTable::OTGDEFTable(const OTGDEFTable& other)
    : Bedrock::Countable(other),
      OTTable(other),
      GraphNode(other),
      GraphNodeVisitable(other),
      majorVersion(other.majorVersion),
      minorVersion(other.minorVersion),
      glyphClassDef(other.glyphClassDef),
      attachList(other.attachList),
      ligCaretList(other.ligCaretList),
      markAttachClassDef(other.markAttachClassDef),
      markGlyphSets(other.markGlyphSets),
      itemVariationStore(other.itemVariationStore) {
    // The parts copied by value hold their own objects; subtable buffers that
    // are still shared are replaced on the next save (SubTable::StartSave).
    // The store's bytes are the one thing left shared.
    if (itemVariationStore.buffer) itemVariationStore.buffer = itemVariationStore.buffer->Clone();
    BindTo(GetFont());
}

OTTable* OTGDEFTable::VirtualClone() const { return new OTGDEFTable(*this); }

void OTGDEFTable::SetFont(Bedrock::NonCounted<OTFont> font) {
    OTTable::SetFont(font);
    BindTo(font);
}

void OTGDEFTable::BindTo(Bedrock::NonCounted<OTFont> font) {
    glyphClassDef.font = font;
    attachList.coverage.font = font;
    ligCaretList.coverage.font = font;
    markAttachClassDef.font = font;
    markGlyphSets.font = font;
    for (CoverageTable& coverage : markGlyphSets.coverages) coverage.font = font;
}

bool OTGDEFTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!OTTable::Load(source)) return false;
    majorVersion = 0;
    minorVersion = 0;
    glyphClassDef = ClassDefinitionTable();
    attachList = AttachmentPointListTable();
    ligCaretList = LigatureCaretListTable();
    markAttachClassDef = ClassDefinitionTable();
    markGlyphSets = MarkGlyphSetsTable();
    itemVariationStore = ItemVariationStore();
    BindTo(GetFont());

    source->Seek(0);
    uint16_t glyphClassDefOffset = 0;
    uint16_t attachListOffset = 0;
    uint16_t ligCaretListOffset = 0;
    uint16_t markAttachClassDefOffset = 0;
    uint16_t markGlyphSetsOffset = 0;
    uint32_t itemVariationStoreOffset = 0;
    source->GetU16(majorVersion);
    source->GetU16(minorVersion);
    source->GetU16(glyphClassDefOffset);
    source->GetU16(attachListOffset);
    source->GetU16(ligCaretListOffset);
    source->GetU16(markAttachClassDefOffset);
    if (minorVersion >= kMarkGlyphSetsVersion) source->GetU16(markGlyphSetsOffset);
    if (minorVersion >= kItemVariationStoreVersion) source->GetU32(itemVariationStoreOffset);

    // Each part loads alone: one that is damaged leaves the others whole. The
    // lists share one budget, since their entries may share children.
    uint64_t budget = SubTable::GetLoadBudget(*source);
    if (glyphClassDefOffset != 0) {
        source->Seek(glyphClassDefOffset);
        glyphClassDef.Load(source);
    }
    if (attachListOffset != 0) {
        source->Seek(attachListOffset);
        attachList.Load(source, budget);
    }
    if (ligCaretListOffset != 0) {
        source->Seek(ligCaretListOffset);
        ligCaretList.Load(source, budget);
    }
    if (markAttachClassDefOffset != 0) {
        source->Seek(markAttachClassDefOffset);
        markAttachClassDef.Load(source);
    }
    if (markGlyphSetsOffset != 0) {
        source->Seek(markGlyphSetsOffset);
        markGlyphSets.Load(source, budget);
    }
    if (itemVariationStoreOffset != 0) {
        source->Seek(itemVariationStoreOffset);
        itemVariationStore.Load(source);
    }
    return true;
}

bool OTGDEFTable::Save() {
    if (!IsDirty()) return true;
    TableGraph graph;
    const unsigned long root = graph.AddTable(*this);
    // A new buffer for the header, the graph's root: the loaded one may be
    // held elsewhere.
    const auto out = Bedrock::MakeCounted<BigEndianBuffer>();
    SetBuffer(out);
    out->SetU16(majorVersion);
    out->SetU16(minorVersion);
    const TableOffset glyphClassDefOffset(out, 0, 2, true);
    const TableOffset attachListOffset(out, 0, 2, true);
    const TableOffset ligCaretListOffset(out, 0, 2, true);
    const TableOffset markAttachClassDefOffset(out, 0, 2, true);
    const TableOffset markGlyphSetsOffset(out, 0, 2, minorVersion >= kMarkGlyphSetsVersion);
    // Instancing resolves the variation indices against the store and then
    // drops it; a store is never written back, so its offset stays zero,
    // though the field keeps its place.
    TableOffset(out, 0, 4, minorVersion >= kItemVariationStoreVersion);

    if (glyphClassDef.format != 0) graph.AddOffset(root, glyphClassDefOffset, glyphClassDef.Save(graph));
    if (attachList.isPresent) graph.AddOffset(root, attachListOffset, attachList.Save(graph));
    if (ligCaretList.isPresent) graph.AddOffset(root, ligCaretListOffset, ligCaretList.Save(graph));
    if (markAttachClassDef.format != 0) {
        graph.AddOffset(root, markAttachClassDefOffset, markAttachClassDef.Save(graph));
    }
    // Deliberate: the mark glyph sets are saved whatever the version. Below
    // 1.2 the header has no field for them, and the writer fills in the
    // absent field where it would default to, the table's first two bytes,
    // over majorVersion. Callers set the version first
    // (SetMinimumRequiredVersion).
    if (markGlyphSets.format != 0) graph.AddOffset(root, markGlyphSetsOffset, markGlyphSets.Save(graph));

    // A table that can't be packed keeps no bytes: none would describe it.
    Bedrock::Counted<BigEndianBuffer> packed = TableGraphWriter().SaveTable(graph, root);
    const bool saved = static_cast<bool>(packed);
    SetBuffer(std::move(packed));
    if (saved) SetIsDirty(false);
    return saved;
}

Bedrock::Counted<BigEndianBuffer> OTGDEFTable::GetBuffer() const { return OTTable::GetBuffer(); }

bool OTGDEFTable::IsLessThan(const GraphNode&) const { return false; }

void OTGDEFTable::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    ligCaretList.Accept(visitor);
}

void OTGDEFTable::SetMinimumRequiredVersion() {
    majorVersion = 1;
    minorVersion = markGlyphSets.format != 0 ? kMarkGlyphSetsVersion : 0;
    if (HasVariations(itemVariationStore)) minorVersion = kItemVariationStoreVersion;
}

void OTGDEFTable::SetItemVariationStore(const ItemVariationStore& store) {
    itemVariationStore = store;
    SetIsDirty(true);
}

}  // namespace Typeframe
