// The instancer: a variable font read from memory, instanced at a location
// taken from the end of the input, and saved to memory; the instance is read
// back table by table.
//
// The input is the font followed by a trailer: the last byte holds a count n
// (its low six bits) and a flag (its top bit), and the 4 * n bytes before it
// are n big-endian 16.16 axis values. Without the flag the location has one
// value per axis of the font, the given values used in turn (each axis's
// default when n is 0); with it, the location is exactly the n values, so
// that a location of the wrong length is tried too. When the input is too
// short for its trailer, all of it is the font and the defaults are used.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "base/Counted.h"
#include "base/MemoryOutStream.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "instancer/FontInstancer.h"
#include "variations/OTfvarTable.h"

#include "FuzzSupport.h"

namespace {

struct Trailer {
    size_t fontSize = 0;
    bool exact = false;
    std::vector<double> values;
};

Trailer ReadTrailer(const uint8_t* data, size_t size) {
    Trailer trailer;
    trailer.fontSize = size;
    if (size == 0) return trailer;
    const uint8_t last = data[size - 1];
    const size_t count = last & 0x3F;
    if (4 * count + 1 > size) return trailer;
    trailer.fontSize = size - 1 - 4 * count;
    trailer.exact = (last & 0x80) != 0;
    for (size_t i = 0; i < count; ++i) {
        const uint8_t* p = data + trailer.fontSize + 4 * i;
        const auto raw = static_cast<int32_t>(uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]);
        trailer.values.push_back(raw / 65536.0);
    }
    return trailer;
}

std::vector<double> MakeLocation(const Typeframe::OTfvarTable& fvar, const Trailer& trailer) {
    if (trailer.exact) return trailer.values;
    std::vector<double> location(fvar.axisCount);
    for (size_t i = 0; i < location.size(); ++i) {
        if (!trailer.values.empty()) {
            location[i] = trailer.values[i % trailer.values.size()];
        } else if (auto axis = fvar.GetVariationAxis(static_cast<unsigned short>(i))) {
            location[i] = axis->defaultValue.GetRaw() / 65536.0;
        }
    }
    return location;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Trailer trailer = ReadTrailer(data, size);
    auto file = TypeframeFuzz::OpenBytes(data, trailer.fontSize);
    auto font = file->GetFont(0);
    if (!font) return 0;
    auto instancer = Bedrock::MakeCounted<Typeframe::FontInstancer>();
    if (!instancer->LoadFont(font)) return 0;
    auto fvar = font->GetTableT<Typeframe::OTfvarTable>();
    if (!fvar) return 0;
    const std::vector<double> location = MakeLocation(*fvar, trailer);
    // Instance names may carry a random suffix: the same one on every run.
    std::srand(1);
    if (!instancer->MakeInstance(location)) return 0;
    auto stream = Bedrock::MakeCounted<Bedrock::MemoryOutStream>();
    if (!instancer->SaveFont(stream)) return 0;
    const std::vector<uint8_t> written = stream->TakeData();
    auto copy = TypeframeFuzz::OpenBytes(written.data(), written.size());
    if (auto instance = copy->GetFont(0)) TypeframeFuzz::LoadEveryTable(*instance);
    return 0;
}
