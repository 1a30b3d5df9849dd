#include "layout/LookupSubTable.h"

#include <utility>

namespace Typeframe {

LookupSubTable::~LookupSubTable() = default;

bool LookupSubTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t&) { return Load(std::move(source)); }

}  // namespace Typeframe
