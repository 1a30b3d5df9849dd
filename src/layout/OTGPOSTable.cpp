#include "layout/OTGPOSTable.h"

#include <utility>

#include "core/OTFont.h"
#include "layout/CursivePosLookup.h"
#include "layout/ExtensionPosLookup.h"
#include "layout/GPOSChainedSequenceContextTable.h"
#include "layout/GPOSSequenceContextTable.h"
#include "layout/MarkLigPosLookup.h"
#include "layout/MarkMarkPosLookup.h"
#include "layout/MarkToBasePosLookup.h"
#include "layout/PairPosLookup.h"
#include "layout/PairSetTable.h"
#include "layout/SinglePosLookup.h"
#include "packing/GraphNodeVisitor.h"
#include "packing/TableGraph.h"
#include "packing/TableGraphWriter.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

constexpr uint16_t kTypeSingle = 1;
constexpr uint16_t kTypePair = 2;
constexpr uint16_t kTypeCursive = 3;
constexpr uint16_t kTypeMarkToBase = 4;
constexpr uint16_t kTypeMarkToLigature = 5;
constexpr uint16_t kTypeMarkToMark = 6;
constexpr uint16_t kTypeContext = 7;
constexpr uint16_t kTypeChainedContext = 8;
constexpr uint16_t kTypeExtension = 9;

// Walks the lookups and points each object that names a font at `font`, and
// each lookup and extension at the table that makes its subtables.
class FontBinder final : public GraphNodeVisitor {
public:
    FontBinder(Bedrock::NonCounted<OTFont> font, Bedrock::NonCounted<const LookupSubTableOwner> owner)
        : m_font(font), m_owner(owner) {}

    void Visit(LookupList& list) override {
        list.font = m_font;
        list.owner = m_owner;
    }
    void Visit(LookupTable& lookup) override {
        lookup.font = m_font;
        lookup.owner = m_owner;
    }
    void Visit(SinglePosLookup& lookup) override { Bind(lookup, lookup.coverage); }
    void Visit(PairPosLookup& lookup) override {
        Bind(lookup, lookup.coverage, lookup.classDef1, lookup.classDef2);
    }
    void Visit(PairSetTable& set) override { set.font = m_font; }
    void Visit(CursivePosLookup& lookup) override { Bind(lookup, lookup.coverage); }
    void Visit(MarkToBasePosLookup& lookup) override { Bind(lookup, lookup.markCoverage, lookup.baseCoverage); }
    void Visit(MarkLigPosLookup& lookup) override { Bind(lookup, lookup.markCoverage, lookup.ligatureCoverage); }
    void Visit(MarkMarkPosLookup& lookup) override { Bind(lookup, lookup.mark1Coverage, lookup.mark2Coverage); }
    void Visit(ExtensionPosLookup& lookup) override {
        lookup.font = m_font;
        lookup.owner = m_owner;
    }
    void Visit(SequenceContextTable& table) override {
        Bind(table, table.coverage, table.classDefinition);
        for (CoverageTable& coverage : table.coverages) coverage.font = m_font;
    }
    void Visit(ChainedSequenceContextTable& table) override {
        Bind(table, table.coverage, table.backtrackClassDefinition, table.inputClassDefinition,
             table.lookAheadClassDefinition);
        for (auto* coverages : {&table.backtrackCoverages, &table.inputCoverages, &table.lookAheadCoverages}) {
            for (CoverageTable& coverage : *coverages) coverage.font = m_font;
        }
    }

private:
    template <class... Parts>
    void Bind(LookupSubTable& subTable, Parts&... parts) {
        subTable.font = m_font;
        ((parts.font = m_font), ...);
    }

    Bedrock::NonCounted<OTFont> m_font;
    Bedrock::NonCounted<const LookupSubTableOwner> m_owner;
};

void BindFeature(FeatureTable& feature, Bedrock::NonCounted<OTFont> font) {
    feature.font = font;
    if (feature.featureParams) feature.featureParams->font = font;
}

void BindFeatureVariations(FeatureVariationsTable& table, Bedrock::NonCounted<OTFont> font) {
    table.font = font;
    for (auto& record : table.records) {
        record.substitutionTable.font = font;
        for (auto& substitution : record.substitutionTable.substitutions) {
            BindFeature(substitution.alternateFeatureTable, font);
        }
    }
}

}  // namespace

OTGPOSTable::OTGPOSTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("GPOS")) { BindTo(font); }

OTGPOSTable::OTGPOSTable(const OTGPOSTable& other)
    : Bedrock::Countable(other),
      OTTable(other),
      GraphNode(other),
      GraphNodeVisitable(other),
      LookupSubTableOwner(other),
      majorVersion(other.majorVersion),
      minorVersion(other.minorVersion),
      scriptList(other.scriptList),
      featureList(other.featureList),
      lookupList(other.lookupList),
      featureVariations(other.featureVariations) {
    // The lists copied by value still share the counted subtables and
    // parameters; a copy must be free to change without touching `other`.
    for (LookupTable& lookup : lookupList.lookups) {
        for (auto& subTable : lookup.subTables) {
            if (subTable) subTable = subTable->Clone();
        }
    }
    for (FeatureTable& feature : featureList.featureTables) {
        if (feature.featureParams) feature.featureParams = feature.featureParams->Clone();
    }
    BindTo(GetFont());
}

OTTable* OTGPOSTable::VirtualClone() const { return new OTGPOSTable(*this); }

void OTGPOSTable::SetFont(Bedrock::NonCounted<OTFont> font) {
    OTTable::SetFont(font);
    BindTo(font);
}

void OTGPOSTable::BindTo(Bedrock::NonCounted<OTFont> font) {
    FontBinder binder(font, this);
    lookupList.Accept(binder);
    featureList.font = font;
    for (FeatureTable& feature : featureList.featureTables) BindFeature(feature, font);
    BindFeatureVariations(featureVariations, font);
}

bool OTGPOSTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!OTTable::Load(source)) return false;
    const Bedrock::NonCounted<OTFont> font = GetFont();
    majorVersion = 0;
    minorVersion = 0;
    scriptList = ScriptList();
    featureList = FeatureList();
    lookupList = LookupList();
    featureVariations = FeatureVariationsTable(font);
    featureList.font = font;
    lookupList.font = font;
    lookupList.owner = this;

    source->Seek(0);
    uint16_t scriptListOffset = 0;
    uint16_t featureListOffset = 0;
    uint16_t lookupListOffset = 0;
    uint32_t featureVariationsOffset = 0;
    source->GetU16(majorVersion);
    source->GetU16(minorVersion);
    source->GetU16(scriptListOffset);
    source->GetU16(featureListOffset);
    source->GetU16(lookupListOffset);
    if (minorVersion != 0) source->GetU32(featureVariationsOffset);

    // Each part loads alone: one that is damaged leaves the others whole.
    if (scriptListOffset != 0) {
        source->Seek(scriptListOffset);
        scriptList.Load(source);
    }
    if (featureListOffset != 0) {
        source->Seek(featureListOffset);
        featureList.Load(source);
    }
    if (lookupListOffset != 0) {
        source->Seek(lookupListOffset);
        lookupList.Load(source);
    }
    if (featureVariationsOffset != 0) {
        source->Seek(featureVariationsOffset);
        featureVariations.Load(source);
    }
    return true;
}

bool OTGPOSTable::Save() {
    if (!IsDirty()) return true;
    TableGraph graph;
    const unsigned long root = graph.AddTable(*this);
    // A new buffer for the header, the graph's root: the loaded one may be
    // held elsewhere.
    const auto out = Bedrock::MakeCounted<BigEndianBuffer>();
    SetBuffer(out);
    out->SetU16(majorVersion);
    out->SetU16(minorVersion);
    const TableOffset scriptListOffset(out, 0, 2, true);
    const TableOffset featureListOffset(out, 0, 2, true);
    const TableOffset lookupListOffset(out, 0, 2, true);
    // Instancing resolves feature variations; they are never written back,
    // so their offset stays zero, though the field keeps its place.
    if (featureVariations.majorVersion != 0) TableOffset(out, 0, 4, true);
    if (scriptList.isPresent) graph.AddOffset(root, scriptListOffset, scriptList.Save(graph));
    if (featureList.isPresent) graph.AddOffset(root, featureListOffset, featureList.Save(graph));
    if (lookupList.isPresent) graph.AddOffset(root, lookupListOffset, lookupList.Save(graph));

    // A part of a format that has no layout to write (a coverage that never
    // loaded, say) answers with node 0, the header: an offset back to the
    // header would be garbage to every reader, so the table isn't written.
    if (!graph.Reverse()[root].empty()) {
        SetBuffer(nullptr);
        return false;
    }
    // A table that can't be packed keeps no bytes: none would describe it.
    Bedrock::Counted<BigEndianBuffer> packed = TableGraphWriter().Save(graph, root);
    const bool saved = static_cast<bool>(packed);
    SetBuffer(std::move(packed));
    if (saved) SetIsDirty(false);
    return saved;
}

Bedrock::Counted<BigEndianBuffer> OTGPOSTable::GetBuffer() const { return OTTable::GetBuffer(); }

bool OTGPOSTable::IsLessThan(const GraphNode&) const { return false; }

void OTGPOSTable::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    lookupList.Accept(visitor);
}

Bedrock::Counted<LookupSubTable> OTGPOSTable::MakeSubTable(unsigned short type,
                                                           Bedrock::NonCounted<OTFont> font) const {
    Bedrock::Counted<LookupSubTable> subTable;
    switch (type) {
        case kTypeSingle: subTable = Bedrock::MakeCounted<SinglePosLookup>(); break;
        case kTypePair: subTable = Bedrock::MakeCounted<PairPosLookup>(); break;
        case kTypeCursive: subTable = Bedrock::MakeCounted<CursivePosLookup>(); break;
        case kTypeMarkToBase: subTable = Bedrock::MakeCounted<MarkToBasePosLookup>(); break;
        case kTypeMarkToLigature: subTable = Bedrock::MakeCounted<MarkLigPosLookup>(); break;
        case kTypeMarkToMark: subTable = Bedrock::MakeCounted<MarkMarkPosLookup>(); break;
        case kTypeContext: subTable = Bedrock::MakeCounted<GPOSSequenceContextTable>(); break;
        case kTypeChainedContext: subTable = Bedrock::MakeCounted<GPOSChainedSequenceContextTable>(); break;
        case kTypeExtension: {
            auto extension = Bedrock::MakeCounted<ExtensionPosLookup>();
            extension->owner = this;
            subTable = extension;
            break;
        }
        default: return nullptr;
    }
    subTable->font = font;
    return subTable;
}

Bedrock::Counted<LookupSubTable> OTGPOSTable::MakeExtensionSubTable(Bedrock::Counted<LookupSubTable> subTable) const {
    auto extension = Bedrock::MakeCounted<ExtensionPosLookup>();
    extension->owner = this;
    if (subTable) {
        extension->font = subTable->font;
        extension->extensionLookupType = subTable->GetType();
    }
    extension->subTable = std::move(subTable);
    return extension;
}

void OTGPOSTable::SetMinimumRequiredVersion() {
    majorVersion = 1;
    minorVersion = featureVariations.majorVersion != 0 ? 1 : 0;
}

void OTGPOSTable::SetFeatureVariations(const FeatureVariationsTable& table) {
    featureVariations = table;
    BindFeatureVariations(featureVariations, GetFont());
    SetIsDirty(true);
}

}  // namespace Typeframe
