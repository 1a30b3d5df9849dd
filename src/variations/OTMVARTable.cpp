#include "variations/OTMVARTable.h"

#include "core/Tag.h"

namespace Typeframe {

OTMVARTable::OTMVARTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("MVAR")) {}

OTTable* OTMVARTable::VirtualClone() const { return new OTMVARTable(*this); }

bool OTMVARTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    Bedrock::Counted<BigEndianBuffer> in = GetBuffer();
    majorVersion = 0;
    minorVersion = 0;
    reserved = 0;
    valueRecordSize = 0;
    valueRecordCount = 0;
    itemVariationStoreOffset = 0;
    valueRecords.clear();
    in->Seek(0);
    in->GetU16(majorVersion);
    in->GetU16(minorVersion);
    in->GetU16(reserved);
    in->GetU16(valueRecordSize);
    in->GetU16(valueRecordCount);
    in->GetU16(itemVariationStoreOffset);

    // Deliberate: records are read back to back as 8 bytes each; a larger
    // valueRecordSize is stored but not used, so such a table is misread.
    // A record is kept while at least one of its fields still fits.
    for (unsigned int i = 0; i < valueRecordCount && in->GetRemaining() >= 2; ++i) {
        ValueRecord record;
        in->GetU32(record.valueTag);
        in->GetU16(record.deltaSetOuterIndex);
        in->GetU16(record.deltaSetInnerIndex);
        valueRecords.push_back(record);
    }

    // As in HVAR, an offset of 0 reads a store from the table's first byte.
    in->Seek(itemVariationStoreOffset);
    itemVariationStore.Load(in);
    return true;
}

bool OTMVARTable::Save() { return !IsDirty(); }

bool OTMVARTable::GetValueRecord(unsigned short index, ValueRecord& record) const {
    if (index >= valueRecordCount) return false;
    record = index < valueRecords.size() ? valueRecords[index] : ValueRecord();
    return true;
}

bool OTMVARTable::GetValueRecord(unsigned int tag, ValueRecord& record) const {
    for (const auto& candidate : valueRecords) {
        if (candidate.valueTag != tag) continue;
        record = candidate;
        return true;
    }
    // Records past the end of the bytes read as zeros: tag 0 is among them.
    if (tag == 0 && valueRecords.size() < valueRecordCount) {
        record = ValueRecord();
        return true;
    }
    return false;
}

}  // namespace Typeframe
