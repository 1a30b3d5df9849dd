#include "variations/OTVVARTable.h"

#include "core/Tag.h"

namespace Typeframe {

OTVVARTable::OTVVARTable(Bedrock::NonCounted<OTFont> font)
    : OTTable(font, MakeTag("VVAR")),
      advanceHeightMapping(font),
      tsbMapping(font),
      bsbMapping(font),
      vOrgMapping(font) {}

OTTable* OTVVARTable::VirtualClone() const { return new OTVVARTable(*this); }

bool OTVVARTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    Bedrock::Counted<BigEndianBuffer> in = GetBuffer();
    majorVersion = 0;
    minorVersion = 0;
    uint32_t storeOffset = 0;
    uint32_t mapOffsets[4] = {0, 0, 0, 0};
    in->Seek(0);
    in->GetU16(majorVersion);
    in->GetU16(minorVersion);
    in->GetU32(storeOffset);
    for (auto& offset : mapOffsets) in->GetU32(offset);

    // Deliberate: a store offset of 0 is not taken as "no store"; the store
    // is read from the table's first byte.
    in->Seek(storeOffset);
    itemVariationStore.Load(in);

    DeltaSetIndexMap* const maps[4] = {&advanceHeightMapping, &tsbMapping, &bsbMapping, &vOrgMapping};
    for (int i = 0; i < 4; ++i) {
        *maps[i] = DeltaSetIndexMap(GetFont());
        if (mapOffsets[i] == 0) continue;
        in->Seek(mapOffsets[i]);
        maps[i]->Load(in);
    }
    return true;
}

bool OTVVARTable::Save() { return !IsDirty(); }

}  // namespace Typeframe
