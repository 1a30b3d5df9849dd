#include "variations/OTHVARTable.h"

#include "core/Tag.h"

namespace Typeframe {

OTHVARTable::OTHVARTable(Bedrock::NonCounted<OTFont> font)
    : OTTable(font, MakeTag("HVAR")), advanceWidthMapping(font), lsbMapping(font), rsbMapping(font) {}

OTTable* OTHVARTable::VirtualClone() const { return new OTHVARTable(*this); }

bool OTHVARTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    Bedrock::Counted<BigEndianBuffer> in = GetBuffer();
    majorVersion = 0;
    minorVersion = 0;
    uint32_t storeOffset = 0;
    uint32_t mapOffsets[3] = {0, 0, 0};
    in->Seek(0);
    in->GetU16(majorVersion);
    in->GetU16(minorVersion);
    in->GetU32(storeOffset);
    for (auto& offset : mapOffsets) in->GetU32(offset);

    // Deliberate: a store offset of 0 is not taken as "no store"; the store
    // is read from the table's first byte.
    in->Seek(storeOffset);
    itemVariationStore.Load(in);

    DeltaSetIndexMap* const maps[3] = {&advanceWidthMapping, &lsbMapping, &rsbMapping};
    for (int i = 0; i < 3; ++i) {
        *maps[i] = DeltaSetIndexMap(GetFont());
        if (mapOffsets[i] == 0) continue;
        in->Seek(mapOffsets[i]);
        maps[i]->Load(in);
    }
    return true;
}

bool OTHVARTable::Save() { return !IsDirty(); }

}  // namespace Typeframe
