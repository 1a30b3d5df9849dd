#pragma once

// The control value program ('prep'): TrueType instructions run whenever
// the size or transformation changes.
// The program is held as assembly text by its compiler from Load to Save.

#include "base/Counted.h"
#include "core/OTTable.h"
#include "truetype/TTCompiler.h"

namespace Typeframe {

class OTFont;

class OTprepTable : public OTTable {
public:
    explicit OTprepTable(Bedrock::NonCounted<OTFont> font);
    // The copy has a compiler of its own.
    OTprepTable(const OTprepTable& other);

    OTTable* VirtualClone() const override;
    // Disassembles the table's bytes; false when they do not disassemble.
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    // When dirty, assembles the text and takes its bytes as the table's
    // buffer; false (the table stays dirty) when it does not assemble, or
    // without a compiler.
    bool Save() override;

    Bedrock::Counted<TTCompiler> compiler;
};

}  // namespace Typeframe
