#include "layout/FeatureParams.h"

#include <functional>
#include <utility>

namespace Typeframe {

FeatureParams::~FeatureParams() = default;

bool FeatureParams::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& /*budget*/) {
    return Load(std::move(source));
}

int FeatureParams::CompareFonts(const OTFont* a, const OTFont* b) {
    if (a == b) return 0;
    return std::less<const OTFont*>()(a, b) ? -1 : 1;
}

}  // namespace Typeframe
