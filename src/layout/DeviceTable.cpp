#include "layout/DeviceTable.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace Typeframe {

namespace {

// The number of sizes, in 16 bits: startSize one above endSize gives none,
// and a startSize further above endSize wraps round to a long run.
uint16_t SizeCount(uint16_t startSize, uint16_t endSize) { return static_cast<uint16_t>(endSize - startSize + 1); }

// Formats 1, 2 and 3 pack 2, 4 and 8 bits per value.
unsigned BitsPerValue(uint16_t format) { return 1u << format; }

unsigned long WordCount(uint16_t count, unsigned bits) {
    const unsigned perWord = 16 / bits;
    return (count + perWord - 1ul) / perWord;
}

// The library's defined choice, kept as it is: the format comes from the
// least and the greatest delta alone, each taken as an unsigned byte, so any
// negative delta needs all 8 bits (format 3), and 2 or 3 fit in "2 bits"
// (format 1), where they are cut to a field that reads back as -2 or -1. The
// bit length is what log2(v) + 1 truncates to, and 0 for 0; no deltas at all
// give format 1.
uint16_t ChooseFormat(const std::vector<int8_t>& deltas) {
    if (deltas.empty()) return 1;
    const auto [least, greatest] = std::minmax_element(deltas.begin(), deltas.end());
    const int bits =
        std::max(std::bit_width(static_cast<uint8_t>(*least)), std::bit_width(static_cast<uint8_t>(*greatest)));
    if (bits < 3) return 1;
    if (bits <= 4) return 2;
    return 3;
}

}  // namespace

void DeviceTable::LoadAt(const Bedrock::Counted<BigEndianBuffer>& source, uint64_t position, DeviceTable& device,
                         uint64_t& budget) {
    uint16_t first = 0;
    uint16_t last = 0;
    uint16_t format = 0;
    if (!source->GetU16(position, first) || !source->GetU16(position + 2, last) ||
        !source->GetU16(position + 4, format))
        return;
    const uint64_t cost = format == kVariationIndexFormat ? 0 : SizeCount(first, last);
    if (cost > budget) return;
    source->Seek(static_cast<unsigned long>(position));
    DeviceTable loaded;
    if (!loaded.Load(source)) return;
    budget -= cost;
    device = std::move(loaded);
}

bool DeviceTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!source) return false;
    BigEndianBuffer& in = *source;
    if (!in.GetU16(startSize) || !in.GetU16(endSize) || !in.GetU16(deltaFormat)) return false;
    if (deltaFormat == kVariationIndexFormat) {
        deltas.clear();
        return true;
    }
    if (deltaFormat < 1 || deltaFormat > 3) return false;
    const unsigned bits = BitsPerValue(deltaFormat);
    const unsigned perWord = 16 / bits;
    const uint16_t count = SizeCount(startSize, endSize);
    if (in.GetRemaining() / 2 < WordCount(count, bits)) return false;
    deltas.clear();
    deltas.reserve(count);
    // Fields are read most significant first, each sign-extended.
    uint16_t word = 0;
    for (unsigned i = 0; i < count; ++i) {
        const unsigned field = i % perWord;
        if (field == 0) in.GetU16(word);
        int value = (word >> (16 - bits * (field + 1))) & ((1 << bits) - 1);
        if (value >= 1 << (bits - 1)) value -= 1 << bits;
        deltas.push_back(static_cast<int8_t>(value));
    }
    return true;
}

unsigned long DeviceTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    BigEndianBuffer& out = StartSave();
    out.SetU16(startSize);
    out.SetU16(endSize);
    if (deltaFormat == kVariationIndexFormat) {
        out.SetU16(kVariationIndexFormat);
        return index;
    }
    const uint16_t format = ChooseFormat(deltas);
    out.SetU16(format);

    const unsigned bits = BitsPerValue(format);
    const unsigned perWord = 16 / bits;
    const unsigned long words = WordCount(SizeCount(startSize, endSize), bits);
    // Sizes past the end of `deltas` are written as 0.
    auto value = [this](unsigned long i) -> uint32_t {
        return i < deltas.size() ? static_cast<uint8_t>(deltas[i]) : 0u;
    };
    if (format == 3) {
        // Format 3 is packed with a running shift, which is the library's
        // defined output and is kept: the shift starts at 16 and falls by 8
        // after every word, never reset, each use taken modulo 32. Word k
        // holds value 2k shifted by it and value 2k+1 shifted by 8 less, cut
        // to 16 bits. So word 0 holds value 1 in its high byte, word 1 values
        // 2 and 3 in the usual places, word 2 value 4 in its low byte, word 3
        // nothing, and the pattern repeats every four words. Load reads the
        // usual packing, so only words like word 1 read back as written.
        uint32_t shift = 16;
        for (unsigned long k = 0; k < words; ++k) {
            const uint32_t word = (value(2 * k) << (shift & 31)) | (value(2 * k + 1) << ((shift - 8) & 31));
            out.SetU16(static_cast<uint16_t>(word));
            shift -= 8;
        }
        return index;
    }
    // Formats 1 and 2: fields most significant first, each masked to its
    // width (masking the first field as well changes nothing, since the word
    // is cut to 16 bits).
    const uint32_t mask = (1u << bits) - 1;
    for (unsigned long k = 0; k < words; ++k) {
        uint32_t word = 0;
        for (unsigned field = 0; field < perWord; ++field) {
            word |= (value(k * perWord + field) & mask) << (16 - bits * (field + 1));
        }
        out.SetU16(static_cast<uint16_t>(word));
    }
    return index;
}

int DeviceTable::Compare(const DeviceTable& a, const DeviceTable& b) {
    if (a.startSize != b.startSize) return a.startSize < b.startSize ? -1 : 1;
    if (a.endSize != b.endSize) return a.endSize < b.endSize ? -1 : 1;
    if (a.deltaFormat != b.deltaFormat) return a.deltaFormat < b.deltaFormat ? -1 : 1;
    const auto order =
        std::lexicographical_compare_three_way(a.deltas.begin(), a.deltas.end(), b.deltas.begin(), b.deltas.end());
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

bool DeviceTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const DeviceTable&>(other);
    if (startSize != that.startSize) return startSize < that.startSize;
    if (endSize != that.endSize) return endSize < that.endSize;
    if (deltaFormat != that.deltaFormat) return deltaFormat < that.deltaFormat;
    return deltas < that.deltas;
}

}  // namespace Typeframe
