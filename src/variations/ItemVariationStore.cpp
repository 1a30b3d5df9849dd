#include "variations/ItemVariationStore.h"

#include <algorithm>

namespace Typeframe {

namespace {

// Unchecked reads: a value that does not fit reads as 0.
Fixed2_14 ReadF2Dot14(BigEndianBuffer& in) {
    // Not the buffer's sequential fixed-point read, which would repeat the
    // previous field at the end instead of giving 0.
    int16_t raw = 0;
    in.GetS16(raw);
    return Fixed2_14::FromRaw(raw);
}

int ReadDelta(BigEndianBuffer& in, unsigned int size) {
    switch (size) {
        case 1: {
            int8_t value = 0;
            in.GetS8(value);
            return value;
        }
        case 2: {
            int16_t value = 0;
            in.GetS16(value);
            return value;
        }
        default: {
            int32_t value = 0;
            in.GetS32(value);
            return value;
        }
    }
}

}  // namespace

bool ItemVariationStore::VariationRegion::GetRegion(unsigned short axis, Region& region) const {
    if (axis >= axes.size()) return false;
    region = axes[axis];
    return true;
}

bool ItemVariationStore::VariationRegionList::Load(BigEndianBuffer& in) {
    axisCount = 0;
    regionCount = 0;
    regions.clear();
    in.GetU16(axisCount);
    in.GetU16(regionCount);
    if (axisCount == 0) return true;
    // Each region begun keeps the triples whose first value still fits; once
    // not even one value fits, every later region would read as zeros and is
    // not stored.
    for (unsigned int r = 0; r < regionCount && in.GetRemaining() >= 2; ++r) {
        VariationRegion region;
        const unsigned long triples = std::min<unsigned long>(axisCount, (in.GetRemaining() / 2 + 2) / 3);
        region.axes.reserve(triples);
        for (unsigned long a = 0; a < triples; ++a) {
            VariationRegion::Region extent;
            extent.start = ReadF2Dot14(in);
            extent.peak = ReadF2Dot14(in);
            extent.end = ReadF2Dot14(in);
            region.axes.push_back(extent);
        }
        regions.push_back(std::move(region));
    }
    return true;
}

bool ItemVariationStore::VariationRegionList::GetVariationRegion(unsigned short index, VariationRegion& region) const {
    if (index >= regionCount) return false;
    if (index < regions.size()) {
        region = regions[index];
    } else {
        region.axes.clear();
    }
    return true;
}

unsigned short ItemVariationStore::VariationRegionList::GetAxisCount() const {
    return regions.empty() ? 0 : static_cast<unsigned short>(regions.front().axes.size());
}

bool ItemVariationStore::VariationData::Load(BigEndianBuffer& in, unsigned long& budget) {
    itemCount = 0;
    wordDeltaCount = 0;
    regionIndexCount = 0;
    regionIndexes.clear();
    deltaSets.clear();
    in.GetU16(itemCount);
    in.GetU16(wordDeltaCount);
    in.GetU16(regionIndexCount);

    const unsigned long indexes = std::min<unsigned long>({regionIndexCount, in.GetRemaining() / 2, budget});
    budget -= indexes;
    regionIndexes.resize(indexes);
    for (auto& index : regionIndexes) in.GetU16(index);

    // Deliberate: the word count is masked with 0x0FFF, not 0x7FFF, so bits
    // 12 to 14 are ignored. The top bit selects 32/16-bit over 16/8-bit.
    const unsigned int count = GetWordCount();
    const unsigned int wide = HasLongWords() ? 4 : 2;
    const unsigned int narrow = HasLongWords() ? 2 : 1;
    const unsigned int wideEnd = std::min<unsigned int>(count, regionIndexCount);
    // The least a row can read: once even that does not fit, all later rows
    // are zeros and are not stored.
    const unsigned int least = wideEnd < regionIndexCount ? narrow : wide;
    if (regionIndexCount == 0) return true;

    for (unsigned int item = 0; item < itemCount; ++item) {
        if (in.GetRemaining() < least || budget < 2) break;
        const unsigned long rowLimit = budget - 1;
        std::vector<int> row;
        for (unsigned int i = 0; i < wideEnd && row.size() < rowLimit; ++i) {
            if (in.GetRemaining() < wide) break;
            row.push_back(ReadDelta(in, wide));
        }
        if (wideEnd < regionIndexCount && in.GetRemaining() >= narrow && wideEnd < rowLimit) {
            // Wide values that did not fit read as 0; the narrow ones after
            // them may still fit.
            row.resize(wideEnd, 0);
            for (unsigned int i = wideEnd; i < regionIndexCount && row.size() < rowLimit; ++i) {
                if (in.GetRemaining() < narrow) break;
                row.push_back(ReadDelta(in, narrow));
            }
        }
        budget -= row.size() + 1;
        deltaSets.push_back(std::move(row));
    }
    return true;
}

bool ItemVariationStore::VariationData::GetRegionIndex(unsigned short i, unsigned short& regionIndex) const {
    if (i >= regionIndexCount) return false;
    regionIndex = i < regionIndexes.size() ? regionIndexes[i] : 0;
    return true;
}

bool ItemVariationStore::VariationData::GetDeltaSet(unsigned short item, std::vector<int>& deltas) const {
    if (item >= itemCount) return false;
    deltas.assign(regionIndexCount, 0);
    if (item < deltaSets.size()) std::copy(deltaSets[item].begin(), deltaSets[item].end(), deltas.begin());
    return true;
}

bool ItemVariationStore::Load(Bedrock::Counted<BigEndianBuffer> source) {
    format = 0;
    regionListOffset = 0;
    dataCount = 0;
    dataOffsets.clear();
    regionList = VariationRegionList();
    data.clear();
    buffer = Bedrock::MakeCounted<BigEndianBuffer>();
    if (!source) return true;

    BigEndianBuffer& in = *source;
    const unsigned long base = in.Tell();
    in.GetU16(format);
    in.GetU32(regionListOffset);
    in.GetU16(dataCount);
    dataOffsets.resize(std::min<unsigned long>(dataCount, in.GetRemaining() / 4));
    for (auto& offset : dataOffsets) in.GetU32(offset);

    in.Seek(base + regionListOffset);
    regionList.Load(in);

    // The values all blocks together may keep: twice the bytes, which no
    // honest store reaches, since a row takes at least one byte per value.
    unsigned long budget = 2 * in.GetLength() + 65536;
    data.reserve(dataOffsets.size());
    for (uint32_t offset : dataOffsets) {
        in.Seek(base + offset);
        VariationData block;
        block.Load(in, budget);
        data.push_back(std::move(block));
    }

    const unsigned long end = std::min(in.Tell(), in.GetLength());
    if (end > base) buffer = in.Read(base, end - base);
    return true;
}

bool ItemVariationStore::GetVariationRegion(unsigned short index, VariationRegion& region) const {
    return regionList.GetVariationRegion(index, region);
}

bool ItemVariationStore::GetVariationData(unsigned short index, VariationData& variationData) const {
    if (index >= data.size()) return false;
    variationData = data[index];
    return true;
}

bool ItemVariationStore::GetDeltaSet(DeltaSetIndexMap::IndexEntry entry, std::vector<int>& deltas) const {
    if (entry.outerIndex >= data.size()) return false;
    const VariationData& block = data[entry.outerIndex];
    if (entry.innerIndex >= block.itemCount) return false;
    deltas.assign(regionList.regionCount, 0);
    if (entry.innerIndex >= block.deltaSets.size()) return true;
    const std::vector<int>& row = block.deltaSets[entry.innerIndex];
    for (size_t i = 0; i < row.size(); ++i) {
        if (row[i] == 0) continue;
        const unsigned int region = i < block.regionIndexes.size() ? block.regionIndexes[i] : 0;
        if (region >= deltas.size()) continue;
        // A region named twice adds up; the sum wraps rather than overflow.
        deltas[region] = static_cast<int>(static_cast<uint32_t>(deltas[region]) + static_cast<uint32_t>(row[i]));
    }
    return true;
}

}  // namespace Typeframe
