#include "packing/TableGraphWriter.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <set>
#include <unordered_map>
#include <utility>

namespace Typeframe {

namespace {

// Removes every edge to `node` from the lists of `parents`: what
// TableGraph::DetachNode does, when `parents` holds every node that has an
// edge to `node`, without walking the lists of all the others.
void DetachFromParents(TableGraph& graph, unsigned long node, const std::vector<unsigned long>& parents) {
    for (unsigned long parent : parents) {
        graph.edges[parent].remove_if([node](const TableEdge& edge) { return edge.target == node; });
    }
}

// What `root` reaches, as a graph of its own numbered in depth-first
// preorder with `root` as 0; lists keep their order, and an edge that leads
// outside `graph` leads outside the copy. The walk is that of
// TableGraph::DFS, with a visited set as large as what is reached rather
// than as the whole graph, since a table may cut thousands of sub-trees out
// of one graph.
TableGraph CopyReachable(const TableGraph& graph, unsigned long root) {
    TableGraph copy;
    const size_t count = std::min(graph.nodes.size(), graph.edges.size());
    if (root >= count) return copy;

    std::unordered_map<unsigned long, unsigned long> number;
    std::vector<unsigned long> original{root};
    struct Frame {
        unsigned long node;
        std::list<TableEdge>::const_iterator next;
    };
    std::vector<Frame> stack{Frame{root, graph.edges[root].begin()}};
    number.emplace(root, 0);
    while (!stack.empty()) {
        Frame& top = stack.back();
        if (top.next == graph.edges[top.node].end()) {
            stack.pop_back();
            continue;
        }
        const uint64_t target = top.next->target;
        ++top.next;
        if (target >= count || !number.emplace(target, original.size()).second) continue;
        original.push_back(target);
        stack.push_back(Frame{target, graph.edges[target].begin()});
    }

    copy.nodes.reserve(original.size());
    copy.edges.resize(original.size());
    for (size_t node = 0; node < original.size(); ++node) {
        copy.nodes.push_back(graph.nodes[original[node]]);
        for (const TableEdge& edge : graph.edges[original[node]]) {
            const auto found = number.find(edge.target);
            const uint64_t target = found == number.end() ? std::numeric_limits<uint64_t>::max() : found->second;
            copy.edges[node].push_back(TableEdge{target, edge.offset});
        }
    }
    return copy;
}

}  // namespace

Bedrock::Counted<BigEndianBuffer> TableGraphWriter::SaveTable(TableGraph& graph, unsigned long root) const {
    if (root >= graph.nodes.size()) return nullptr;
    const std::vector<std::vector<unsigned long>> parents = graph.Reverse();
    if (!parents[root].empty()) return nullptr;
    return Save(graph, root);
}

Bedrock::Counted<BigEndianBuffer> TableGraphWriter::Save(TableGraph& graph, unsigned long root) const {
    const std::map<unsigned long, std::list<TableEdge>> large = FindLargeOffsets(graph);

    // Each cut edge gets a sub-graph of its own, copied from the graph as it
    // stands after the earlier cuts. Two 32-bit edges to one target therefore
    // write it twice, and what a cut target reaches is copied into its
    // sub-graph even when the main layout or another sub-graph holds it too:
    // sharing holds only inside one layout.
    std::vector<TableGraph> subGraphs;
    if (!large.empty()) {
        // Cutting only removes edges, so the parents found once stay a
        // superset of each target's parents while the cuts go on.
        std::unordered_map<uint64_t, std::vector<unsigned long>> parents;
        for (const auto& [source, list] : large) {
            for (const TableEdge& edge : list) parents[edge.target];
        }
        for (unsigned long node = 0; node < graph.edges.size(); ++node) {
            for (const TableEdge& edge : graph.edges[node]) {
                const auto found = parents.find(edge.target);
                if (found == parents.end()) continue;
                if (found->second.empty() || found->second.back() != node) found->second.push_back(node);
            }
        }
        for (const auto& [source, list] : large) {
            for (const TableEdge& edge : list) {
                subGraphs.push_back(CreateSubGraph(graph, source, edge.target));
                DetachFromParents(graph, edge.target, parents[edge.target]);
            }
        }
    }

    std::map<unsigned long, unsigned long> positions;
    Bedrock::Counted<BigEndianBuffer> result = Save(graph, root, positions);
    if (!result) return nullptr;

    std::vector<uint64_t> starts;
    starts.reserve(subGraphs.size());
    for (const TableGraph& subGraph : subGraphs) {
        // A sub-graph's root is its index 0, which is also the table root.
        std::map<unsigned long, unsigned long> subPositions;
        const Bedrock::Counted<BigEndianBuffer> subResult = Save(subGraph, root, subPositions);
        if (!subResult) return nullptr;
        starts.push_back(result->Tell());
        result->Write(subResult->GetLength(), subResult->GetBuffer());
    }

    size_t cut = 0;
    for (const auto& [source, list] : large) {
        // A source outside the main layout (inside another cut sub-tree) reads
        // as position 0; layout tables have no such structure.
        const auto found = positions.find(source);
        const uint64_t sourceStart = found == positions.end() ? 0 : found->second;
        for (const TableEdge& edge : list) {
            // Counted from the holding node's own start: the offset's base is
            // deliberately not subtracted for a cut edge.
            result->SetU32(sourceStart + edge.offset.position, static_cast<uint32_t>(starts[cut] - sourceStart));
            ++cut;
        }
    }
    return result;
}

Bedrock::Counted<BigEndianBuffer> TableGraphWriter::Save(const TableGraph& graph, unsigned long root,
                                                         std::map<unsigned long, unsigned long>& positions) const {
    // Breadth-first: keeps a parent's children together; almost every table
    // fits this way.
    if (auto result = CreateBuffer(graph, graph.Kahn(root), positions)) return result;

    // Shortest node first, so small subtables gather near their parents and
    // big ones stand at the end where nothing has to jump over them.
    std::vector<uint64_t> sizes(graph.nodes.size(), 0);
    for (size_t node = 0; node < sizes.size(); ++node) {
        if (graph.nodes[node]) sizes[node] = graph.nodes[node]->GetSize();
    }
    const auto longer = [&sizes](unsigned long a, unsigned long b) { return sizes[a] > sizes[b]; };
    if (auto result = CreateBuffer(graph, graph.Kahn(root, longer), positions)) return result;

    // Nearest to the root, in bytes, first.
    const std::vector<uint64_t> distances = graph.Distances(root);
    const auto farther = [&distances](unsigned long a, unsigned long b) { return distances[a] > distances[b]; };
    return CreateBuffer(graph, graph.Kahn(root, farther), positions);
}

std::map<unsigned long, std::list<TableEdge>> TableGraphWriter::FindLargeOffsets(const TableGraph& graph) const {
    std::vector<std::pair<unsigned long, const TableEdge*>> candidates;
    // Targets of a 16-bit edge anywhere must stay in the main layout, and all
    // 32-bit edges to them stay ordinary edges.
    std::vector<char> hasShortParent(graph.nodes.size(), 0);
    std::set<uint64_t> outsideShortTargets;
    for (unsigned long node = 0; node < graph.edges.size(); ++node) {
        for (const TableEdge& edge : graph.edges[node]) {
            if (edge.offset.width > 2) candidates.emplace_back(node, &edge);
            if (edge.offset.width != 2) continue;
            if (edge.target < hasShortParent.size()) {
                hasShortParent[edge.target] = 1;
            } else {
                outsideShortTargets.insert(edge.target);
            }
        }
    }

    std::map<unsigned long, std::list<TableEdge>> large;
    for (const auto& [source, edge] : candidates) {
        const bool stays = edge->target < hasShortParent.size() ? hasShortParent[edge->target] != 0
                                                                : outsideShortTargets.count(edge->target) != 0;
        if (!stays) large[source].push_back(*edge);
    }
    return large;
}

TableGraph TableGraphWriter::CreateSubGraph(const TableGraph& graph, unsigned long, unsigned long root) const {
    // Kahn's order of `root` in the whole graph is the order of the copy of
    // what it reaches, and costs only what it reaches.
    const TableGraph reach = CopyReachable(graph, root);
    const std::vector<unsigned long> order = reach.Kahn(0);

    // New numbers by place in the order; a node listed twice (the root, when
    // a cycle leads back to it) keeps its first place and is taken once.
    constexpr unsigned long kUnplaced = std::numeric_limits<unsigned long>::max();
    std::vector<unsigned long> place(reach.nodes.size(), kUnplaced);
    std::vector<unsigned long> taken;
    taken.reserve(order.size());
    for (unsigned long node : order) {
        if (place[node] != kUnplaced) continue;
        place[node] = taken.size();
        taken.push_back(node);
    }

    TableGraph subGraph;
    for (unsigned long node : taken) {
        if (reach.nodes[node]) {
            subGraph.AddTable(*reach.nodes[node]);
        } else {
            // Not made by AddTable, but kept so that the numbers stay places.
            subGraph.nodes.push_back(nullptr);
            subGraph.edges.emplace_back();
        }
    }
    for (unsigned long node : taken) {
        for (const TableEdge& edge : reach.edges[node]) {
            // A target left out of the order (held in a cycle) reads as 0.
            const bool placed = edge.target < place.size() && place[edge.target] != kUnplaced;
            subGraph.AddOffset(place[node], edge.offset, placed ? place[edge.target] : 0);
        }
    }
    return subGraph;
}

Bedrock::Counted<BigEndianBuffer> TableGraphWriter::CreateBuffer(
    const TableGraph& graph, const std::vector<unsigned long>& order,
    std::map<unsigned long, unsigned long>& positions) const {
    const size_t count = graph.nodes.size() < graph.edges.size() ? graph.nodes.size() : graph.edges.size();

    // Nodes follow each other with no padding: layout subtables need none.
    // The whole length is made first, so the copies don't reallocate.
    uint64_t total = 0;
    for (unsigned long node : order) {
        if (node < count && graph.nodes[node]) total += graph.nodes[node]->GetSize();
    }
    auto out = Bedrock::MakeCounted<BigEndianBuffer>();
    out->Resize(total);
    out->Seek(0);

    // A target that is not laid out reads as starting at 0.
    std::vector<uint64_t> starts(count, 0);
    for (unsigned long node : order) {
        if (node >= count) continue;
        starts[node] = out->Tell();
        positions[node] = out->Tell();
        if (!graph.nodes[node]) continue;
        const Bedrock::Counted<BigEndianBuffer> bytes = graph.nodes[node]->GetBuffer();
        if (bytes) out->Write(bytes->GetLength(), bytes->GetBuffer());
    }

    for (unsigned long node : order) {
        if (node >= count) continue;
        const uint64_t start = starts[node];
        for (const TableEdge& edge : graph.edges[node]) {
            const uint64_t targetStart = edge.target < count ? starts[edge.target] : 0;
            // A target laid out before its source wraps to a huge value.
            const uint64_t value = targetStart - start - edge.offset.base;
            if (edge.offset.width == 2) {
                // Deliberately 0xFFFF, where a directly set offset stops at
                // 0xFFFE: the largest value a 16-bit field holds.
                if (value > 0xFFFF) return nullptr;
                out->SetU16(start + edge.offset.position, static_cast<uint16_t>(value));
            } else if (edge.offset.width == 4) {
                out->SetU32(start + edge.offset.position, static_cast<uint32_t>(value));
            }
        }
    }
    return out;
}

}  // namespace Typeframe
