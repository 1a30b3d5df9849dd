#pragma once

// Metrics variations ('MVAR'): font-wide values (ascender, x-height,
// underline position...) named by tag, each with a delta set in the table's
// item variation store. Read-only: the instancer applies it and drops it.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/OTTable.h"
#include "core/Tag.h"
#include "variations/DeltaSetIndexMap.h"
#include "variations/ItemVariationStore.h"

namespace Typeframe {

class OTFont;

class OTMVARTable : public OTTable {
public:
    class ValueRecord : public Bedrock::Countable {
    public:
        DeltaSetIndexMap::IndexEntry GetIndexEntry() const {
            DeltaSetIndexMap::IndexEntry entry;
            entry.outerIndex = deltaSetOuterIndex;
            entry.innerIndex = deltaSetInnerIndex;
            return entry;
        }

        Tag valueTag = 0;
        uint16_t deltaSetOuterIndex = 0;
        uint16_t deltaSetInnerIndex = 0;
    };

    // Bytes of a record as this class reads it, whatever valueRecordSize says.
    static constexpr unsigned long kValueRecordSize = 8;

    explicit OTMVARTable(Bedrock::NonCounted<OTFont> font);
    OTMVARTable(const OTMVARTable& other) = default;

    OTTable* VirtualClone() const override;
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    // True when clean; a changed table can't be written.
    bool Save() override;

    // By position; false when index is not below valueRecordCount. A record
    // past the end of the bytes reads as zeros.
    bool GetValueRecord(unsigned short index, ValueRecord& record) const;
    // The first record with the tag; false when there is none.
    bool GetValueRecord(unsigned int tag, ValueRecord& record) const;

    uint16_t majorVersion = 0;
    uint16_t minorVersion = 0;
    uint16_t reserved = 0;
    uint16_t valueRecordSize = 0;
    uint16_t valueRecordCount = 0;
    uint16_t itemVariationStoreOffset = 0;
    std::vector<ValueRecord> valueRecords;  // those the bytes reach
    ItemVariationStore itemVariationStore;
};

}  // namespace Typeframe
