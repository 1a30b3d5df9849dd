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

// Walks the subtables and points each object that names a font at `font`,
// and each extension at the table that makes its subtables.
class FontBinder final : public GraphNodeVisitor {
public:
    FontBinder(Bedrock::NonCounted<OTFont> font, Bedrock::NonCounted<const LookupSubTableOwner> owner)
        : m_font(font), m_owner(owner) {}

    using GraphNodeVisitor::Visit;

    void Visit(SinglePosLookup& lookup) override { Bind(lookup, lookup.coverage); }
    void Visit(PairPosLookup& lookup) override { Bind(lookup, lookup.coverage, lookup.classDef1, lookup.classDef2); }
    void Visit(PairSetTable& set) override { set.font = m_font; }
    void Visit(CursivePosLookup& lookup) override { Bind(lookup, lookup.coverage); }
    void Visit(MarkToBasePosLookup& lookup) override { Bind(lookup, lookup.markCoverage, lookup.baseCoverage); }
    void Visit(MarkLigPosLookup& lookup) override { Bind(lookup, lookup.markCoverage, lookup.ligatureCoverage); }
    void Visit(MarkMarkPosLookup& lookup) override { Bind(lookup, lookup.mark1Coverage, lookup.mark2Coverage); }
    void Visit(ExtensionPosLookup& lookup) override {
        lookup.font = m_font;
        lookup.owner = m_owner;
    }
    void Visit(SequenceContextTable& table) override { LayoutTable::BindContext(table, m_font); }
    void Visit(ChainedSequenceContextTable& table) override { LayoutTable::BindContext(table, m_font); }

private:
    template <class... Parts>
    void Bind(LookupSubTable& subTable, Parts&... parts) {
        subTable.font = m_font;
        ((parts.font = m_font), ...);
    }

    Bedrock::NonCounted<OTFont> m_font;
    Bedrock::NonCounted<const LookupSubTableOwner> m_owner;
};

}  // namespace

OTGPOSTable::OTGPOSTable(Bedrock::NonCounted<OTFont> font) : LayoutTable(font, MakeTag("GPOS")) {}

OTGPOSTable::OTGPOSTable(const OTGPOSTable& other) : Bedrock::Countable(other), LayoutTable(other) {
    BindTo(GetFont());
}

OTTable* OTGPOSTable::VirtualClone() const { return new OTGPOSTable(*this); }

void OTGPOSTable::BindSubTables(Bedrock::NonCounted<OTFont> font) {
    FontBinder binder(font, this);
    for (LookupTable& lookup : lookupList.lookups) {
        for (const auto& subTable : lookup.subTables) {
            if (subTable) subTable->Accept(binder);
        }
    }
}

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

}  // namespace Typeframe
