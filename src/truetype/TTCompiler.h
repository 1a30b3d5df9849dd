#pragma once

// TrueType instructions held as assembly text. Load disassembles a program's
// bytes into lines; Save assembles the lines back into bytes, which land in
// `buffer` for the owner (a glyph, fpgm or prep) to write out.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "base/String.h"
#include "core/BigEndianBuffer.h"

namespace Typeframe {

class TTCompiler : public Bedrock::Countable {
public:
    using Opcode = uint8_t;

    struct OpcodeInfo {
        Opcode opcode = 0;
        Utf8String mnemonic;
        Utf8String name;
        uint8_t wordValues = 0;  // 1 for 16-bit values in a push
        uint8_t argBits = 0;
        uint8_t pops = 0;    // 255: not fixed
        uint8_t pushes = 0;  // 255: not fixed
    };

    TTCompiler();
    TTCompiler(const TTCompiler& other);
    TTCompiler& operator=(const TTCompiler&) = delete;

    Bedrock::Counted<TTCompiler> Clone() const;

    // Disassemble(buffer, true).
    bool Load(Bedrock::Counted<BigEndianBuffer> bytes);
    // Assemble(); false (with a trace) when the text does not assemble.
    bool Save();
    // Replaces `assembly` with the program's lines; a null or empty buffer
    // gives none. With preservePushes false, neighbouring pushes become one
    // "PUSH" pseudo-instruction (which Assemble drops). False, with
    // `assembly` unchanged, when a push runs past the end.
    bool Disassemble(Bedrock::Counted<BigEndianBuffer> bytes, bool preservePushes);
    // Replaces `buffer` with the bytes of `assembly`; false when the text
    // does not assemble, with `buffer` unchanged.
    bool Assemble();
    void AppendByteCode(std::vector<unsigned char>& code, unsigned char byte);

    const std::vector<OpcodeInfo>& GetOpcodes() const;
    const std::vector<OpcodeInfo>& GetStreamOpcodes() const;
    OpcodeInfo GetOpcodeInfo(Opcode opcode) const;
    OpcodeInfo GetStreamOpcodeInfo(Opcode opcode) const;

    // Bytes of the last Assemble; null before the first.
    Bedrock::Counted<BigEndianBuffer> buffer;
    // The program, one line per element.
    std::vector<Utf8String> assembly;
};

}  // namespace Typeframe
