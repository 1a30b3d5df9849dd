#include "layout/ExtensionPosLookup.h"

#include "packing/GraphNodeVisitor.h"

namespace Typeframe {

Bedrock::Counted<LookupSubTable> ExtensionPosLookup::Clone() const {
    return WithWrappedCopy(Bedrock::MakeCounted<ExtensionPosLookup>(*this));
}

void ExtensionPosLookup::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    if (subTable) subTable->Accept(visitor);
}

}  // namespace Typeframe
