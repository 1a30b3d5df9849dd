#include "layout/cvxxFeatureParams.h"

#include <algorithm>
#include <tuple>

namespace Typeframe {

namespace {

// Six fields and the character count.
constexpr unsigned long kHeaderSize = 14;
// Width of one character as read; it is written in three bytes.
constexpr unsigned long kReadCharacterSize = 4;

}  // namespace

bool cvxxFeatureParams::IsLessThan(const GraphNode& other) const {
    const cvxxFeatureParams& that = static_cast<const cvxxFeatureParams&>(other);
    if (const int fonts = CompareFonts(font.Get(), that.font.Get())) return fonts < 0;
    return std::tie(format, featUILabelNameID, featUITooltipTextNameID, sampleTextNameID, numNamedParameters,
                    firstParamUILabelNameID, characters) <
           std::tie(that.format, that.featUILabelNameID, that.featUITooltipTextNameID, that.sampleTextNameID,
                    that.numNamedParameters, that.firstParamUILabelNameID, that.characters);
}

bool cvxxFeatureParams::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool cvxxFeatureParams::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source || !source->IsInBounds(source->Tell(), kHeaderSize)) return false;
    uint16_t count = 0;
    source->GetU16(format);
    source->GetU16(featUILabelNameID);
    source->GetU16(featUITooltipTextNameID);
    source->GetU16(sampleTextNameID);
    source->GetU16(numNamedParameters);
    source->GetU16(firstParamUILabelNameID);
    source->GetU16(count);

    const uint64_t kept = SubTable::KeepWithinBudget(
        std::min<uint64_t>(count, source->GetRemaining() / kReadCharacterSize), sizeof(uint32_t), budget);
    characters.assign(kept, 0);
    // Deliberate: four bytes per character where the file has three; Save writes three.
    for (uint32_t& character : characters) source->GetU32(character);
    return true;
}

unsigned long cvxxFeatureParams::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    BigEndianBuffer& out = StartSave();
    out.SetU16(format);
    out.SetU16(featUILabelNameID);
    out.SetU16(featUITooltipTextNameID);
    out.SetU16(sampleTextNameID);
    out.SetU16(numNamedParameters);
    out.SetU16(firstParamUILabelNameID);
    const size_t count = std::min(characters.size(), SubTable::kMaxCount);
    out.SetU16(static_cast<uint16_t>(count));
    // Deliberate: three bytes per character (the top byte is dropped), though Load reads four.
    for (size_t i = 0; i < count; ++i) out.SetU24(characters[i]);
    return index;
}

}  // namespace Typeframe
