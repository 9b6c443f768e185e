#pragma once
// A small tokenizer for the library's SQL (SQL Server's dialect). It knows just enough to keep the
// dialect translation away from literals, quoted names and comments; it does not parse statements.
// Internal to the database layer. Pure functions: safe from any thread.
#include <cstddef>
#include <string>
#include <vector>

namespace dbl {

struct Token {
    enum Kind {
        Space,        // blanks, tabs, line ends
        Comment,      // -- to the end of the line, or /* ... */ (nested)
        Word,         // keywords and plain names: letters, digits, _ @ # $ and bytes >= 0x80
        Number,       // 12, 1.5, .5, 1e3, 0x1F
        String,       // '...' with '' inside
        NString,      // N'...'
        QuotedName,   // "..." with "" inside
        BracketName,  // [...] with ]] inside
        LParen,
        RParen,
        Semicolon,
        Comma,
        Other  // any other single character (operators, '?')
    };
    Kind kind;
    size_t begin;  // byte offsets into the text
    size_t end;
};

// Splits `sql` into tokens covering every byte. False, with `err` set, for an unterminated literal,
// quoted name, bracket or block comment.
bool tokenize(const std::string& sql, std::vector<Token>& out, std::string& err);

// The value of a String or NString token (quotes removed, '' made '); the name inside a QuotedName
// or BracketName token (doubled closing characters made single).
std::string tokenValue(const std::string& sql, const Token& t);

// True when the token is a Word equal to `word` ignoring ASCII case.
bool isWord(const std::string& sql, const Token& t, const char* word);

// True for tokens that carry meaning (not Space or Comment).
inline bool significant(const Token& t) {
    return t.kind != Token::Space && t.kind != Token::Comment;
}

}  // namespace dbl
