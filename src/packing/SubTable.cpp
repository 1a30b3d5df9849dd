#include "packing/SubTable.h"

namespace Typeframe {

Bedrock::Counted<BigEndianBuffer> SubTable::GetBuffer() const { return buffer; }

}  // namespace Typeframe
