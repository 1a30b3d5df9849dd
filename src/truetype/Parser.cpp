#include "truetype/Parser.h"

#include <cstring>
#include <utility>

namespace Typeframe {

namespace {

bool IsBlank(int c) { return c == ' ' || c == '\t' || c == '\n'; }
bool IsDigit(int c) { return c >= '0' && c <= '9'; }
bool IsLetter(int c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
// The white space that argument text is trimmed of.
bool IsTrimmed(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Behind the first "*/" in [from, end), or null when there is none or a 0
// byte (the end of the text to the reader) comes first.
const char* FindCommentEnd(const char* from, const char* end) {
    for (const char* p = from; p < end;) {
        const auto* star = static_cast<const char*>(std::memchr(p, '*', static_cast<size_t>(end - p)));
        if (!star || star + 1 >= end) return nullptr;
        if (star[1] == '/') {
            return std::memchr(from, 0, static_cast<size_t>(star - from)) ? nullptr : star + 2;
        }
        p = star + 1;
    }
    return nullptr;
}

}  // namespace

Parser::Parser(std::vector<Utf8String> textLines) : lines(std::move(textLines)) {
    m_scratch.reserve(64);
    EnterLine(0);
}

void Parser::EnterLine(uint32_t index) {
    lineIndex = index;
    position = 0;
    currentLine = index < lines.size() ? lines[index] : Utf8String();
    m_text = currentLine.GetBuffer();
    m_length = currentLine.GetLength();
}

void Parser::SkipCh() {
    if (position < m_length) {
        ++position;
    } else if (position == m_length) {
        // No lines at all reads as one empty last line.
        if (size_t(lineIndex) + 1 < lines.size()) {
            EnterLine(lineIndex + 1);
        } else {
            position = m_length + 1;
        }
    }
}

int Parser::NextCh() {
    SkipCh();
    return GetCh();
}

void Parser::UngetCh() {
    if (position > 0) {
        --position;
    } else if (lineIndex > 0) {
        EnterLine(lineIndex - 1);
        position = m_length;
    }
}

void Parser::SetToken(const char* text, size_t length) {
    if (length == 0) {
        // Park the body instead of freeing it: "[ ]" comes on most lines.
        if (!token.IsEmpty()) m_spare = std::move(token);
        return;
    }
    if (token.IsEmpty() && !m_spare.IsEmpty()) token = std::move(m_spare);
    // SetLength keeps a body of this string's own when it has room.
    token.SetLength(static_cast<int>(length));
    std::memcpy(token.GetWritableBuffer(), text, length);
}

// The gatherers first try to find the whole token inside the current line,
// which is where tokens almost always lie, and take it from there in one
// piece; the character-by-character reading is the way across line ends.

int Parser::ParseComment() {
    if (position + 2 <= m_length && !std::memchr(m_text + position, 0, 2)) {
        const char* begin = m_text + position;
        if (const char* close = FindCommentEnd(begin + 2, m_text + m_length)) {
            SetToken(begin, static_cast<size_t>(close - begin));
            position = static_cast<int32_t>(close - m_text);
            return kComment;
        }
    }
    m_scratch.clear();
    // The opening "/*" is taken whole, so that "/*/" does not close.
    for (int i = 0; i < 2; ++i) {
        const int c = GetCh();
        if (c == 0) {
            SetToken(m_scratch.data(), m_scratch.size());
            return kNothing;
        }
        m_scratch.push_back(static_cast<char>(c));
        SkipCh();
    }
    int previous = 0;
    for (;;) {
        const int c = GetCh();
        if (c == 0) {
            SetToken(m_scratch.data(), m_scratch.size());
            return kNothing;
        }
        m_scratch.push_back(static_cast<char>(c));
        SkipCh();
        if (previous == '*' && c == '/') break;
        previous = c;
    }
    SetToken(m_scratch.data(), m_scratch.size());
    return kComment;
}

int Parser::ParseArgs() {
    const char* text = nullptr;
    size_t length = 0;
    int32_t close = -1;
    for (int32_t i = position; i < m_length && m_text[i] != 0; ++i) {
        if (m_text[i] == ']') {
            close = i;
            break;
        }
    }
    if (close >= 0) {
        text = m_text + position;
        length = static_cast<size_t>(close - position) + 1;
        position = close + 1;
    } else {
        m_scratch.clear();
        for (;;) {
            const int c = GetCh();
            if (c == 0) {
                SetToken(m_scratch.data(), m_scratch.size());
                return kNothing;
            }
            m_scratch.push_back(static_cast<char>(c));
            SkipCh();
            if (c == ']') break;
        }
        text = m_scratch.data();
        length = m_scratch.size();
    }
    // Without the brackets and the white space inside them.
    size_t begin = text[0] == '[' ? 1 : 0;
    size_t end = length - 1;
    while (begin < end && IsTrimmed(text[begin])) ++begin;
    while (end > begin && IsTrimmed(text[end - 1])) --end;
    SetToken(text + begin, end - begin);
    return kArgs;
}

int Parser::ParseNumber() {
    // A number never crosses a line end, which reads as a space.
    int32_t end = position;
    while (end < m_length && (m_text[end] == '-' || IsDigit(m_text[end]))) ++end;
    if (end == position) {
        SetToken(nullptr, 0);
        return kNumber;
    }
    SetToken(m_text + position, static_cast<size_t>(end - position));
    position = end;
    return kNumber;
}

int Parser::ParseOpcode() {
    // Nor does a mnemonic; a 0 byte inside the line ends the text.
    if (position > m_length) {
        SetToken(nullptr, 0);
        return kNothing;
    }
    int32_t end = position;
    while (end < m_length) {
        const char c = m_text[end];
        if (c == 0 || c == '[' || IsBlank(c)) break;
        ++end;
    }
    SetToken(m_text + position, static_cast<size_t>(end - position));
    position = end;
    return end < m_length && m_text[end] == 0 ? kNothing : kOpcode;
}

int Parser::GetNextToken() {
    const int c = GetCh();
    if (IsBlank(c)) return kWhiteSpace;
    if (c == '[') return kArgs;
    if (c == '/') {
        if (NextCh() == '*') {
            UngetCh();
            return kComment;
        }
        return kSlash;
    }
    if (c == '-' || IsDigit(c)) return kNumber;
    if (IsLetter(c)) return kOpcode;
    return kEnd;
}

int Parser::ParseNextToken() {
    SetToken(nullptr, 0);
    const int c = GetCh();
    if (IsBlank(c)) {
        while (IsBlank(GetCh())) SkipCh();
        SetToken(" ", 1);
        return kWhiteSpace;
    }
    if (c == '[') return ParseArgs();
    if (c == '/') {
        if (NextCh() == '*') {
            UngetCh();
            return ParseComment();
        }
        SetToken("/", 1);
        return kNothing;
    }
    if (c == '-' || IsDigit(c)) return ParseNumber();
    if (IsLetter(c)) return ParseOpcode();
    return kEnd;
}

bool Parser::SkipIgnorable() {
    const int c = GetCh();
    if (IsBlank(c)) {
        while (IsBlank(GetCh())) SkipCh();
        return true;
    }
    if (c != '/' || position + 1 >= m_length || m_text[position + 1] != '*') return false;
    const char* close = FindCommentEnd(m_text + position + 2, m_text + m_length);
    if (!close) return false;
    position = static_cast<int32_t>(close - m_text);
    return true;
}

}  // namespace Typeframe
