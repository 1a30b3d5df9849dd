#include "layout/ExtensionLookup.h"

#include <functional>
#include <utility>

#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

constexpr unsigned long kHeaderSize = 8;

}  // namespace

bool ExtensionLookup::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool ExtensionLookup::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
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
    if (extensionLookupType == GetType() || !owner) return false;
    subTable = owner->MakeSubTable(extensionLookupType, font);
    if (!subTable) return false;
    source->Seek(start + offset);
    return subTable->Load(source, budget);
}

unsigned long ExtensionLookup::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    out->SetU16(format);
    out->SetU16(extensionLookupType);
    const TableOffset offset(out, 0, 4, true);
    if (subTable) graph.AddOffset(index, offset, subTable->Save(graph));
    return index;
}

bool ExtensionLookup::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const ExtensionLookup&>(other);
    if (format != that.format) return format < that.format;
    if (extensionLookupType != that.extensionLookupType) return extensionLookupType < that.extensionLookupType;
    return std::less<const LookupSubTable*>()(subTable.Get(), that.subTable.Get());
}

Bedrock::Counted<LookupSubTable> ExtensionLookup::WithWrappedCopy(Bedrock::Counted<ExtensionLookup> copy) const {
    if (subTable) copy->subTable = subTable->Clone();
    return copy;
}

}  // namespace Typeframe
