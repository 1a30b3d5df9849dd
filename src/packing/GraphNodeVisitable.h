#pragma once

// The second, independent root of layout subtables: what a GraphNodeVisitor
// walks. A subtable that a visitor must reach derives from both SubTable and
// GraphNodeVisitable.

namespace Typeframe {

class GraphNodeVisitor;

class GraphNodeVisitable {
public:
    virtual ~GraphNodeVisitable();

    // Calls the visitor on this object, then Accept on the children that can
    // lead to what the visitor looks for, in field order.
    virtual void Accept(GraphNodeVisitor& visitor) = 0;
};

}  // namespace Typeframe
