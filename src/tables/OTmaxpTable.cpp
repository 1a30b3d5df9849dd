#include "tables/OTmaxpTable.h"

#include "core/Tag.h"

namespace Typeframe {

OTmaxpTable::OTmaxpTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("maxp")) {}

OTTable* OTmaxpTable::VirtualClone() const { return new OTmaxpTable(*this); }

bool OTmaxpTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    BigEndianBuffer& in = *Buffer();
    in.Seek(0);
    in.GetU32(version);
    in.GetU16(numGlyphs);
    // Below the long-form version only the glyph count is there; the limits
    // keep whatever they held.
    if (!HasLimits()) return true;
    in.GetU16(maxPoints);
    in.GetU16(maxContours);
    in.GetU16(maxCompositePoints);
    in.GetU16(maxCompositeContours);
    in.GetU16(maxZones);
    in.GetU16(maxTwilightPoints);
    in.GetU16(maxStorage);
    in.GetU16(maxFunctionDefs);
    in.GetU16(maxInstructionDefs);
    in.GetU16(maxStackElements);
    in.GetU16(maxSizeOfInstructions);
    in.GetU16(maxComponentElements);
    in.GetU16(maxComponentDepth);
    return true;
}

bool OTmaxpTable::Save() {
    if (!IsDirty()) return true;
    BigEndianBuffer& out = ResetBuffer();
    out.SetU32(version);
    out.SetU16(numGlyphs);
    // The short form is 6 bytes even when the limits hold values.
    if (HasLimits()) {
        out.SetU16(maxPoints);
        out.SetU16(maxContours);
        out.SetU16(maxCompositePoints);
        out.SetU16(maxCompositeContours);
        out.SetU16(maxZones);
        out.SetU16(maxTwilightPoints);
        out.SetU16(maxStorage);
        out.SetU16(maxFunctionDefs);
        out.SetU16(maxInstructionDefs);
        out.SetU16(maxStackElements);
        out.SetU16(maxSizeOfInstructions);
        out.SetU16(maxComponentElements);
        out.SetU16(maxComponentDepth);
    }
    SetIsDirty(false);
    return true;
}

}  // namespace Typeframe
