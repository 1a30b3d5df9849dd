#pragma once

// What the library knows of each table tag, in one place: the class that
// parses it, where a rewritten font places it, and whether an instance drops
// it. A new table class is one row in TableRegistry.cpp; TableManager, the
// file writer's physical order and the instancer's list of variation tables
// all read from there.

#include <vector>

#include "base/Counted.h"
#include "core/OTTable.h"
#include "core/Tag.h"

namespace Typeframe {

class OTFont;

class TableRegistry {
public:
    using Factory = Bedrock::Counted<OTTable> (*)(Bedrock::NonCounted<OTFont> font, Tag tag);

    struct Row {
        Tag tag = 0;
        // Null for a tag the library keeps as bytes.
        Factory factory = nullptr;
        // Place among the first tables of a file with TrueType outlines, and
        // of one with PostScript outlines; 0 for a table placed after them.
        unsigned char trueTypeOrder = 0;
        unsigned char postScriptOrder = 0;
        // Variation data that a static instance no longer has.
        bool droppedFromInstances = false;
        // No other table's save reads or changes it, so a save that finds
        // it never loaded writes its bytes as they are, without parsing
        // them (the layout tables, whose objects cost more than the rest
        // of an instance).
        bool savedUnparsed = false;
    };

    // The row of a tag, or null for a tag the library knows nothing of.
    static const Row* Find(Tag tag);
    // A new, unloaded table of the tag's class, or a plain OTTable.
    static Bedrock::Counted<OTTable> CreateTable(Bedrock::NonCounted<OTFont> font, Tag tag);
    static bool HasTableClass(Tag tag);
    // Whether the tag's row says savedUnparsed.
    static bool IsSavedUnparsed(Tag tag);

    // The preferred physical order of the first tables of a file.
    static const std::vector<Tag>& GetTrueTypeOrder();
    static const std::vector<Tag>& GetPostScriptOrder();
    // The tags an instance drops, in the order they are removed.
    static const std::vector<Tag>& GetTagsDroppedFromInstances();
};

}  // namespace Typeframe
