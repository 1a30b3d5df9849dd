#include "packing/GraphNodeVisitor.h"

namespace Typeframe {

GraphNodeVisitor::~GraphNodeVisitor() = default;

}  // namespace Typeframe
