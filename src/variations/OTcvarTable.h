#pragma once

// Control value variations ('cvar'): the tuples that move the 'cvt ' values
// over the design space. Read-only, like 'gvar'.

#include <cstdint>

#include "base/Counted.h"
#include "core/OTTable.h"
#include "variations/TupleVariationStore.h"

namespace Typeframe {

class OTFont;

class OTcvarTable : public OTTable {
public:
    explicit OTcvarTable(Bedrock::NonCounted<OTFont> font);
    // Deep: the store is copied.
    OTcvarTable(const OTcvarTable& other);

    OTTable* VirtualClone() const override;
    // Needs 'fvar' and 'cvt ' in the font: the store holds one delta list
    // per tuple for the 'cvt ' values.
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    // Writes nothing: true when clean, false when changed.
    bool Save() override;

    // 0 when out of range, or before a load.
    unsigned int GetAxisTag(unsigned short axis) const;
    Bedrock::Counted<TupleVariationStore> GetStore() const { return store; }

    uint16_t axisCount = 0;
    uint16_t valueCount = 0;
    uint16_t majorVersion = 0;
    uint16_t minorVersion = 0;
    Bedrock::Counted<TupleVariationStore> store;
};

}  // namespace Typeframe
