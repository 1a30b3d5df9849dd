#include "core/TableRegistry.h"

#include <algorithm>
#include <array>

#include "core/OTFont.h"
#include "layout/OTBASETable.h"
#include "layout/OTGDEFTable.h"
#include "layout/OTGPOSTable.h"
#include "layout/OTGSUBTable.h"
#include "tables/OTOS2Table.h"
#include "tables/OTVORGTable.h"
#include "tables/OTcvtTable.h"
#include "tables/OTfpgmTable.h"
#include "tables/OTgaspTable.h"
#include "tables/OTheadTable.h"
#include "tables/OThheaTable.h"
#include "tables/OThmtxTable.h"
#include "tables/OTmaxpTable.h"
#include "tables/OTnameTable.h"
#include "tables/OTpostTable.h"
#include "tables/OTprepTable.h"
#include "tables/OTvheaTable.h"
#include "tables/OTvmtxTable.h"
#include "truetype/OTglyfTable.h"
#include "truetype/OTlocaTable.h"
#include "variations/OTHVARTable.h"
#include "variations/OTMVARTable.h"
#include "variations/OTVVARTable.h"
#include "variations/OTavarTable.h"
#include "variations/OTcvarTable.h"
#include "variations/OTfvarTable.h"
#include "variations/OTgvarTable.h"

namespace Typeframe {

namespace {

template <class T>
Bedrock::Counted<OTTable> Make(Bedrock::NonCounted<OTFont> font, Tag) {
    return Bedrock::MakeCounted<T>(font);
}

constexpr bool kDropped = true;
constexpr bool kKept = false;
constexpr bool kSavedUnparsed = true;

using Row = TableRegistry::Row;

// One row per tag. The two order columns give the physical order in which a
// rewritten font places its first tables (for TrueType and for PostScript
// outlines); the tables not ranked follow them. A class that serves several
// tags has a row for each, and its factory receives the tag.
// clang-format off
const Row kRows[] = {
    // tag             class                  TrueType  PostScript
    {MakeTag("head"), Make<OTheadTable>,       1,  1},
    {MakeTag("hhea"), Make<OThheaTable>,       2,  2},
    {MakeTag("maxp"), Make<OTmaxpTable>,       3,  3},
    {MakeTag("OS/2"), Make<OTOS2Table>,        4,  4},
    {MakeTag("hmtx"), Make<OThmtxTable>,       5,  5},
    {MakeTag("LTSH"), nullptr,                 6,  0},
    {MakeTag("VDMX"), nullptr,                 7,  0},
    {MakeTag("hdmx"), nullptr,                 8,  0},
    {MakeTag("cmap"), nullptr,                 9,  6},
    {MakeTag("fpgm"), Make<OTfpgmTable>,      10,  0},
    {MakeTag("prep"), Make<OTprepTable>,      11,  0},
    {MakeTag("cvt "), Make<OTcvtTable>,       12,  0},
    {MakeTag("loca"), Make<OTlocaTable>,      13,  0},
    {MakeTag("glyf"), Make<OTglyfTable>,      14,  0},
    {MakeTag("kern"), nullptr,                15,  0},
    {MakeTag("name"), Make<OTnameTable>,      16,  7},
    {MakeTag("post"), Make<OTpostTable>,      17,  8},
    {MakeTag("gasp"), Make<OTgaspTable>,      18,  0},
    {MakeTag("PCLT"), nullptr,                19,  0},
    {MakeTag("CFF "), nullptr,                 0,  9},
    {MakeTag("vhea"), Make<OTvheaTable>,       0,  0},
    {MakeTag("vmtx"), Make<OTvmtxTable>,       0,  0},
    {MakeTag("VORG"), Make<OTVORGTable>,       0,  0},
    // Layout tables: written from their bytes when nobody asked for them.
    {MakeTag("BASE"), Make<OTBASETable>,       0,  0, kKept, kSavedUnparsed},
    {MakeTag("GDEF"), Make<OTGDEFTable>,       0,  0, kKept, kSavedUnparsed},
    {MakeTag("GPOS"), Make<OTGPOSTable>,       0,  0, kKept, kSavedUnparsed},
    {MakeTag("GSUB"), Make<OTGSUBTable>,       0,  0, kKept, kSavedUnparsed},
    // Variation tables; an instance drops them in this order.
    {MakeTag("avar"), Make<OTavarTable>,       0,  0, kDropped},
    {MakeTag("cvar"), Make<OTcvarTable>,       0,  0, kDropped},
    {MakeTag("fvar"), Make<OTfvarTable>,       0,  0, kDropped},
    {MakeTag("gvar"), Make<OTgvarTable>,       0,  0, kDropped},
    {MakeTag("STAT"), nullptr,                 0,  0, kDropped},
    {MakeTag("HVAR"), Make<OTHVARTable>,       0,  0, kDropped},
    {MakeTag("VVAR"), Make<OTVVARTable>,       0,  0, kDropped},
    {MakeTag("MVAR"), Make<OTMVARTable>,       0,  0, kDropped},
};
// clang-format on

std::vector<Tag> Ranked(unsigned char Row::*order) {
    std::vector<const Row*> ranked;
    for (const Row& row : kRows) {
        if (row.*order != 0) ranked.push_back(&row);
    }
    std::sort(ranked.begin(), ranked.end(), [order](const Row* a, const Row* b) { return a->*order < b->*order; });
    std::vector<Tag> tags;
    for (const Row* row : ranked) tags.push_back(row->tag);
    return tags;
}

}  // namespace

const TableRegistry::Row* TableRegistry::Find(Tag tag) {
    // Rows sorted by tag once, for the binary search every table of every
    // font goes through.
    static const auto sorted = [] {
        std::array<const Row*, std::size(kRows)> rows;
        for (size_t i = 0; i < rows.size(); ++i) rows[i] = &kRows[i];
        std::sort(rows.begin(), rows.end(), [](const Row* a, const Row* b) { return a->tag < b->tag; });
        return rows;
    }();
    const auto found =
        std::lower_bound(sorted.begin(), sorted.end(), tag, [](const Row* row, Tag t) { return row->tag < t; });
    return found != sorted.end() && (*found)->tag == tag ? *found : nullptr;
}

Bedrock::Counted<OTTable> TableRegistry::CreateTable(Bedrock::NonCounted<OTFont> font, Tag tag) {
    const Row* row = Find(tag);
    if (row && row->factory) return row->factory(font, tag);
    return Bedrock::MakeCounted<OTTable>(font, tag);
}

bool TableRegistry::IsSavedUnparsed(Tag tag) {
    const Row* row = Find(tag);
    return row && row->savedUnparsed;
}

bool TableRegistry::HasTableClass(Tag tag) {
    const Row* row = Find(tag);
    return row && row->factory;
}

const std::vector<Tag>& TableRegistry::GetTrueTypeOrder() {
    static const std::vector<Tag> order = Ranked(&Row::trueTypeOrder);
    return order;
}

const std::vector<Tag>& TableRegistry::GetPostScriptOrder() {
    static const std::vector<Tag> order = Ranked(&Row::postScriptOrder);
    return order;
}

const std::vector<Tag>& TableRegistry::GetTagsDroppedFromInstances() {
    static const std::vector<Tag> tags = [] {
        std::vector<Tag> dropped;
        for (const Row& row : kRows) {
            if (row.droppedFromInstances) dropped.push_back(row.tag);
        }
        return dropped;
    }();
    return tags;
}

}  // namespace Typeframe
