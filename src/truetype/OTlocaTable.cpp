#include "truetype/OTlocaTable.h"

#include "core/OTFont.h"
#include "core/Tag.h"
#include "tables/OTheadTable.h"
#include "tables/OTmaxpTable.h"

namespace Typeframe {

OTlocaTable::OTlocaTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("loca")) {}

OTTable* OTlocaTable::VirtualClone() const { return new OTlocaTable(*this); }

bool OTlocaTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    auto font = GetFont();
    auto head = font ? font->GetTableT<OTheadTable>() : nullptr;
    auto maxp = font ? font->GetTableT<OTmaxpTable>() : nullptr;
    if (!head || !maxp) return false;

    BigEndianBuffer& in = *Buffer();
    in.Seek(0);
    const bool longForm = head->indexToLocFormat != 0;
    // Room for the expected count only: the entries read are bounded by the
    // bytes, whatever maxp says.
    offsets.clear();
    offsets.reserve(maxp->numGlyphs + 1u);
    while (in.Tell() < in.GetLength()) {
        if (longForm) {
            uint32_t offset;
            if (!in.GetU32(offset)) break;
            offsets.push_back(offset);
        } else {
            uint16_t half;
            if (!in.GetU16(half)) break;
            offsets.push_back(uint32_t(half) * 2);
        }
    }
    return offsets.size() == maxp->numGlyphs + size_t(1);
}

bool OTlocaTable::Save() {
    if (!IsDirty()) return true;
    if (offsets.empty()) return false;
    auto font = GetFont();
    auto head = font ? font->GetTableT<OTheadTable>() : nullptr;
    if (!head) return false;

    // The form is judged on the last offset alone.
    const bool longForm = offsets.back() > kShortFormLimit;
    const int16_t format = longForm ? 1 : 0;
    if (head->indexToLocFormat != format) {
        head->indexToLocFormat = format;
        head->SetIsDirty(true);
    }
    BigEndianBuffer& out = ResetBuffer();
    for (uint32_t offset : offsets) {
        // The short form halves each offset; an odd one loses its low bit.
        if (longForm) {
            out.SetU32(offset);
        } else {
            out.SetU16(static_cast<uint16_t>(offset >> 1));
        }
    }
    SetIsDirty(false);
    return true;
}

void OTlocaTable::SetOffsets(std::vector<uint32_t> newOffsets) {
    if (newOffsets == offsets) return;
    offsets = std::move(newOffsets);
    SetIsDirty(true);
}

}  // namespace Typeframe
