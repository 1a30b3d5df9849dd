#pragma once

// Free functions that bring metric variation data and the axis values into
// the static tables of an instance. Each changes its tables in place and
// marks them dirty; results tell whether the function found its tables.

#include <vector>

#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "base/String.h"
#include "core/OTFont.h"
#include "variations/ItemVariationStore.h"
#include "variations/OTMVARTable.h"

namespace Typeframe {

bool ApplyMVAR(Bedrock::Counted<OTFont> font, const std::vector<Fixed2_14>& coordinates);
bool ApplyMVARValues(Bedrock::Counted<OTFont> font, const OTMVARTable::ValueRecord& record,
                     const ItemVariationStore& store, const std::vector<Fixed2_14>& coordinates);
// Name ID 6 becomes the instance's PostScript name and name ID 25 goes; the
// other names stay as in the variable font.
bool ApplyName(Bedrock::Counted<OTFont> font, const Utf8String& postScriptName, const std::vector<double>& location);

}  // namespace Typeframe
