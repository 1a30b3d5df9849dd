#include "instancer/ApplyMetricVariations.h"

#include "instancer/FontInstancer.h"
#include "tables/OThheaTable.h"
#include "tables/OTnameTable.h"
#include "tables/OTvheaTable.h"

namespace Typeframe {

namespace {

// Applies one record's delta to a 16-bit field; true when the value changed.
template <class Field>
bool VaryField(Field& field, int start, const OTMVARTable::ValueRecord& record, const ItemVariationStore& store,
               const std::vector<Fixed2_14>& coordinates) {
    int value = start;
    const DeltaSetIndexMap::IndexEntry entry{record.deltaSetOuterIndex, record.deltaSetInnerIndex};
    if (!FontInstancer::ApplyVariation(value, entry, store, coordinates)) return false;
    const Field before = field;
    field = static_cast<Field>(value);
    return field != before;
}

}  // namespace

bool ApplyMVAR(Bedrock::Counted<OTFont> font, const std::vector<Fixed2_14>& coordinates) {
    if (!font) return false;
    auto mvar = font->GetTableT<OTMVARTable>();
    if (!mvar) return false;
    for (unsigned int i = 0; i < mvar->valueRecords.size() && i <= 0xFFFF; ++i) {
        OTMVARTable::ValueRecord record;
        if (mvar->GetValueRecord(static_cast<unsigned short>(i), record)) {
            ApplyMVARValues(font, record, mvar->itemVariationStore, coordinates);
        }
    }
    return true;
}

bool ApplyMVARValues(Bedrock::Counted<OTFont> font, const OTMVARTable::ValueRecord& record,
                     const ItemVariationStore& store, const std::vector<Fixed2_14>& coordinates) {
    auto hhea = font->GetTableT<OThheaTable>();
    auto vhea = font->GetTableT<OTvheaTable>();
    auto vary = [&](auto& table, auto& field, int start) {
        if (VaryField(field, start, record, store, coordinates)) table->SetIsDirty(true);
    };
    switch (record.valueTag) {
        case MakeTag("hcrs"):
            if (hhea) vary(hhea, hhea->caretSlopeRise, hhea->caretSlopeRise);
            break;
        case MakeTag("hcrn"):
            if (hhea) vary(hhea, hhea->caretSlopeRun, hhea->caretSlopeRun);
            break;
        case MakeTag("hcof"):
            if (hhea) vary(hhea, hhea->caretOffset, hhea->caretOffset);
            break;
        case MakeTag("vasc"):
            if (vhea) vary(vhea, vhea->vertTypoAscender, vhea->vertTypoAscender);
            break;
        case MakeTag("vdsc"):
            if (vhea) vary(vhea, vhea->vertTypoDescender, vhea->vertTypoDescender);
            break;
        case MakeTag("vlgp"):
            if (vhea) vary(vhea, vhea->vertTypoLineGap, vhea->vertTypoLineGap);
            break;
        case MakeTag("vcrs"):
            if (vhea) vary(vhea, vhea->caretSlopeRise, vhea->caretSlopeRise);
            break;
        // Kept as it has always been: the vertical run starts from the
        // horizontal caret run, so it needs hhea as well as vhea.
        case MakeTag("vcrn"):
            if (vhea && hhea) vary(vhea, vhea->caretSlopeRun, hhea->caretSlopeRun);
            break;
        case MakeTag("vcof"):
            if (vhea) vary(vhea, vhea->caretOffset, vhea->caretOffset);
            break;
        default: break;
    }
    return true;
}

bool ApplyName(Bedrock::Counted<OTFont> font, const Utf8String& postScriptName, const std::vector<double>&) {
    auto name = font ? font->GetTableT<OTnameTable>() : nullptr;
    if (!name) return true;
    name->ReplaceString(6, postScriptName);
    name->RemoveString(25);
    return true;
}

}  // namespace Typeframe
