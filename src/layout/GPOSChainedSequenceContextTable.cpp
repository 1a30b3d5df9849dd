#include "layout/GPOSChainedSequenceContextTable.h"

namespace Typeframe {

Utf8String GPOSChainedSequenceContextTable::ChainContext() const { return "ChainContextPos"; }
Utf8String GPOSChainedSequenceContextTable::ChainRuleSetCount() const { return "ChainPosRuleSetCount"; }
Utf8String GPOSChainedSequenceContextTable::ChainRuleSet() const { return "ChainPosRuleSet"; }
Utf8String GPOSChainedSequenceContextTable::ChainRuleCount() const { return "ChainPosRuleCount"; }
Utf8String GPOSChainedSequenceContextTable::ChainRule() const { return "ChainPosRule"; }
Utf8String GPOSChainedSequenceContextTable::ChainClassSetCount() const { return "ChainPosClassSetCount"; }
Utf8String GPOSChainedSequenceContextTable::ChainClassSet() const { return "ChainPosClassSet"; }
Utf8String GPOSChainedSequenceContextTable::ChainClassRuleCount() const { return "ChainPosClassRuleCount"; }
Utf8String GPOSChainedSequenceContextTable::ChainClassRule() const { return "ChainPosClassRule"; }
Utf8String GPOSChainedSequenceContextTable::Count() const { return "PosCount"; }
Utf8String GPOSChainedSequenceContextTable::LookupRecord() const { return "PosLookupRecord"; }

}  // namespace Typeframe
