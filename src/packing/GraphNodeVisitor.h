#pragma once

// The base of the visitors that walk layout tables (copying device values out
// and back in when a variable font is instanced). Each visitable layout class
// gets a Visit overload here, empty by default, as that class is written, so
// that a visitor overrides only the classes it cares about.

namespace Typeframe {

class LookupList;
class LookupTable;

class GraphNodeVisitor {
public:
    virtual ~GraphNodeVisitor();

    virtual void Visit(LookupList&) {}
    virtual void Visit(LookupTable&) {}
};

}  // namespace Typeframe
