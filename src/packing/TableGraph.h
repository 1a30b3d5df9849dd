#pragma once

// A layout table as a graph while it is being saved: the nodes are subtables
// that have written their own bytes, the edges are offsets still to be filled
// in. Equal subtables collapse into one node when they are added, which is
// how sharing comes about; TableGraphWriter then lays the nodes out.
//
// A node's identity is its index in `nodes`, handed out from 0 and valid for
// the graph's life: nothing removes a node. The graph does not own its nodes,
// which are members of the table being saved and outlive the graph. A copy
// shares the nodes and holds further references to the same buffers.

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <utility>
#include <vector>

#include "packing/GraphNode.h"
#include "packing/TableOffset.h"

namespace Typeframe {

// One offset together with the index of the node it points at.
struct TableEdge {
    uint64_t target = 0;
    TableOffset offset;
};

class TableGraph {
public:
    // The index of a node equal to `node`, the first one added; `node` itself
    // is appended only when there is none. Nodes are appended only through
    // here: the index that finds equal nodes follows `nodes` as it grows.
    unsigned long AddTable(const GraphNode& node);
    // Appends an edge to the list of `source`; no duplicate check, so two
    // offsets from one node to one target are two edges. A source outside
    // the graph is ignored.
    void AddOffset(unsigned long source, const TableOffset& offset, unsigned long target);

    // Removes every edge to `node` from every list, keeping the order of the
    // others; the node's own outgoing edges stay. Returns, for each list that
    // lost an edge, the parent's index and the first edge removed from it.
    std::vector<std::pair<unsigned long, TableEdge>> DetachNode(unsigned long node);
    // Appends each entry's edge to the list of its parent, in order.
    void AttachNode(std::vector<std::pair<unsigned long, TableEdge>> entries);

    // The nodes reachable from `root` in depth-first preorder, following each
    // list in order; `root` first. A visited set ends cycles, and the walk
    // keeps its own stack, so neither a cycle nor a deep graph recurses.
    std::vector<unsigned long> DFS(unsigned long root) const;
    // For each node, the index of each parent, once per edge: for each node in
    // index order and each of its edges in order.
    std::vector<std::vector<unsigned long>> Reverse() const;
    // A topological order of what `root` reaches. Ready nodes leave first in
    // first out, so the order is breadth-first within the constraint.
    std::vector<unsigned long> Kahn(unsigned long root) const;
    // The same with ready nodes in a priority queue under `compare`: the
    // greatest under `compare` leaves first; ties fall as the heap has them.
    std::vector<unsigned long> Kahn(unsigned long root,
                                    std::function<bool(unsigned long, unsigned long)> compare) const;
    // Per node, the least sum of node sizes on a path from the root (the
    // root's own size not counted); all bits one where no path has been seen.
    std::vector<uint64_t> Distances(unsigned long root) const;

    std::vector<const GraphNode*> nodes;
    // Parallel to `nodes`: the offsets in each node, in the order added.
    std::vector<std::list<TableEdge>> edges;

private:
    struct NodeOrder {
        bool operator()(const GraphNode* a, const GraphNode* b) const { return *a < *b; }
    };

    // Brings m_index up to date with `nodes`.
    void UpdateIndex();
    // False for a node that is not equal to itself under its class's order.
    static bool IsShareable(const GraphNode& node);
    template <class ReadySet>
    std::vector<unsigned long> TopologicalOrder(unsigned long root, ReadySet& ready) const;
    // The number of indices that are valid in both `nodes` and `edges`.
    size_t GetCount() const { return nodes.size() < edges.size() ? nodes.size() : edges.size(); }

    // Each class of equal nodes mapped to the first index that holds it. This
    // finds what a scan of `nodes` from index 0 would find, in log time rather
    // than linear, as long as IsLessThan is a strict weak order.
    std::map<const GraphNode*, unsigned long, NodeOrder> m_index;
    // How many entries of `nodes` m_index has seen.
    size_t m_indexedCount = 0;
};

}  // namespace Typeframe
