#pragma once

// Vertical metrics variations ('VVAR'): an item variation store and the
// maps from glyphs to its delta sets for advance heights, side bearings and
// vertical origins. Read-only: the instancer applies it and drops it.

#include <cstdint>

#include "base/Counted.h"
#include "core/OTTable.h"
#include "variations/DeltaSetIndexMap.h"
#include "variations/ItemVariationStore.h"

namespace Typeframe {

class OTFont;

class OTVVARTable : public OTTable {
public:
    explicit OTVVARTable(Bedrock::NonCounted<OTFont> font);
    OTVVARTable(const OTVVARTable& other) = default;

    OTTable* VirtualClone() const override;
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    // True when clean; a changed table can't be written.
    bool Save() override;

    uint16_t majorVersion = 0;
    uint16_t minorVersion = 0;
    ItemVariationStore itemVariationStore;
    DeltaSetIndexMap advanceHeightMapping;
    DeltaSetIndexMap tsbMapping;
    DeltaSetIndexMap bsbMapping;
    DeltaSetIndexMap vOrgMapping;
};

}  // namespace Typeframe
