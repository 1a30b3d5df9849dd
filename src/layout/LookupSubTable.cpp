#include "layout/LookupSubTable.h"

namespace Typeframe {

LookupSubTable::~LookupSubTable() = default;

}  // namespace Typeframe
