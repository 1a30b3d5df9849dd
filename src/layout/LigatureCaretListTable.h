#pragma once

// The ligature carets of GDEF: for each covered ligature glyph, in coverage
// order, where a text cursor may stand between its components, as a
// coordinate, a contour point, or a coordinate with a device table (which in
// a variable font is a variation index).

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/CoverageTable.h"
#include "layout/DeviceTable.h"
#include "packing/GraphNodeVisitable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

// One caret: format 1 a coordinate, format 2 a contour point, format 3 a
// coordinate and a device table.
class CaretValueTable : public SubTable {
public:
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // Reads at the buffer's position; the device offset counts from there.
    // False for a format other than 1 to 3 (which is kept in `format`), and,
    // with nothing changed, when the fields of the format don't fit. A device
    // that doesn't load, or that `budget` can't hold, stays absent
    // (deltaFormat 0).
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // The fields of the format; in format 3 the device is a child when its
    // deltaFormat isn't 0, else its offset stays zero. For any other format
    // the node holds only the format, and 0 is returned rather than this
    // node's index.
    unsigned long Save(TableGraph& graph) const;
    // Compares format, coordinate, caretValuePointIndex, deviceTable.
    bool IsLessThan(const GraphNode& other) const override;

    // 0 for a caret the ligature glyph has no offset to (or could not read).
    uint16_t format = 0;
    // Formats 1 and 3.
    int16_t coordinate = 0;
    // Format 2.
    uint16_t caretValuePointIndex = 0;
    // Format 3; a deltaFormat of 0 means no device.
    DeviceTable deviceTable;
};

// The carets of one ligature glyph.
class LigatureGlyphTable : public SubTable, public GraphNodeVisitable {
public:
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // Reads at the buffer's position; offsets count from there. False, with
    // nothing changed, when the count doesn't fit. Otherwise keeps as many
    // carets as the bytes and `budget` hold, sets isPresent, and is false
    // when a caret was left out or didn't load. A caret at a zero offset
    // stays absent (format 0).
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // The count and one offset per caret (up to 65535); an absent caret
    // keeps a zero offset.
    unsigned long Save(TableGraph& graph) const;
    // Compares isPresent, caretValues.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this ligature glyph; its carets are reached through it.
    void Accept(GraphNodeVisitor& visitor) override;

    std::vector<CaretValueTable> caretValues;
    // False for an entry the list has no offset to (or could not read).
    bool isPresent = false;
};

class LigatureCaretListTable : public SubTable, public GraphNodeVisitable {
public:
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // Reads at the buffer's position; offsets count from there. False, with
    // nothing changed, when the header doesn't fit. Otherwise loads the
    // coverage (which keeps its font), keeps as many ligature glyphs as the
    // bytes and `budget` hold, and sets isPresent. A ligature glyph at a zero
    // offset, or one whose count doesn't fit, stays absent.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // The coverage offset, the count and one offset per ligature glyph (up to
    // 65535); an absent one keeps a zero offset. A coverage of no known
    // format answers with node 0, as its Save does.
    unsigned long Save(TableGraph& graph) const;
    // Compares isPresent, coverage, ligGlyphs.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this list, then each ligature glyph.
    void Accept(GraphNodeVisitor& visitor) override;

    // Whether the list was in the file; only a present list is saved.
    bool isPresent = false;
    CoverageTable coverage;
    std::vector<LigatureGlyphTable> ligGlyphs;
};

}  // namespace Typeframe
