#include "packing/GraphNodeVisitable.h"

namespace Typeframe {

GraphNodeVisitable::~GraphNodeVisitable() = default;

}  // namespace Typeframe
