#include "variations/OTfvarTable.h"

#include <algorithm>
#include <utility>

namespace Typeframe {

// ---------------------------------------------------------------------------
// Axis records

OTfvarTable::VariationAxisRecord::VariationAxisRecord(const VariationAxisRecord& other)
    : Bedrock::Countable(other),
      axisTag(other.axisTag),
      minValue(other.minValue),
      defaultValue(other.defaultValue),
      maxValue(other.maxValue),
      flags(other.flags),
      axisNameID(other.axisNameID),
      m_font(other.m_font),
      m_buffer(other.m_buffer ? other.m_buffer->Clone() : nullptr),
      m_dirty(other.m_dirty) {}

Bedrock::Counted<OTfvarTable::VariationAxisRecord> OTfvarTable::VariationAxisRecord::Clone() const {
    return Bedrock::MakeCounted<VariationAxisRecord>(*this);
}

bool OTfvarTable::VariationAxisRecord::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    m_buffer = std::move(buffer);
    if (!m_buffer) return false;
    // A record shorter than 20 bytes keeps the fields it doesn't reach; one
    // longer keeps its extra bytes in the buffer, and they are echoed.
    BigEndianBuffer& in = *m_buffer;
    in.Seek(0);
    in.GetU32(axisTag);
    in.GetFixed16_16(minValue);
    in.GetFixed16_16(defaultValue);
    in.GetFixed16_16(maxValue);
    in.GetU16(flags);
    in.GetU16(axisNameID);
    return true;
}

bool OTfvarTable::VariationAxisRecord::Save() {
    if (!m_dirty) return true;
    if (!m_buffer) m_buffer = Bedrock::MakeCounted<BigEndianBuffer>();
    BigEndianBuffer& out = *m_buffer;
    out.Reset(kRecordSize);
    out.SetU32(axisTag);
    out.SetFixed16_16(minValue);
    out.SetFixed16_16(defaultValue);
    out.SetFixed16_16(maxValue);
    out.SetU16(flags);
    out.SetU16(axisNameID);
    out.InvalidateChecksum();
    m_dirty = false;
    return true;
}

// ---------------------------------------------------------------------------
// Instance records

OTfvarTable::InstanceRecord::InstanceRecord(const InstanceRecord& other)
    : Bedrock::Countable(other),
      axisCount(other.axisCount),
      subfamilyNameID(other.subfamilyNameID),
      flags(other.flags),
      coordinates(other.coordinates),
      postScriptNameID(other.postScriptNameID),
      hasPostScriptNameID(other.hasPostScriptNameID),
      m_font(other.m_font),
      m_buffer(other.m_buffer ? other.m_buffer->Clone() : nullptr),
      m_dirty(other.m_dirty) {}

Bedrock::Counted<OTfvarTable::InstanceRecord> OTfvarTable::InstanceRecord::Clone() const {
    return Bedrock::MakeCounted<InstanceRecord>(*this);
}

bool OTfvarTable::InstanceRecord::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    m_buffer = std::move(buffer);
    if (!m_buffer) return false;
    BigEndianBuffer& in = *m_buffer;
    // The coordinates are sized by the axis count, which comes from the
    // file: a record whose bytes can't hold them is not read at all, so a
    // hostile count never sizes memory beyond the bytes present.
    if (in.GetLength() < 4 + 4ul * axisCount) return false;
    in.Seek(0);
    in.GetU16(subfamilyNameID);
    in.GetU16(flags);
    coordinates.clear();
    coordinates.reserve(axisCount);
    for (unsigned i = 0; i < axisCount; ++i) {
        Fixed16_16 value;
        in.GetFixed16_16(value);
        coordinates.push_back(value);
    }
    // The optional name ID is there when the record has bytes left, which is
    // what the table's instanceSize says; the axis count is not consulted.
    hasPostScriptNameID = false;
    if (in.Tell() < in.GetLength()) {
        in.GetU16(postScriptNameID);
        hasPostScriptNameID = true;
    }
    return true;
}

bool OTfvarTable::InstanceRecord::Save() {
    if (!m_dirty) return true;
    if (!m_buffer) m_buffer = Bedrock::MakeCounted<BigEndianBuffer>();
    BigEndianBuffer& out = *m_buffer;
    out.Reset(4 + 4ul * axisCount + (hasPostScriptNameID ? 2 : 0));
    out.SetU16(subfamilyNameID);
    out.SetU16(flags);
    // Exactly axisCount values, so the record keeps the size the table's
    // header promises; missing coordinates are written as 0.
    for (unsigned i = 0; i < axisCount; ++i) {
        out.SetFixed16_16(i < coordinates.size() ? coordinates[i] : Fixed16_16());
    }
    if (hasPostScriptNameID) out.SetU16(postScriptNameID);
    out.InvalidateChecksum();
    m_dirty = false;
    return true;
}

// ---------------------------------------------------------------------------
// The table

OTfvarTable::OTfvarTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("fvar")) {}

OTfvarTable::OTfvarTable(const OTfvarTable& other)
    : Bedrock::Countable(other),
      OTTable(other),
      majorVersion(other.majorVersion),
      minorVersion(other.minorVersion),
      axesArrayOffset(other.axesArrayOffset),
      reserved(other.reserved),
      axisCount(other.axisCount),
      axisSize(other.axisSize),
      instanceCount(other.instanceCount),
      instanceSize(other.instanceSize) {
    axes.reserve(other.axes.size());
    for (const auto& axis : other.axes) axes.push_back(axis ? axis->Clone() : nullptr);
    instances.reserve(other.instances.size());
    for (const auto& instance : other.instances) instances.push_back(instance ? instance->Clone() : nullptr);
}

OTTable* OTfvarTable::VirtualClone() const { return new OTfvarTable(*this); }

bool OTfvarTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!buffer) return false;
    SetBuffer(std::move(buffer));
    BigEndianBuffer& in = *Buffer();
    in.Seek(0);
    // No version test: a later minor version has the same records.
    in.GetU16(majorVersion);
    in.GetU16(minorVersion);
    in.GetU16(axesArrayOffset);
    in.GetU16(reserved);
    in.GetU16(axisCount);
    in.GetU16(axisSize);
    in.GetU16(instanceCount);
    in.GetU16(instanceSize);
    axes.clear();
    instances.clear();

    // Each record is a sub-buffer of its stated size; one that would lie past
    // the end of the table is null and ends the load, so the number of
    // records made is bounded by the bytes. A stated size of 0 would escape
    // that bound (any count of empty records fits), so such axes can't be read.
    if (axisCount != 0 && axisSize == 0) return false;
    const unsigned long axesStart = axesArrayOffset;
    for (unsigned long i = 0; i < axisCount; ++i) {
        auto record = Bedrock::MakeCounted<VariationAxisRecord>(GetFont());
        if (!record->Load(in.Read(axesStart + i * axisSize, axisSize))) return false;
        axes.push_back(std::move(record));
    }
    // The instances are taken to follow the axes directly: their position
    // comes from the stated sizes, not from any offset in the file.
    const unsigned long instancesStart = axesStart + static_cast<unsigned long>(axisSize) * axisCount;
    for (unsigned long i = 0; i < instanceCount; ++i) {
        auto record = Bedrock::MakeCounted<InstanceRecord>(GetFont(), axisCount);
        if (!record->Load(in.Read(instancesStart + i * instanceSize, instanceSize))) return false;
        instances.push_back(std::move(record));
    }
    return true;
}

bool OTfvarTable::Save() {
    if (!IsDirty()) return true;
    // The header is written from the fields as they stand: nothing is
    // recomputed, so a caller that adds or removes records sets the counts.
    // Room is made only for the records held: a table whose Load failed on
    // hostile counts must not size gigabytes of zeros. Where the counts and
    // the records agree, as in every table that loaded, this is the full size.
    const unsigned long heldAxes = std::min<unsigned long>(axisCount, axes.size());
    const unsigned long heldInstances = std::min<unsigned long>(instanceCount, instances.size());
    const unsigned long size = axesArrayOffset + static_cast<unsigned long>(axisSize) * heldAxes +
                               static_cast<unsigned long>(instanceSize) * heldInstances;
    BigEndianBuffer& out = ResetBuffer(size);
    out.SetU16(majorVersion);
    out.SetU16(minorVersion);
    out.SetU16(axesArrayOffset);
    out.SetU16(reserved);
    out.SetU16(axisCount);
    out.SetU16(axisSize);
    out.SetU16(instanceCount);
    out.SetU16(instanceSize);
    out.Seek(axesArrayOffset);
    // Each record goes out as its own bytes: a clean one as it was read.
    for (size_t i = 0; i < axisCount && i < axes.size(); ++i) {
        if (!axes[i]) continue;
        axes[i]->Save();
        out.Write(axes[i]->GetBuffer());
    }
    for (size_t i = 0; i < instanceCount && i < instances.size(); ++i) {
        if (!instances[i]) continue;
        instances[i]->Save();
        out.Write(instances[i]->GetBuffer());
    }
    out.InvalidateChecksum();
    SetIsDirty(false);
    return true;
}

Bedrock::Counted<OTfvarTable::VariationAxisRecord> OTfvarTable::GetVariationAxis(unsigned short index) const {
    return index < axes.size() ? axes[index] : nullptr;
}

Bedrock::Counted<OTfvarTable::InstanceRecord> OTfvarTable::GetInstance(unsigned short index) const {
    return index < instances.size() ? instances[index] : nullptr;
}

Bedrock::Counted<OTfvarTable::InstanceRecord> OTfvarTable::GetInstance(const std::vector<double>& coordinates) const {
    // The count is taken as a 16-bit number, like the file's axis count.
    const uint16_t count = static_cast<uint16_t>(coordinates.size());
    std::vector<Fixed16_16> wanted;
    wanted.reserve(count);
    for (uint16_t i = 0; i < count; ++i) wanted.emplace_back(coordinates[i]);
    for (size_t i = 0; i < instanceCount && i < instances.size(); ++i) {
        const auto& instance = instances[i];
        if (instance && instance->coordinates == wanted) return instance;
    }
    return nullptr;
}

std::vector<Tag> OTfvarTable::GetAxisTags() const {
    std::vector<Tag> tags;
    tags.reserve(axes.size());
    for (const auto& axis : axes) {
        if (axis) tags.push_back(axis->axisTag);
    }
    return tags;
}

}  // namespace Typeframe
