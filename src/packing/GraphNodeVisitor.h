#pragma once

// The base of the visitors that walk layout tables (copying device values out
// and back in when a variable font is instanced). Each visitable layout class
// gets a Visit overload here, empty by default, as that class is written, so
// that a visitor overrides only the classes it cares about.

// The BASE parts are nested classes, which can't be declared ahead.
#include "layout/OTBASETable.h"

namespace Typeframe {

class LookupList;
class LookupTable;
class BaseArrayTable;
class ExtensionPosLookup;
class LigatureArrayTable;
class LigatureAttachTable;
class Mark2ArrayTable;
class MarkArrayTable;
class MarkLigPosLookup;
class MarkMarkPosLookup;
class MarkToBasePosLookup;
class AnchorTable;
class CursivePosLookup;
class PairPosLookup;
class PairSetTable;
class SinglePosLookup;
class ValueRecord;
class SequenceContextTable;
class ChainedSequenceContextTable;
class OTGPOSTable;
class OTGDEFTable;
class LigatureCaretListTable;
class LigatureGlyphTable;

class GraphNodeVisitor {
public:
    virtual ~GraphNodeVisitor();

    virtual void Visit(LookupList&) {}
    virtual void Visit(LookupTable&) {}
    virtual void Visit(MarkArrayTable&) {}
    virtual void Visit(BaseArrayTable&) {}
    virtual void Visit(Mark2ArrayTable&) {}
    virtual void Visit(LigatureArrayTable&) {}
    virtual void Visit(LigatureAttachTable&) {}
    virtual void Visit(MarkToBasePosLookup&) {}
    virtual void Visit(MarkLigPosLookup&) {}
    virtual void Visit(MarkMarkPosLookup&) {}
    virtual void Visit(ExtensionPosLookup&) {}
    virtual void Visit(ValueRecord&) {}
    virtual void Visit(AnchorTable&) {}
    virtual void Visit(SinglePosLookup&) {}
    virtual void Visit(PairSetTable&) {}
    virtual void Visit(PairPosLookup&) {}
    virtual void Visit(CursivePosLookup&) {}
    virtual void Visit(SequenceContextTable&) {}
    virtual void Visit(ChainedSequenceContextTable&) {}
    virtual void Visit(OTGPOSTable&) {}
    virtual void Visit(OTGDEFTable&) {}
    virtual void Visit(LigatureCaretListTable&) {}
    virtual void Visit(LigatureGlyphTable&) {}
    virtual void Visit(OTBASETable&) {}
    virtual void Visit(OTBASETable::Axis&) {}
    virtual void Visit(OTBASETable::Axis::BaseCoord&) {}
    virtual void Visit(OTBASETable::Axis::BaseValues&) {}
    virtual void Visit(OTBASETable::Axis::MinMax&) {}
    virtual void Visit(OTBASETable::Axis::BaseScriptRecord&) {}
    virtual void Visit(OTBASETable::Axis::BaseScriptRecord::BaseScriptTable&) {}
};

}  // namespace Typeframe
