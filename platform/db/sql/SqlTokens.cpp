#include "platform/db/SqlTokens.h"

#include <cctype>

namespace dbl {

namespace {

bool wordChar(unsigned char c) {
    return std::isalnum(c) || c == '_' || c == '@' || c == '#' || c == '$' || c >= 0x80;
}

bool digit(char c) {
    return c >= '0' && c <= '9';
}

// End of a quoted run that starts at `pos` (the opening character) and closes with `close`, where a
// doubled `close` stands for one; npos when it never closes.
size_t quotedEnd(const std::string& s, size_t pos, char close) {
    for (size_t i = pos + 1; i < s.size(); ++i) {
        if (s[i] != close) continue;
        if (i + 1 < s.size() && s[i + 1] == close) {
            ++i;
            continue;
        }
        return i + 1;
    }
    return std::string::npos;
}

size_t numberEnd(const std::string& s, size_t i) {
    if (s[i] == '0' && i + 1 < s.size() && (s[i + 1] == 'x' || s[i + 1] == 'X')) {
        i += 2;
        while (i < s.size() && std::isxdigit(static_cast<unsigned char>(s[i]))) ++i;
        return i;
    }
    while (i < s.size() && digit(s[i])) ++i;
    if (i < s.size() && s[i] == '.') {
        ++i;
        while (i < s.size() && digit(s[i])) ++i;
    }
    if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
        size_t j = i + 1;
        if (j < s.size() && (s[j] == '+' || s[j] == '-')) ++j;
        if (j < s.size() && digit(s[j])) {
            i = j;
            while (i < s.size() && digit(s[i])) ++i;
        }
    }
    return i;
}

// End of a block comment starting at `pos` ("/*"); comments nest as they do on SQL Server.
size_t commentEnd(const std::string& s, size_t pos) {
    int depth = 0;
    for (size_t i = pos; i + 1 < s.size(); ++i) {
        if (s[i] == '/' && s[i + 1] == '*') {
            ++depth;
            ++i;
        } else if (s[i] == '*' && s[i + 1] == '/') {
            ++i;
            if (--depth == 0) return i + 1;
        }
    }
    return std::string::npos;
}

}  // namespace

bool tokenize(const std::string& s, std::vector<Token>& out, std::string& err) {
    out.clear();
    size_t i = 0;
    auto fail = [&](const char* what) {
        err = std::string("unterminated ") + what + " at offset " + std::to_string(i);
        return false;
    };
    while (i < s.size()) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        Token t{Token::Other, i, i + 1};
        if (std::isspace(c)) {
            t.kind = Token::Space;
            while (t.end < s.size() && std::isspace(static_cast<unsigned char>(s[t.end]))) ++t.end;
        } else if (c == '-' && i + 1 < s.size() && s[i + 1] == '-') {
            t.kind = Token::Comment;
            while (t.end < s.size() && s[t.end] != '\n') ++t.end;
        } else if (c == '/' && i + 1 < s.size() && s[i + 1] == '*') {
            t.kind = Token::Comment;
            t.end = commentEnd(s, i);
            if (t.end == std::string::npos) return fail("comment");
        } else if (c == '\'') {
            t.kind = Token::String;
            t.end = quotedEnd(s, i, '\'');
            if (t.end == std::string::npos) return fail("string literal");
        } else if ((c == 'N' || c == 'n') && i + 1 < s.size() && s[i + 1] == '\'') {
            t.kind = Token::NString;
            t.end = quotedEnd(s, i + 1, '\'');
            if (t.end == std::string::npos) return fail("string literal");
        } else if (c == '"') {
            t.kind = Token::QuotedName;
            t.end = quotedEnd(s, i, '"');
            if (t.end == std::string::npos) return fail("quoted name");
        } else if (c == '[') {
            t.kind = Token::BracketName;
            t.end = quotedEnd(s, i, ']');
            if (t.end == std::string::npos) return fail("bracketed name");
        } else if (digit(static_cast<char>(c)) || (c == '.' && i + 1 < s.size() && digit(s[i + 1]))) {
            t.kind = Token::Number;
            t.end = numberEnd(s, i);
        } else if (wordChar(c)) {
            t.kind = Token::Word;
            while (t.end < s.size() && wordChar(static_cast<unsigned char>(s[t.end]))) ++t.end;
        } else if (c == '(') {
            t.kind = Token::LParen;
        } else if (c == ')') {
            t.kind = Token::RParen;
        } else if (c == ';') {
            t.kind = Token::Semicolon;
        } else if (c == ',') {
            t.kind = Token::Comma;
        }
        out.push_back(t);
        i = t.end;
    }
    return true;
}

std::string tokenValue(const std::string& s, const Token& t) {
    size_t open = t.begin;
    if (t.kind == Token::NString) ++open;
    char close = s[open] == '[' ? ']' : s[open];
    std::string out;
    out.reserve(t.end - open);
    for (size_t i = open + 1; i + 1 < t.end; ++i) {
        out += s[i];
        if (s[i] == close) ++i;  // the second of a doubled closing character
    }
    return out;
}

bool isWord(const std::string& s, const Token& t, const char* word) {
    if (t.kind != Token::Word) return false;
    size_t n = t.end - t.begin;
    for (size_t i = 0; i < n; ++i) {
        if (!word[i]) return false;
        if (std::toupper(static_cast<unsigned char>(s[t.begin + i])) !=
            std::toupper(static_cast<unsigned char>(word[i])))
            return false;
    }
    return word[n] == '\0';
}

}  // namespace dbl
