#include "layout/GSUBChainedSequenceContextTable.h"

namespace Typeframe {

Utf8String GSUBChainedSequenceContextTable::ChainContext() const { return "ChainContextSubst"; }
Utf8String GSUBChainedSequenceContextTable::ChainRuleSetCount() const { return "ChainSubRuleSetCount"; }
Utf8String GSUBChainedSequenceContextTable::ChainRuleSet() const { return "ChainSubRuleSet"; }
Utf8String GSUBChainedSequenceContextTable::ChainRuleCount() const { return "ChainSubRuleCount"; }
Utf8String GSUBChainedSequenceContextTable::ChainRule() const { return "ChainSubRule"; }
Utf8String GSUBChainedSequenceContextTable::ChainClassSetCount() const { return "ChainSubClassSetCount"; }
Utf8String GSUBChainedSequenceContextTable::ChainClassSet() const { return "ChainSubClassSet"; }
Utf8String GSUBChainedSequenceContextTable::ChainClassRuleCount() const { return "ChainSubClassRuleCount"; }
Utf8String GSUBChainedSequenceContextTable::ChainClassRule() const { return "ChainSubClassRule"; }
Utf8String GSUBChainedSequenceContextTable::Count() const { return "SubstCount"; }
Utf8String GSUBChainedSequenceContextTable::LookupRecord() const { return "SubstLookupRecord"; }

}  // namespace Typeframe
