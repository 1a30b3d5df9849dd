#pragma once

// Test-only graph nodes and a small builder for hand-drawn table graphs.
// A TestNode holds a buffer of a given size, every byte the low byte of its
// id, so a packed layout can be read by eye; it compares by id alone.

#include <cstdint>
#include <memory>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "packing/GraphNode.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"
#include "packing/TableOffset.h"

namespace TypeframeTest {

class TestNode : public Typeframe::SubTable {
public:
    TestNode(int nodeId, unsigned long size) : id(nodeId) {
        buffer = Bedrock::MakeCounted<Typeframe::BigEndianBuffer>(size, 0);
        for (unsigned long i = 0; i < size; ++i) buffer->GetBuffer()[i] = static_cast<unsigned char>(nodeId);
    }
    bool IsLessThan(const Typeframe::GraphNode& other) const override {
        return id < static_cast<const TestNode&>(other).id;
    }

    int id;
};

// Same bytes and ids as a TestNode, but another class: never equal to one.
class OtherTestNode final : public TestNode {
public:
    using TestNode::TestNode;
};

// A node with no buffer at all, for graphs where only the shape matters.
class BareNode final : public Typeframe::GraphNode {
public:
    explicit BareNode(int nodeId) : id(nodeId) {}
    Bedrock::Counted<Typeframe::BigEndianBuffer> GetBuffer() const override { return nullptr; }
    bool IsLessThan(const Typeframe::GraphNode& other) const override {
        return id < static_cast<const BareNode&>(other).id;
    }

    int id;
};

// Owns the nodes of one hand-built graph and adds them as a table's save would.
class GraphBuilder {
public:
    // Adds a TestNode; an id seen before gives the earlier node's index.
    unsigned long Node(int id, unsigned long size) {
        m_owned.push_back(std::make_unique<TestNode>(id, size));
        return graph.AddTable(*m_owned.back());
    }
    // An offset field of `width` bytes at `position` of `source`'s buffer,
    // counting from `base`, pointing at `target`.
    void Link(unsigned long source, unsigned long target, unsigned long position, unsigned long width = 2,
              unsigned long base = 0) {
        Bedrock::Counted<Typeframe::BigEndianBuffer> bytes = graph.nodes[source]->GetBuffer();
        const unsigned long end = bytes->Tell();
        bytes->Seek(position);
        graph.AddOffset(source, Typeframe::TableOffset(bytes, base, width, true), target);
        bytes->Seek(end);
    }

    Typeframe::TableGraph graph;

private:
    std::vector<std::unique_ptr<Typeframe::GraphNode>> m_owned;
};

inline uint16_t U16At(const Typeframe::BigEndianBuffer& buffer, unsigned long offset) {
    uint16_t value = 0;
    buffer.GetU16(offset, value);
    return value;
}

inline uint32_t U32At(const Typeframe::BigEndianBuffer& buffer, unsigned long offset) {
    uint32_t value = 0;
    buffer.GetU32(offset, value);
    return value;
}

}  // namespace TypeframeTest
