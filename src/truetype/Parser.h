#pragma once

// Tokeniser for TrueType assembly text. The reader sees the lines as one
// stream in which every line ends in a single space (32); past the end of the
// last line it reads 0. A token is a mnemonic ("MDAP"), an argument list
// ("[1]", text "1"), a number, a comment ("/* ... */") or a run of white
// space.

#include <cstdint>
#include <string>
#include <vector>

#include "base/String.h"

namespace Typeframe {

class Parser {
public:
    enum TokenType : int {
        kNothing = 0,  // nothing usable (an unclosed comment or argument list)
        kWhiteSpace = 1,
        kOpcode = 2,
        kArgs = 3,
        kNumber = 4,
        kComment = 5,
        kSlash = 6,  // a slash that opens no comment; only GetNextToken gives this
        kEnd = 7     // end of the text, or a character that starts no token
    };

    explicit Parser(std::vector<Utf8String> textLines);

    // The character at the position: 32 at a line's end, 0 past the text.
    int GetCh() const {
        if (position < m_length) return static_cast<unsigned char>(m_text[position]);
        return position == m_length ? ' ' : 0;
    }
    // Moves on by one character; from a line's end into the next line.
    void SkipCh();
    // SkipCh, then GetCh.
    int NextCh();
    // Moves back by one character; from a line's start to the end of the
    // line before.
    void UngetCh();

    // The gatherers start at the token's first character, consume the token
    // and leave its text in `token`.
    int ParseComment();
    int ParseArgs();
    int ParseNumber();
    int ParseOpcode();

    // The type of the token at the position. Consumes nothing, except that a
    // slash that opens no comment stays consumed.
    int GetNextToken();
    // Consumes one token and returns its type, its text in `token`. White
    // space across line ends is one token, with the text " ".
    int ParseNextToken();
    // Consumes the white space, or the comment closed on its own line, at the
    // position without keeping its text, for a reader that only passes over
    // them; true if it did. Anything else is left to ParseNextToken.
    bool SkipIgnorable();

    std::vector<Utf8String> lines;
    Utf8String currentLine;
    Utf8String token;
    uint32_t lineIndex = 0;
    int32_t position = 0;

private:
    void EnterLine(uint32_t index);
    // Sets `token` from the gathered text, keeping string bodies for reuse:
    // tokens come and go for every instruction.
    void SetToken(const char* text, size_t length);

    const char* m_text = "";
    int32_t m_length = 0;
    std::string m_scratch;
    Utf8String m_spare;
};

}  // namespace Typeframe
