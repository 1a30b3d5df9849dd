#pragma once

// What the layout tests share: node equality under a class's own order, and
// saving a subtable as the root of a graph and laying it out.

#include <cstdint>
#include <vector>

#include "TestUtil.h"
#include "packing/GraphNode.h"
#include "packing/TableGraph.h"
#include "packing/TableGraphWriter.h"

namespace TypeframeTest {

// Neither node is less than the other.
inline bool Equal(const Typeframe::GraphNode& a, const Typeframe::GraphNode& b) { return !(a < b) && !(b < a); }

// Saves `node` as the root of `graph` and lays it out; empty when the writer
// can't.
template <class Node>
std::vector<uint8_t> Pack(const Node& node, Typeframe::TableGraph& graph) {
    const unsigned long root = node.Save(graph);
    const Bedrock::Counted<Typeframe::BigEndianBuffer> packed = Typeframe::TableGraphWriter().Save(graph, root);
    return packed ? BufferBytes(*packed) : std::vector<uint8_t>();
}

template <class Node>
std::vector<uint8_t> Pack(const Node& node) {
    Typeframe::TableGraph graph;
    return Pack(node, graph);
}

}  // namespace TypeframeTest
