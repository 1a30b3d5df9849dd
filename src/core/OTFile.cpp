#include "core/OTFile.h"

#include <algorithm>
#include <ctime>

#include "base/Format.h"
#include "base/IDTag.h"
#include "base/ToString.h"
#include "core/OTFont.h"
#include "core/OffsetTable.h"
#include "core/TTCHeader.h"
#include "core/TableManager.h"
#include "core/TableRegistry.h"
#include "tables/OTheadTable.h"

namespace Typeframe {

namespace {

constexpr Tag kTrueTypeVersion = 0x00010000;
constexpr uint32_t kChecksumMagic = 0xB1B0AFBA;
// Saving one table may dirty another (glyf feeds loca, maxp and head); a
// handful of passes settles any real font. The bound only stops a table that
// never settles from looping forever.
constexpr int kMaxSavePasses = 64;

// Four bytes from a file as a reader would want them named: the tag when it
// is printable, else its hexadecimal value.
Utf8String TagText(uint32_t tag) {
    bool printable = true;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const unsigned c = (tag >> shift) & 0xFF;
        printable = printable && c >= 0x20 && c < 0x7F;
    }
    if (printable) return Bedrock::FormatString("'%1'", Bedrock::IDTag(tag));
    return Bedrock::FormatString("0x%1", Bedrock::ToStringBase(tag, 16, 8, Bedrock::kPadZeros, /*uppercase=*/true));
}

}  // namespace

OTFile::OTFile() = default;
OTFile::~OTFile() = default;

bool OTFile::IsValidFontHeader(unsigned int tag) {
    return tag == kTrueTypeVersion || tag == MakeTag("OTTO") || tag == MakeTag("true") || tag == MakeTag("typ1");
}

bool OTFile::IsValidCollectionHeader(unsigned int tag) { return tag == MakeTag("ttcf"); }

bool OTFile::Load(Bedrock::Counted<Bedrock::InStreamSeekable> stream) {
    m_stream = std::move(stream);
    return true;
}

Bedrock::Counted<TableManager> OTFile::GetTableManager() {
    if (!m_tableManager) m_tableManager = Bedrock::MakeCounted<TableManager>(Bedrock::NonCounted<OTFile>(this));
    return m_tableManager;
}

bool OTFile::Fail(Failure::Kind kind, Utf8String message) {
    m_failure = Failure(kind, std::move(message));
    return false;
}

Utf8String OTFile::DescribeBadHeader() {
    if (!m_stream) return "no stream was given to read the file from";
    const uint64_t size = m_stream->GetSize();
    if (size < 4) {
        return Bedrock::FormatString("not a font file: it holds %1 bytes",
                                     Bedrock::ToStringT<Utf8String>(static_cast<unsigned long>(size)));
    }
    if (m_fileTag == MakeTag("wOFF") || m_fileTag == MakeTag("wOF2")) {
        return "a WOFF web font, which must be decompressed to an OpenType font first";
    }
    if (IsValidCollectionHeader(m_fileTag)) {
        uint32_t version = 0;
        ReadBuffer(4, 4)->GetU32(0, version);
        if (version != 0x00010000 && version != 0x00020000) {
            return Bedrock::FormatString("a font collection of version %1, which is not 1.0 or 2.0", TagText(version));
        }
        return "a font collection whose header can't be read";
    }
    return Bedrock::FormatString("not a font file: it starts with %1", TagText(m_fileTag));
}

int OTFile::GetFontCount() {
    m_failure = Failure();
    if (!LoadHeader()) {
        Fail(Failure::Kind::NotAFont, DescribeBadHeader());
        return 0;
    }
    return static_cast<int>(m_fonts.size());
}

bool OTFile::LoadHeader() {
    if (!m_fonts.empty()) return true;
    auto start = ReadBuffer(0, 4);
    start->GetU32(0, m_fileTag);
    if (IsValidFontHeader(m_fileTag)) {
        m_fonts.assign(1, nullptr);
        return true;
    }
    if (IsValidCollectionHeader(m_fileTag)) {
        auto header = TTCHeader::ReadTTCHeader(Bedrock::NonCounted<OTFile>(this));
        if (!header) return false;
        m_fonts.assign(static_cast<size_t>(header->GetDirectoryCount()), nullptr);
        return true;
    }
    return false;
}

Bedrock::Counted<OTFont> OTFile::GetFont(int index) {
    const int count = GetFontCount();
    if (m_failure) return nullptr;
    if (index < 0 || index >= count) {
        Fail(Failure::Kind::NoSuchFont,
             Bedrock::FormatString("font index %1 is out of range: the file holds %2", index,
                                   count == 1 ? Utf8String("1 font") : Bedrock::FormatString("%1 fonts", count)));
        return nullptr;
    }
    auto font = LoadFont(index);
    if (!font) Fail(Failure::Kind::NotAFont, "the collection's header can't be read again");
    return font;
}

Bedrock::Counted<OTFont> OTFile::LoadFont(int index) {
    if (!LoadHeader()) return nullptr;
    uint32_t offset = 0;
    if (IsValidFontHeader(m_fileTag)) {
        if (index != 0) return nullptr;
    } else if (IsValidCollectionHeader(m_fileTag)) {
        auto header = TTCHeader::ReadTTCHeader(Bedrock::NonCounted<OTFile>(this));
        if (!header || index < 0 || index >= header->GetDirectoryCount()) return nullptr;
        offset = header->GetDirectoryOffset(index);
    } else {
        return nullptr;
    }
    if (static_cast<size_t>(index) >= m_fonts.size()) return nullptr;
    auto font = Bedrock::MakeCounted<OTFont>(Bedrock::NonCounted<OTFile>(this));
    font->Load(offset);
    m_fonts[static_cast<size_t>(index)] = font;
    return font;
}

bool OTFile::AddFont(Bedrock::Counted<OTFont> font) {
    if (!font) return false;
    font->SetFile(Bedrock::NonCounted<OTFile>(this));
    m_fonts.push_back(std::move(font));
    return true;
}

Bedrock::Counted<BigEndianBuffer> OTFile::ReadBuffer(unsigned long offset, unsigned long length) {
    if (!m_stream) return Bedrock::MakeCounted<BigEndianBuffer>(length, 4);
    return ReadBuffer(*m_stream, offset, length);
}

Bedrock::Counted<BigEndianBuffer> OTFile::ReadBuffer(Bedrock::InStreamSeekable& stream, unsigned long offset,
                                                     unsigned long length) {
    auto buffer = Bedrock::MakeCounted<BigEndianBuffer>(length, 4);
    if (length != 0 && stream.Seek(1, static_cast<int64_t>(offset))) {
        stream.Read(buffer->GetBuffer(), length);
        buffer->InvalidateChecksum();
    }
    return buffer;
}

unsigned long OTFile::GetBufferSize() const { return m_stream ? m_stream->GetSize() : 0; }

std::vector<Tag> OTFile::GetTableTags(Bedrock::Counted<OTFont> font) const {
    if (font && font->ContainsTrueTypeOutlines()) return TableRegistry::GetTrueTypeOrder();
    if (font && font->ContainsPostScriptOutlines()) return TableRegistry::GetPostScriptOrder();
    return {};
}

bool OTFile::Save(Bedrock::Counted<Bedrock::OutStream> stream) {
    m_failure = Failure();
    if (m_fonts.size() != 1) {
        return Fail(Failure::Kind::CannotSave,
                    Bedrock::FormatString("the file holds %1 fonts, and only a file of exactly one can be saved",
                                          static_cast<int>(m_fonts.size())));
    }
    if (!m_fonts[0]) return Fail(Failure::Kind::CannotSave, "the file's font has not been read");
    if (!stream) return Fail(Failure::Kind::CannotWrite, "no stream was given to write to");
    auto font = m_fonts[0];
    if (m_fileTag == MakeTag("ttcf") || m_fileTag == 0) m_fileTag = font->GetTag();

    // The tables to write, in the font's order; a table that cannot be
    // loaded is left out, and a digital signature never survives rewriting.
    std::vector<Bedrock::Counted<OTTable>> tables;
    for (Tag tag : font->GetTableTags()) {
        if (tag == MakeTag("DSIG")) continue;
        // A table that no other table's save touches, and that nobody asked
        // for, goes out as its bytes: parsing it would change nothing.
        auto table = TableRegistry::IsSavedUnparsed(tag) ? font->GetTableOrBytesForTag(tag) : font->GetTableForTag(tag);
        if (table) tables.push_back(std::move(table));
    }

    // Physical order: the preferred tags first, by swapping each into place.
    // The tables not in the preferred list follow in whatever order the swaps
    // leave them, which is deliberately not a sort.
    size_t position = 0;
    for (Tag tag : GetTableTags(font)) {
        for (size_t i = position; i < tables.size(); ++i) {
            if (tables[i]->GetTag() == tag) {
                std::swap(tables[i], tables[position++]);
                break;
            }
        }
    }

    auto head = font->GetTableT<OTheadTable>();
    if (head) {
        if (head->checkSumAdjustment != 0) {
            head->checkSumAdjustment = 0;
            head->SetIsDirty(true);
        }
        const int64_t now = m_saveTime ? *m_saveTime : static_cast<int64_t>(std::time(nullptr));
        if (head->modified != now) {
            head->modified = now;
            head->SetIsDirty(true);
        }
    }

    auto offsetTable = Bedrock::MakeCounted<OffsetTable>(m_fileTag, static_cast<unsigned short>(tables.size()));
    bool settled = false;
    Tag refused = 0;
    for (int pass = 0; pass < kMaxSavePasses && !settled; ++pass) {
        offsetTable->ClearDirectoryEntries();
        uint64_t offset = OffsetTable::kSize + DirectoryEntry::kSize * tables.size();
        refused = 0;
        for (const auto& table : tables) {
            // A table may refuse until another one it depends on is saved,
            // so a refusal only counts when it lasts to the final pass.
            if (!table->Save() && table->IsDirty() && refused == 0) refused = table->GetTag();
            auto entry = Bedrock::MakeCounted<DirectoryEntry>(table->GetTag());
            entry->checksum = table->GetChecksum();
            entry->offset = static_cast<uint32_t>(offset);
            entry->length = static_cast<uint32_t>(table->GetLength());
            entry->dirty = true;
            entry->Save();
            offsetTable->AddDirectoryEntry(entry);
            auto buffer = table->GetBuffer();
            offset += buffer ? buffer->GetPaddedLength() : 0;
        }
        settled = std::none_of(tables.begin(), tables.end(), [](const auto& t) { return t->IsDirty(); });
    }
    if (!settled && refused != 0) {
        return Fail(Failure::Kind::CannotSave,
                    Bedrock::FormatString("table %1 can't be written from its fields", TagText(refused)));
    }
    if (!settled) {
        Tag restless = 0;
        for (const auto& table : tables) {
            if (table->IsDirty()) {
                restless = table->GetTag();
                break;
            }
        }
        return Fail(Failure::Kind::CannotSave, Bedrock::FormatString("table %1 still changed after %2 save passes",
                                                                     TagText(restless), kMaxSavePasses));
    }

    auto& entries = offsetTable->GetDirectoryEntries();
    std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) { return a->tag < b->tag; });

    offsetTable->Save();
    auto header = offsetTable->GetBuffer();
    stream->Write(header->GetBuffer(), header->GetLength());

    uint32_t sum = offsetTable->CalcOffsetTableChecksum() + offsetTable->CalcDirectoryEntriesChecksum();
    for (const auto& table : tables) sum += table->GetChecksum();
    if (head) {
        // The directory keeps head's checksum from the passes above: head
        // reports its checksum without the adjustment word.
        const uint32_t adjustment = kChecksumMagic - sum;
        if (head->checkSumAdjustment != adjustment) {
            head->checkSumAdjustment = adjustment;
            head->SetIsDirty(true);
        }
        head->Save();
    }

    for (const auto& entry : entries) {
        entry->Save();
        auto bytes = entry->GetBuffer();
        stream->Write(bytes->GetBuffer(), bytes->GetLength());
    }
    static const unsigned char kZeros[16] = {};
    for (const auto& table : tables) {
        auto buffer = table->GetBuffer();
        if (!buffer) continue;
        // Pad bytes go out as zeros whatever the storage holds beyond the length.
        stream->Write(buffer->GetBuffer(), buffer->GetLength());
        for (unsigned long pad = buffer->GetPaddedLength() - buffer->GetLength(); pad != 0;) {
            const unsigned long chunk = std::min<unsigned long>(pad, sizeof(kZeros));
            stream->Write(kZeros, chunk);
            pad -= chunk;
        }
    }
    return true;
}

}  // namespace Typeframe
