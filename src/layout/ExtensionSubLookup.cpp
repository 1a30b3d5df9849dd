#include "layout/ExtensionSubLookup.h"

#include <utility>

namespace Typeframe {

ExtensionSubLookup::ExtensionSubLookup(Bedrock::NonCounted<OTFont> subTableFont,
                                       Bedrock::NonCounted<const LookupSubTableOwner> subTableOwner) {
    font = subTableFont;
    owner = subTableOwner;
}

ExtensionSubLookup::ExtensionSubLookup(Bedrock::NonCounted<OTFont> subTableFont,
                                       Bedrock::NonCounted<const LookupSubTableOwner> subTableOwner,
                                       Bedrock::Counted<LookupSubTable> wrapped)
    : ExtensionSubLookup(subTableFont, subTableOwner) {
    format = 1;
    extensionLookupType = wrapped ? wrapped->GetType() : 0;
    subTable = std::move(wrapped);
}

Bedrock::Counted<LookupSubTable> ExtensionSubLookup::Clone() const {
    return WithWrappedCopy(Bedrock::MakeCounted<ExtensionSubLookup>(*this));
}

void ExtensionSubLookup::Accept(GraphNodeVisitor& visitor) {
    if (subTable) subTable->Accept(visitor);
}

}  // namespace Typeframe
