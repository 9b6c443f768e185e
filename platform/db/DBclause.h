#pragma once
// A clause of a statement given as a printf format and its arguments (a table's where-clause).
//
// Its text is what DBformat makes of them (quotes doubled inside %s texts), made only when asked for.
// When every conversion of the format stands alone as an SQL literal -- %d, %i or %u (optionally l or
// ll) without flags, width or precision, where the translation would make a parameter of the number
// (not a TOP count, not in ORDER BY); or a plain %s that is the whole of a '...' or N'...' literal --
// the clause also has a template: the format with a '?' marker in place of each such literal, and the
// values to bind to the markers. A statement built on the template is the same text on every call,
// so a connection can keep it prepared, while the values travel as parameters exactly as the
// translation of the full text would have bound them.
//
// Internal to the database layer. A Clause belongs to one thread at a time. The analysis of each
// format is made once per process and shared (read-only) by every thread.
#include <cstdarg>
#include <string>
#include <vector>

#include "platform/db/Backend.h"

namespace dbl {

// The analysis of one format; lives for the process, so its address identifies the template text.
struct FormatShape;

class Clause {
  public:
    // Reads the arguments as `format` says. A format (or values) without a template is made into
    // text at once. A null format is the empty clause.
    void set(const char* format, va_list args);
    // A ready text; it has a template only when it is empty.
    void setText(const std::string& text);
    void reserve(size_t room) { m_text.reserve(room); }

    // The text, as DBformat makes it from the format and the arguments.
    const std::string& text() const;
    bool empty() const;

    // True when the clause can be sent as templateText() with params().
    bool templated() const { return m_shape != nullptr || (m_textReady && m_text.empty()); }
    // The clause with '?' markers ("" for the empty clause). Requires templated().
    const std::string& templateText() const;
    // The identity of templateText() for the life of the process (null for the empty clause).
    const FormatShape* shape() const { return m_shape; }
    // Appends the values of the markers, in order. Requires templated().
    void params(std::vector<Param>& out) const;

  private:
    struct Value {
        char kind = 'd';           // 'd' signed number, 'u' unsigned number, 's' text
        long long number = 0;      // 'd'
        unsigned long long u = 0;  // 'u'
        std::string chars;         // 's': the text as given ("(null)" for a null pointer)
    };
    void render() const;

    const FormatShape* m_shape = nullptr;
    std::vector<Value> m_values;
    mutable std::string m_text;
    mutable bool m_textReady = true;
};

}  // namespace dbl
