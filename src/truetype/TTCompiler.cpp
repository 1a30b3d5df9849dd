#include "truetype/TTCompiler.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "base/Format.h"
#include "base/ToString.h"
#include "base/Trace.h"
#include "truetype/Parser.h"

namespace Typeframe {

namespace {

struct OpcodeRow {
    const char* mnemonic;
    uint8_t opcode;
    uint8_t argBits;
    uint8_t pops;
    uint8_t pushes;
    const char* name;
};

// The instruction set: mnemonic, first opcode, argument bits, pops, pushes
// (255: not fixed), long name. The long names are part of the text form and
// stay as they are, "LessThenOrEqual" included.
constexpr OpcodeRow kOpcodeRows[] = {
    {"AA", 0x7F, 0, 1, 0, "AdjustAngle"},
    {"ABS", 0x64, 0, 1, 1, "Absolute"},
    {"ADD", 0x60, 0, 2, 1, "Add"},
    {"ALIGNPTS", 0x27, 0, 2, 0, "AlignPts"},
    {"ALIGNRP", 0x3C, 0, 255, 0, "AlignRelativePt"},
    {"AND", 0x5A, 0, 2, 1, "LogicalAnd"},
    {"CALL", 0x2B, 0, 1, 0, "CallFunction"},
    {"CEILING", 0x67, 0, 1, 1, "Ceiling"},
    {"CINDEX", 0x25, 0, 1, 1, "CopyXToTopStack"},
    {"CLEAR", 0x22, 0, 255, 0, "ClearStack"},
    {"DEBUG", 0x4F, 0, 1, 0, "DebugCall"},
    {"DELTAC1", 0x73, 0, 255, 0, "DeltaExceptionC1"},
    {"DELTAC2", 0x74, 0, 255, 0, "DeltaExceptionC2"},
    {"DELTAC3", 0x75, 0, 255, 0, "DeltaExceptionC3"},
    {"DELTAP1", 0x5D, 0, 255, 0, "DeltaExceptionP1"},
    {"DELTAP2", 0x71, 0, 255, 0, "DeltaExceptionP2"},
    {"DELTAP3", 0x72, 0, 255, 0, "DeltaExceptionP3"},
    {"DEPTH", 0x24, 0, 0, 1, "GetDepthStack"},
    {"DIV", 0x62, 0, 2, 1, "Divide"},
    {"DUP", 0x20, 0, 1, 2, "DuplicateTopStack"},
    {"EIF", 0x59, 0, 0, 0, "EndIf"},
    {"ELSE", 0x1B, 0, 0, 0, "Else"},
    {"ENDF", 0x2D, 0, 0, 0, "EndFunctionDefinition"},
    {"EQ", 0x54, 0, 2, 1, "Equal"},
    {"EVEN", 0x57, 0, 1, 1, "Even"},
    {"FDEF", 0x2C, 0, 1, 0, "FunctionDefinition"},
    {"FLIPOFF", 0x4E, 0, 0, 0, "SetAutoFlipOff"},
    {"FLIPON", 0x4D, 0, 0, 0, "SetAutoFlipOn"},
    {"FLIPPT", 0x80, 0, 255, 0, "FlipPoint"},
    {"FLIPRGOFF", 0x82, 0, 2, 0, "FlipRangeOff"},
    {"FLIPRGON", 0x81, 0, 2, 0, "FlipRangeOn"},
    {"FLOOR", 0x66, 0, 1, 1, "Floor"},
    {"GC", 0x46, 1, 1, 1, "GetCoordOnPVector"},
    {"GETINFO", 0x88, 0, 1, 1, "GetInfo"},
    {"GETVARIATION", 0x91, 0, 0, 255, "GetVariation"},
    {"GFV", 0x0D, 0, 0, 2, "GetFVector"},
    {"GPV", 0x0C, 0, 0, 2, "GetPVector"},
    {"GT", 0x52, 0, 2, 1, "GreaterThan"},
    {"GTEQ", 0x53, 0, 2, 1, "GreaterThanOrEqual"},
    {"IDEF", 0x89, 0, 1, 0, "InstructionDefinition"},
    {"IF", 0x58, 0, 1, 0, "If"},
    {"INSTCTRL", 0x8E, 0, 2, 0, "SetInstrExecControl"},
    {"IP", 0x39, 0, 255, 0, "InterpolatePts"},
    {"ISECT", 0x0F, 0, 5, 0, "MovePtToIntersect"},
    {"IUP", 0x30, 1, 0, 0, "InterpolateUntPts"},
    {"JMPR", 0x1C, 0, 1, 0, "Jump"},
    {"JROF", 0x79, 0, 2, 0, "JumpRelativeOnFalse"},
    {"JROT", 0x78, 0, 2, 0, "JumpRelativeOnTrue"},
    {"LOOPCALL", 0x2A, 0, 2, 0, "LoopAndCallFunction"},
    {"LT", 0x50, 0, 2, 1, "LessThan"},
    {"LTEQ", 0x51, 0, 2, 1, "LessThenOrEqual"},
    {"MAX", 0x8B, 0, 2, 1, "Maximum"},
    {"MD", 0x49, 1, 2, 1, "MeasureDistance"},
    {"MDAP", 0x2E, 1, 1, 0, "MoveDirectAbsPt"},
    {"MDRP", 0xC0, 5, 1, 0, "MoveDirectRelPt"},
    {"MIAP", 0x3E, 1, 2, 0, "MoveIndirectAbsPt"},
    {"MIN", 0x8C, 0, 2, 1, "Minimum"},
    {"MINDEX", 0x26, 0, 1, 1, "MoveXToTopStack"},
    {"MIRP", 0xE0, 5, 2, 0, "MoveIndirectRelPt"},
    {"MPPEM", 0x4B, 0, 0, 1, "MeasurePixelPerEm"},
    {"MPS", 0x4C, 0, 0, 1, "MeasurePointSize"},
    {"MSIRP", 0x3A, 1, 2, 0, "MoveStackIndirRelPt"},
    {"MUL", 0x63, 0, 2, 1, "Multiply"},
    {"NEG", 0x65, 0, 1, 1, "Negate"},
    {"NEQ", 0x55, 0, 2, 1, "NotEqual"},
    {"NOT", 0x5C, 0, 1, 1, "LogicalNot"},
    {"NROUND", 0x6C, 2, 1, 1, "NoRound"},
    {"ODD", 0x56, 0, 1, 1, "Odd"},
    {"OR", 0x5B, 0, 2, 1, "LogicalOr"},
    {"POP", 0x21, 0, 1, 0, "PopTopStack"},
    {"RCVT", 0x45, 0, 1, 1, "ReadCVT"},
    {"RDTG", 0x7D, 0, 0, 0, "RoundDownToGrid"},
    {"ROFF", 0x7A, 0, 0, 0, "RoundOff"},
    {"ROLL", 0x8A, 0, 3, 3, "RollTopThreeStack"},
    {"ROUND", 0x68, 2, 1, 1, "Round"},
    {"RS", 0x43, 0, 1, 1, "ReadStore"},
    {"RTDG", 0x3D, 0, 0, 0, "RoundToDoubleGrid"},
    {"RTG", 0x18, 0, 0, 0, "RoundToGrid"},
    {"RTHG", 0x19, 0, 0, 0, "RoundToHalfGrid"},
    {"RUTG", 0x7C, 0, 0, 0, "RoundUpToGrid"},
    {"S45ROUND", 0x77, 0, 1, 0, "SuperRound45Degrees"},
    {"SANGW", 0x7E, 0, 1, 0, "SetAngleWeight"},
    {"SCANCTRL", 0x85, 0, 1, 0, "ScanConversionControl"},
    {"SCANTYPE", 0x8D, 0, 1, 0, "ScanType"},
    {"SCFS", 0x48, 0, 2, 0, "SetCoordFromStackFP"},
    {"SCVTCI", 0x1D, 0, 1, 0, "SetCVTCutIn"},
    {"SDB", 0x5E, 0, 1, 0, "SetDeltaBaseInGState"},
    {"SDPVTL", 0x86, 1, 2, 0, "SetDualPVectorToLine"},
    {"SDS", 0x5F, 0, 1, 0, "SetDeltaShiftInGState"},
    {"SFVFS", 0x0B, 0, 2, 0, "SetFVectorFromStack"},
    {"SFVTCA", 0x04, 1, 0, 0, "SetFVectorToAxis"},
    {"SFVTL", 0x08, 1, 2, 0, "SetFVectorToLine"},
    {"SFVTPV", 0x0E, 0, 0, 0, "SetFVectorToPVector"},
    {"SHC", 0x34, 1, 1, 0, "ShiftContourByLastPt"},
    {"SHP", 0x32, 1, 255, 0, "ShiftPointByLastPoint"},
    {"SHPIX", 0x38, 0, 255, 0, "ShiftZoneByPixel"},
    {"SHZ", 0x36, 1, 1, 0, "ShiftZoneByLastPoint"},
    {"SLOOP", 0x17, 0, 1, 0, "SetLoopVariable"},
    {"SMD", 0x1A, 0, 1, 0, "SetMinimumDistance"},
    {"SPVFS", 0x0A, 0, 2, 0, "SetPVectorFromStack"},
    {"SPVTCA", 0x02, 1, 0, 0, "SetPVectorToAxis"},
    {"SPVTL", 0x06, 1, 2, 0, "SetPVectorToLine"},
    {"SROUND", 0x76, 0, 1, 0, "SuperRound"},
    {"SRP0", 0x10, 0, 1, 0, "SetRefPoint0"},
    {"SRP1", 0x11, 0, 1, 0, "SetRefPoint1"},
    {"SRP2", 0x12, 0, 1, 0, "SetRefPoint2"},
    {"SSW", 0x1F, 0, 1, 0, "SetSingleWidth"},
    {"SSWCI", 0x1E, 0, 1, 0, "SetSingleWidthCutIn"},
    {"SUB", 0x61, 0, 2, 1, "Subtract"},
    {"SVTCA", 0x00, 1, 0, 0, "SetFPVectorToAxis"},
    {"SWAP", 0x23, 0, 2, 2, "SwapTopStack"},
    {"SZP0", 0x13, 0, 1, 0, "SetZonePointer0"},
    {"SZP1", 0x14, 0, 1, 0, "SetZonePointer1"},
    {"SZP2", 0x15, 0, 1, 0, "SetZonePointer2"},
    {"SZPS", 0x16, 0, 1, 0, "SetZonePointerS"},
    {"UTP", 0x29, 0, 1, 0, "UnTouchPt"},
    {"WCVTF", 0x70, 0, 2, 0, "WriteCVTInFUnits"},
    {"WCVTP", 0x44, 0, 2, 0, "WriteCVTInPixels"},
    {"WS", 0x42, 0, 2, 0, "WriteStore"},
};

struct StreamRow {
    const char* mnemonic;
    uint8_t opcode;
    uint8_t argBits;
    uint8_t wordValues;
    const char* name;
};

// The push instructions, whose values follow in the instruction stream.
constexpr StreamRow kStreamRows[] = {
    {"NPUSHB", 0x40, 0, 0, "PushNBytes"},
    {"NPUSHW", 0x41, 0, 1, "PushNWords"},
    {"PUSHB", 0xB0, 3, 0, "PushBytes"},
    {"PUSHW", 0xB8, 3, 1, "PushWords"},
};
constexpr int kStreamRowCount = static_cast<int>(sizeof(kStreamRows) / sizeof(kStreamRows[0]));
// Index of the merged-push pseudo-instruction among the header lines.
constexpr int kMergedPush = kStreamRowCount;

struct MnemonicEntry {
    TTCompiler::Opcode firstOpcode = 0;
    uint8_t argBits = 0;
};

// Everything the compiler looks up, built on first use and never changed
// afterwards, so that compilers on any number of threads can share it.
// Disassembly mostly copies ready-made lines out of here: copying a string
// only takes a reference on its body, so most lines cost no allocation.
struct Dictionaries {
    Dictionaries();

    std::vector<TTCompiler::OpcodeInfo> opcodes;
    std::vector<TTCompiler::OpcodeInfo> streamOpcodes;

    // Per byte: the instruction's whole line, or the push row (-1: none).
    Utf8String instructionLines[256];
    int streamRow[256];
    // By mnemonic: open addressing over a table four times the size of the
    // set, keyed by views of the rows' strings, which live as long as this
    // object.
    struct MnemonicSlot {
        std::string_view mnemonic;
        MnemonicEntry entry;
    };
    static constexpr size_t kMnemonicSlots = 512;
    MnemonicSlot mnemonics[kMnemonicSlots];
    static size_t Hash(std::string_view text) {
        uint32_t hash = 2166136261u;
        for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
        return hash;
    }
    // Null for a mnemonic outside the instruction set.
    const MnemonicEntry* FindMnemonic(std::string_view text) const {
        for (size_t slot = Hash(text) % kMnemonicSlots;; slot = (slot + 1) % kMnemonicSlots) {
            if (mnemonics[slot].mnemonic.empty()) return nullptr;
            if (mnemonics[slot].mnemonic == text) return &mnemonics[slot].entry;
        }
    }

    // A pushed value 0 to 255 as its line.
    Utf8String valueLines[256];
    // Push header lines by row (the merged push last) and value count.
    Utf8String headerLines[kStreamRowCount + 1][256];
};

Utf8String HeaderLine(const char* mnemonic, unsigned long count) {
    if (count == 1) return Bedrock::FormatString("%1[ ]\t/* 1 value pushed */", mnemonic);
    return Bedrock::FormatString("%1[ ]\t/* %2 values pushed */", mnemonic, count);
}

Dictionaries::Dictionaries() {
    opcodes.reserve(std::size(kOpcodeRows));
    for (const OpcodeRow& row : kOpcodeRows) {
        opcodes.push_back(
            {row.opcode, Utf8String(row.mnemonic), Utf8String(row.name), 0, row.argBits, row.pops, row.pushes});
    }
    streamOpcodes.reserve(kStreamRowCount);
    for (const StreamRow& row : kStreamRows) {
        streamOpcodes.push_back(
            {row.opcode, Utf8String(row.mnemonic), Utf8String(row.name), row.wordValues, row.argBits, 0, 255});
    }

    for (int byte = 0; byte < 256; ++byte) {
        streamRow[byte] = -1;
        instructionLines[byte] = Bedrock::FormatString("INSTR%1[ ]", byte);
        valueLines[byte] = Bedrock::ToStringT<Utf8String>(byte);
    }
    for (int row = 0; row < kStreamRowCount; ++row) {
        const StreamRow& stream = kStreamRows[row];
        for (int bits = 0; bits < (1 << stream.argBits); ++bits) streamRow[stream.opcode + bits] = row;
    }
    for (const TTCompiler::OpcodeInfo& info : opcodes) {
        size_t slot = Hash(info.mnemonic.View()) % kMnemonicSlots;
        while (!mnemonics[slot].mnemonic.empty()) slot = (slot + 1) % kMnemonicSlots;
        mnemonics[slot] = {info.mnemonic.View(), MnemonicEntry{info.opcode, info.argBits}};
        for (int bits = 0; bits < (1 << info.argBits); ++bits) {
            Utf8String& line = instructionLines[info.opcode + bits];
            if (info.argBits == 0) {
                line = Bedrock::FormatString("%1[ ]\t/* %2 */", info.mnemonic, info.name);
            } else {
                const Utf8String arg = Bedrock::ToStringBase(bits, 2, info.argBits, Bedrock::kPadZeros);
                line = Bedrock::FormatString("%1[%2]\t/* %3 */", info.mnemonic, arg, info.name);
            }
        }
    }
    for (int row = 0; row <= kStreamRowCount; ++row) {
        const char* mnemonic = row == kMergedPush ? "PUSH" : kStreamRows[row].mnemonic;
        for (unsigned long count = 0; count < 256; ++count) headerLines[row][count] = HeaderLine(mnemonic, count);
    }
}

const Dictionaries& GetDictionaries() {
    static const Dictionaries dictionaries;
    return dictionaries;
}

TTCompiler::OpcodeInfo FindRow(const std::vector<TTCompiler::OpcodeInfo>& rows, TTCompiler::Opcode opcode) {
    for (const auto& row : rows) {
        if (row.opcode == opcode) return row;
    }
    return {};
}

// A pushed 16-bit value as its line; values 0 to 255 share the ready-made
// lines.
Utf8String WordValueLine(const Dictionaries& dictionaries, int16_t value) {
    if (value >= 0 && value < 256) return dictionaries.valueLines[value];
    char digits[8];
    int start = static_cast<int>(sizeof(digits));
    unsigned int magnitude = value < 0 ? 0u - static_cast<unsigned int>(value) : static_cast<unsigned int>(value);
    do {
        digits[--start] = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    if (value < 0) digits[--start] = '-';
    return Utf8String(digits + start, static_cast<int>(sizeof(digits)) - start);
}

// strtol over the whole text: false when anything is left over. The texts
// the assembler sees are nearly always short runs of digits, which are read
// here directly with the same result.
bool ParseInt(const Utf8String& text, int& value, int base) {
    const char* begin = text.GetBuffer();
    const int length = text.GetLength();
    const bool negative = length > 0 && begin[0] == '-';
    const int first = negative ? 1 : 0;
    if (length > first && length - first <= (base == 2 ? 30 : 9)) {
        int result = 0;
        int i = first;
        for (; i < length; ++i) {
            const int digit = begin[i] - '0';
            if (digit < 0 || digit >= base) break;
            result = result * base + digit;
        }
        if (i == length) {
            value = negative ? -result : result;
            return true;
        }
    }
    char* end = nullptr;
    const long result = std::strtol(begin, &end, base);
    if (end != begin + length) return false;
    value = static_cast<int>(result);
    return true;
}

int FindStreamRow(std::string_view mnemonic) {
    for (int row = 0; row < kStreamRowCount; ++row) {
        if (mnemonic == kStreamRows[row].mnemonic) return row;
    }
    return mnemonic == "PUSH" ? kMergedPush : -1;
}

}  // namespace

TTCompiler::TTCompiler() { GetDictionaries(); }

TTCompiler::TTCompiler(const TTCompiler& other)
    : Bedrock::Countable(other), buffer(other.buffer ? other.buffer->Clone() : nullptr), assembly(other.assembly) {}

Bedrock::Counted<TTCompiler> TTCompiler::Clone() const { return Bedrock::MakeCounted<TTCompiler>(*this); }

bool TTCompiler::Load(Bedrock::Counted<BigEndianBuffer> bytes) { return Disassemble(std::move(bytes), true); }

bool TTCompiler::Save() {
    if (Assemble()) return true;
    Bedrock::Trace("Failed to Assemble TT\n");
    return false;
}

bool TTCompiler::Disassemble(Bedrock::Counted<BigEndianBuffer> bytes, bool preservePushes) {
    const Dictionaries& dictionaries = GetDictionaries();
    const unsigned long length = bytes ? bytes->GetLength() : 0;
    const unsigned char* data = bytes ? bytes->GetBuffer() : nullptr;
    std::vector<Utf8String> lines;
    // Every line stands for at least one byte.
    lines.reserve(length);

    unsigned long p = 0;
    while (p < length) {
        const int row = dictionaries.streamRow[data[p]];
        if (row < 0) {
            lines.push_back(dictionaries.instructionLines[data[p]]);
            ++p;
            continue;
        }
        // A push: its header line goes in front of the values once their
        // number is known.
        const size_t header = lines.size();
        lines.emplace_back();
        int lastRow = row;
        unsigned long total = 0;
        // With merged pushes the run of pushes also ends at the end of the
        // program.
        while (p < length) {
            const int current = dictionaries.streamRow[data[p]];
            if (current < 0) break;
            const StreamRow& stream = kStreamRows[current];
            lastRow = current;
            unsigned long count;
            if (stream.argBits == 0) {
                ++p;
                if (p >= length) return false;
                count = data[p];
            } else {
                count = static_cast<unsigned long>(data[p] - stream.opcode) + 1;
            }
            ++p;
            const unsigned long size = stream.wordValues ? count * 2 : count;
            if (size > length - p) return false;
            if (stream.wordValues) {
                for (unsigned long i = 0; i < count; ++i, p += 2) {
                    const auto value = static_cast<int16_t>(static_cast<uint16_t>((data[p] << 8) | data[p + 1]));
                    lines.push_back(WordValueLine(dictionaries, value));
                }
            } else {
                for (unsigned long i = 0; i < count; ++i, ++p) lines.push_back(dictionaries.valueLines[data[p]]);
            }
            total += count;
            if (preservePushes) break;
        }
        const int headerRow = preservePushes ? lastRow : kMergedPush;
        lines[header] = total < 256 ? dictionaries.headerLines[headerRow][total] : HeaderLine("PUSH", total);
    }
    assembly = std::move(lines);
    return true;
}

bool TTCompiler::Assemble() {
    const Dictionaries& dictionaries = GetDictionaries();
    // The parser borrows the lines for the run instead of copying them; they
    // go back whichever way the run ends.
    Parser parser(std::move(assembly));
    struct GiveBack {
        Parser& parser;
        std::vector<Utf8String>& lines;
        ~GiveBack() { lines = std::move(parser.lines); }
    } giveBack{parser, assembly};

    std::vector<unsigned char> code;
    code.reserve(parser.lines.size());
    std::vector<int> values;
    std::string mnemonic;

    for (;;) {
        // White space and comments are passed over without taking their text.
        if (parser.SkipIgnorable()) continue;
        const int type = parser.ParseNextToken();
        if (type == Parser::kWhiteSpace || type == Parser::kComment) continue;
        // The end of the text, and also any character that starts no token:
        // what came before it is the program. Kept that way on purpose.
        if (type == Parser::kEnd) {
            buffer = Bedrock::MakeCounted<BigEndianBuffer>(code.data(), code.size(), 4);
            return true;
        }
        if (type == Parser::kSlash) return false;
        if (type != Parser::kOpcode) {
            Bedrock::Trace("Unexpected TokenType (%1)\n", parser.token);
            return false;
        }

        const std::string_view name = parser.token.View();
        if (name.starts_with("INSTR")) {
            // An opcode outside the instruction set, as Disassemble writes it.
            // Its "[ ]" then arrives as an unexpected argument token and ends
            // the run with false: such a program disassembles but does not
            // assemble again. Kept that way on purpose.
            int opcode = 0;
            if (std::sscanf(parser.token.GetBuffer(), "INSTR%d", &opcode) != 1) return false;
            AppendByteCode(code, static_cast<unsigned char>(opcode));
            continue;
        }

        const int pushRow = FindStreamRow(name);
        if (pushRow >= 0) {
            values.clear();
            for (;;) {
                const int next = parser.GetNextToken();
                if (next == Parser::kOpcode) break;
                if (next == Parser::kWhiteSpace || next == Parser::kArgs || next == Parser::kComment) {
                    if (!parser.SkipIgnorable()) parser.ParseNextToken();
                    continue;
                }
                // Values come only before another instruction: a program that
                // ends in a push does not assemble.
                if (next != Parser::kNumber) return false;
                parser.ParseNextToken();
                int value = 0;
                if (ParseInt(parser.token, value, 10)) values.push_back(value);
            }
            // The pseudo-instruction PUSH is accepted and its values are
            // dropped: nothing is emitted for it. Kept that way on purpose;
            // Load never writes it.
            if (pushRow == kMergedPush) continue;
            const StreamRow& stream = kStreamRows[pushRow];
            if (stream.argBits == 0) {
                AppendByteCode(code, stream.opcode);
                AppendByteCode(code, static_cast<unsigned char>(values.size()));
            } else {
                // The count is not checked against the opcode's range: a
                // hand-written list of 0 or more than 8 values gives another
                // opcode.
                AppendByteCode(code, static_cast<unsigned char>(stream.opcode + values.size() - 1));
            }
            for (const int value : values) {
                if (stream.wordValues) AppendByteCode(code, static_cast<unsigned char>(value >> 8));
                AppendByteCode(code, static_cast<unsigned char>(value));
            }
            continue;
        }

        mnemonic.assign(name);
        // A mnemonic outside the instruction set reads as the all-zero entry
        // and assembles to byte 0 (SVTCA[0]) when given "[ ]". Kept that way
        // on purpose; the shared dictionary is only searched, never grown.
        MnemonicEntry entry;
        if (const MnemonicEntry* found = dictionaries.FindMnemonic(name)) entry = *found;
        if (parser.ParseNextToken() != Parser::kArgs) return false;
        const Utf8String& args = parser.token;
        if (args.GetLength() != entry.argBits) {
            Bedrock::Trace("Incorrect number of argument bits (%1[%2])", mnemonic.c_str(), args);
            return false;
        }
        if (entry.argBits == 0) {
            AppendByteCode(code, entry.firstOpcode);
            continue;
        }
        int bits = 0;
        if (!ParseInt(args, bits, 2)) {
            Bedrock::Trace("Failed to parse argument bits (%1[%2])", mnemonic.c_str(), args);
            return false;
        }
        AppendByteCode(code, static_cast<unsigned char>(entry.firstOpcode + bits));
    }
}

void TTCompiler::AppendByteCode(std::vector<unsigned char>& code, unsigned char byte) { code.push_back(byte); }

const std::vector<TTCompiler::OpcodeInfo>& TTCompiler::GetOpcodes() const { return GetDictionaries().opcodes; }

const std::vector<TTCompiler::OpcodeInfo>& TTCompiler::GetStreamOpcodes() const {
    return GetDictionaries().streamOpcodes;
}

TTCompiler::OpcodeInfo TTCompiler::GetOpcodeInfo(Opcode opcode) const { return FindRow(GetOpcodes(), opcode); }

TTCompiler::OpcodeInfo TTCompiler::GetStreamOpcodeInfo(Opcode opcode) const {
    return FindRow(GetStreamOpcodes(), opcode);
}

}  // namespace Typeframe
