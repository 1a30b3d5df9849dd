#pragma once

// The base of every layout subtable: a graph node whose bytes are held in a
// buffer of its own, rewritten by each save into a table graph.

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "packing/GraphNode.h"

namespace Typeframe {

class SubTable : public GraphNode {
public:
    // A further reference to `buffer`.
    Bedrock::Counted<BigEndianBuffer> GetBuffer() const override;

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
