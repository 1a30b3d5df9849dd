#include "layout/LookupSubTableOwner.h"

namespace Typeframe {

LookupSubTableOwner::~LookupSubTableOwner() = default;

}  // namespace Typeframe
