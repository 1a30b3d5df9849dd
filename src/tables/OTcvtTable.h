#pragma once

// The control value table ('cvt '): signed 16-bit values that the TrueType
// instructions read by index.

#include <vector>

#include "base/Counted.h"
#include "core/OTTable.h"

namespace Typeframe {

class OTFont;

class OTcvtTable : public OTTable {
public:
    explicit OTcvtTable(Bedrock::NonCounted<OTFont> font);
    OTcvtTable(const OTcvtTable& other) = default;

    OTTable* VirtualClone() const override;
    // Reads length / 2 values; an odd last byte is not read, and a dirty
    // save drops it.
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    bool Save() override;

    size_t GetValueCount() const { return values.size(); }
    void GetValues(std::vector<short>& out) const { out = values; }
    // Always marks the table dirty, even when the values are the same.
    void SetValues(const std::vector<short>& newValues);

    std::vector<short> values;
};

}  // namespace Typeframe
