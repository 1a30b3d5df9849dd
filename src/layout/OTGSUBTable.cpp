#include "layout/OTGSUBTable.h"

#include <utility>

#include "core/OTFont.h"
#include "layout/AlternateSubstLookup.h"
#include "layout/ExtensionSubLookup.h"
#include "layout/GSUBChainedSequenceContextTable.h"
#include "layout/GSUBSequenceContextTable.h"
#include "layout/LigatureSubstLookup.h"
#include "layout/MultipleSubstLookup.h"
#include "layout/ReverseChainSingleSubstTable.h"
#include "layout/SingleSubstLookup.h"
#include "packing/GraphNodeVisitor.h"

namespace Typeframe {

namespace {

constexpr uint16_t kTypeSingle = 1;
constexpr uint16_t kTypeMultiple = 2;
constexpr uint16_t kTypeAlternate = 3;
constexpr uint16_t kTypeLigature = 4;
constexpr uint16_t kTypeContext = 5;
constexpr uint16_t kTypeChainedContext = 6;
constexpr uint16_t kTypeExtension = 7;
constexpr uint16_t kTypeReverseChained = 8;

// Points one subtable, what it holds and an extension's wrapped subtable at
// `font`, and an extension at `owner`. GSUB subtables hold no device tables,
// so the visitor doesn't reach into them; their types are told apart here.
void BindSubTable(LookupSubTable& subTable, Bedrock::NonCounted<OTFont> font,
                  Bedrock::NonCounted<const LookupSubTableOwner> owner) {
    subTable.font = font;
    if (auto* single = dynamic_cast<SingleSubstLookup*>(&subTable)) {
        single->coverage.font = font;
    } else if (auto* multiple = dynamic_cast<MultipleSubstLookup*>(&subTable)) {
        multiple->coverage.font = font;
    } else if (auto* alternate = dynamic_cast<AlternateSubstLookup*>(&subTable)) {
        alternate->coverage.font = font;
    } else if (auto* ligature = dynamic_cast<LigatureSubstLookup*>(&subTable)) {
        ligature->coverage.font = font;
    } else if (auto* context = dynamic_cast<SequenceContextTable*>(&subTable)) {
        LayoutTable::BindContext(*context, font);
    } else if (auto* chained = dynamic_cast<ChainedSequenceContextTable*>(&subTable)) {
        LayoutTable::BindContext(*chained, font);
    } else if (auto* reverse = dynamic_cast<ReverseChainSingleSubstTable*>(&subTable)) {
        reverse->coverage.font = font;
        for (CoverageTable& coverage : reverse->backtrackCoverages) coverage.font = font;
        for (CoverageTable& coverage : reverse->lookAheadCoverages) coverage.font = font;
    } else if (auto* extension = dynamic_cast<ExtensionSubLookup*>(&subTable)) {
        extension->owner = owner;
        if (extension->subTable) BindSubTable(*extension->subTable, font, owner);
    }
}

}  // namespace

OTGSUBTable::OTGSUBTable(Bedrock::NonCounted<OTFont> font) : LayoutTable(font, MakeTag("GSUB")) {}

OTGSUBTable::OTGSUBTable(const OTGSUBTable& other) : Bedrock::Countable(other), LayoutTable(other) {
    BindTo(GetFont());
}

OTTable* OTGSUBTable::VirtualClone() const { return new OTGSUBTable(*this); }

void OTGSUBTable::BindSubTables(Bedrock::NonCounted<OTFont> font) {
    for (LookupTable& lookup : lookupList.lookups) {
        for (const auto& subTable : lookup.subTables) {
            if (subTable) BindSubTable(*subTable, font, this);
        }
    }
}

void OTGSUBTable::Accept(GraphNodeVisitor& visitor) { lookupList.Accept(visitor); }

Bedrock::Counted<LookupSubTable> OTGSUBTable::MakeSubTable(unsigned short type,
                                                           Bedrock::NonCounted<OTFont> font) const {
    Bedrock::Counted<LookupSubTable> subTable;
    switch (type) {
        case kTypeSingle: subTable = Bedrock::MakeCounted<SingleSubstLookup>(); break;
        case kTypeMultiple: subTable = Bedrock::MakeCounted<MultipleSubstLookup>(); break;
        case kTypeAlternate: subTable = Bedrock::MakeCounted<AlternateSubstLookup>(); break;
        case kTypeLigature: subTable = Bedrock::MakeCounted<LigatureSubstLookup>(); break;
        case kTypeContext: subTable = Bedrock::MakeCounted<GSUBSequenceContextTable>(); break;
        case kTypeChainedContext: subTable = Bedrock::MakeCounted<GSUBChainedSequenceContextTable>(); break;
        case kTypeExtension: subTable = Bedrock::MakeCounted<ExtensionSubLookup>(font, this); break;
        case kTypeReverseChained: subTable = Bedrock::MakeCounted<ReverseChainSingleSubstTable>(); break;
        default: return nullptr;
    }
    subTable->font = font;
    return subTable;
}

Bedrock::Counted<LookupSubTable> OTGSUBTable::MakeExtensionSubTable(Bedrock::Counted<LookupSubTable> subTable) const {
    const Bedrock::NonCounted<OTFont> font = subTable ? subTable->font : GetFont();
    return Bedrock::MakeCounted<ExtensionSubLookup>(font, this, std::move(subTable));
}

}  // namespace Typeframe
