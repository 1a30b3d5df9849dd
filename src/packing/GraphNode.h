#pragma once

// Anything that can stand as a node of a table graph: a serialised layout
// subtable, or the header of a layout table. A node has bytes (its buffer)
// and an order among nodes of its own class; two nodes are equal, and are
// then stored once in a graph, when neither is less than the other.

#include <cstdint>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"

namespace Typeframe {

class GraphNode {
public:
    virtual ~GraphNode();

    // The node's serialised bytes; null when it has none.
    virtual Bedrock::Counted<BigEndianBuffer> GetBuffer() const = 0;
    // Called only with an `other` of the receiver's own dynamic type. It must
    // be a strict weak order (fields compared in one fixed order), since the
    // graph finds equal nodes by it.
    virtual bool IsLessThan(const GraphNode& other) const = 0;
    // Whether IsLessThan(*this) holds. An order that fails to be strict can
    // call a node less than itself; such a node equals nothing and the graph
    // never shares it. The classes that can say so answer here cheaply, so
    // that the graph doesn't compare every node, child by child, with itself.
    virtual bool IsLessThanItself() const { return false; }

    // The length of the buffer, or 0 when there is none.
    uint64_t GetSize() const;
};

// Nodes of different classes are ordered by their type identities and are
// never equal; nodes of one class by IsLessThan.
bool operator<(const GraphNode& a, const GraphNode& b);
bool operator!=(const GraphNode& a, const GraphNode& b);

// -1, 0 or 1 as `a` is less than, equal to or greater than `b` under `<`:
// for comparisons of many fields where the first difference decides.
template <class T>
int ThreeWay(const T& a, const T& b) {
    if (a < b) return -1;
    return b < a ? 1 : 0;
}

}  // namespace Typeframe
