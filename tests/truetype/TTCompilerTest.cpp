// TrueType instructions through text: the line format of the disassembler,
// what the assembler accepts and refuses (with its messages), the tokeniser,
// and byte-exact round trips of real fonts' programs.

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "base/Trace.h"
#include "truetype/FontPrograms.h"
#include "truetype/Parser.h"
#include "truetype/TTCompiler.h"
#include "TestUtil.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;
using TypeframeTest::HexBuffer;
using TypeframeTest::HexBytes;

namespace {

std::vector<std::string> Lines(const TTCompiler& compiler) {
    std::vector<std::string> lines;
    for (const auto& line : compiler.assembly) lines.push_back(line.ToStdString());
    return lines;
}

std::vector<Utf8String> Text(std::initializer_list<const char*> lines) {
    std::vector<Utf8String> text;
    for (const char* line : lines) text.emplace_back(line);
    return text;
}

Bedrock::Counted<BigEndianBuffer> Buffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

// Collects trace messages while alive.
class TraceCapture {
public:
    TraceCapture() {
        Bedrock::SetTraceSink([this](const char* message) { m_log += message; });
    }
    ~TraceCapture() { Bedrock::SetTraceSink(nullptr); }
    const std::string& Log() const { return m_log; }

private:
    std::string m_log;
};

// Assembles the text; the bytes, or "failed".
std::string AssembleHex(std::initializer_list<const char*> lines) {
    TTCompiler compiler;
    compiler.assembly = Text(lines);
    if (!compiler.Assemble()) return "failed";
    static const char kDigits[] = "0123456789ABCDEF";
    std::string hex;
    for (uint8_t byte : BufferBytes(*compiler.buffer)) {
        if (!hex.empty()) hex += ' ';
        hex += kDigits[byte >> 4];
        hex += kDigits[byte & 15];
    }
    return hex;
}

}  // namespace

TEST(TTCompiler, PushIsPrintedWithItsValuesAndComesBackFromTheirCount) {
    TTCompiler compiler;
    ASSERT_TRUE(compiler.Load(HexBuffer("B1 01 02 2F")));
    EXPECT_EQ(Lines(compiler), (std::vector<std::string>{"PUSHB[ ]\t/* 2 values pushed */", "1", "2",
                                                         "MDAP[1]\t/* MoveDirectAbsPt */"}));
    ASSERT_TRUE(compiler.Save());
    EXPECT_EQ(BufferBytes(*compiler.buffer), HexBytes("B1 01 02 2F"));

    // Words are signed; the N forms keep their count byte, 0 included.
    ASSERT_TRUE(compiler.Load(HexBuffer("B9 FF FF 01 2C  41 01 80 00  40 00  40 01 FF  B0 07 20")));
    EXPECT_EQ(Lines(compiler), (std::vector<std::string>{
                                   "PUSHW[ ]\t/* 2 values pushed */", "-1", "300", "NPUSHW[ ]\t/* 1 value pushed */",
                                   "-32768", "NPUSHB[ ]\t/* 0 values pushed */", "NPUSHB[ ]\t/* 1 value pushed */",
                                   "255", "PUSHB[ ]\t/* 1 value pushed */", "7", "DUP[ ]\t/* DuplicateTopStack */"}));
    ASSERT_TRUE(compiler.Save());
    EXPECT_EQ(BufferBytes(*compiler.buffer), HexBytes("B9 FF FF 01 2C  41 01 80 00  40 00  40 01 FF  B0 07 20"));
}

TEST(TTCompiler, ArgumentBitsArePrintedPaddedToTheirWidth) {
    TTCompiler compiler;
    ASSERT_TRUE(compiler.Load(HexBuffer("F6 C0 00 69 91 92")));
    EXPECT_EQ(Lines(compiler),
              (std::vector<std::string>{"MIRP[10110]\t/* MoveIndirectRelPt */", "MDRP[00000]\t/* MoveDirectRelPt */",
                                        "SVTCA[0]\t/* SetFPVectorToAxis */", "ROUND[01]\t/* Round */",
                                        "GETVARIATION[ ]\t/* GetVariation */", "INSTR146[ ]"}));
}

TEST(TTCompiler, EveryDefinedOpcodeComesBackAndUndefinedOnesPrintTheirNumber) {
    TTCompiler compiler;
    const std::set<int> undefined = {40,  123, 131, 132, 143, 144, 146, 147, 148, 149, 150, 151,
                                     152, 153, 154, 155, 156, 157, 158, 159, 160, 161, 162, 163,
                                     164, 165, 166, 167, 168, 169, 170, 171, 172, 173, 174, 175};
    const std::set<int> pushes = {0x40, 0x41, 0xB0, 0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6,
                                  0xB7, 0xB8, 0xB9, 0xBA, 0xBB, 0xBC, 0xBD, 0xBE, 0xBF};
    for (int byte = 0; byte < 256; ++byte) {
        if (pushes.count(byte)) continue;
        SCOPED_TRACE(byte);
        const std::vector<uint8_t> bytes = {static_cast<uint8_t>(byte)};
        ASSERT_TRUE(compiler.Load(Buffer(bytes)));
        ASSERT_EQ(compiler.assembly.size(), 1u);
        if (undefined.count(byte)) {
            EXPECT_EQ(compiler.assembly[0], Utf8String(("INSTR" + std::to_string(byte) + "[ ]").c_str()));
            continue;
        }
        ASSERT_TRUE(compiler.Save());
        EXPECT_EQ(BufferBytes(*compiler.buffer), bytes);
    }
}

TEST(TTCompiler, OpcodeTables) {
    TTCompiler compiler;
    EXPECT_EQ(compiler.GetOpcodes().size(), 119u);
    EXPECT_EQ(compiler.GetStreamOpcodes().size(), 4u);

    const auto lteq = compiler.GetOpcodeInfo(0x51);
    EXPECT_EQ(lteq.mnemonic, "LTEQ");
    EXPECT_EQ(lteq.name, "LessThenOrEqual");
    const auto mirp = compiler.GetOpcodeInfo(0xE0);
    EXPECT_EQ(mirp.argBits, 5);
    EXPECT_EQ(mirp.pops, 2);
    EXPECT_EQ(compiler.GetOpcodeInfo(0x3C).pops, 255);  // ALIGNRP: not fixed
    // Only the first opcode of a row finds it.
    const auto inside = compiler.GetOpcodeInfo(0xE1);
    EXPECT_TRUE(inside.mnemonic.IsEmpty());
    EXPECT_EQ(inside.opcode, 0);
    EXPECT_EQ(inside.argBits, 0);

    const auto pushw = compiler.GetStreamOpcodeInfo(0xB8);
    EXPECT_EQ(pushw.mnemonic, "PUSHW");
    EXPECT_EQ(pushw.name, "PushWords");
    EXPECT_EQ(pushw.wordValues, 1);
    EXPECT_EQ(pushw.argBits, 3);
    EXPECT_EQ(pushw.pushes, 255);
    EXPECT_TRUE(compiler.GetStreamOpcodeInfo(0x00).mnemonic.IsEmpty());
}

TEST(TTCompiler, DisassemblyFailsOnlyWhenAPushRunsPastTheEnd) {
    TTCompiler compiler;
    ASSERT_TRUE(compiler.Load(HexBuffer("2F")));
    for (const char* hex : {"B9 00 01 00", "B8 01", "40", "40 02 05", "41 01 00"}) {
        SCOPED_TRACE(hex);
        EXPECT_FALSE(compiler.Load(HexBuffer(hex)));
        EXPECT_EQ(Lines(compiler), (std::vector<std::string>{"MDAP[1]\t/* MoveDirectAbsPt */"}));
    }
    EXPECT_TRUE(compiler.Load(HexBuffer("")));
    EXPECT_TRUE(compiler.assembly.empty());
    EXPECT_TRUE(compiler.Load(nullptr));
    ASSERT_TRUE(compiler.Save());
    EXPECT_EQ(compiler.buffer->GetLength(), 0u);
}

// Deliberate: with merged pushes the values go to one "PUSH" line, and the
// assembler accepts PUSH but emits nothing for it.
TEST(TTCompiler, MergedPushIsAcceptedButItsValuesAreDropped) {
    TTCompiler compiler;
    ASSERT_TRUE(compiler.Disassemble(HexBuffer("B0 01 B8 FF FE 2F B0 05"), false));
    EXPECT_EQ(Lines(compiler),
              (std::vector<std::string>{"PUSH[ ]\t/* 2 values pushed */", "1", "-2", "MDAP[1]\t/* MoveDirectAbsPt */",
                                        "PUSH[ ]\t/* 1 value pushed */", "5"}));
    compiler.assembly.pop_back();
    compiler.assembly.pop_back();
    ASSERT_TRUE(compiler.Assemble());
    EXPECT_EQ(BufferBytes(*compiler.buffer), HexBytes("2F"));

    // More than 255 values in one run.
    std::vector<uint8_t> bytes;
    for (int i = 0; i < 3; ++i) {
        bytes.push_back(0x40);
        bytes.push_back(100);
        bytes.insert(bytes.end(), 100, 7);
    }
    ASSERT_TRUE(compiler.Disassemble(Buffer(bytes), false));
    ASSERT_EQ(compiler.assembly.size(), 301u);
    EXPECT_EQ(compiler.assembly[0], "PUSH[ ]\t/* 300 values pushed */");
}

// Deliberate: a mnemonic outside the instruction set reads as opcode 0
// with no argument bits.
TEST(TTCompiler, UnknownMnemonicAssemblesToByteZero) {
    TraceCapture trace;
    EXPECT_EQ(AssembleHex({"FOO[ ]", "MDAP[1]"}), "00 2F");
    EXPECT_EQ(AssembleHex({"FOO[1]"}), "failed");
    EXPECT_EQ(trace.Log(), "Incorrect number of argument bits (FOO[1])");
    // Nothing was added to the shared tables: an unknown mnemonic stays so.
    EXPECT_EQ(AssembleHex({"FOO[ ]"}), "00");
    EXPECT_EQ(TTCompiler().GetOpcodes().size(), 119u);
}

// Deliberate: INSTRn comes from Disassemble for an undefined opcode, but
// the "[ ]" behind it is an unexpected token to the assembler.
TEST(TTCompiler, UndefinedOpcodeDoesNotAssembleAgain) {
    TraceCapture trace;
    TTCompiler compiler;
    ASSERT_TRUE(compiler.Load(HexBuffer("2F 92")));
    EXPECT_FALSE(compiler.Save());
    EXPECT_EQ(trace.Log(), "Unexpected TokenType ()\nFailed to Assemble TT\n");
    EXPECT_FALSE(compiler.buffer);
    // Without the brackets the number is taken.
    EXPECT_EQ(AssembleHex({"INSTR146", "INSTR40\tMDAP[1]"}), "92 28 2F");
    EXPECT_EQ(AssembleHex({"INSTRx"}), "failed");
}

TEST(TTCompiler, AssemblerMessages) {
    {
        TraceCapture trace;
        EXPECT_EQ(AssembleHex({"MIRP[101]"}), "failed");
        EXPECT_EQ(trace.Log(), "Incorrect number of argument bits (MIRP[101])");
    }
    {
        TraceCapture trace;
        EXPECT_EQ(AssembleHex({"MIRP[10120]"}), "failed");
        EXPECT_EQ(trace.Log(), "Failed to parse argument bits (MIRP[10120])");
    }
    {
        TraceCapture trace;
        EXPECT_EQ(AssembleHex({"SVTCA[0]", "/* never closed"}), "failed");
        EXPECT_EQ(trace.Log(), "Unexpected TokenType (/* never closed )\n");
    }
    {
        TraceCapture trace;
        EXPECT_EQ(AssembleHex({"SVTCA[0] / 2"}), "failed");
        EXPECT_EQ(trace.Log(), "Unexpected TokenType (/)\n");
    }
    {
        TraceCapture trace;
        EXPECT_EQ(AssembleHex({"SVTCA[0]", "12"}), "failed");
        EXPECT_EQ(trace.Log(), "Unexpected TokenType (12)\n");
    }
    {
        // The argument list must follow the mnemonic at once; no message.
        TraceCapture trace;
        EXPECT_EQ(AssembleHex({"SVTCA [0]"}), "failed");
        EXPECT_EQ(trace.Log(), "");
    }
}

// Deliberate: push values are gathered up to the next mnemonic, so a push
// at the very end of a program has nothing to end it and fails.
TEST(TTCompiler, ProgramEndingInPushDataFailsToAssemble) {
    TraceCapture trace;
    TTCompiler compiler;
    ASSERT_TRUE(compiler.Load(HexBuffer("2F 40 02 05 06")));
    EXPECT_EQ(compiler.assembly.size(), 4u);
    EXPECT_FALSE(compiler.Save());
    EXPECT_EQ(trace.Log(), "Failed to Assemble TT\n");
    EXPECT_EQ(AssembleHex({"PUSHB[ ]", "1"}), "failed");
}

TEST(TTCompiler, AssemblerReadsFreelyLaidOutText) {
    // Comments across lines, values on one line, blank lines, spaces inside
    // the brackets.
    EXPECT_EQ(AssembleHex({"/* a comment", "over two lines */SVTCA[0]", "", "\tPUSHB[]  1 2 /* x */ 3",
                           "MIRP[ 10110 ]NPUSHW[ ] -2", "300 ENDF[ ]"}),
              "00 B2 01 02 03 F6 41 02 FF FE 01 2C 2D");
    // Values that do not parse are dropped; byte values are narrowed.
    EXPECT_EQ(AssembleHex({"PUSHB[ ] 1 - 2-3 256 4", "DUP[ ]"}), "B2 01 00 04 20");
    // PUSHB writes count - 1 into the opcode, whatever the count.
    EXPECT_EQ(AssembleHex({"PUSHB[ ]", "POP[ ]"}), "AF 21");
    EXPECT_EQ(AssembleHex({}), "");
}

// Deliberate: a character that starts no token ends the program, and what
// came before it is the result.
TEST(TTCompiler, StrayCharacterEndsTheProgram) { EXPECT_EQ(AssembleHex({"SVTCA[0]", "# SVTCA[1]", "SVTCA[1]"}), "00"); }

TEST(TTCompiler, CloneOwnsItsTextAndBytes) {
    auto compiler = Bedrock::MakeCounted<TTCompiler>();
    ASSERT_TRUE(compiler->Load(HexBuffer("B0 03 2F")));
    ASSERT_TRUE(compiler->Save());
    auto copy = compiler->Clone();
    ASSERT_TRUE(copy->buffer);
    EXPECT_NE(copy->buffer.Get(), compiler->buffer.Get());
    copy->assembly.push_back(Utf8String("SVTCA[1]\t/* SetFPVectorToAxis */"));
    ASSERT_TRUE(copy->Save());
    EXPECT_EQ(BufferBytes(*copy->buffer), HexBytes("B0 03 2F 01"));
    EXPECT_EQ(compiler->assembly.size(), 3u);
    EXPECT_EQ(BufferBytes(*compiler->buffer), HexBytes("B0 03 2F"));
}

TEST(Parser, ReadsLinesAsOneStream) {
    Parser parser(Text({"ab", "", "c"}));
    std::string seen;
    for (int c = parser.GetCh(); c != 0; c = parser.NextCh()) seen += static_cast<char>(c);
    // Every line ends in one space; past the last line the reader gives 0.
    EXPECT_EQ(seen, "ab  c ");
    EXPECT_EQ(parser.lineIndex, 2u);
    EXPECT_EQ(parser.position, 2);
    parser.SkipCh();
    EXPECT_EQ(parser.GetCh(), 0);
    // Back over the end, and over line starts.
    parser.UngetCh();
    EXPECT_EQ(parser.GetCh(), ' ');
    parser.UngetCh();
    parser.UngetCh();
    EXPECT_EQ(parser.GetCh(), ' ');
    EXPECT_EQ(parser.lineIndex, 1u);
    parser.UngetCh();
    EXPECT_EQ(parser.lineIndex, 0u);
    EXPECT_EQ(parser.GetCh(), ' ');
    EXPECT_EQ(parser.currentLine, "ab");

    Parser empty({});
    EXPECT_EQ(empty.GetCh(), ' ');
    EXPECT_EQ(empty.NextCh(), 0);
}

TEST(Parser, TokenTypesAndTexts) {
    Parser parser(Text({"MDAP[ 01 ]\t/* c */ -1-2 / x", "/"}));
    struct Step {
        int peek;
        int type;
        const char* text;
    };
    const Step steps[] = {
        {Parser::kOpcode, Parser::kOpcode, "MDAP"},      {Parser::kArgs, Parser::kArgs, "01"},
        {Parser::kWhiteSpace, Parser::kWhiteSpace, " "}, {Parser::kComment, Parser::kComment, "/* c */"},
        {Parser::kWhiteSpace, Parser::kWhiteSpace, " "}, {Parser::kNumber, Parser::kNumber, "-1-2"},
        {Parser::kWhiteSpace, Parser::kWhiteSpace, " "}};
    for (const Step& step : steps) {
        SCOPED_TRACE(step.text);
        const int position = parser.position;
        EXPECT_EQ(parser.GetNextToken(), step.peek);
        EXPECT_EQ(parser.position, position);  // peeking consumes nothing
        EXPECT_EQ(parser.ParseNextToken(), step.type);
        EXPECT_EQ(parser.token, step.text);
    }
    // A slash that opens no comment: 6 to the peek, 0 to the parse.
    const int position = parser.position;
    EXPECT_EQ(parser.GetNextToken(), Parser::kSlash);
    parser.position = position;
    EXPECT_EQ(parser.ParseNextToken(), Parser::kNothing);
    // White space runs over the line end; a slash at a line's end is no
    // comment either.
    EXPECT_EQ(parser.ParseNextToken(), Parser::kWhiteSpace);
    EXPECT_EQ(parser.ParseNextToken(), Parser::kOpcode);
    EXPECT_EQ(parser.token, "x");
    EXPECT_EQ(parser.ParseNextToken(), Parser::kWhiteSpace);
    EXPECT_EQ(parser.lineIndex, 1u);
    EXPECT_EQ(parser.GetNextToken(), Parser::kSlash);
    EXPECT_EQ(parser.ParseNextToken(), Parser::kWhiteSpace);
    EXPECT_EQ(parser.ParseNextToken(), Parser::kEnd);
    EXPECT_EQ(parser.GetNextToken(), Parser::kEnd);

    // Unclosed comments and argument lists give nothing usable.
    Parser comment(Text({"/* a"}));
    EXPECT_EQ(comment.ParseNextToken(), Parser::kNothing);
    EXPECT_EQ(comment.token, "/* a ");
    Parser args(Text({"[1"}));
    EXPECT_EQ(args.ParseNextToken(), Parser::kNothing);
    Parser empty(Text({"[ ]"}));
    EXPECT_EQ(empty.ParseNextToken(), Parser::kArgs);
    EXPECT_TRUE(empty.token.IsEmpty());
    Parser other(Text({"#"}));
    EXPECT_EQ(other.GetNextToken(), Parser::kEnd);
}

TEST(Parser, TokenTextIsNotSharedWithCopies) {
    Parser parser(Text({"ABC[1] DE[ ]"}));
    ASSERT_EQ(parser.ParseNextToken(), Parser::kOpcode);
    const Utf8String kept = parser.token;
    ASSERT_EQ(parser.ParseNextToken(), Parser::kArgs);
    ASSERT_EQ(parser.ParseNextToken(), Parser::kWhiteSpace);
    ASSERT_EQ(parser.ParseNextToken(), Parser::kOpcode);
    ASSERT_EQ(parser.ParseNextToken(), Parser::kArgs);
    EXPECT_EQ(kept, "ABC");
    EXPECT_EQ(parser.token, "");
}

namespace {

struct ProgramSet {
    std::vector<std::string> names;
    std::vector<std::vector<uint8_t>> programs;
};

// fpgm, prep and glyph programs of the shared test fonts and of Debian's
// hinted DejaVu fonts.
const ProgramSet& RealPrograms() {
    static const ProgramSet set = [] {
        ProgramSet result;
        std::vector<std::filesystem::path> files;
        std::error_code error;
        const std::filesystem::path shared = std::filesystem::path(TYPEFRAME_SHARED_DIR) / "testdata";
        if (std::filesystem::is_directory(shared, error)) {
            for (auto it = std::filesystem::recursive_directory_iterator(shared, error);
                 !error && it != std::filesystem::recursive_directory_iterator(); it.increment(error)) {
                if (it->is_regular_file(error)) files.push_back(it->path());
            }
        }
        const std::filesystem::path dejavu = "/usr/share/fonts/truetype/dejavu";
        if (std::filesystem::is_directory(dejavu, error)) {
            for (const auto& entry : std::filesystem::directory_iterator(dejavu, error)) {
                if (entry.path().extension() == ".ttf") files.push_back(entry.path());
            }
        }
        std::sort(files.begin(), files.end());
        for (const auto& file : files) {
            const auto fonts = TypeframeTest::ReadFontPrograms(file.string());
            for (size_t i = 0; i < fonts.size(); ++i) {
                const std::string name = file.filename().string() + "#" + std::to_string(i);
                if (fonts[i].hasFpgm) {
                    result.names.push_back(name + " fpgm");
                    result.programs.push_back(fonts[i].fpgm);
                }
                if (fonts[i].hasPrep) {
                    result.names.push_back(name + " prep");
                    result.programs.push_back(fonts[i].prep);
                }
                for (size_t g = 0; g < fonts[i].glyphs.size(); ++g) {
                    result.names.push_back(name + " glyph program " + std::to_string(g));
                    result.programs.push_back(fonts[i].glyphs[g]);
                }
            }
        }
        return result;
    }();
    return set;
}

// Load and Save; the first program whose bytes do not come back, or "".
std::string FirstMismatch(const ProgramSet& set) {
    TTCompiler compiler;
    for (size_t i = 0; i < set.programs.size(); ++i) {
        if (!compiler.Load(Buffer(set.programs[i])) || !compiler.Save() ||
            BufferBytes(*compiler.buffer) != set.programs[i]) {
            return set.names[i];
        }
    }
    return "";
}

}  // namespace

TEST(TTCompiler, RealProgramsComeBackByteForByte) {
    const ProgramSet& set = RealPrograms();
    if (set.programs.empty()) GTEST_SKIP() << "no hinted TrueType fonts found";
    EXPECT_EQ(FirstMismatch(set), "");
    RecordProperty("programs", static_cast<int>(set.programs.size()));
}

// The shared tables are read by compilers on many threads at once; run
// under a thread sanitizer this is what would report a race.
TEST(TTCompiler, CompilersOnSeveralThreads) {
    const ProgramSet& real = RealPrograms();
    ProgramSet set;
    const size_t count = std::min<size_t>(real.programs.size(), 4000);
    set.names.assign(real.names.begin(), real.names.begin() + count);
    set.programs.assign(real.programs.begin(), real.programs.begin() + count);
    if (set.programs.empty()) {
        set.names = {"synthetic"};
        set.programs = {HexBytes("B1 01 02 2F F6 B8 FF FF 20")};
    }
    std::vector<std::string> results(4);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < results.size(); ++t) {
        threads.emplace_back([&set, &results, t] {
            // Unknown mnemonics in between, which must not touch the tables.
            for (int i = 0; i < 50; ++i) AssembleHex({"FOO[ ]", "BAR[ ]"});
            results[t] = FirstMismatch(set);
        });
    }
    for (auto& thread : threads) thread.join();
    for (const auto& result : results) EXPECT_EQ(result, "");
}
