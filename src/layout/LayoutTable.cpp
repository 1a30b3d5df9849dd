#include "layout/LayoutTable.h"

#include <utility>

#include "core/OTFont.h"
#include "layout/ChainedSequenceContextTable.h"
#include "layout/SequenceContextTable.h"
#include "packing/TableGraph.h"
#include "packing/TableGraphWriter.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

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

LayoutTable::LayoutTable(Bedrock::NonCounted<OTFont> font, Tag tag) : OTTable(font, tag) {
    featureList.font = font;
    lookupList.font = font;
    lookupList.owner = this;
    featureVariations.font = font;
}

LayoutTable::LayoutTable(const LayoutTable& other)
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
}

void LayoutTable::SetFont(Bedrock::NonCounted<OTFont> font) {
    OTTable::SetFont(font);
    BindTo(font);
}

void LayoutTable::BindTo(Bedrock::NonCounted<OTFont> font) {
    lookupList.font = font;
    lookupList.owner = this;
    for (LookupTable& lookup : lookupList.lookups) {
        lookup.font = font;
        lookup.owner = this;
    }
    BindSubTables(font);
    featureList.font = font;
    for (FeatureTable& feature : featureList.featureTables) BindFeature(feature, font);
    BindFeatureVariations(featureVariations, font);
}

void LayoutTable::BindContext(SequenceContextTable& table, Bedrock::NonCounted<OTFont> font) {
    table.font = font;
    table.coverage.font = font;
    table.classDefinition.font = font;
    for (CoverageTable& coverage : table.coverages) coverage.font = font;
}

void LayoutTable::BindContext(ChainedSequenceContextTable& table, Bedrock::NonCounted<OTFont> font) {
    table.font = font;
    table.coverage.font = font;
    for (auto* classes :
         {&table.backtrackClassDefinition, &table.inputClassDefinition, &table.lookAheadClassDefinition}) {
        classes->font = font;
    }
    for (auto* coverages : {&table.backtrackCoverages, &table.inputCoverages, &table.lookAheadCoverages}) {
        for (CoverageTable& coverage : *coverages) coverage.font = font;
    }
}

bool LayoutTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
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

bool LayoutTable::Save() {
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

    // A table that can't be packed keeps no bytes: none would describe it.
    Bedrock::Counted<BigEndianBuffer> packed = TableGraphWriter().SaveTable(graph, root);
    const bool saved = static_cast<bool>(packed);
    SetBuffer(std::move(packed));
    if (saved) SetIsDirty(false);
    return saved;
}

Bedrock::Counted<BigEndianBuffer> LayoutTable::GetBuffer() const { return OTTable::GetBuffer(); }

bool LayoutTable::IsLessThan(const GraphNode&) const { return false; }

void LayoutTable::SetMinimumRequiredVersion() {
    majorVersion = 1;
    minorVersion = featureVariations.majorVersion != 0 ? 1 : 0;
}

void LayoutTable::SetFeatureVariations(const FeatureVariationsTable& table) {
    featureVariations = table;
    BindFeatureVariations(featureVariations, GetFont());
    SetIsDirty(true);
}

}  // namespace Typeframe
