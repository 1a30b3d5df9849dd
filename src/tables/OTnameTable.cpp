#include "tables/OTnameTable.h"

#include <algorithm>

#include "core/Tag.h"
#include "tables/StringEncoding.h"

namespace Typeframe {

namespace {

bool Matches(uint16_t wanted, uint16_t actual) { return wanted == OTnameTable::kAny || wanted == actual; }

}  // namespace

// ---------------------------------------------------------------------------
// NameRecord

Bedrock::Counted<OTnameTable::NameRecord> OTnameTable::NameRecord::Clone() const {
    auto copy = Bedrock::MakeCounted<NameRecord>(platformID, encodingID, languageID, nameID);
    copy->buffer = buffer ? buffer->Clone() : nullptr;
    copy->stringLength = stringLength;
    copy->stringOffset = stringOffset;
    copy->name = name ? name->Clone(copy.Get()) : nullptr;
    copy->isDirty = isDirty;
    return copy;
}

bool OTnameTable::NameRecord::Load(Bedrock::Counted<BigEndianBuffer> recordBuffer) {
    buffer = std::move(recordBuffer);
    isDirty = false;
    if (!buffer || buffer->GetLength() < kSize) return false;
    buffer->GetU16(0, platformID);
    buffer->GetU16(2, encodingID);
    buffer->GetU16(4, languageID);
    buffer->GetU16(6, nameID);
    buffer->GetU16(8, stringLength);
    buffer->GetU16(10, stringOffset);
    return true;
}

bool OTnameTable::NameRecord::Save() {
    if (!isDirty) return true;
    if (!buffer) buffer = Bedrock::MakeCounted<BigEndianBuffer>();
    buffer->Reset(kSize);
    buffer->SetU16(0, platformID);
    buffer->SetU16(2, encodingID);
    buffer->SetU16(4, languageID);
    buffer->SetU16(6, nameID);
    buffer->SetU16(8, stringLength);
    buffer->SetU16(10, stringOffset);
    buffer->InvalidateChecksum();
    isDirty = false;
    return true;
}

bool OTnameTable::NameRecord::GetNameString(Utf8String& text) const { return name && name->GetName(text); }

bool OTnameTable::NameRecord::GetRawNameString(Utf8String& text) const { return name && name->GetRawName(text); }

bool OTnameTable::NameRecord::SetNameString(const Utf8String& text) {
    if (!name) name = Bedrock::MakeCounted<Name>(this);
    if (!name->SetName(text)) return false;
    name->isDirty = true;
    isDirty = true;
    return true;
}

void OTnameTable::NameRecord::SetName(Bedrock::Counted<Name> newName) {
    name = std::move(newName);
    if (name) name->record = this;
    isDirty = true;
}

// ---------------------------------------------------------------------------
// Name

Bedrock::Counted<OTnameTable::Name> OTnameTable::Name::Clone(Bedrock::NonCounted<NameRecord> owner) const {
    auto copy = Bedrock::MakeCounted<Name>(owner);
    copy->buffer = buffer ? buffer->Clone() : nullptr;
    copy->bytes = bytes;
    copy->isDirty = isDirty;
    return copy;
}

bool OTnameTable::Name::Load(Bedrock::Counted<BigEndianBuffer> nameBuffer) {
    buffer = std::move(nameBuffer);
    bytes.clear();
    isDirty = false;
    if (!buffer) return false;
    const char* data = reinterpret_cast<const char*>(buffer->GetBuffer());
    bytes.assign(data, data + buffer->GetLength());
    return true;
}

bool OTnameTable::Name::Save() {
    if (!isDirty) return true;
    if (!buffer) buffer = Bedrock::MakeCounted<BigEndianBuffer>();
    buffer->Reset(bytes.size());
    buffer->Write(0, bytes.size(), bytes.data());
    buffer->InvalidateChecksum();
    return true;
}

bool OTnameTable::Name::SetName(const Utf8String& text) {
    if (!record) return false;
    std::vector<char> encoded;
    if (!EncodeString(text, encoded, record->platformID, record->encodingID, record->languageID)) return false;
    bytes = std::move(encoded);
    return true;
}

bool OTnameTable::Name::GetName(Utf8String& text) const {
    if (!record) return false;
    return DecodeString(bytes, text, record->platformID, record->encodingID, record->languageID);
}

bool OTnameTable::Name::GetRawName(Utf8String& text) const {
    for (char byte : bytes) text.Append(byte);
    return true;
}

// ---------------------------------------------------------------------------
// OTnameTable

OTnameTable::OTnameTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("name")) {}

OTnameTable::OTnameTable(const OTnameTable& other) : Bedrock::Countable(other), OTTable(other), format(other.format) {
    records.reserve(other.records.size());
    for (const auto& record : other.records) records.push_back(record->Clone());
}

OTTable* OTnameTable::VirtualClone() const { return new OTnameTable(*this); }

bool OTnameTable::Create() {
    static constexpr struct {
        uint16_t nameID;
        const char* text;
    } kNames[] = {
        {1, "Font"},        {2, "Regular"},      {3, "Font Regular"}, {4, "Font Regular"},
        {5, "Version 1.0"}, {6, "Font-Regular"}, {16, "Font"},        {17, "Regular"},
    };
    format = 0;
    for (const auto& entry : kNames) AddString(1, 0, 0, entry.nameID, Utf8String(entry.text));
    for (const auto& entry : kNames) AddString(3, 1, 1033, entry.nameID, Utf8String(entry.text));
    SetIsDirty(true);
    return true;
}

bool OTnameTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    const BigEndianBuffer& in = *Buffer();
    records.clear();
    format = 0;
    uint16_t count = 0;
    uint16_t storageOffset = 0;
    in.GetU16(0, format);
    in.GetU16(2, count);
    in.GetU16(4, storageOffset);
    // Records are made only for the 12-byte slots present, so a hostile
    // count can't make the table allocate for records that aren't there.
    const unsigned long length = in.GetLength();
    const unsigned long room = length > kHeaderSize ? (length - kHeaderSize) / NameRecord::kSize : 0;
    const unsigned long present = std::min<unsigned long>(count, room);
    records.reserve(present);
    for (unsigned long i = 0; i < present; ++i) {
        auto record = Bedrock::MakeCounted<NameRecord>();
        record->Load(in.Read(kHeaderSize + i * NameRecord::kSize, NameRecord::kSize));
        // A string outside the table reads as no bytes.
        auto name = Bedrock::MakeCounted<Name>(record.Get());
        name->Load(in.Read(static_cast<unsigned long>(storageOffset) + record->stringOffset, record->stringLength));
        // This marks the record dirty, which only matters if the table is
        // saved dirty, and then every record is written anyway.
        record->SetName(std::move(name));
        records.push_back(std::move(record));
    }
    return true;
}

bool OTnameTable::Save() {
    if (!IsDirty()) return true;
    const uint16_t count = static_cast<uint16_t>(records.size());
    // Offsets and sizes are 16-bit quantities, as in the file.
    const uint16_t storageOffset = static_cast<uint16_t>(kHeaderSize + NameRecord::kSize * count);
    uint16_t total = 0;
    if (records.empty()) {
        ResetBuffer(kHeaderSize);
    } else {
        for (const auto& record : records) record->Save();
        // Each string on its own, in record order: storage shared in the
        // loaded table is not shared any more.
        for (const auto& record : records) {
            unsigned long nameLength = 0;
            if (record->name) {
                record->name->Save();
                if (record->name->buffer) nameLength = record->name->buffer->GetLength();
            }
            record->SetStringLength(static_cast<uint16_t>(nameLength));
            record->SetStringOffset(total);
            record->isDirty = true;
            total = static_cast<uint16_t>(total + nameLength);
        }
        ResetBuffer(static_cast<unsigned long>(storageOffset) + total);
    }
    BigEndianBuffer& out = *Buffer();
    out.Seek(0);
    out.SetU16(format);
    out.SetU16(count);
    out.SetU16(storageOffset);
    for (size_t i = 0; i < records.size(); ++i) {
        const auto& record = records[i];
        record->Save();
        out.Write(kHeaderSize + i * NameRecord::kSize, record->buffer);
    }
    for (const auto& record : records) {
        if (record->name && record->name->buffer) {
            out.Write(static_cast<unsigned long>(storageOffset) + record->stringOffset, record->name->buffer);
        }
    }
    out.InvalidateChecksum();
    SetIsDirty(false);
    return true;
}

bool OTnameTable::AddString(uint16_t platformID, uint16_t encodingID, uint16_t languageID, uint16_t nameID,
                            const Utf8String& text) {
    for (const auto& record : records) {
        if (record->platformID != platformID || record->encodingID != encodingID || record->languageID != languageID ||
            record->nameID != nameID) {
            continue;
        }
        // A text the record's encoding cannot hold leaves the old bytes, but
        // the table is marked dirty all the same, and the answer is true.
        record->SetNameString(text);
        SetIsDirty(true);
        return true;
    }
    // A new record goes last, whatever the order, and holds no bytes if the
    // text could not be encoded. This path leaves the table's dirty flag
    // alone: a caller that wants the record saved marks the table.
    auto record = Bedrock::MakeCounted<NameRecord>(platformID, encodingID, languageID, nameID);
    auto name = Bedrock::MakeCounted<Name>(record.Get());
    name->SetName(text);
    name->isDirty = true;
    record->SetName(std::move(name));
    records.push_back(std::move(record));
    return true;
}

bool OTnameTable::ReplaceString(unsigned short nameID, const Utf8String& text) {
    bool found = false;
    for (const auto& record : records) {
        if (record->nameID != nameID) continue;
        // A new Name in the record's own encoding; if the text does not fit
        // that encoding, the record is left with no bytes.
        auto name = Bedrock::MakeCounted<Name>(record.Get());
        name->SetName(text);
        name->isDirty = true;
        record->SetName(std::move(name));
        found = true;
    }
    if (found) SetIsDirty(true);
    return found;
}

bool OTnameTable::RemoveString(unsigned short nameID) {
    const auto removed = std::erase_if(records, [nameID](const auto& record) { return record->nameID == nameID; });
    if (removed == 0) return false;
    SetIsDirty(true);
    return true;
}

bool OTnameTable::GetString(uint16_t platformID, uint16_t encodingID, uint16_t languageID, uint16_t nameID,
                            Utf8String& text) const {
    for (const auto& record : records) {
        if (record->nameID != nameID || !Matches(platformID, record->platformID) ||
            !Matches(encodingID, record->encodingID) || !Matches(languageID, record->languageID)) {
            continue;
        }
        // A record that does not decode is passed over.
        if (record->GetNameString(text)) return true;
    }
    return false;
}

bool OTnameTable::GetString(int nameID, Utf8String& text) const {
    if (nameID < 0 || nameID > 0xFFFF) return false;
    const auto id = static_cast<uint16_t>(nameID);
    return GetString(3, kAny, 1033, id, text) || GetString(3, kAny, kAny, id, text) || GetString(1, 0, 0, id, text);
}

Bedrock::Counted<OTnameTable::NameRecord> OTnameTable::GetNameRecord(unsigned short index) const {
    if (index >= records.size()) return nullptr;
    return records[index];
}

Utf8String OTnameTable::GetEncodingName(uint16_t platformID, uint16_t encodingID, uint16_t languageID) {
    switch (platformID) {
        case 0: return Utf8String("UTF-16BE");
        case 1: return GetMacEncoding(encodingID, languageID);
        case 3: return GetWindowsEncoding(encodingID);
        default: return Utf8String();
    }
}

// Only Roman (encoding 0) looks at the language. The languages with a code
// page of their own do not use the same numbers as the Macintosh encodings:
// language 37 (Romanian) is "macos-38_2", encoding 37 (Icelandic) is
// "macos-37_5".
Utf8String OTnameTable::GetMacEncoding(uint16_t encodingID, uint16_t languageID) {
    switch (encodingID) {
        case 0:
            switch (languageID) {
                case 15: return Utf8String("macos-37_5-10.2");
                case 17: return Utf8String("macos-35-10.2");
                case 18: return Utf8String("macos-36_2-10.2");
                case 24:
                case 25:
                case 26:
                case 27:
                case 28:
                case 36:
                case 38:
                case 39:
                case 40: return Utf8String("macos-29-10.2");
                case 37: return Utf8String("macos-38_2-10.2");
                default: return Utf8String("mac_roman");
            }
        case 1: return Utf8String("windows-10001-2000");
        case 2: return Utf8String("windows-10002-2000");
        case 3: return Utf8String("windows-10003-2000");
        case 4: return Utf8String("windows-10004-2000");
        case 5: return Utf8String("windows-10005-2000");
        case 6: return Utf8String("macos-6_2-10.4");
        case 7: return Utf8String("macos-7_3-10.2");
        case 21: return Utf8String("macos-21-10.5");
        case 25: return Utf8String("windows-10008-2000");
        case 29: return Utf8String("macos-29-10.2");
        case 35: return Utf8String("macos-35-10.2");
        case 36: return Utf8String("macos-36_2-10.2");
        case 37: return Utf8String("macos-37_5-10.2");
        case 38: return Utf8String("macos-38_2-10.2");
        default: return Utf8String();
    }
}

Utf8String OTnameTable::GetWindowsEncoding(uint16_t encodingID) {
    switch (encodingID) {
        case 0:
        case 1:
        case 10: return Utf8String("UTF-16BE");
        case 2: return Utf8String("windows-932");
        case 3: return Utf8String("windows-936");
        case 4: return Utf8String("windows-950");
        case 5: return Utf8String("windows-949");
        case 6: return Utf8String("windows-1361");
        default: return Utf8String();
    }
}

bool OTnameTable::EncodeString(Utf8String text, std::vector<char>& bytes, uint16_t platformID, uint16_t encodingID,
                               uint16_t languageID) {
    const Utf8String encodingName = GetEncodingName(platformID, encodingID, languageID);
    if (encodingName.IsEmpty()) return false;
    auto encoding = StringEncoding::Make(encodingName);
    return encoding->FromUTF8(std::move(text), bytes);
}

bool OTnameTable::DecodeString(std::vector<char> bytes, Utf8String& text, uint16_t platformID, uint16_t encodingID,
                               uint16_t languageID) {
    const Utf8String encodingName = GetEncodingName(platformID, encodingID, languageID);
    if (encodingName.IsEmpty()) return false;
    auto encoding = StringEncoding::Make(encodingName);
    return encoding->ToUTF8(bytes, text);
}

}  // namespace Typeframe
