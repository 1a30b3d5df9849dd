#pragma once

// A language system of a script, named by its tag. The record itself is the
// node that the script's offset points at, and its bytes are those of its
// language system: the tag goes into the script's own array.

#include <cstdint>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/Tag.h"
#include "layout/LangSys.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class LangSysRecord : public SubTable {
public:
    // Loads `langSys` from the buffer's position; `tag` is set by the script
    // beforehand. The result is that of LangSys::Load.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // Adds the record as the node, saves `langSys` on its own and copies its
    // finished bytes into the record's buffer.
    unsigned long Save(TableGraph& graph) const;
    bool IsLessThan(const GraphNode& other) const override;

    Tag tag = 0;
    LangSys langSys;
};

}  // namespace Typeframe
