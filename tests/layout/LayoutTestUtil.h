#pragma once

// What the layout tests share: node equality under a class's own order,
// saving a subtable as the root of a graph and laying it out, and the layout
// tables of real fonts.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "base/FileInStream.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "layout/ExtensionLookup.h"
#include "layout/LookupSubTable.h"

#include "TestUtil.h"
#include "packing/GraphNode.h"
#include "packing/TableGraph.h"
#include "packing/TableGraphWriter.h"

namespace TypeframeTest {

// Neither node is less than the other.
inline bool Equal(const Typeframe::GraphNode& a, const Typeframe::GraphNode& b) { return !(a < b) && !(b < a); }

// Equal subtables, looking through extensions (GSUB's or GPOS'), whose
// wrapped subtables compare by pointer.
inline bool SameSubTable(const Typeframe::LookupSubTable& a, const Typeframe::LookupSubTable& b) {
    const auto* extensionA = dynamic_cast<const Typeframe::ExtensionLookup*>(&a);
    const auto* extensionB = dynamic_cast<const Typeframe::ExtensionLookup*>(&b);
    if (!extensionA || !extensionB) return Equal(a, b);
    return extensionA->format == extensionB->format &&
           extensionA->extensionLookupType == extensionB->extensionLookupType && extensionA->subTable &&
           extensionB->subTable && SameSubTable(*extensionA->subTable, *extensionB->subTable);
}

// Saves `node` as the root of `graph` and lays it out; empty when the writer
// can't.
template <class Node>
std::vector<uint8_t> Pack(const Node& node, Typeframe::TableGraph& graph) {
    const unsigned long root = node.Save(graph);
    const Bedrock::Counted<Typeframe::BigEndianBuffer> packed = Typeframe::TableGraphWriter().Save(graph, root);
    return packed ? BufferBytes(*packed) : std::vector<uint8_t>();
}

template <class Node>
std::vector<uint8_t> Pack(const Node& node) {
    Typeframe::TableGraph graph;
    return Pack(node, graph);
}

// Calls `visit` with the bytes of each table named `tags` in the installed
// DejaVu fonts, with its font and a label naming font and table; returns how many it saw (0
// when the fonts are absent, for the caller to skip on).
inline int ForEachDejaVuTable(
    const std::vector<Typeframe::Tag>& tags,
    const std::function<void(const std::string& label, const Bedrock::Counted<Typeframe::OTFont>& font,
                             Bedrock::Counted<Typeframe::BigEndianBuffer> bytes)>& visit) {
    const std::filesystem::path folder = "/usr/share/fonts/truetype/dejavu";
    std::error_code error;
    int seen = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        if (entry.path().extension() != ".ttf") continue;
        auto file = Bedrock::MakeCounted<Typeframe::OTFile>();
        auto stream = Bedrock::FileInStream::Open(entry.path().c_str(), false);
        if (!stream || !file->Load(stream)) continue;
        const Bedrock::Counted<Typeframe::OTFont> font = file->GetFont(0);
        for (Typeframe::Tag tag : tags) {
            const Bedrock::Counted<Typeframe::OTTable> table = font ? font->GetTableForTag(tag) : nullptr;
            if (!table || !table->GetBuffer()) continue;
            visit(entry.path().filename().string() + " " + Typeframe::TagToString(tag).c_str(), font,
                  table->GetBuffer());
            ++seen;
        }
    }
    return seen;
}

}  // namespace TypeframeTest
