#include "variations/OTcvarTable.h"

#include "core/OTFont.h"
#include "core/Tag.h"
#include "tables/OTcvtTable.h"
#include "variations/OTfvarTable.h"

namespace Typeframe {

OTcvarTable::OTcvarTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("cvar")) {}

OTcvarTable::OTcvarTable(const OTcvarTable& other)
    : Bedrock::Countable(),
      OTTable(other),
      axisCount(other.axisCount),
      valueCount(other.valueCount),
      majorVersion(other.majorVersion),
      minorVersion(other.minorVersion),
      store(other.store ? other.store->Clone() : nullptr) {}

OTTable* OTcvarTable::VirtualClone() const { return new OTcvarTable(*this); }

bool OTcvarTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!buffer) return false;
    auto font = GetFont();
    if (!font) return false;
    auto fvar = font->GetTableT<OTfvarTable>();
    auto cvt = font->GetTableT<OTcvtTable>();
    if (!fvar || !cvt) return false;
    if (!OTTable::Load(std::move(buffer))) return false;
    axisCount = fvar->axisCount;
    valueCount = static_cast<uint16_t>(cvt->GetValueCount());

    auto in = GetBuffer();
    in->Seek(0);
    in->GetU16(majorVersion);
    in->GetU16(minorVersion);
    // The tuple header follows the version, at offset 4; the store's data
    // offset counts from the table's start.
    store = Bedrock::MakeCounted<TupleVariationStore>(MakeTag("cvar"), fvar->GetAxisTags(), valueCount,
                                                      TupleVariation::SharedTuples());
    store->Load(in);
    return true;
}

bool OTcvarTable::Save() { return !IsDirty(); }

unsigned int OTcvarTable::GetAxisTag(unsigned short axis) const { return store ? store->GetAxisTag(axis) : 0; }

}  // namespace Typeframe
