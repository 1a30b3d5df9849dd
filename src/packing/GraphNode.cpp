#include "packing/GraphNode.h"

#include <typeindex>
#include <typeinfo>

namespace Typeframe {

GraphNode::~GraphNode() = default;

uint64_t GraphNode::GetSize() const {
    const Bedrock::Counted<BigEndianBuffer> buffer = GetBuffer();
    return buffer ? buffer->GetLength() : 0;
}

bool operator<(const GraphNode& a, const GraphNode& b) {
    const std::type_index typeA(typeid(a));
    const std::type_index typeB(typeid(b));
    if (typeA != typeB) return typeA < typeB;
    return a.IsLessThan(b);
}

bool operator!=(const GraphNode& a, const GraphNode& b) { return a < b || b < a; }

}  // namespace Typeframe
