#pragma once

// The base of every layout subtable: a graph node whose bytes are held in a
// buffer of its own, rewritten by each save into a table graph.

#include <cstddef>
#include <cstdint>
#include <utility>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "packing/GraphNode.h"

namespace Typeframe {

class SubTable : public GraphNode {
public:
    // A further reference to `buffer`.
    Bedrock::Counted<BigEndianBuffer> GetBuffer() const override;

    // The most entries a 16-bit count can announce; a save writes no more.
    static constexpr size_t kMaxCount = 0xFFFF;

    // How many bytes of objects one load of a subtable tree may keep: 16 MiB
    // plus 256 times the buffer's length. Records that point at one shared
    // child load a copy each, so a hostile table could multiply a small file
    // into a huge object tree. A tree that shares nothing stays under the
    // bound: its densest records, value records of one 2-byte field, keep
    // under 256 bytes of objects per byte read.
    static uint64_t GetLoadBudget(const BigEndianBuffer& bytes);
    // How many of `count` records, each kept as `objectSize` bytes, `budget`
    // still holds; those are charged to it.
    static uint64_t KeepWithinBudget(uint64_t count, uint64_t objectSize, uint64_t& budget);
    // Loads `table` from `source` within a budget of its own: the plain Load
    // of every class whose load takes a budget.
    template <class Table>
    static bool LoadWithOwnBudget(Table& table, Bedrock::Counted<BigEndianBuffer> source) {
        if (!source) return false;
        uint64_t budget = GetLoadBudget(*source);
        return table.Load(std::move(source), budget);
    }

    // Mutable because a subtable's Save(TableGraph&) is const yet writes its
    // bytes here, creating the buffer on the first save.
    mutable Bedrock::Counted<BigEndianBuffer> buffer;

protected:
    // The buffer emptied and at position 0, ready for a save: a new one when
    // there is none, or when a copy of this subtable shares it, so that
    // saving one copy never rewrites the bytes of the other.
    BigEndianBuffer& StartSave() const;
};

}  // namespace Typeframe
