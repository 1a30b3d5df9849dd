// The table graph: offset placeholders and their direct setting, sharing of
// equal nodes, and the walks (depth-first, Kahn's orders, distances) on small
// hand-drawn graphs, with detaching, cycles and a very deep chain.

#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "packing/GraphNode.h"
#include "packing/TableGraph.h"
#include "packing/TableGraphWriter.h"
#include "packing/TableOffset.h"
#include "packing/PackingTestUtil.h"
#include "TestUtil.h"

using namespace Typeframe;
using TypeframeTest::BareNode;
using TypeframeTest::BufferBytes;
using TypeframeTest::GraphBuilder;
using TypeframeTest::HexBytes;
using TypeframeTest::OtherTestNode;
using TypeframeTest::TestNode;
using TypeframeTest::U16At;

using Order = std::vector<unsigned long>;

TEST(TableOffset, PlaceholdersAreWrittenWhereTheBufferStands) {
    auto buffer = Bedrock::MakeCounted<BigEndianBuffer>();
    buffer->SetU16(0x0001);
    const TableOffset absent(buffer, 0, 2, false);
    const TableOffset short16(buffer, 0, 2, true);
    const TableOffset long32(buffer, 0, 4, true);
    // A version-dependent field costs nothing when absent: no bytes, position 0.
    EXPECT_EQ(absent.position, 0u);
    EXPECT_EQ(short16.position, 2u);
    EXPECT_EQ(long32.position, 4u);
    EXPECT_EQ(BufferBytes(*buffer), HexBytes("0001 0000 00000000"));
}

// A directly set 16-bit offset stops at 0xFFFE, one below what the packer
// accepts; a 32-bit one has no range test; an absent one is a success.
TEST(TableOffset, DirectSetStopsAtFFFE) {
    auto buffer = Bedrock::MakeCounted<BigEndianBuffer>();
    buffer->SetU16(0xAAAA);
    TableOffset field(buffer, 2, 2, true);
    EXPECT_TRUE(field.Set(2 + 0xFFFE));
    EXPECT_EQ(U16At(*buffer, 2), 0xFFFE);
    EXPECT_FALSE(field.Set(2 + 0xFFFF));
    EXPECT_FALSE(field.Set(1));  // below the base: the difference wraps
    EXPECT_EQ(U16At(*buffer, 2), 0xFFFE);

    TableOffset wide(buffer, 2, 4, true);
    EXPECT_TRUE(wide.Set(0xFFFFFFFFu));
    EXPECT_EQ(TypeframeTest::U32At(*buffer, 4), 0xFFFFFFFDu);
    EXPECT_TRUE(wide.Set(1));  // wraps, with no range test
    EXPECT_EQ(TypeframeTest::U32At(*buffer, 4), 0xFFFFFFFFu);

    const auto before = BufferBytes(*buffer);
    TableOffset absent(buffer, 0, 2, false);
    EXPECT_TRUE(absent.Set(0x123456));
    EXPECT_EQ(BufferBytes(*buffer), before);
}

TEST(TableGraph, EqualNodesShareOneIndexAndOtherClassesNever) {
    TestNode first(7, 4);
    TestNode equal(7, 4);
    TestNode other(8, 4);
    OtherTestNode sameBytes(7, 4);
    BareNode bare(7);
    EXPECT_EQ(bare.GetSize(), 0u);
    EXPECT_EQ(first.GetSize(), 4u);

    TableGraph graph;
    EXPECT_EQ(graph.AddTable(first), 0u);
    EXPECT_EQ(graph.AddTable(first), 0u);
    EXPECT_EQ(graph.AddTable(equal), 0u);
    EXPECT_EQ(graph.nodes.size(), 1u);
    EXPECT_EQ(graph.nodes[0], &first);
    EXPECT_EQ(graph.AddTable(other), 1u);
    // Equal bytes and equal ids, but another class: a node of its own.
    EXPECT_TRUE(sameBytes != first);
    EXPECT_NE((sameBytes < first), (first < sameBytes));
    EXPECT_EQ(graph.AddTable(sameBytes), 2u);
    EXPECT_EQ(graph.AddTable(bare), 3u);
    EXPECT_EQ(graph.AddTable(equal), 0u);
    EXPECT_EQ(graph.nodes.size(), 4u);
    EXPECT_EQ(graph.edges.size(), 4u);
}

// A node class whose order calls some nodes less than themselves, as a
// lookup's comparison does: such a node is equal to nothing and gets an index
// of its own each time, and the nodes that do compare sanely still share.
TEST(TableGraph, NodesLessThanThemselvesAreNeverShared) {
    class SelfLess final : public TestNode {
    public:
        using TestNode::TestNode;
        bool IsLessThan(const Typeframe::GraphNode& other) const override {
            return id < 0 || id < static_cast<const SelfLess&>(other).id;
        }
    };
    SelfLess odd(-1, 2);
    SelfLess sane(5, 2);
    SelfLess saneToo(5, 2);
    TableGraph graph;
    EXPECT_EQ(graph.AddTable(odd), 0u);
    EXPECT_EQ(graph.AddTable(sane), 1u);
    EXPECT_EQ(graph.AddTable(odd), 2u);
    EXPECT_EQ(graph.AddTable(saneToo), 1u);
    EXPECT_EQ(graph.nodes.size(), 3u);
    EXPECT_EQ(graph.edges.size(), 3u);
}

// A diamond whose top also points straight at the bottom, listed first:
//
//        0 ------+
//       / \      |
//      1   2     |
//       \ /      |
//        3 <-----+
TEST(TableGraph, ANodeComesAfterAllItsParents) {
    GraphBuilder g;
    for (int id = 0; id < 4; ++id) g.Node(id, 8);
    g.Link(0, 3, 0);
    g.Link(0, 1, 2);
    g.Link(0, 2, 4);
    g.Link(1, 3, 0);
    g.Link(2, 3, 0);
    EXPECT_EQ(g.graph.DFS(0), (Order{0, 3, 1, 2}));
    EXPECT_EQ(g.graph.Kahn(0), (Order{0, 1, 2, 3}));
    EXPECT_EQ(g.graph.Reverse(), (std::vector<Order>{{}, {0}, {0}, {0, 1, 2}}));
    // The heap yields the greatest under the comparison.
    EXPECT_EQ(g.graph.Kahn(0, [](unsigned long a, unsigned long b) { return a < b; }), (Order{0, 2, 1, 3}));
    EXPECT_EQ(g.graph.DFS(2), (Order{2, 3}));
    EXPECT_EQ(g.graph.Kahn(2), (Order{2, 3}));
}

// Two offsets from one node to one target are two edges:
//
//      0 ==> 1       (0 lists 1, 2, 1)
//      |
//      +---> 2
TEST(TableGraph, ATargetOfTwoEdgesIsReadyAfterTheSecond) {
    GraphBuilder g;
    for (int id = 0; id < 3; ++id) g.Node(id, 8);
    g.Link(0, 1, 0);
    g.Link(0, 2, 2);
    g.Link(0, 1, 4);
    EXPECT_EQ(g.graph.Kahn(0), (Order{0, 2, 1}));
    EXPECT_EQ(g.graph.Reverse()[1], (Order{0, 0}));
}

// Edges out of nodes the root doesn't reach hold nothing back; nodes held in
// a cycle are left out of Kahn's order, and no walk runs forever:
//
//      0 --> 1 --> 2        4 (unreachable) --> 3
//      |     ^     |
//      |     +-----+
//      +---> 3
TEST(TableGraph, CyclesEndTheWalksAndUnreachableParentsDontCount) {
    GraphBuilder g;
    for (int id = 0; id < 5; ++id) g.Node(id, 4);
    g.Link(0, 1, 0);
    g.Link(0, 3, 2);
    g.Link(1, 2, 0);
    g.Link(2, 1, 0);
    g.Link(4, 3, 0);
    EXPECT_EQ(g.graph.DFS(0), (Order{0, 1, 2, 3}));
    EXPECT_EQ(g.graph.Kahn(0), (Order{0, 3}));
}

// Distances: the least sum of sizes on a path from the root, its own size
// counted and the root's not. The sum wraps: a parent that the root doesn't
// reach stands at all bits one and gives size - 1, which wins.
//
//      0 --> 1 (100) --> 3 (1)          5 (9, unreachable) --> 4 (7)
//       \                ^                                     ^
//        +-> 2 (5) ------+-------------------------------------+
TEST(TableGraph, DistancesWrapThroughUnreachableParents) {
    GraphBuilder g;
    g.Node(0, 6);
    g.Node(1, 100);
    g.Node(2, 5);
    g.Node(3, 1);
    g.Node(4, 7);
    g.Node(5, 9);
    g.Link(0, 1, 0);
    g.Link(0, 2, 2);
    g.Link(1, 3, 0);
    g.Link(2, 3, 0);
    g.Link(2, 4, 2);
    g.Link(5, 4, 0);
    const uint64_t none = std::numeric_limits<uint64_t>::max();
    EXPECT_EQ(g.graph.Distances(0), (std::vector<uint64_t>{0, 100, 5, 6, 6, none}));
}

// Detaching removes every edge to the node from every list and keeps the
// node's own edges; one entry comes back per list that was cut:
//
//      0 --> 1 --> 2          3 --> 1
//      |  \--> 1
//      +-----> 2
TEST(TableGraph, DetachedNodesDisappearFromWalksAndOutput) {
    GraphBuilder g;
    for (int id = 0; id < 4; ++id) g.Node(id, 6);
    g.Link(0, 1, 0);
    g.Link(0, 2, 2);
    g.Link(0, 1, 4);
    g.Link(1, 2, 0);
    g.Link(3, 1, 0);
    const auto removed = g.graph.DetachNode(1);
    ASSERT_EQ(removed.size(), 2u);
    EXPECT_EQ(removed[0].first, 0u);
    EXPECT_EQ(removed[0].second.target, 1u);
    EXPECT_EQ(removed[0].second.offset.position, 0u);
    EXPECT_EQ(removed[1].first, 3u);
    EXPECT_EQ(g.graph.edges[0].size(), 1u);
    EXPECT_TRUE(g.graph.edges[3].empty());
    EXPECT_EQ(g.graph.edges[1].size(), 1u);
    // 1 still lists 2, but no longer holds it back.
    EXPECT_EQ(g.graph.DFS(0), (Order{0, 2}));
    EXPECT_EQ(g.graph.Kahn(0), (Order{0, 2}));

    TableGraph copy = g.graph;
    std::map<unsigned long, unsigned long> positions;
    const auto packed = TableGraphWriter().Save(copy, 0, positions);
    ASSERT_TRUE(packed);
    EXPECT_EQ(BufferBytes(*packed), HexBytes("0000 0006 0000  020202020202"));
    EXPECT_EQ(positions.count(1), 0u);

    g.graph.AttachNode(removed);
    EXPECT_EQ(g.graph.DFS(0), (Order{0, 2, 1}));
    EXPECT_EQ(g.graph.edges[3].size(), 1u);
}

// A chain far deeper than any call stack would hold: the walks keep their
// own stack.
TEST(TableGraph, DeepChainsDoNotRecurse) {
    constexpr int kDepth = 300000;
    std::vector<std::unique_ptr<BareNode>> nodes;
    TableGraph graph;
    for (int id = 0; id < kDepth; ++id) {
        nodes.push_back(std::make_unique<BareNode>(id));
        graph.AddTable(*nodes.back());
        if (id > 0) graph.AddOffset(id - 1, TableOffset(), id);
    }
    graph.AddOffset(kDepth - 1, TableOffset(), 0);  // and back to the top
    EXPECT_EQ(graph.DFS(0).size(), size_t(kDepth));
    const Order order = graph.Kahn(0);
    // The cycle through the root makes the root ready a second time.
    ASSERT_EQ(order.size(), size_t(kDepth) + 1);
    EXPECT_EQ(order.back(), 0u);
    EXPECT_EQ(graph.Distances(0)[kDepth - 1], 0u);
}
