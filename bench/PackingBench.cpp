// Packing a layout table: a synthetic graph shaped like the GPOS of a large
// font, built as the tables build it (depth first, equal subtables merged by
// AddTable) and laid out by TableGraphWriter. Beside it, the plain forms of
// the two searches that the graph makes faster: a linear scan for equal
// nodes, and a linear membership test in Kahn's in-degree count.
//
// The shape: a header, script and feature lists, and a lookup list of 250
// pair-positioning lookups with 8 subtables each. Every subtable is wrapped
// in an extension subtable (a 32-bit offset, so each one is cut out and laid
// out alone) and holds a coverage table, drawn from a pool of 400 shared
// ones, and 9 pair sets: about 22,700 nodes.

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <queue>
#include <vector>

#include <benchmark/benchmark.h>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "packing/GraphNode.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"
#include "packing/TableGraphWriter.h"
#include "packing/TableOffset.h"

using namespace Typeframe;

namespace {

constexpr int kLookups = 250;
constexpr int kSubTablesPerLookup = 8;
constexpr int kPairSets = 9;
constexpr int kCoveragePool = 400;

// A subtable of a given kind and size, equal to another of its kind with the
// same key, as layout subtables compare their fields.
class SyntheticSubTable final : public SubTable {
public:
    SyntheticSubTable(int kind, int key, unsigned long size, int offsets, unsigned long offsetWidth)
        : m_kind(kind), m_key(key), m_size(size), m_offsets(offsets), m_offsetWidth(offsetWidth) {}

    bool IsLessThan(const GraphNode& other) const override {
        const auto& that = static_cast<const SyntheticSubTable&>(other);
        if (m_kind != that.m_kind) return m_kind < that.m_kind;
        return m_key < that.m_key;
    }

    // What a subtable's Save(TableGraph&) does: add itself, write its bytes
    // with placeholders, save its children and link them.
    unsigned long Save(TableGraph& graph) const {
        const unsigned long index = graph.AddTable(*this);
        if (!buffer) {
            buffer = Bedrock::MakeCounted<BigEndianBuffer>();
        } else {
            buffer->Reset(0);
        }
        buffer->SetU16(static_cast<uint16_t>(m_kind));
        std::vector<TableOffset> offsets;
        for (int i = 0; i < m_offsets; ++i) offsets.emplace_back(buffer, 0, m_offsetWidth, true);
        while (buffer->GetLength() < m_size) buffer->SetU16(static_cast<uint16_t>(m_key));
        for (size_t i = 0; i < children.size(); ++i) {
            graph.AddOffset(index, offsets[i], children[i]->Save(graph));
        }
        return index;
    }

    std::vector<const SyntheticSubTable*> children;

private:
    int m_kind;
    int m_key;
    unsigned long m_size;
    int m_offsets;
    unsigned long m_offsetWidth;
};

class SyntheticGPOS {
public:
    SyntheticGPOS() {
        SyntheticSubTable* header = Make(0, 0, 10, 3, 2);
        header->children = {Make(1, 0, 400, 0, 2), Make(2, 0, 900, 0, 2)};
        SyntheticSubTable* lookupList = Make(3, 0, 2 + 2 * kLookups, kLookups, 2);
        header->children.push_back(lookupList);
        int key = 0;
        for (int lookup = 0; lookup < kLookups; ++lookup) {
            SyntheticSubTable* lookupTable = Make(4, lookup, 6 + 2 * kSubTablesPerLookup, kSubTablesPerLookup, 2);
            lookupList->children.push_back(lookupTable);
            for (int sub = 0; sub < kSubTablesPerLookup; ++sub, ++key) {
                SyntheticSubTable* extension = Make(5, key, 8, 1, 4);
                SyntheticSubTable* pairPos = Make(6, key, 10 + 2 * kPairSets, 1 + kPairSets, 2);
                // A fresh object each time: sharing comes from AddTable.
                const int coverage = (key * 7919) % kCoveragePool;
                pairPos->children.push_back(Make(7, coverage, 4 + 2 * (8 + coverage % 64), 0, 2));
                for (int set = 0; set < kPairSets; ++set) {
                    pairPos->children.push_back(Make(8, key * kPairSets + set, 2 + 6 * (4 + set), 0, 2));
                }
                extension->children.push_back(pairPos);
                lookupTable->children.push_back(extension);
            }
        }
        m_header = header;
    }

    TableGraph Build() const {
        TableGraph graph;
        m_header->Save(graph);
        return graph;
    }

    const std::vector<std::unique_ptr<SyntheticSubTable>>& GetObjects() const { return m_objects; }

private:
    SyntheticSubTable* Make(int kind, int key, unsigned long size, int offsets, unsigned long width) {
        m_objects.push_back(std::make_unique<SyntheticSubTable>(kind, key, size, offsets, width));
        return m_objects.back().get();
    }

    std::vector<std::unique_ptr<SyntheticSubTable>> m_objects;
    const SyntheticSubTable* m_header = nullptr;
};

const SyntheticGPOS& GetGPOS() {
    static const SyntheticGPOS gpos;
    return gpos;
}

// Building the graph: every subtable saved, equal ones merged.
void BM_BuildGraph(benchmark::State& state) {
    const SyntheticGPOS& gpos = GetGPOS();
    size_t nodes = 0;
    for (auto _ : state) {
        TableGraph graph = gpos.Build();
        nodes = graph.nodes.size();
        benchmark::DoNotOptimize(nodes);
    }
    state.counters["nodes"] = double(nodes);
}
BENCHMARK(BM_BuildGraph)->Unit(benchmark::kMillisecond);

// Packing the built graph: cutting the 2,000 extension targets, three-try
// layouts of the main graph and of each cut sub-tree.
void BM_PackGraph(benchmark::State& state) {
    const TableGraph built = GetGPOS().Build();
    size_t bytes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        TableGraph graph = built;
        state.ResumeTiming();
        const auto packed = TableGraphWriter().Save(graph, 0);
        bytes = packed ? packed->GetLength() : 0;
        benchmark::DoNotOptimize(bytes);
    }
    state.counters["nodes"] = double(built.nodes.size());
    state.counters["bytes"] = double(bytes);
}
BENCHMARK(BM_PackGraph)->Unit(benchmark::kMillisecond);

// The same graph with no extension subtables: every offset is 16-bit, the
// table is far too big for them, and all three layouts are tried and fail.
void BM_PackOverflowingGraph(benchmark::State& state) {
    TableGraph graph = GetGPOS().Build();
    for (auto& list : graph.edges) {
        for (TableEdge& edge : list) edge.offset.width = 2;
    }
    for (auto _ : state) {
        std::map<unsigned long, unsigned long> positions;
        const auto packed = TableGraphWriter().Save(graph, 0, positions);
        benchmark::DoNotOptimize(packed.Get());
    }
}
BENCHMARK(BM_PackOverflowingGraph)->Unit(benchmark::kMillisecond);

// The equal-node search of AddTable as a plain scan from index 0, over the
// same sequence of nodes as BM_BuildGraph adds (edges left out).
void BM_AddTableLinearScan(benchmark::State& state) {
    const SyntheticGPOS& gpos = GetGPOS();
    // The order in which the tables add their nodes.
    std::vector<const GraphNode*> sequence;
    {
        struct Recorder {
            static void Walk(const SyntheticSubTable& table, std::vector<const GraphNode*>& out) {
                out.push_back(&table);
                for (const SyntheticSubTable* child : table.children) Walk(*child, out);
            }
        };
        Recorder::Walk(*gpos.GetObjects().front(), sequence);
    }
    for (auto _ : state) {
        std::vector<const GraphNode*> nodes;
        for (const GraphNode* node : sequence) {
            bool found = false;
            for (const GraphNode* stored : nodes) {
                if (!(*stored < *node) && !(*node < *stored)) {
                    found = true;
                    break;
                }
            }
            if (!found) nodes.push_back(node);
        }
        benchmark::DoNotOptimize(nodes.size());
    }
}
BENCHMARK(BM_AddTableLinearScan)->Unit(benchmark::kMillisecond)->Iterations(1);

// Kahn's order of the whole graph, as the graph does it.
void BM_Kahn(benchmark::State& state) {
    const TableGraph graph = GetGPOS().Build();
    for (auto _ : state) benchmark::DoNotOptimize(graph.Kahn(0).size());
}
BENCHMARK(BM_Kahn)->Unit(benchmark::kMillisecond);

// The same with the in-degree count's membership test as a linear search of
// the reachable list, and the in-degrees in an ordered map.
void BM_KahnLinearMembership(benchmark::State& state) {
    const TableGraph graph = GetGPOS().Build();
    for (auto _ : state) {
        const std::vector<unsigned long> reachable = graph.DFS(0);
        std::map<unsigned long, uint64_t> inDegree;
        for (unsigned long i = 0; i < graph.nodes.size(); ++i) {
            if (std::find(reachable.begin(), reachable.end(), i) == reachable.end()) continue;
            for (const TableEdge& edge : graph.edges[i]) inDegree[edge.target] += 1;
        }
        std::vector<unsigned long> order;
        std::queue<unsigned long> ready;
        ready.push(0);
        while (!ready.empty()) {
            const unsigned long node = ready.front();
            ready.pop();
            order.push_back(node);
            for (const TableEdge& edge : graph.edges[node]) {
                if (inDegree[edge.target]-- == 1) ready.push(edge.target);
            }
        }
        benchmark::DoNotOptimize(order.size());
    }
}
BENCHMARK(BM_KahnLinearMembership)->Unit(benchmark::kMillisecond)->Iterations(1);

// Detaching every cut target by TableGraph::DetachNode, which walks every
// list; the writer detaches from the known parents only.
void BM_DetachEveryCutTargetByWalking(benchmark::State& state) {
    const TableGraph built = GetGPOS().Build();
    const auto large = TableGraphWriter().FindLargeOffsets(built);
    for (auto _ : state) {
        state.PauseTiming();
        TableGraph graph = built;
        state.ResumeTiming();
        for (const auto& [source, list] : large) {
            for (const TableEdge& edge : list) graph.DetachNode(edge.target);
        }
        benchmark::DoNotOptimize(graph.edges.size());
    }
}
BENCHMARK(BM_DetachEveryCutTargetByWalking)->Unit(benchmark::kMillisecond);

}  // namespace
