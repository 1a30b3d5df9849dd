// The TrueType assembler and disassembler. The first byte chooses what the
// rest is: 0, bytecode loaded as the library loads a program (pushes kept as
// written); 1, bytecode disassembled with runs of pushes merged; 2, assembly
// text, one line per '\n'. Whatever text results is assembled.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "base/String.h"
#include "core/BigEndianBuffer.h"
#include "truetype/TTCompiler.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const uint8_t mode = data[0] % 3;
    const unsigned char* rest = data + 1;
    const size_t length = size - 1;
    auto compiler = Bedrock::MakeCounted<Typeframe::TTCompiler>();
    if (mode == 2) {
        size_t start = 0;
        for (size_t i = 0; i <= length; ++i) {
            if (i == length || rest[i] == '\n') {
                compiler->assembly.emplace_back(reinterpret_cast<const char*>(rest + start),
                                                static_cast<int>(i - start));
                start = i + 1;
            }
        }
    } else {
        auto bytes = Bedrock::MakeCounted<Typeframe::BigEndianBuffer>(rest, static_cast<unsigned long>(length), 4);
        const bool loaded = mode == 0 ? compiler->Load(bytes) : compiler->Disassemble(bytes, false);
        if (!loaded) return 0;
    }
    if (compiler->Assemble() && compiler->buffer) {
        // What was assembled disassembles again.
        compiler->Disassemble(compiler->buffer, true);
    }
    return 0;
}
