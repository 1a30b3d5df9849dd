#include "tables/OTfpgmTable.h"

#include "core/OTFont.h"
#include "core/Tag.h"

namespace Typeframe {

OTfpgmTable::OTfpgmTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("fpgm")) {}

OTfpgmTable::OTfpgmTable(const OTfpgmTable& other)
    : Bedrock::Countable(other), OTTable(other), compiler(other.compiler ? other.compiler->Clone() : nullptr) {}

OTTable* OTfpgmTable::VirtualClone() const { return new OTfpgmTable(*this); }

bool OTfpgmTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    if (!compiler) compiler = Bedrock::MakeCounted<TTCompiler>();
    return compiler->Load(GetBuffer());
}

bool OTfpgmTable::Save() {
    if (!IsDirty()) return true;
    if (!compiler || !compiler->Save()) return false;
    SetBuffer(compiler->buffer);
    SetIsDirty(false);
    return true;
}

}  // namespace Typeframe
