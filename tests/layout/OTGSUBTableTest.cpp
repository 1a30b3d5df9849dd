// The GSUB table as a whole: the subtable class of each lookup type, and
// copies that share nothing and follow their font. The skeleton it shares
// with GPOS is tested there; fontTools' reading of rebuilt real tables is
// the layout oracle's.

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "base/FileInStream.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "layout/ExtensionSubLookup.h"
#include "layout/LigatureSubstLookup.h"
#include "layout/OTGSUBTable.h"
#include "TestUtil.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;

namespace {

std::vector<uint8_t> Rebuild(OTGSUBTable& table) {
    table.SetIsDirty(true);
    if (!table.Save()) return {};
    return BufferBytes(*table.GetBuffer());
}

}  // namespace

// Types 1 to 8 make subtables of their own type, extensions (7) among them;
// 0 and 9 make none. A made extension wraps its subtable under that type.
TEST(GSUBTable, SubtableClassesByLookupType) {
    OTGSUBTable table(nullptr);
    EXPECT_EQ(table.GetExtensionType(), 7);
    for (uint16_t type = 0; type <= 9; ++type) {
        const auto subTable = table.MakeSubTable(type, nullptr);
        if (type == 0 || type == 9) {
            EXPECT_FALSE(subTable) << type;
            continue;
        }
        ASSERT_TRUE(subTable) << type;
        EXPECT_EQ(subTable->GetType(), type);
    }
    const auto wrapped = table.MakeExtensionSubTable(table.MakeSubTable(4, nullptr));
    const auto& extension = static_cast<const ExtensionSubLookup&>(*wrapped);
    EXPECT_EQ(extension.GetType(), 7);
    EXPECT_EQ(extension.extensionLookupType, 4);
    EXPECT_EQ(extension.owner.Get(), static_cast<const LookupSubTableOwner*>(&table));
}

// A copied font's GSUB shares no subtable with the original and names the
// copy's font down to the coverages, so that changing a ligature in the copy
// leaves the original's bytes alone.
TEST(GSUBTable, CopiesShareNothingAndFollowTheirFont) {
    const std::string path = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
    auto stream = Bedrock::FileInStream::Open(path.c_str(), false);
    auto file = Bedrock::MakeCounted<OTFile>();
    if (!stream || !file->Load(stream)) GTEST_SKIP() << path << " is not installed";
    const Bedrock::Counted<OTFont> font = file->GetFont(0);
    const auto original = font->GetTableT<OTGSUBTable>();
    ASSERT_TRUE(original);
    const std::vector<uint8_t> before = Rebuild(*original);
    ASSERT_FALSE(before.empty());

    const Bedrock::Counted<OTFont> copyFont = font->Clone();
    const auto copy = copyFont->GetTableT<OTGSUBTable>();
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->lookupList.owner.Get(), static_cast<const LookupSubTableOwner*>(copy.Get()));
    int ligatures = 0;
    for (size_t i = 0; i < copy->lookupList.lookups.size(); ++i) {
        const LookupTable& lookup = copy->lookupList.lookups[i];
        for (size_t j = 0; j < lookup.subTables.size(); ++j) {
            const auto& subTable = lookup.subTables[j];
            if (!subTable) continue;
            EXPECT_NE(subTable.Get(), original->lookupList.lookups[i].subTables[j].Get());
            EXPECT_EQ(subTable->font.Get(), copyFont.Get());
            auto* ligature = dynamic_cast<LigatureSubstLookup*>(subTable.Get());
            if (!ligature || ligature->ligatureSets.empty() || ligature->ligatureSets[0].ligatures.empty()) continue;
            EXPECT_EQ(ligature->coverage.font.Get(), copyFont.Get());
            ligature->ligatureSets[0].ligatures[0].ligatureGlyph += 1;
            ++ligatures;
        }
    }
    ASSERT_GT(ligatures, 0);
    EXPECT_EQ(Rebuild(*original), before);
    EXPECT_NE(Rebuild(*copy), before);
}
