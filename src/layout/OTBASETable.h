#pragma once

// Baseline data ('BASE'): for the horizontal and the vertical text direction,
// the baselines the font knows and, per script, where each baseline lies and
// how far the script's glyphs reach, overall, per language system and per
// feature. Everything is held by value, so a copy shares nothing that a save
// rewrites.
//
// A saved table goes through a table graph, which shares equal parts, but is
// laid out by the table itself in a single breadth-first order, with no second
// try: a table whose offsets don't fit that order isn't written. The tag list
// and the script list of an axis are written inside the axis itself.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTTable.h"
#include "core/Tag.h"
#include "layout/DeviceTable.h"
#include "packing/GraphNode.h"
#include "packing/GraphNodeVisitable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"
#include "variations/ItemVariationStore.h"

namespace Typeframe {

class OTFont;

class OTBASETable : public OTTable, public GraphNode, public GraphNodeVisitable {
public:
    // The data of one text direction. Each Load below reads at the buffer's
    // position, with offsets counted from there, and sets `isPresent` where
    // the class has one: the part was named by an offset, whatever the bytes
    // then held. Fields the
    // bytes don't hold keep their values. The plain Load gives the part a
    // budget of its own; the other shares the budget of a whole table (see
    // SubTable::GetLoadBudget), since records that share one child load a
    // copy each. Each Save adds the part to the graph and returns its node.
    class Axis : public SubTable, public GraphNodeVisitable {
    public:
        // The baselines of the axis, one tag each; every script gives one
        // coordinate per tag.
        class BaselineTags : public SubTable {
        public:
            bool Load(Bedrock::Counted<BigEndianBuffer> source);
            bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
            // The count and the tags, at most SubTable::kMaxCount of them.
            unsigned long Save(TableGraph& graph) const;
            // Compares `tags`.
            bool IsLessThan(const GraphNode& other) const override;

            std::vector<Tag> tags;
            bool isPresent = false;
        };

        // A position on the axis in font units: format 1 plain, format 2
        // with a contour point of a glyph that grid-fitting follows, format 3
        // with a device table (or a variation index).
        class BaseCoord : public SubTable, public GraphNodeVisitable {
        public:
            BaseCoord() = default;
            // A present coordinate of `format` at `coordinate`.
            BaseCoord(unsigned short format, short coordinate);

            // False when the format and coordinate aren't in the bytes.
            bool Load(Bedrock::Counted<BigEndianBuffer> source);
            bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
            // A format other than 1 to 3 writes the format and coordinate
            // alone.
            unsigned long Save(TableGraph& graph) const;
            // Compares `format`, `coordinate`, `referenceGlyph`,
            // `baseCoordPoint`, `deviceTable` by node; not `isPresent`.
            bool IsLessThan(const GraphNode& other) const override;
            void Accept(GraphNodeVisitor& visitor) override;

            uint16_t format = 0;
            int16_t coordinate = 0;
            // Format 2.
            uint16_t referenceGlyph = 0;
            uint16_t baseCoordPoint = 0;
            // Format 3.
            DeviceTable deviceTable;
            bool isPresent = false;
        };

        // How far glyphs reach along the axis: overall, and for the glyphs
        // that a feature substitutes.
        class MinMax : public SubTable, public GraphNodeVisitable {
        public:
            struct FeatMinMax {
                Tag tag = 0;
                BaseCoord minCoord;
                BaseCoord maxCoord;
            };

            // False when the header isn't in the bytes. Keeps the records
            // that the bytes and the budget hold.
            bool Load(Bedrock::Counted<BigEndianBuffer> source);
            bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
            // Only present coordinates get an offset.
            unsigned long Save(TableGraph& graph) const;
            // Compares `isPresent`, `minCoord`, `maxCoord`, then the records
            // by tag, minCoord, maxCoord.
            bool IsLessThan(const GraphNode& other) const override;
            // Visits this, then `minCoord`, `maxCoord` and each record's two
            // coordinates.
            void Accept(GraphNodeVisitor& visitor) override;

            BaseCoord minCoord;
            BaseCoord maxCoord;
            std::vector<FeatMinMax> featMinMaxRecords;
            bool isPresent = false;
        };

        // A script's position of each baseline of the axis, and the one it
        // aligns on by default.
        class BaseValues : public SubTable, public GraphNodeVisitable {
        public:
            // False when the header isn't in the bytes. Keeps the
            // coordinates that the bytes and the budget hold.
            bool Load(Bedrock::Counted<BigEndianBuffer> source);
            bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
            unsigned long Save(TableGraph& graph) const;
            // Compares `defaultBaselineIndex`, then `baseCoords`; not
            // `isPresent`.
            bool IsLessThan(const GraphNode& other) const override;
            // Visits this, then each coordinate.
            void Accept(GraphNodeVisitor& visitor) override;

            uint16_t defaultBaselineIndex = 0;
            std::vector<BaseCoord> baseCoords;
            bool isPresent = false;
        };

        // One script of the axis: its tag and its table. The tag is written
        // in the axis's script list, the table as a node of its own.
        class BaseScriptRecord : public SubTable, public GraphNodeVisitable {
        public:
            class BaseScriptTable : public SubTable, public GraphNodeVisitable {
            public:
                // The extents of one language system of the script.
                struct BaseLangSysRecord {
                    Tag tag = 0;
                    MinMax minMax;
                };

                // False when the header isn't in the bytes. Keeps the
                // language systems that the bytes and the budget hold.
                bool Load(Bedrock::Counted<BigEndianBuffer> source);
                bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
                // `baseValues` and `defaultMinMax` get an offset when present;
                // every language system gets one.
                unsigned long Save(TableGraph& graph) const;
                // Compares `baseValues`, `defaultMinMax`, then the language
                // systems by tag and extents.
                bool IsLessThan(const GraphNode& other) const override;
                // Visits this, then `baseValues` and `defaultMinMax`. The
                // language systems' extents are this table's own to hand to
                // a visitor, so they aren't walked on their own.
                void Accept(GraphNodeVisitor& visitor) override;

                BaseValues baseValues;
                MinMax defaultMinMax;
                std::vector<BaseLangSysRecord> langSysRecords;
            };

            // Compares `tag`, then `baseScriptTable`.
            bool IsLessThan(const GraphNode& other) const override;
            // Visits this, then the table.
            void Accept(GraphNodeVisitor& visitor) override;

            Tag tag = 0;
            BaseScriptTable baseScriptTable;
        };

        // The most baseline tags an axis can write: its script list follows
        // them, and has to stay within reach of the axis's 16-bit offset.
        static constexpr size_t kMaxWritableTags = (0xFFFE - 6) / 4;

        // False when the two offsets aren't in the bytes. Keeps the scripts
        // that the bytes and the budget hold, each with the table its offset
        // (0 included) leads to.
        bool Load(Bedrock::Counted<BigEndianBuffer> source);
        bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
        // The tag list, present or not, then the script list are written in
        // this node, in that order; the script tables are nodes of their own.
        // With more than kMaxWritableTags tags the script list's offset can't
        // be written and stays 0.
        unsigned long Save(TableGraph& graph) const;
        // Compares `baselineTags` by node, then `baseScriptRecords`; not
        // `isPresent`.
        bool IsLessThan(const GraphNode& other) const override;
        // Visits this, then each script.
        void Accept(GraphNodeVisitor& visitor) override;

        BaselineTags baselineTags;
        std::vector<BaseScriptRecord> baseScriptRecords;
        bool isPresent = false;
    };

    explicit OTBASETable(Bedrock::NonCounted<OTFont> font);

    // A deep copy: every part is held by value.
    OTTable* VirtualClone() const override;
    // Keeps `buffer` and loads each axis and the item variation store from
    // its offset; a part that doesn't load stays as far as it got. False only
    // when there is no buffer. The store's offset is read when the minor
    // version isn't 0.
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    // A clean table is left as it is. Otherwise both axes are written, present
    // or not, and laid out in one order; false, with the old buffer kept and
    // the table still dirty, when an offset doesn't fit in 16 bits or an axis
    // has more than Axis::kMaxWritableTags tags. The item variation store is
    // never written: its field, present when the minor version isn't 0, is
    // always a zero offset.
    bool Save() override;
    // The table's own buffer; the graph's root node is the table itself.
    Bedrock::Counted<BigEndianBuffer> GetBuffer() const override;
    // There is one BASE per graph: two tables are never less than each other.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this table, then the horizontal and the vertical axis.
    void Accept(GraphNodeVisitor& visitor) override;

    // Sets both version numbers and marks the table dirty.
    void SetVersion(unsigned short major, unsigned short minor);
    // Replaces `itemVariationStore` by a copy of `store` and marks the table
    // dirty.
    void SetItemVariationStore(const ItemVariationStore& store);

    uint16_t majorVersion = 0;
    uint16_t minorVersion = 0;
    Axis horizAxis;
    Axis vertAxis;
    ItemVariationStore itemVariationStore;
};

}  // namespace Typeframe
