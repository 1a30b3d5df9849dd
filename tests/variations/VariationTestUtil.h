#pragma once

// Builds item variation stores byte by byte for the variation tests.

#include <cstdint>
#include <vector>

#include "TestUtil.h"

namespace TypeframeTest {

// One ItemVariationData: its header fields, region indexes and raw rows.
struct DataBlock {
    uint16_t itemCount = 0;
    uint16_t wordDeltaCount = 0;
    std::vector<uint16_t> regionIndexes;
    std::vector<uint8_t> rows;
};

// A format-1 store: header, region list right after it (each region is
// axisCount triples of raw 2.14 values), then the blocks in order.
inline std::vector<uint8_t> StoreBytes(uint16_t axisCount, const std::vector<std::vector<int16_t>>& regions,
                                       const std::vector<DataBlock>& blocks) {
    ByteWriter regionList;
    regionList.U16(axisCount).U16(static_cast<uint32_t>(regions.size()));
    for (const auto& region : regions) {
        for (int16_t value : region) regionList.U16(static_cast<uint16_t>(value));
    }
    const uint32_t header = 8 + 4 * static_cast<uint32_t>(blocks.size());
    ByteWriter out;
    out.U16(1).U32(header).U16(static_cast<uint32_t>(blocks.size()));
    uint32_t offset = header + static_cast<uint32_t>(regionList.Size());
    std::vector<ByteWriter> data(blocks.size());
    for (size_t i = 0; i < blocks.size(); ++i) {
        const DataBlock& block = blocks[i];
        data[i].U16(block.itemCount).U16(block.wordDeltaCount).U16(static_cast<uint32_t>(block.regionIndexes.size()));
        for (uint16_t index : block.regionIndexes) data[i].U16(index);
        data[i].Bytes(block.rows);
        out.U32(offset);
        offset += static_cast<uint32_t>(data[i].Size());
    }
    out.Bytes(regionList.Data());
    for (const auto& block : data) out.Bytes(block.Data());
    return out.Data();
}

}  // namespace TypeframeTest
