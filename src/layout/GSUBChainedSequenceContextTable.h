#pragma once

// GSUB lookup type 6: substitution in chained context. The subtable is
// ChainedSequenceContextTable's; this class gives it its lookup type and
// the names of its parts.

#include <cstdint>

#include "base/Counted.h"
#include "base/String.h"
#include "layout/ChainedSequenceContextTable.h"

namespace Typeframe {

class GSUBChainedSequenceContextTable : public ChainedSequenceContextTable {
public:
    uint16_t GetType() const override { return 6; }
    Bedrock::Counted<LookupSubTable> Clone() const override {
        return Bedrock::MakeCounted<GSUBChainedSequenceContextTable>(*this);
    }

    Utf8String ChainContext() const override;
    Utf8String ChainRuleSetCount() const override;
    Utf8String ChainRuleSet() const override;
    Utf8String ChainRuleCount() const override;
    Utf8String ChainRule() const override;
    Utf8String ChainClassSetCount() const override;
    Utf8String ChainClassSet() const override;
    Utf8String ChainClassRuleCount() const override;
    Utf8String ChainClassRule() const override;
    Utf8String Count() const override;
    Utf8String LookupRecord() const override;
};

}  // namespace Typeframe
