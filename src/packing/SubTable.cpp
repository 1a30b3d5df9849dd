#include "packing/SubTable.h"

namespace Typeframe {

Bedrock::Counted<BigEndianBuffer> SubTable::GetBuffer() const { return buffer; }

BigEndianBuffer& SubTable::StartSave() const {
    if (!buffer || buffer->GetReferenceCount() > 1) {
        buffer = Bedrock::MakeCounted<BigEndianBuffer>();
    } else {
        buffer->Reset(0);
    }
    return *buffer;
}

}  // namespace Typeframe
