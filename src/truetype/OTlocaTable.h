#pragma once

// The index to location table ('loca'): where each glyph of 'glyf' starts.
// Offsets are held in bytes whichever form the file uses. Save picks the form
// from the last offset alone and writes the choice into 'head'; the offsets
// themselves come from 'glyf' when it is saved.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/OTTable.h"

namespace Typeframe {

class OTFont;

class OTlocaTable : public OTTable {
public:
    // The largest last offset that the short form (offsets halved in 16 bits)
    // is chosen for.
    static constexpr uint32_t kShortFormLimit = 131071;

    explicit OTlocaTable(Bedrock::NonCounted<OTFont> font);
    OTlocaTable(const OTlocaTable& other) = default;

    OTTable* VirtualClone() const override;
    // Needs 'head' and 'maxp'. Reads every entry the bytes hold; true only
    // when that is numGlyphs + 1 of them (the entries are kept either way).
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    // Short form when the last offset is at most kShortFormLimit, else long;
    // 'head' is updated (and made dirty) when its indexToLocFormat differs.
    // False with no offsets or no 'head'.
    bool Save() override;

    // Replaces the offsets; the table becomes dirty only when they differ.
    void SetOffsets(std::vector<uint32_t> newOffsets);

    std::vector<uint32_t> offsets;
};

}  // namespace Typeframe
