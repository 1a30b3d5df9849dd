#include "layout/GPOSSequenceContextTable.h"

namespace Typeframe {

Utf8String GPOSSequenceContextTable::Context() const { return "ContextPos"; }
Utf8String GPOSSequenceContextTable::RuleSetCount() const { return "PosRuleSetCount"; }
Utf8String GPOSSequenceContextTable::RuleSet() const { return "PosRuleSet"; }
Utf8String GPOSSequenceContextTable::RuleCount() const { return "PosRuleCount"; }
Utf8String GPOSSequenceContextTable::Rule() const { return "PosRule"; }
Utf8String GPOSSequenceContextTable::ClassSetCount() const { return "PosClassSetCount"; }
Utf8String GPOSSequenceContextTable::ClassSet() const { return "PosClassSet"; }
Utf8String GPOSSequenceContextTable::ClassRuleCount() const { return "PosClassRuleCount"; }
Utf8String GPOSSequenceContextTable::ClassRule() const { return "PosClassRule"; }
Utf8String GPOSSequenceContextTable::Count() const { return "PosCount"; }
Utf8String GPOSSequenceContextTable::InputSequence() const { return "Class"; }

Utf8String GPOSSequenceContextTable::GetInputSequenceValue(unsigned short value) const { return GetGlyphName(value); }

Utf8String GPOSSequenceContextTable::LookupRecord() const { return "PosLookupRecord"; }

}  // namespace Typeframe
