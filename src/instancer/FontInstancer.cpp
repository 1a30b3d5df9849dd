#include "instancer/FontInstancer.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "base/FileInStream.h"
#include "base/FileOutStream.h"
#include "base/Format.h"
#include "base/IDTag.h"
#include "base/ToString.h"
#include "core/TableRegistry.h"
#include "instancer/ApplyGlyphVariations.h"
#include "instancer/ApplyMetricVariations.h"
#include "tables/OTnameTable.h"
#include "variations/OTMVARTable.h"
#include "variations/OTavarTable.h"
#include "variations/OTfvarTable.h"
#include "variations/RegionScalar.h"

namespace Typeframe {

namespace {

// Alphanumeric in the "C" locale, whatever locale the host has set.
bool IsAsciiAlnum(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

Utf8String KeepAlphanumerics(const Utf8String& text) {
    Utf8String cleaned;
    for (int i = 0; i < text.GetLength(); ++i) {
        if (IsAsciiAlnum(text[i])) cleaned.Append(text[i]);
    }
    return cleaned;
}

// Every table is read now: the font may outlive its file, and a table asked
// for later would otherwise be read through a file that is gone. The tables
// a save writes from their bytes are left to load from the font's own
// source, which it keeps, when someone asks for them.
void LoadAllTables(const Bedrock::Counted<OTFont>& font) {
    for (Tag tag : font->GetTableTags()) {
        if (!TableRegistry::IsSavedUnparsed(tag)) font->GetTableForTag(tag);
    }
}

// A double to int with a defined result for any input: hostile data can
// drive a sum far out of range.
int ClampToInt(double value) {
    if (!(value > -2147483648.0)) return value != value ? 0 : INT32_MIN;
    if (value >= 2147483647.0) return INT32_MAX;
    return static_cast<int>(value);
}

Fixed2_14 ToFixed2_14(double n) {
    // Half away from zero, cut to 16 bits.
    const double scaled = n * 16384.0;
    return Fixed2_14::FromRaw(static_cast<int16_t>(ClampToInt(scaled >= 0 ? scaled + 0.5 : scaled - 0.5)));
}

// The reason a file could not be opened, from errno as the failed call left
// it; a file that opened but is no regular file leaves errno at 0.
Utf8String OpenError(const Utf8String& path, int error) {
    return Bedrock::FormatString("cannot open '%1': %2", path,
                                 error != 0 ? std::strerror(error) : "not a regular file");
}

}  // namespace

bool FontInstancer::Fail(Failure::Kind kind, Utf8String message) {
    m_failure = Failure(kind, std::move(message));
    return false;
}

void FontInstancer::SetRandomSeed(std::optional<uint32_t> seed) {
    if (seed) {
        m_random.emplace(*seed);
    } else {
        m_random.reset();
    }
}

Utf8String FontInstancer::MakeHash() const {
    char letters[6];
    // RAND_MAX / 26 + 1 with the C library's RAND_MAX of 2^31 - 1. Without a
    // seed of the host's, the seed is whatever the process left: the library
    // never seeds rand() itself. The seeded generator's values lie below
    // 2^31 - 1 too, so the same division gives a letter.
    for (char& letter : letters) {
        const unsigned long drawn = m_random ? (*m_random)() : static_cast<unsigned long>(std::rand());
        letter = static_cast<char>('A' + drawn / 82595525);
    }
    return Utf8String(letters, 6);
}

// Keeps a font that was found, once it is known to be variable; `what` names
// it in the reason for a refusal.
bool FontInstancer::KeepFont(Bedrock::Counted<OTFont> font, const Utf8String& what) {
    if (!font->GetTableT<OTfvarTable>()) {
        if (font->IsVariable()) {
            return Fail(Failure::Kind::MissingData,
                        Bedrock::FormatString("the 'fvar' table of %1 can't be read", what));
        }
        return Fail(
            Failure::Kind::NotVariable,
            Bedrock::FormatString("%1 is static: it has no 'fvar' table, so there is nothing to instance", what));
    }
    LoadAllTables(font);
    m_font = std::move(font);
    return true;
}

bool FontInstancer::LoadFont(const Utf8String& path, int index) {
    m_failure = Failure();
    errno = 0;
    auto stream = Bedrock::FileInStream::Open(path.c_str(), false);
    if (!stream) return Fail(Failure::Kind::CannotOpen, OpenError(path, errno));
    m_file = Bedrock::MakeCounted<OTFile>();
    m_file->Load(stream);
    auto font = m_file->GetFont(index);
    if (!font) return Fail(m_file->GetLastFailure().GetKind(), m_file->GetLastFailure().GetMessage());
    return KeepFont(std::move(font),
                    m_file->GetFontCount() > 1 ? Bedrock::FormatString("font %1", index) : Utf8String("the font"));
}

bool FontInstancer::LoadFont(const Utf8String& path, const Utf8String& postScriptName) {
    m_failure = Failure();
    errno = 0;
    auto stream = Bedrock::FileInStream::Open(path.c_str(), false);
    if (!stream) return Fail(Failure::Kind::CannotOpen, OpenError(path, errno));
    m_file = Bedrock::MakeCounted<OTFile>();
    m_file->Load(stream);
    for (int i = 0; i < m_file->GetFontCount(); ++i) {
        auto font = m_file->GetFont(i);
        if (!font) continue;
        auto name = font->GetTableT<OTnameTable>();
        Utf8String fontName;
        if (!name || !name->GetString(6, fontName)) continue;
        if (!postScriptName.IsEmpty() && postScriptName != fontName) continue;
        return KeepFont(std::move(font), Bedrock::FormatString("the font named '%1'", fontName));
    }
    if (m_file->GetLastFailure()) {
        return Fail(m_file->GetLastFailure().GetKind(), m_file->GetLastFailure().GetMessage());
    }
    if (postScriptName.IsEmpty()) {
        return Fail(Failure::Kind::NoSuchFont, "no font of the file has a PostScript name (name ID 6)");
    }
    return Fail(Failure::Kind::NoSuchFont,
                Bedrock::FormatString("no font of the file has the PostScript name '%1'", postScriptName));
}

bool FontInstancer::LoadFont(Bedrock::Counted<OTFont> font) {
    m_failure = Failure();
    if (!font) return Fail(Failure::Kind::NoFont, "no font was given");
    return KeepFont(std::move(font), "the font");
}

bool FontInstancer::SaveFont(const Utf8String& path) {
    m_failure = Failure();
    // Checked before anything is made on disk.
    if (!m_font) return Fail(Failure::Kind::NoFont, "no font is loaded, so there is nothing to save");
    errno = 0;
    auto stream = Bedrock::FileOutStream::CreateReplacing(path.c_str());
    if (!stream) {
        return Fail(Failure::Kind::CannotWrite,
                    Bedrock::FormatString("cannot create '%1': %2", path, std::strerror(errno ? errno : EIO)));
    }
    const bool result = SaveFont(Bedrock::Counted<Bedrock::OutStream>(stream));
    // A file the writer refused is dropped with the stream, and whatever
    // stood at `path` stays.
    if (m_failure) return result;
    if (!stream->Commit()) {
        m_failure = Failure(Failure::Kind::CannotWrite,
                            Bedrock::FormatString("cannot write '%1': %2", path, std::strerror(errno ? errno : EIO)));
    }
    return result;
}

bool FontInstancer::SaveFont(Bedrock::Counted<Bedrock::OutStream> stream) {
    m_failure = Failure();
    if (!m_font) return Fail(Failure::Kind::NoFont, "no font is loaded, so there is nothing to save");
    if (!stream) return Fail(Failure::Kind::CannotWrite, "no stream was given to write to");
    auto file = Bedrock::MakeCounted<OTFile>();
    file->SetSaveTime(m_saveTime);
    const auto owner = m_font->GetFile();
    file->AddFont(m_font);
    // Whether the file writer succeeded is not part of the result; the
    // reason is kept for the host all the same.
    if (!file->Save(stream)) {
        m_failure =
            Failure(file->GetLastFailure().GetKind(),
                    Bedrock::FormatString("the instance can't be saved: %1", file->GetLastFailure().GetMessage()));
    }
    // The file made here dies with this call; the font goes back to the file
    // it came from, so that nothing can reach the dead one later.
    m_font->SetFile(owner);
    return true;
}

Utf8String FontInstancer::GetPostScriptName() const {
    Utf8String name;
    if (!m_font) return name;
    if (auto table = m_font->GetTableT<OTnameTable>()) table->GetString(6, name);
    return name;
}

bool FontInstancer::GetUserLocation(const std::vector<AxisValue>& values, std::vector<double>& location) {
    m_failure = Failure();
    if (!m_font) return Fail(Failure::Kind::NoFont, "no font is loaded");
    auto fvar = m_font->GetTableT<OTfvarTable>();
    if (!fvar) return Fail(Failure::Kind::MissingData, "the font's 'fvar' table can't be read");
    std::vector<double> result;
    std::vector<bool> given;
    for (unsigned short i = 0; i < fvar->axisCount; ++i) {
        auto axis = fvar->GetVariationAxis(i);
        result.push_back(axis ? axis->defaultValue.ToDouble() : 0.0);
        given.push_back(false);
    }
    for (const AxisValue& value : values) {
        bool found = false;
        for (unsigned short i = 0; i < fvar->axisCount && !found; ++i) {
            auto axis = fvar->GetVariationAxis(i);
            if (!axis || axis->axisTag != value.tag) continue;
            if (given[i]) {
                return Fail(Failure::Kind::BadLocation,
                            Bedrock::FormatString("axis '%1' is given twice", Bedrock::IDTag(value.tag)));
            }
            result[i] = value.value;
            given[i] = true;
            found = true;
        }
        if (!found) {
            return Fail(Failure::Kind::BadLocation,
                        Bedrock::FormatString("the font has no axis '%1'", Bedrock::IDTag(value.tag)));
        }
    }
    location = std::move(result);
    return true;
}

bool FontInstancer::MakeInstanceAt(const std::vector<AxisValue>& values) {
    std::vector<double> location;
    if (!GetUserLocation(values, location)) return false;
    return MakeInstance(std::move(location));
}

bool FontInstancer::MakeInstance(std::vector<double> location) {
    m_failure = Failure();
    if (!m_font) return Fail(Failure::Kind::NoFont, "no font is loaded");
    // Clamping would turn a NaN into the axis minimum and name the instance
    // after "nan": a value that is no number is refused before any change.
    for (size_t i = 0; i < location.size(); ++i) {
        if (std::isfinite(location[i])) continue;
        auto fvar = m_font->GetTableT<OTfvarTable>();
        auto axis = fvar ? fvar->GetVariationAxis(static_cast<unsigned short>(i)) : nullptr;
        return Fail(Failure::Kind::BadLocation,
                    axis ? Bedrock::FormatString("the value for axis '%1' is not a finite number",
                                                 Bedrock::IDTag(axis->axisTag))
                         : Bedrock::FormatString("axis value %1 is not a finite number", static_cast<int>(i)));
    }
    std::vector<Fixed2_14> coordinates;
    if (!MapVarParams(location, coordinates)) {
        auto fvar = m_font->GetTableT<OTfvarTable>();
        const int axes = fvar ? int(fvar->axisCount) : 0;
        return Fail(Failure::Kind::BadLocation,
                    Bedrock::FormatString("the location has %1 values, one per axis, but the font has %2 %3",
                                          static_cast<int>(location.size()), axes, axes == 1 ? "axis" : "axes"));
    }
    // The order matters: metric deltas first, outlines (whose phantom points
    // decide advances) after them, names once fvar and STAT have been used,
    // and the variation tables removed last.
    ApplyMVAR(m_font, coordinates);
    ApplyGVar(m_font, coordinates);
    ApplyCVar(m_font, coordinates);
    const Utf8String name = MakePostScriptName(m_font, location);
    if (name.IsEmpty()) {
        return Fail(Failure::Kind::MissingData,
                    "no PostScript name can be made for the instance: the font has no family name (name ID 25, 16 "
                    "or 1) that is usable and short enough");
    }
    ApplyName(m_font, name, location);
    for (Tag tag : TableRegistry::GetTagsDroppedFromInstances()) m_font->RemoveTable(tag);
    return true;
}

bool FontInstancer::MapVarParams(const std::vector<double>& location, std::vector<Fixed2_14>& coordinates) const {
    if (!m_font) return false;
    return MapVarParams(m_font->GetTableT<OTfvarTable>(), m_font->GetTableT<OTavarTable>(), location, coordinates);
}

bool FontInstancer::MapVarParams(Bedrock::Counted<OTfvarTable> fvar, Bedrock::Counted<OTavarTable> avar,
                                 const std::vector<double>& location, std::vector<Fixed2_14>& coordinates) const {
    if (!fvar) return true;
    const unsigned short axisCount = fvar->axisCount;
    if (location.size() != axisCount) return false;
    coordinates.resize(axisCount);
    for (unsigned short i = 0; i < axisCount; ++i) {
        auto axis = fvar->GetVariationAxis(i);
        if (!axis) continue;
        const double minValue = axis->minValue.GetRaw() * (1.0 / 65536);
        const double defaultValue = axis->defaultValue.GetRaw() * (1.0 / 65536);
        const double maxValue = axis->maxValue.GetRaw() * (1.0 / 65536);
        const double v = std::min(maxValue, std::max(minValue, location[i]));
        double n = 0;
        if (defaultValue > v) {
            n = -(defaultValue - v) / (defaultValue - minValue);
        } else if (v > defaultValue) {
            n = (v - defaultValue) / (maxValue - defaultValue);
        }
        n = std::min(1.0, std::max(-1.0, n));
        if (avar) n = avar->NormalizeValue(i, n);
        coordinates[i] = ToFixed2_14(n);
    }
    return true;
}

Utf8String FontInstancer::MakePostScriptName(Bedrock::Counted<OTFont> font, const std::vector<double>& location) const {
    if (!font) return Utf8String();
    auto name = font->GetTableT<OTnameTable>();
    if (!name) return Utf8String();

    // Family names, most specific first; a repeat is kept.
    std::vector<Utf8String> prefixes;
    for (unsigned short nameID : {25, 16, 1}) {
        Utf8String text;
        if (!name->GetString(65535, 65535, 65535, nameID, text)) continue;
        Utf8String cleaned = KeepAlphanumerics(text);
        if (!cleaned.IsEmpty()) prefixes.push_back(cleaned);
    }
    if (prefixes.empty()) return Utf8String();

    auto fvar = font->GetTableT<OTfvarTable>();
    if (!fvar) return Utf8String();

    // The named instance's subfamily when the location is one, else the
    // axis values that differ from the defaults.
    Utf8String suffix;
    auto instance = fvar->GetInstance(location);
    Utf8String subfamily;
    if (instance && instance->subfamilyNameID != 0 && name->GetString(instance->subfamilyNameID, subfamily) &&
        !subfamily.IsEmpty()) {
        suffix = Bedrock::FormatString("-%1", KeepAlphanumerics(subfamily));
    }
    if (suffix.IsEmpty()) {
        const size_t count = std::min<size_t>(location.size(), fvar->axisCount);
        for (size_t i = 0; i < count; ++i) {
            auto axis = fvar->GetVariationAxis(static_cast<unsigned short>(i));
            if (!axis) continue;
            const double d = axis->defaultValue.ToDouble();
            const double v = location[i];
            if (std::fabs(d - v) <= 1.0 / 65536) continue;
            // The value as a 16.16 number would hold it; not clamped, so an
            // out-of-range value prints as it was asked for.
            const double scaled = v * 65536;
            const double raw = std::trunc(scaled >= 0 ? scaled + 0.5 : scaled - 0.5);
            const double x = std::floor(raw + 0.5) / 65536;
            // As few decimals as tell the value apart within half a unit of
            // its last 16.16 place.
            const double lo = x - 7.62939453125e-6;
            const double hi = x + 7.62939453125e-6;
            unsigned int decimals = 5;
            double scale = 1;
            for (unsigned int d10 = 1; d10 <= 4; ++d10) {
                scale *= 10;
                if (std::trunc(lo * scale) != std::trunc(hi * scale)) {
                    decimals = d10;
                    break;
                }
            }
            const Utf8String text =
                Bedrock::ToString(x, decimals, 0, Bedrock::kSignMinusOnly, Bedrock::kTruncateTrailingZeros);
            suffix.Append(Bedrock::FormatString("_%1%2", text, Bedrock::IDTag(axis->axisTag)));
        }
    }

    // PostScript names stay under 64 bytes: a prefix too long for the suffix
    // is shortened to a hashed form, made unique within this instancer.
    for (;;) {
        const Utf8String hash = MakeHash();
        Utf8String candidate;
        for (const auto& prefix : prefixes) {
            if (suffix.GetLength() + prefix.GetLength() < 63) return Bedrock::FormatString("%1%2", prefix, suffix);
            if (prefix.GetLength() + 6 < 63) candidate = Bedrock::FormatString("%1-%2...", prefix, hash);
        }
        // No prefix fits even hashed: the empty name is the failure, and it is
        // returned at once rather than drawn for again and again.
        if (candidate.IsEmpty()) return candidate;
        if (m_usedNames.insert(candidate).second) return candidate;
    }
}

bool FontInstancer::ApplyVariation(int& value, const DeltaSetIndexMap::IndexEntry& entry,
                                   const ItemVariationStore& store, const std::vector<Fixed2_14>& coordinates) {
    std::vector<int> deltas;
    if (!store.GetDeltaSet(entry, deltas)) return false;
    if (deltas.size() != store.regionList.GetRegionCount()) return false;
    double total = 0.0;
    for (size_t r = 0; r < deltas.size(); ++r) {
        if (deltas[r] == 0) continue;
        double scalar = 1.0;
        ItemVariationStore::VariationRegion region;
        if (store.GetVariationRegion(static_cast<unsigned short>(r), region)) {
            for (size_t a = 0; a < region.axes.size() && scalar != 0.0; ++a) {
                ItemVariationStore::VariationRegion::Region axis;
                if (!region.GetRegion(static_cast<unsigned short>(a), axis)) continue;
                // A region axis the location does not reach counts fully.
                if (a >= coordinates.size()) continue;
                scalar *= RegionAxisFactor(axis.start, axis.peak, axis.end, coordinates[a],
                                           RegionQuotient::Fixed2_14Differences());
            }
        }
        total += deltas[r] * scalar;
    }
    value = ClampToInt(std::floor(total + 0.5) + value);
    return true;
}

bool FontInstancer::ApplyVariation(Bedrock::Counted<Bedrock::BigEndianBuffer> fvarData,
                                   Bedrock::Counted<Bedrock::BigEndianBuffer> avarData,
                                   Bedrock::Counted<Bedrock::BigEndianBuffer> mvarData, unsigned int tag,
                                   const std::vector<double>& location, double& value) const {
    auto copy = [](const Bedrock::Counted<Bedrock::BigEndianBuffer>& data) {
        return Bedrock::MakeCounted<BigEndianBuffer>(data->GetBuffer(), data->GetLength(), 4);
    };
    if (!mvarData) return false;
    auto mvar = Bedrock::MakeCounted<OTMVARTable>(nullptr);
    if (!mvar->Load(copy(mvarData)) || !fvarData) return false;
    auto fvar = Bedrock::MakeCounted<OTfvarTable>(nullptr);
    if (!fvar->Load(copy(fvarData))) return false;
    Bedrock::Counted<OTavarTable> avar;
    if (avarData) {
        avar = Bedrock::MakeCounted<OTavarTable>(nullptr);
        if (!avar->Load(copy(avarData))) return false;
    }
    std::vector<Fixed2_14> coordinates;
    if (!MapVarParams(fvar, avar, location, coordinates)) return false;
    OTMVARTable::ValueRecord record;
    if (!mvar->GetValueRecord(tag, record)) return false;
    int result = ClampToInt(value);
    ApplyVariation(result, DeltaSetIndexMap::IndexEntry{record.deltaSetOuterIndex, record.deltaSetInnerIndex},
                   mvar->itemVariationStore, coordinates);
    value = std::floor(result + 0.5);
    return true;
}

}  // namespace Typeframe
