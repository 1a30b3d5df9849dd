#include "variations/TupleVariationStore.h"

namespace Typeframe {

TupleVariationStore::TupleVariationStore(unsigned int tag, const std::vector<unsigned int>& tags, unsigned short points,
                                         const TupleVariation::SharedTuples& shared)
    : TupleVariationStore(tag, std::make_shared<const std::vector<unsigned int>>(tags), points,
                          std::make_shared<const TupleVariation::SharedTuples>(shared)) {}

TupleVariationStore::TupleVariationStore(unsigned int tag, std::shared_ptr<const std::vector<unsigned int>> tags,
                                         unsigned short points,
                                         std::shared_ptr<const TupleVariation::SharedTuples> shared)
    : tableTag(tag),
      axisTags(tags ? std::move(tags) : std::make_shared<const std::vector<unsigned int>>()),
      pointCount(points),
      sharedTuples(shared ? std::move(shared) : std::make_shared<const TupleVariation::SharedTuples>()) {}

TupleVariationStore::TupleVariationStore(const TupleVariationStore& other)
    : Bedrock::Countable(),
      tableTag(other.tableTag),
      axisTags(other.axisTags),
      pointCount(other.pointCount),
      sharedPoints(other.sharedPoints),
      sharedTuples(other.sharedTuples) {
    variations.reserve(other.variations.size());
    for (const auto& variation : other.variations) variations.push_back(variation ? variation->Clone() : nullptr);
}

bool TupleVariationStore::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    // Many glyphs have no variation data at all.
    if (!buffer || buffer->GetRemaining() < 4) return true;
    uint16_t tupleVariationCount = 0;
    uint16_t dataOffset = 0;
    buffer->GetU16(tupleVariationCount);
    buffer->GetU16(dataOffset);
    // An offset past the end leaves no data: every tuple then fails at its
    // points or deltas, keeping its region.
    Bedrock::Counted<BigEndianBuffer> data;
    if (dataOffset <= buffer->GetLength()) data = buffer->Read(dataOffset, buffer->GetLength() - dataOffset);
    if (!data) data = Bedrock::MakeCounted<BigEndianBuffer>();

    if (tupleVariationCount & 0x8000) TupleVariation::LoadPoints(*data, pointCount, sharedPoints);

    const unsigned count = tupleVariationCount & 0x0FFFu;
    // Each tuple header takes at least 4 bytes.
    variations.reserve(std::min<unsigned long>(count, buffer->GetRemaining() / 4 + 1));
    const auto axisCount = static_cast<unsigned short>(axisTags->size());
    // One list for all the tuples; most stores have none.
    static const auto kNoPoints = std::make_shared<const std::vector<unsigned short>>();
    auto points = sharedPoints.empty() ? kNoPoints : std::make_shared<const std::vector<unsigned short>>(sharedPoints);
    for (unsigned i = 0; i < count; ++i) {
        auto variation =
            Bedrock::MakeCounted<TupleVariation>(tableTag, axisTags, points, axisCount, pointCount, sharedTuples);
        // Kept whatever its load says.
        variation->Load(buffer, data);
        variations.push_back(std::move(variation));
    }
    return true;
}

unsigned int TupleVariationStore::GetAxisTag(unsigned short axis) const {
    return axis < axisTags->size() ? (*axisTags)[axis] : 0;
}

Bedrock::Counted<TupleVariation> TupleVariationStore::GetVariation(unsigned long index) const {
    return index < variations.size() ? variations[index] : nullptr;
}

Bedrock::Counted<TupleVariationStore> TupleVariationStore::Clone() const {
    return Bedrock::MakeCounted<TupleVariationStore>(*this);
}

}  // namespace Typeframe
