#pragma once

// Lays a filled TableGraph out as the bytes of one layout table. Three orders
// of the nodes are tried in turn and the first in which every 16-bit offset
// fits is taken. Sub-trees behind 32-bit offsets that no 16-bit offset also
// points at are cut out first, each laid out alone and placed behind the
// main layout, so that they don't lengthen the reach of what stays.
//
// Nothing is promoted: no 16-bit offset becomes a 32-bit one and no extension
// subtable is inserted. A table that fits in no order packs to null.

#include <list>
#include <map>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class TableGraphWriter {
public:
    // The packed table, or null. Leaves `graph` without the edges that were
    // cut, so a graph is packed once.
    Bedrock::Counted<BigEndianBuffer> Save(TableGraph& graph, unsigned long root) const;
    // The same for a whole table whose header is `root`, and null as well
    // when an offset points back at the header: a part of a format that has
    // no layout to write (a coverage that never loaded, say) answers with
    // node 0, and such an offset would be garbage to every reader.
    Bedrock::Counted<BigEndianBuffer> SaveTable(TableGraph& graph, unsigned long root) const;
    // One graph, no cutting: the first of the three layouts that fits, or null
    // after the third. `positions` receives each node's first byte; entries
    // are overwritten by each attempt, so they describe the one returned.
    Bedrock::Counted<BigEndianBuffer> Save(const TableGraph& graph, unsigned long root,
                                           std::map<unsigned long, unsigned long>& positions) const;

    // The 32-bit edges to cut, keyed by the index of the node holding them, in
    // list order: those whose target has no 16-bit parent anywhere.
    std::map<unsigned long, std::list<TableEdge>> FindLargeOffsets(const TableGraph& graph) const;
    // What `root` reaches, as a new graph numbered in breadth-first order with
    // `root` as 0. The offsets are copied as they are. The unnamed argument is
    // not used.
    TableGraph CreateSubGraph(const TableGraph& graph, unsigned long, unsigned long root) const;
    // The nodes of `order` back to back with their offsets filled in, or null
    // when a 16-bit offset doesn't fit.
    Bedrock::Counted<BigEndianBuffer> CreateBuffer(const TableGraph& graph, const std::vector<unsigned long>& order,
                                                   std::map<unsigned long, unsigned long>& positions) const;
};

}  // namespace Typeframe
