#include "core/TTCHeader.h"

#include <algorithm>

#include "core/OTFile.h"

namespace Typeframe {

Bedrock::Counted<TTCHeader> TTCHeader::ReadTTCHeader(Bedrock::NonCounted<OTFile> file) {
    if (!file) return nullptr;
    auto start = file->ReadBuffer(0, 12);
    auto header = Bedrock::MakeCounted<TTCHeader>();
    uint32_t count = 0;
    start->GetU32(0, header->tag);
    start->GetU32(4, header->version);
    start->GetU32(8, count);
    if (header->tag != MakeTag("ttcf") || (header->version != 0x00010000 && header->version != 0x00020000)) {
        return nullptr;
    }
    // A count taken from the file never sizes more than the file can hold.
    const uint64_t size = file->GetBufferSize();
    const uint64_t room = size > 12 ? (size - 12) / 4 : 0;
    const uint64_t n = std::min<uint64_t>(count, room);
    auto offsets = file->ReadBuffer(12, n * 4);
    header->directoryOffsets.resize(n);
    for (uint64_t i = 0; i < n; ++i) offsets->GetU32(i * 4, header->directoryOffsets[i]);
    if (header->version == 0x00020000) {
        auto dsig = file->ReadBuffer(12 + uint64_t(count) * 4, 12);
        // In file order: tag, length, offset.
        dsig->GetU32(0, header->dsigTag);
        dsig->GetU32(4, header->dsigLength);
        dsig->GetU32(8, header->dsigOffset);
    }
    return header;
}

uint32_t TTCHeader::GetDirectoryOffset(int index) const {
    if (index < 0 || index >= GetDirectoryCount()) return 0;
    return directoryOffsets[static_cast<size_t>(index)];
}

}  // namespace Typeframe
