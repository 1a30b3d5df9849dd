#include "tables/OTcvtTable.h"

#include "core/OTFont.h"
#include "core/Tag.h"

namespace Typeframe {

OTcvtTable::OTcvtTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("cvt ")) {}

OTTable* OTcvtTable::VirtualClone() const { return new OTcvtTable(*this); }

bool OTcvtTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    BigEndianBuffer& in = *Buffer();
    // An odd last byte is not read, so a dirty save drops it.
    const unsigned long count = in.GetLength() / 2;
    values.assign(count, 0);
    bool result = true;
    for (unsigned long i = 0; i < count; ++i) result = in.GetS16(i * 2, values[i]);
    return result;
}

bool OTcvtTable::Save() {
    if (!IsDirty()) return true;
    BigEndianBuffer& out = ResetBuffer(values.size() * 2);
    for (size_t i = 0; i < values.size(); ++i) out.SetS16(i * 2, values[i]);
    out.InvalidateChecksum();
    SetIsDirty(false);
    return true;
}

void OTcvtTable::SetValues(const std::vector<short>& newValues) {
    values = newValues;
    SetIsDirty(true);
}

}  // namespace Typeframe
