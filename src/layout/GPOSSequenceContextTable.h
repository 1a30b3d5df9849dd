#pragma once

// GPOS lookup type 7: positioning in context. The subtable is
// SequenceContextTable's; this class gives it its lookup type and the names
// of its parts.

#include <cstdint>

#include "base/Counted.h"
#include "base/String.h"
#include "layout/SequenceContextTable.h"

namespace Typeframe {

class GPOSSequenceContextTable : public SequenceContextTable {
public:
    uint16_t GetType() const override { return 7; }
    Bedrock::Counted<LookupSubTable> Clone() const override {
        return Bedrock::MakeCounted<GPOSSequenceContextTable>(*this);
    }

    Utf8String Context() const override;
    Utf8String RuleSetCount() const override;
    Utf8String RuleSet() const override;
    Utf8String RuleCount() const override;
    Utf8String Rule() const override;
    Utf8String ClassSetCount() const override;
    Utf8String ClassSet() const override;
    Utf8String ClassRuleCount() const override;
    Utf8String ClassRule() const override;
    Utf8String Count() const override;
    // Deliberately "Class", although an input sequence here is read as
    // glyphs, as GetInputSequenceValue shows.
    Utf8String InputSequence() const override;
    // The font's name for the glyph `value`.
    Utf8String GetInputSequenceValue(unsigned short value) const override;
    Utf8String LookupRecord() const override;
};

}  // namespace Typeframe
