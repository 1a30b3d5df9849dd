#include "layout/GSUBSequenceContextTable.h"

namespace Typeframe {

Utf8String GSUBSequenceContextTable::Context() const { return "ContextSubst"; }
Utf8String GSUBSequenceContextTable::RuleSetCount() const { return "SubRuleSetCount"; }
Utf8String GSUBSequenceContextTable::RuleSet() const { return "SubRuleSet"; }
Utf8String GSUBSequenceContextTable::RuleCount() const { return "SubRuleCount"; }
Utf8String GSUBSequenceContextTable::Rule() const { return "SubRule"; }
Utf8String GSUBSequenceContextTable::ClassSetCount() const { return "SubClassSetCount"; }
Utf8String GSUBSequenceContextTable::ClassSet() const { return "SubClassSet"; }
Utf8String GSUBSequenceContextTable::ClassRuleCount() const { return "SubClassRuleCount"; }
Utf8String GSUBSequenceContextTable::ClassRule() const { return "SubClassRule"; }
Utf8String GSUBSequenceContextTable::Count() const { return "SubstCount"; }
Utf8String GSUBSequenceContextTable::InputSequence() const { return "Input"; }

Utf8String GSUBSequenceContextTable::GetInputSequenceValue(unsigned short value) const { return GetGlyphName(value); }

Utf8String GSUBSequenceContextTable::LookupRecord() const { return "SubstLookupRecord"; }

}  // namespace Typeframe
