#include "tables/OTprepTable.h"

#include "core/OTFont.h"
#include "core/Tag.h"

namespace Typeframe {

OTprepTable::OTprepTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("prep")) {}

OTprepTable::OTprepTable(const OTprepTable& other)
    : Bedrock::Countable(other), OTTable(other), compiler(other.compiler ? other.compiler->Clone() : nullptr) {}

OTTable* OTprepTable::VirtualClone() const { return new OTprepTable(*this); }

bool OTprepTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    if (!compiler) compiler = Bedrock::MakeCounted<TTCompiler>();
    return compiler->Load(GetBuffer());
}

bool OTprepTable::Save() {
    if (!IsDirty()) return true;
    if (!compiler || !compiler->Save()) return false;
    SetBuffer(compiler->buffer);
    SetIsDirty(false);
    return true;
}

}  // namespace Typeframe
