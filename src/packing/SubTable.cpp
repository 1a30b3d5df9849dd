#include "packing/SubTable.h"

#include <algorithm>

namespace Typeframe {

Bedrock::Counted<BigEndianBuffer> SubTable::GetBuffer() const { return buffer; }

uint64_t SubTable::GetLoadBudget(const BigEndianBuffer& bytes) {
    constexpr uint64_t kFloor = uint64_t(16) << 20;
    constexpr uint64_t kObjectBytesPerByte = 256;
    return kFloor + kObjectBytesPerByte * uint64_t(bytes.GetLength());
}

uint64_t SubTable::KeepWithinBudget(uint64_t count, uint64_t objectSize, uint64_t& budget) {
    const uint64_t kept = objectSize == 0 ? count : std::min(count, budget / objectSize);
    budget -= kept * objectSize;
    return kept;
}

BigEndianBuffer& SubTable::StartSave() const {
    if (!buffer || buffer->GetReferenceCount() > 1) {
        buffer = Bedrock::MakeCounted<BigEndianBuffer>();
    } else {
        buffer->Reset(0);
    }
    return *buffer;
}

}  // namespace Typeframe
