// The graph writer on hand-drawn graphs: which of the three layouts is taken,
// the 0xFFFF limit, sharing, the cutting of sub-trees behind 32-bit offsets
// and the order in which they are appended, and null when nothing fits.
// In the drawings a node is "index (size)", and edges are 16-bit unless
// marked 32.

#include <cstdint>
#include <map>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "packing/TableGraph.h"
#include "packing/TableGraphWriter.h"
#include "packing/PackingTestUtil.h"
#include "TestUtil.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;
using TypeframeTest::GraphBuilder;
using TypeframeTest::HexBytes;
using TypeframeTest::U16At;
using TypeframeTest::U32At;

using Positions = std::map<unsigned long, unsigned long>;

namespace {

uint8_t ByteAt(const BigEndianBuffer& buffer, unsigned long offset) {
    uint8_t value = 0;
    buffer.GetU8(offset, value);
    return value;
}

}  // namespace

//      0 (4) --> 1 (6) --> 3 (2)      1's offset counts from its byte 2
//      |
//      +-------> 2 (3)
TEST(TableGraphWriter, BreadthFirstLayoutFillsEveryOffset) {
    GraphBuilder g;
    g.Node(0, 4);
    g.Node(1, 6);
    g.Node(2, 3);
    g.Node(3, 2);
    g.Link(0, 1, 0);
    g.Link(0, 2, 2);
    g.Link(1, 3, 2, 2, 2);
    EXPECT_TRUE(TableGraphWriter().FindLargeOffsets(g.graph).empty());
    Positions positions;
    const auto packed = TableGraphWriter().Save(g.graph, 0, positions);
    ASSERT_TRUE(packed);
    EXPECT_EQ(BufferBytes(*packed), HexBytes("0004 000A  0101 0007 0101  020202  0303"));
    EXPECT_EQ(positions, (Positions{{0, 0}, {1, 4}, {2, 10}, {3, 13}}));
    // The nodes' own placeholders stay zero: only the output is patched.
    EXPECT_EQ(BufferBytes(*g.graph.nodes[1]->GetBuffer()), HexBytes("0101 0000 0101"));

    const auto whole = TableGraphWriter().Save(g.graph, 0);
    ASSERT_TRUE(whole);
    EXPECT_EQ(BufferBytes(*whole), BufferBytes(*packed));
}

// Saved depth first as a table would: the second parent's child 2' equals 2,
// so it is node 2 again, and its edge to 3' (equal to 3) is added to 2's list
// a second time, at the same position.
//
//      0 (4) --> 1 (2) --> 2 (2) ==> 3 (3)
//        \                 ^
//         +----> 4 (2) ----+
TEST(TableGraphWriter, EqualSubtablesAreWrittenOnce) {
    GraphBuilder g;
    g.Node(0, 4);
    g.Node(1, 2);
    EXPECT_EQ(g.Node(5, 2), 2u);
    EXPECT_EQ(g.Node(6, 3), 3u);
    g.Link(2, 3, 0);
    g.Link(1, 2, 0);
    EXPECT_EQ(g.Node(2, 2), 4u);
    EXPECT_EQ(g.Node(5, 2), 2u);
    EXPECT_EQ(g.Node(6, 3), 3u);
    g.Link(2, 3, 0);
    g.Link(4, 2, 0);
    g.Link(0, 1, 0);
    g.Link(0, 4, 2);
    ASSERT_EQ(g.graph.nodes.size(), 5u);
    const auto packed = TableGraphWriter().Save(g.graph, 0);
    ASSERT_TRUE(packed);
    EXPECT_EQ(BufferBytes(*packed), HexBytes("0004 0006  0004  0002  0002  060606"));
}

// 0 to 2 is 4 + N: 0xFFFF packs in the first layout, 0x10000 moves on to the
// second, where the shorter 2 comes first.
//
//      0 (4) --> 1 (N)
//      |
//      +-------> 2 (2)
TEST(TableGraphWriter, FFFFPacksAndOneMoreTakesTheSecondLayout) {
    for (unsigned long size : {0xFFFBul, 0xFFFCul}) {
        GraphBuilder g;
        g.Node(0, 4);
        g.Node(1, size);
        g.Node(2, 2);
        g.Link(0, 1, 0);
        g.Link(0, 2, 2);
        Positions positions;
        const auto packed = TableGraphWriter().Save(g.graph, 0, positions);
        ASSERT_TRUE(packed);
        EXPECT_EQ(packed->GetLength(), 6 + size);
        if (size == 0xFFFB) {
            EXPECT_EQ(positions, (Positions{{0, 0}, {1, 4}, {2, 0xFFFF}}));
            EXPECT_EQ(U16At(*packed, 2), 0xFFFF);
        } else {
            Positions first;
            EXPECT_FALSE(TableGraphWriter().CreateBuffer(g.graph, g.graph.Kahn(0), first));
            EXPECT_EQ(positions, (Positions{{0, 0}, {2, 4}, {1, 6}}));
            EXPECT_EQ(U16At(*packed, 0), 6);
            EXPECT_EQ(U16At(*packed, 2), 4);
        }
    }
}

// Breadth first puts 4 between 1 and 2 (1 to 2 is 0x11000); shortest first
// puts 2 and 3 before 4 (0 to 4 is 0x10008); nearest first takes 1, 2 (at
// 0x8004 from the root), 4 (0x9000), 3 (0x10004), and everything fits.
//
//      0 (4) --> 1 (0x8000) --> 2 (4) --> 3 (0x8000)
//      |
//      +-------> 4 (0x9000)
TEST(TableGraphWriter, NearestFirstIsTheThirdLayout) {
    GraphBuilder g;
    g.Node(0, 4);
    g.Node(1, 0x8000);
    g.Node(2, 4);
    g.Node(3, 0x8000);
    g.Node(4, 0x9000);
    g.Link(0, 1, 0);
    g.Link(0, 4, 2);
    g.Link(1, 2, 0);
    g.Link(2, 3, 0);
    const TableGraphWriter writer;
    Positions scratch;
    EXPECT_FALSE(writer.CreateBuffer(g.graph, g.graph.Kahn(0), scratch));
    const auto longer = [&g](unsigned long a, unsigned long b) {
        return g.graph.nodes[a]->GetSize() > g.graph.nodes[b]->GetSize();
    };
    EXPECT_FALSE(writer.CreateBuffer(g.graph, g.graph.Kahn(0, longer), scratch));

    Positions positions;
    const auto packed = writer.Save(g.graph, 0, positions);
    ASSERT_TRUE(packed);
    EXPECT_EQ(positions, (Positions{{0, 0}, {1, 4}, {2, 0x8004}, {4, 0x8008}, {3, 0x11008}}));
    EXPECT_EQ(U16At(*packed, 2), 0x8008);
    EXPECT_EQ(U16At(*packed, 0x8004), 0x9004);
}

// No order fits: whichever big node comes second is 0x10004 away.
//
//      0 (4) --> 1 (0x10000)
//      |
//      +-------> 2 (0x10000)
TEST(TableGraphWriter, OverflowInEveryLayoutGivesNull) {
    GraphBuilder g;
    g.Node(0, 4);
    g.Node(1, 0x10000);
    g.Node(2, 0x10000);
    g.Link(0, 1, 0);
    g.Link(0, 2, 2);
    TableGraph copy = g.graph;
    Positions positions;
    EXPECT_FALSE(TableGraphWriter().Save(g.graph, 0, positions));
    EXPECT_FALSE(TableGraphWriter().Save(copy, 0));
    EXPECT_EQ(BufferBytes(*g.graph.nodes[0]->GetBuffer()), HexBytes("0000 0000"));
}

// 1's offsets are listed 4 first, then 3; 2 comes after 1 by index. The cut
// sub-trees follow the main layout (0, 1, 2) in that order: 4, 3, then 5
// with 6, each laid out alone, so 5's 16-bit offset to 6 fits although 3
// lies before it. A cut offset counts from its node's start: 1's base of 2
// is not subtracted.
//
//                0 (4)
//              /       `.
//          1 (8)        2 (4)
//       32 /   `. 32       | 32
//     4 (5)    3 (0x10000)  5 (4) --> 6 (2)
TEST(TableGraphWriter, CutSubTreesFollowInSourceAndListOrder) {
    GraphBuilder g;
    g.Node(0, 4);
    g.Node(1, 8);
    g.Node(2, 4);
    g.Node(3, 0x10000);
    g.Node(4, 5);
    g.Node(5, 4);
    g.Node(6, 2);
    g.Link(0, 1, 0);
    g.Link(0, 2, 2);
    g.Link(1, 4, 4, 4, 2);
    g.Link(1, 3, 0, 4, 2);
    g.Link(2, 5, 0, 4);
    g.Link(5, 6, 0);

    const auto large = TableGraphWriter().FindLargeOffsets(g.graph);
    ASSERT_EQ(large.size(), 2u);
    ASSERT_EQ(large.at(1).size(), 2u);
    EXPECT_EQ(large.at(1).front().target, 4u);
    EXPECT_EQ(large.at(2).front().target, 5u);

    const auto packed = TableGraphWriter().Save(g.graph, 0);
    ASSERT_TRUE(packed);
    ASSERT_EQ(packed->GetLength(), 0x1001Bu);
    EXPECT_EQ(U16At(*packed, 0), 4);
    EXPECT_EQ(U16At(*packed, 2), 12);
    EXPECT_EQ(U32At(*packed, 4 + 4), 16u - 4);     // 4 at 16
    EXPECT_EQ(U32At(*packed, 4 + 0), 21u - 4);     // 3 at 21
    EXPECT_EQ(U32At(*packed, 12), 0x10015u - 12);  // 5 at 0x10015
    EXPECT_EQ(U16At(*packed, 0x10015), 4);         // 6 right behind 5
    EXPECT_EQ(ByteAt(*packed, 16), 4);
    EXPECT_EQ(ByteAt(*packed, 21), 3);
    EXPECT_EQ(ByteAt(*packed, 0x10019), 6);
    // The cut edges are gone from the graph.
    EXPECT_TRUE(g.graph.edges[1].empty());
    EXPECT_TRUE(g.graph.edges[2].empty());
}

// A 32-bit target that a 16-bit offset also points at stays in the main
// layout; its 32-bit offset is filled like any other, beyond 0xFFFF too.
//
//      0 (4) --> 1 (4) --32--> 3 (2)
//        \                     ^
//         +----> 2 (0xFFFE) ---+
TEST(TableGraphWriter, ThirtyTwoBitTargetWithASixteenBitParentStays) {
    GraphBuilder g;
    g.Node(0, 4);
    g.Node(1, 4);
    g.Node(2, 0xFFFE);
    g.Node(3, 2);
    g.Link(0, 1, 0);
    g.Link(0, 2, 2);
    g.Link(1, 3, 0, 4);
    g.Link(2, 3, 0);
    EXPECT_TRUE(TableGraphWriter().FindLargeOffsets(g.graph).empty());
    const auto packed = TableGraphWriter().Save(g.graph, 0);
    ASSERT_TRUE(packed);
    EXPECT_EQ(packed->GetLength(), 0x10008u);
    EXPECT_EQ(U32At(*packed, 4), 0x10002u);
    EXPECT_EQ(U16At(*packed, 8), 0xFFFE);
}

// Two extension-style nodes 1 and 4 wrap equal subtables: 2 is one node with
// two 32-bit parents, so each offset gets a copy of its own, and the
// coverage 3 under it is written again in each copy although the main layout
// has it.
//
//              0 (6)
//           /    |    `----------.
//       1 (8)   4 (8)            |
//      32 `.    .' 32            |
//           2 (4) ------------> 3 (3)
TEST(TableGraphWriter, DoubleThirtyTwoBitParentsGetACopyEach) {
    GraphBuilder g;
    g.Node(0, 6);
    g.Node(1, 8);
    EXPECT_EQ(g.Node(3, 4), 2u);
    EXPECT_EQ(g.Node(4, 3), 3u);
    g.Link(2, 3, 2);
    g.Link(1, 2, 4, 4);
    EXPECT_EQ(g.Node(2, 8), 4u);
    EXPECT_EQ(g.Node(3, 4), 2u);
    EXPECT_EQ(g.Node(4, 3), 3u);
    g.Link(2, 3, 2);
    g.Link(4, 2, 4, 4);
    g.Link(0, 1, 0);
    g.Link(0, 4, 2);
    g.Link(0, 3, 4);

    const auto packed = TableGraphWriter().Save(g.graph, 0);
    ASSERT_TRUE(packed);
    // Main: 0 at 0, 1 at 6, 4 at 14, 3 at 22; then 2 with 3 at 25, and
    // again at 32.
    EXPECT_EQ(BufferBytes(*packed), HexBytes("0006 000E 0016"
                                             "0101 0101 00000013"
                                             "0202 0202 00000012"
                                             "040404"
                                             "0303 0004 040404"
                                             "0303 0004 040404"));
}

// A cut sub-tree that fits in no layout, or a main layout that fits in none
// while sub-trees wait to be appended, makes the whole table null.
//
//      0 (4) --32--> 1 (4) --> 2 (0x10000)       0 (8) --> 1 (0x10000)
//                      \                           |\---> 2 (0x10000)
//                       +----> 3 (0x10000)         +--32--> 3 (2)
TEST(TableGraphWriter, AnyLayoutThatNeverFitsGivesNull) {
    GraphBuilder sub;
    sub.Node(0, 4);
    sub.Node(1, 4);
    sub.Node(2, 0x10000);
    sub.Node(3, 0x10000);
    sub.Link(0, 1, 0, 4);
    sub.Link(1, 2, 0);
    sub.Link(1, 3, 2);
    EXPECT_EQ(TableGraphWriter().FindLargeOffsets(sub.graph).size(), 1u);
    EXPECT_FALSE(TableGraphWriter().Save(sub.graph, 0));

    GraphBuilder main;
    main.Node(0, 8);
    main.Node(1, 0x10000);
    main.Node(2, 0x10000);
    main.Node(3, 2);
    main.Link(0, 1, 0);
    main.Link(0, 2, 2);
    main.Link(0, 3, 4, 4);
    EXPECT_EQ(TableGraphWriter().FindLargeOffsets(main.graph).size(), 1u);
    EXPECT_FALSE(TableGraphWriter().Save(main.graph, 0));
}

// A sub-graph is numbered in breadth-first order from its root, which is 0,
// and keeps the offsets as they were.
//
//      0 --> 1 --> 3
//            |
//            +---> 2 --> 3
TEST(TableGraphWriter, SubGraphsAreRenumberedFromTheirRoot) {
    GraphBuilder g;
    for (int id = 0; id < 4; ++id) g.Node(id, 6);
    g.Link(0, 1, 0);
    g.Link(1, 3, 2, 2, 1);
    g.Link(1, 2, 4);
    g.Link(2, 3, 0);
    const TableGraph sub = TableGraphWriter().CreateSubGraph(g.graph, 0, 1);
    ASSERT_EQ(sub.nodes.size(), 3u);
    EXPECT_EQ(sub.nodes[0], g.graph.nodes[1]);
    EXPECT_EQ(sub.nodes[1], g.graph.nodes[2]);
    EXPECT_EQ(sub.nodes[2], g.graph.nodes[3]);
    ASSERT_EQ(sub.edges[0].size(), 2u);
    EXPECT_EQ(sub.edges[0].front().target, 2u);
    EXPECT_EQ(sub.edges[0].front().offset.position, 2u);
    EXPECT_EQ(sub.edges[0].front().offset.base, 1u);
    EXPECT_EQ(sub.edges[0].back().target, 1u);
    EXPECT_EQ(sub.edges[1].front().target, 2u);
    EXPECT_TRUE(sub.edges[2].empty());
}

// A cycle never fits (an edge runs backwards), and packing it ends.
//
//      0 <--> 1
TEST(TableGraphWriter, ACycleEndsInNull) {
    GraphBuilder g;
    g.Node(0, 2);
    g.Node(1, 2);
    g.Link(0, 1, 0);
    g.Link(1, 0, 0);
    EXPECT_FALSE(TableGraphWriter().Save(g.graph, 0));
}
