#include "packing/TableGraph.h"

#include <algorithm>
#include <limits>
#include <queue>

namespace Typeframe {

namespace {

// The ready set of the breadth-first order.
class FifoReadySet {
public:
    bool IsEmpty() const { return m_queue.empty(); }
    void Push(unsigned long node) { m_queue.push(node); }
    unsigned long Pop() {
        const unsigned long node = m_queue.front();
        m_queue.pop();
        return node;
    }

private:
    std::queue<unsigned long> m_queue;
};

// The ready set of the ordered forms: exactly a standard priority queue, so
// that ties fall as that heap lets them fall.
class HeapReadySet {
public:
    explicit HeapReadySet(std::function<bool(unsigned long, unsigned long)> compare) : m_queue(std::move(compare)) {}
    bool IsEmpty() const { return m_queue.empty(); }
    void Push(unsigned long node) { m_queue.push(node); }
    unsigned long Pop() {
        const unsigned long node = m_queue.top();
        m_queue.pop();
        return node;
    }

private:
    std::priority_queue<unsigned long, std::vector<unsigned long>, std::function<bool(unsigned long, unsigned long)>>
        m_queue;
};

}  // namespace

void TableGraph::UpdateIndex() {
    if (m_indexedCount > nodes.size()) {
        m_index.clear();
        m_indexedCount = 0;
    }
    for (; m_indexedCount < nodes.size(); ++m_indexedCount) {
        // emplace keeps an earlier equal node: the first index wins.
        if (nodes[m_indexedCount] && IsShareable(*nodes[m_indexedCount])) {
            m_index.emplace(nodes[m_indexedCount], m_indexedCount);
        }
    }
}

bool TableGraph::IsShareable(const GraphNode& node) {
    // A node whose order calls it less than itself (a lookup's comparison
    // can) is equal to nothing, so it is never shared; kept out of the
    // index, it cannot break the ordered map's invariants.
    return !node.IsLessThanItself();
}

unsigned long TableGraph::AddTable(const GraphNode& node) {
    UpdateIndex();
    if (!IsShareable(node)) {
        nodes.push_back(&node);
        if (edges.size() < nodes.size()) edges.resize(nodes.size());
        m_indexedCount = nodes.size();
        return nodes.size() - 1;
    }
    const auto found = m_index.find(&node);
    if (found != m_index.end()) return found->second;
    nodes.push_back(&node);
    if (edges.size() < nodes.size()) edges.resize(nodes.size());
    const unsigned long index = nodes.size() - 1;
    m_index.emplace(&node, index);
    m_indexedCount = nodes.size();
    return index;
}

void TableGraph::AddOffset(unsigned long source, const TableOffset& offset, unsigned long target) {
    if (source >= edges.size()) return;
    edges[source].push_back(TableEdge{target, offset});
}

std::vector<std::pair<unsigned long, TableEdge>> TableGraph::DetachNode(unsigned long node) {
    std::vector<std::pair<unsigned long, TableEdge>> removed;
    for (unsigned long parent = 0; parent < edges.size(); ++parent) {
        std::list<TableEdge>& list = edges[parent];
        bool cut = false;
        for (auto edge = list.begin(); edge != list.end();) {
            if (edge->target != node) {
                ++edge;
                continue;
            }
            if (!cut) removed.emplace_back(parent, *edge);
            cut = true;
            edge = list.erase(edge);
        }
    }
    return removed;
}

void TableGraph::AttachNode(std::vector<std::pair<unsigned long, TableEdge>> entries) {
    for (auto& [parent, edge] : entries) {
        if (parent < edges.size()) edges[parent].push_back(std::move(edge));
    }
}

std::vector<unsigned long> TableGraph::DFS(unsigned long root) const {
    std::vector<unsigned long> order;
    const size_t count = GetCount();
    if (root >= count) return order;

    struct Frame {
        unsigned long node;
        std::list<TableEdge>::const_iterator next;
    };
    std::vector<char> visited(count, 0);
    std::vector<Frame> stack;
    visited[root] = 1;
    order.push_back(root);
    stack.push_back(Frame{root, edges[root].begin()});
    while (!stack.empty()) {
        Frame& top = stack.back();
        if (top.next == edges[top.node].end()) {
            stack.pop_back();
            continue;
        }
        const uint64_t target = top.next->target;
        ++top.next;
        // An edge to an index outside the graph leads nowhere.
        if (target >= count || visited[target]) continue;
        visited[target] = 1;
        order.push_back(target);
        stack.push_back(Frame{target, edges[target].begin()});
    }
    return order;
}

std::vector<std::vector<unsigned long>> TableGraph::Reverse() const {
    std::vector<std::vector<unsigned long>> parents(nodes.size());
    for (unsigned long node = 0; node < edges.size(); ++node) {
        for (const TableEdge& edge : edges[node]) {
            if (edge.target < parents.size()) parents[edge.target].push_back(node);
        }
    }
    return parents;
}

template <class ReadySet>
std::vector<unsigned long> TableGraph::TopologicalOrder(unsigned long root, ReadySet& ready) const {
    std::vector<unsigned long> order;
    const size_t count = GetCount();
    if (root >= count) return order;

    // In-degrees count only edges out of reachable nodes. Counting them in
    // the order of the walk rather than by index gives the same sums, and
    // needs no search of the reachable set.
    std::vector<uint64_t> inDegree(count, 0);
    for (unsigned long node : DFS(root)) {
        for (const TableEdge& edge : edges[node]) {
            if (edge.target < count) ++inDegree[edge.target];
        }
    }

    // The root is ready whatever its count; a cycle back to it makes it ready
    // once more. Nodes of any other cycle never reach zero and are left out.
    ready.Push(root);
    while (!ready.IsEmpty()) {
        const unsigned long node = ready.Pop();
        order.push_back(node);
        for (const TableEdge& edge : edges[node]) {
            if (edge.target >= count) continue;
            // Unsigned: a count already at zero wraps and is never ready again.
            if (inDegree[edge.target]-- == 1) ready.Push(edge.target);
        }
    }
    return order;
}

std::vector<unsigned long> TableGraph::Kahn(unsigned long root) const {
    FifoReadySet ready;
    return TopologicalOrder(root, ready);
}

std::vector<unsigned long> TableGraph::Kahn(unsigned long root,
                                            std::function<bool(unsigned long, unsigned long)> compare) const {
    HeapReadySet ready(std::move(compare));
    return TopologicalOrder(root, ready);
}

std::vector<uint64_t> TableGraph::Distances(unsigned long root) const {
    std::vector<uint64_t> distance(nodes.size(), std::numeric_limits<uint64_t>::max());
    if (distance.empty()) return distance;
    // Index 0, not `root`: the table header is always the first node added,
    // so the two are the same node in every use.
    distance[0] = 0;
    const std::vector<std::vector<unsigned long>> parents = Reverse();
    for (unsigned long node : Kahn(root)) {
        const uint64_t size = nodes[node] ? nodes[node]->GetSize() : 0;
        for (unsigned long parent : parents[node]) {
            // Wraps on purpose: a parent that the root doesn't reach stands at
            // all bits one and gives size - 1, which then wins the minimum.
            const uint64_t through = distance[parent] + size;
            distance[node] = std::min(distance[node], through);
        }
    }
    return distance;
}

}  // namespace Typeframe
