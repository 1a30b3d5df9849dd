#pragma once

// Horizontal metrics variations ('HVAR'): an item variation store and the
// maps from glyphs to its delta sets for advance widths and side bearings.
// Read-only: the instancer applies it and drops it.

#include <cstdint>

#include "base/Counted.h"
#include "core/OTTable.h"
#include "variations/DeltaSetIndexMap.h"
#include "variations/ItemVariationStore.h"

namespace Typeframe {

class OTFont;

class OTHVARTable : public OTTable {
public:
    explicit OTHVARTable(Bedrock::NonCounted<OTFont> font);
    OTHVARTable(const OTHVARTable& other) = default;

    OTTable* VirtualClone() const override;
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    // True when clean; a changed table can't be written.
    bool Save() override;

    uint16_t majorVersion = 0;
    uint16_t minorVersion = 0;
    ItemVariationStore itemVariationStore;
    DeltaSetIndexMap advanceWidthMapping;
    DeltaSetIndexMap lsbMapping;
    DeltaSetIndexMap rsbMapping;
};

}  // namespace Typeframe
