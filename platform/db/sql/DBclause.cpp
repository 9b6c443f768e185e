// Clauses as format and arguments: the once-per-format analysis that finds the template, and the
// per-call capture of the values.
#include "platform/db/DBclause.h"

#include <climits>
#include <cstring>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "platform/db/DBformat.h"
#include "platform/db/Dialect.h"

namespace dbl {

struct FormatShape {
    struct Slot {
        char kind;   // 'd', 'u' or 's'
        int length;  // 0 none, 1 l, 2 ll (numbers)
    };
    std::string format;
    bool templated = false;
    std::vector<Slot> slots;
    std::vector<std::string> pieces;  // the text around the slots: slots.size() + 1 of them
    std::string templ;
};

namespace {

// Splits `format` into pieces and slots; false when a conversion is not one a template can take.
bool parse(const char* format, FormatShape& shape) {
    shape.pieces.emplace_back();
    for (const char* p = format; *p; ++p) {
        if (*p != '%') {
            shape.pieces.back() += *p;
            continue;
        }
        if (p[1] == '%') {
            shape.pieces.back() += '%';
            ++p;
            continue;
        }
        int length = 0;
        ++p;
        if (p[0] == 'l' && p[1] == 'l') {
            length = 2;
            p += 2;
        } else if (p[0] == 'l') {
            length = 1;
            ++p;
        }
        if (*p == 'd' || *p == 'i')
            shape.slots.push_back({'d', length});
        else if (*p == 'u')
            shape.slots.push_back({'u', length});
        else if (*p == 's' && length == 0)
            shape.slots.push_back({'s', 0});
        else
            return false;  // flags, width, precision, other lengths and conversions: text only
        shape.pieces.emplace_back();
    }
    return true;
}

// Decides whether every slot is a literal that the translation makes a parameter of, and builds the
// template. The probe puts "0" for a number and x for a text, then asks the translation which literals
// it would bind.
void analyse(FormatShape& shape) {
    if (!parse(shape.format.c_str(), shape)) return;
    std::string probe;
    std::vector<Source> slotRanges;
    for (size_t i = 0; i < shape.slots.size(); ++i) {
        if (shape.pieces[i].find('?') != std::string::npos) return;
        probe += shape.pieces[i];
        const size_t begin = probe.size();
        probe += shape.slots[i].kind == 's' ? "x" : "0";
        slotRanges.push_back({begin, probe.size()});
    }
    if (shape.pieces.back().find('?') != std::string::npos) return;
    probe += shape.pieces.back();

    std::string translated, err;
    std::vector<Param> params;
    std::vector<Source> sources;
    if (!translate(probe, Dialect::SqlServer, true, translated, params, sources, err)) return;
    std::string templ;
    size_t done = 0;
    for (size_t i = 0; i < shape.slots.size(); ++i) {
        const Source& slot = slotRanges[i];
        const bool text = shape.slots[i].kind == 's';
        const Source* literal = nullptr;
        for (const Source& s : sources) {
            const bool whole =
                text ? s.end == slot.end + 1 && (s.begin + 1 == slot.begin || s.begin + 2 == slot.begin)
                     : s.begin == slot.begin && s.end == slot.end;
            if (whole) literal = &s;
        }
        if (!literal) return;
        templ.append(probe, done, literal->begin - done);
        templ += '?';
        done = literal->end;
    }
    templ.append(probe, done, std::string::npos);
    shape.templ = std::move(templ);
    shape.templated = true;
}

// Formats seen by this process, analysed once. Never freed: clauses keep pointers to them.
constexpr size_t kMaxShapes = 4096;

const FormatShape* shapeOf(const char* format) {
    // The thread's own index avoids the lock; the text comparison guards against a format buffer that
    // is reused with other contents.
    thread_local std::unordered_map<const char*, const FormatShape*> seen;
    auto it = seen.find(format);
    if (it != seen.end() && it->second->format == format) return it->second;

    static std::mutex mu;
    static auto* shapes = new std::unordered_map<std::string, std::unique_ptr<FormatShape>>;
    const FormatShape* shape = nullptr;
    {
        std::lock_guard<std::mutex> lock(mu);
        auto found = shapes->find(format);
        if (found != shapes->end()) {
            shape = found->second.get();
        } else if (shapes->size() < kMaxShapes) {
            auto fresh = std::make_unique<FormatShape>();
            fresh->format = format;
            analyse(*fresh);
            shape = fresh.get();
            shapes->emplace(fresh->format, std::move(fresh));
        }
    }
    if (shape && seen.size() < kMaxShapes) seen[format] = shape;
    return shape;
}

void appendEscaped(std::string& out, const std::string& text) {
    for (char c : text) {
        out += c;
        if (c == '\'') out += '\'';
    }
}

}  // namespace

void Clause::set(const char* format, va_list args) {
    m_shape = nullptr;
    m_text.clear();
    m_textReady = true;
    const FormatShape* shape = format ? shapeOf(format) : nullptr;
    if (!shape || !shape->templated) {
        m_values.clear();
        if (format) m_text = DBvformat(format, args);
        return;
    }
    // Resized, not cleared: the values' texts keep their room from the last call.
    va_list ap;
    va_copy(ap, args);
    bool bindable = true;
    m_values.resize(shape->slots.size());
    for (size_t i = 0; i < shape->slots.size(); ++i) {
        const FormatShape::Slot& slot = shape->slots[i];
        Value& v = m_values[i];
        v.kind = slot.kind;
        if (slot.kind == 's') {
            const char* text = va_arg(ap, const char*);
            v.chars = text ? text : "(null)";
        } else if (slot.kind == 'd') {
            v.number = slot.length == 2   ? va_arg(ap, long long)
                       : slot.length == 1 ? va_arg(ap, long)
                                          : va_arg(ap, int);
        } else {
            v.u = slot.length == 2   ? va_arg(ap, unsigned long long)
                  : slot.length == 1 ? va_arg(ap, unsigned long)
                                     : va_arg(ap, unsigned int);
            // Beyond the signed range the translation leaves the number in the text.
            if (v.u > static_cast<unsigned long long>(LLONG_MAX)) bindable = false;
        }
    }
    va_end(ap);
    m_shape = shape;
    m_textReady = false;
    if (!bindable) {
        render();
        m_shape = nullptr;
    }
}

void Clause::setText(const std::string& text) {
    m_values.clear();
    m_shape = nullptr;
    m_text = text;
    m_textReady = true;
}

void Clause::render() const {
    m_text.clear();
    for (size_t i = 0; i < m_values.size(); ++i) {
        m_text += m_shape->pieces[i];
        const Value& v = m_values[i];
        if (v.kind == 's')
            appendEscaped(m_text, v.chars);
        else if (v.kind == 'd')
            m_text += std::to_string(v.number);
        else
            m_text += std::to_string(v.u);
    }
    m_text += m_shape->pieces.back();
    m_textReady = true;
}

const std::string& Clause::text() const {
    if (!m_textReady) render();
    return m_text;
}

bool Clause::empty() const {
    return m_shape ? m_shape->templ.empty() : text().empty();
}

const std::string& Clause::templateText() const {
    static const std::string none;
    return m_shape ? m_shape->templ : none;
}

void Clause::params(std::vector<Param>& out) const {
    for (const Value& v : m_values) {
        Param p;
        if (v.kind == 's') {
            p.type = Param::kText;
            p.s = v.chars;
        } else {
            p.type = Param::kInt;
            p.i = v.kind == 'd' ? v.number : static_cast<long long>(v.u);
        }
        out.push_back(std::move(p));
    }
}

int Clause::bind(Statement& st, int first) const {
    int index = first;
    for (const Value& v : m_values) {
        if (v.kind == 's')
            st.bindText(index++, v.chars);
        else
            st.bindInt64(index++, v.kind == 'd' ? v.number : static_cast<long long>(v.u));
    }
    return index;
}

}  // namespace dbl
