#include "layout/ExtensionPosLookup.h"

#include <utility>

#include <functional>

#include "packing/GraphNodeVisitor.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

constexpr unsigned long kHeaderSize = 8;

}  // namespace

bool ExtensionPosLookup::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!source) return false;
    uint64_t budget = SubTable::GetLoadBudget(*source);
    return Load(std::move(source), budget);
}

// The wrapped subtable loads within the budget of the load that reached
// this extension.
bool ExtensionPosLookup::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const uint64_t start = source->Tell();
    if (!source->IsInBounds(start, kHeaderSize)) return false;
    uint32_t offset = 0;
    source->GetU16(format);
    source->GetU16(extensionLookupType);
    source->GetU32(offset);
    subTable = nullptr;
    // The one guard against chains of extensions: a wrapped extension is
    // refused outright, so a load never goes more than one wrapper deep.
    if (extensionLookupType == kType || !owner) return false;
    subTable = owner->MakeSubTable(extensionLookupType, font);
    if (!subTable) return false;
    source->Seek(start + offset);
    return subTable->Load(source, budget);
}

unsigned long ExtensionPosLookup::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const unsigned long base = out->Tell();
    out->SetU16(format);
    out->SetU16(extensionLookupType);
    const TableOffset offset(out, base, 4, true);
    if (subTable) graph.AddOffset(index, offset, subTable->Save(graph));
    return index;
}

bool ExtensionPosLookup::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const ExtensionPosLookup&>(other);
    if (format != that.format) return format < that.format;
    if (extensionLookupType != that.extensionLookupType) return extensionLookupType < that.extensionLookupType;
    return std::less<const LookupSubTable*>()(subTable.Get(), that.subTable.Get());
}

Bedrock::Counted<LookupSubTable> ExtensionPosLookup::Clone() const {
    auto copy = Bedrock::MakeCounted<ExtensionPosLookup>(*this);
    if (subTable) copy->subTable = subTable->Clone();
    return copy;
}

void ExtensionPosLookup::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    if (subTable) subTable->Accept(visitor);
}

}  // namespace Typeframe
