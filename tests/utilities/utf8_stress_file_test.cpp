#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "utilities/UtfConverter.h"

// Runs the public UTF-8 decoder stress test (read from the shared test data, never copied here) through the
// strict UTF-8 -> UTF-16 converter. Samples to refuse, by the file's numbering: 3 (malformed), 4 (overlong),
// 5.1 and 5.2 (surrogates), and the boundary samples of 2 whose named code point lies above U+10FFFF; the
// rest, 5.3's noncharacters included, are accepted. Our copy went through a lenient decoder: every sample to
// be refused already reads as U+FFFD in it. So each sample is rebuilt from what its line says (hex bytes, a
// byte range, a code point and a length) and put back into its line; where a stored sample survived intact,
// the rebuilt one must equal it.

namespace {

struct Entry {
    std::string id, description;       // "2.1.5", the heading text up to the opening quote
    std::string prefix, stored, tail;  // the line up to the opening quote, the stored sample, the rest
    std::vector<unsigned> named;       // code points the description names
    std::string sample;                // the rebuilt sample
    size_t firstLine = 0, lastLine = 0;
};

// Any code point in 1 to 6 bytes, the way the file lays them out (overlong and out-of-range included).
std::string encodeIn(unsigned cp, int n) {
    if (n == 1) return std::string(1, static_cast<char>(cp));
    std::string s(static_cast<size_t>(n), '\0');
    for (int i = n - 1; i > 0; --i, cp >>= 6) s[i] = static_cast<char>(0x80 | (cp & 0x3F));
    s[0] = static_cast<char>(((0xFF << (8 - n)) & 0xFF) | cp);
    return s;
}

std::string withoutSpaces(std::string s) {
    s.erase(std::remove(s.begin(), s.end(), ' '), s.end());
    return s;
}

bool onlyReplacements(const std::string& s) {
    const std::string bare = withoutSpaces(s);
    if (bare.empty() || bare.size() % 3 != 0) return false;
    for (size_t i = 0; i < bare.size(); i += 3)
        if (bare.compare(i, 3, "\xEF\xBF\xBD") != 0) return false;
    return true;
}

// The number written right before position `end`, or -1.
int numberBefore(const std::string& d, size_t end) {
    size_t begin = end;
    while (begin > 0 && std::isdigit(static_cast<unsigned char>(d[begin - 1]))) --begin;
    return begin == end ? -1 : std::stoi(d.substr(begin, end - begin));
}

int hexByte(const std::string& d, size_t pos) {
    return std::stoi(d.substr(pos, 2), nullptr, 16);
}

// The code points a description names as U-XXXXXXXX or U+XXXX.
std::vector<unsigned> namedCodePoints(const std::string& d) {
    std::vector<unsigned> cps;
    for (size_t i = 0; i + 2 < d.size(); ++i) {
        if (d[i] != 'U' || (d[i + 1] != '-' && d[i + 1] != '+')) continue;
        size_t end = i + 2;
        while (end < d.size() && std::isxdigit(static_cast<unsigned char>(d[end]))) ++end;
        if (end - (i + 2) >= 4 && end - (i + 2) <= 8)
            cps.push_back(static_cast<unsigned>(std::stoul(d.substr(i + 2, end - i - 2), nullptr, 16)));
    }
    return cps;
}

// The sample the description speaks of; empty when it gives no rule (the stored bytes are then the sample).
std::string rebuild(const Entry& e, const std::vector<Entry>& before) {
    const std::string& d = e.description;
    std::istringstream words(d);
    std::vector<std::string> t{std::istream_iterator<std::string>(words),
                               std::istream_iterator<std::string>()};
    if (!t.empty() && t.back() == "=") {  // "... = ed a0 80 =": the bytes in hex
        std::string bytes;
        for (size_t i = t.size() - 1; i-- > 0 && t[i].size() == 2 &&
                                      std::isxdigit(static_cast<unsigned char>(t[i][0])) &&
                                      std::isxdigit(static_cast<unsigned char>(t[i][1]));)
            bytes.insert(bytes.begin(), static_cast<char>(std::stoi(t[i], nullptr, 16)));
        if (!bytes.empty()) return bytes;
    }
    std::string bytes;
    size_t pos = d.find("(0x");
    if (pos != std::string::npos && d.compare(pos + 5, 3, "-0x") == 0) {  // "(0xc0-0xdf)": a byte range
        const bool spaced = d.find("followed by a space") != std::string::npos;
        for (int b = hexByte(d, pos + 3); b <= hexByte(d, pos + 8); ++b)
            bytes += spaced ? std::string{char(b), ' '} : std::string(1, char(b));
        return bytes;
    }
    if ((pos = d.find("byte 0x")) != std::string::npos)
        return std::string(1, static_cast<char>(hexByte(d, pos + 7)));
    if ((pos = d.find(" continuation bytes")) != std::string::npos) {
        // alternating the first (0x80) and last (0xbf) continuation bytes
        for (int i = 0; i < numberBefore(d, pos); ++i) bytes += static_cast<char>(i % 2 ? 0xBF : 0x80);
        return bytes;
    }
    if ((pos = d.find("-byte sequence with last byte missing")) != std::string::npos) {
        const std::string full = encodeIn(e.named.at(0), numberBefore(d, pos));
        return full.substr(0, full.size() - 1);
    }
    if ((pos = d.find("(U-")) != std::string::npos) {  // "2 bytes (U-00000080)"
        while (pos > 0 && d[pos - 1] == ' ') --pos;
        for (const std::string unit : {" bytes", " byte"}) {
            if (pos >= unit.size() && d.compare(pos - unit.size(), unit.size(), unit) == 0) {
                const int n = numberBefore(d, pos - unit.size());
                if (n > 0) return encodeIn(e.named.at(0), n);
            }
        }
    }
    if (d.find("sequences of 3.3 concatenated") != std::string::npos)
        for (const Entry& p : before)
            if (p.id.rfind("3.3.", 0) == 0) bytes += p.sample;
    return bytes;
}

bool mustRefuse(const Entry& e) {
    if (e.id[0] == '3' || e.id[0] == '4' || e.id.rfind("5.1", 0) == 0 || e.id.rfind("5.2", 0) == 0)
        return true;
    return e.id[0] == '2' &&
           std::any_of(e.named.begin(), e.named.end(), [](unsigned cp) { return cp > 0x10FFFF; });
}

struct Result {
    ConversionResult code;
    size_t stop;
    std::vector<UTF16> units;
};

Result decodeStrict(const std::string& bytes) {
    std::vector<UTF16> units(bytes.size() + 1);
    const UTF8* begin = reinterpret_cast<const UTF8*>(bytes.data());
    const UTF8* source = begin;
    UTF16* target = units.data();
    const ConversionResult code = ConvertUTF8toUTF16(&source, begin + bytes.size(), &target,
                                                     units.data() + units.size(), strictConversion);
    units.resize(static_cast<size_t>(target - units.data()));
    return {code, static_cast<size_t>(source - begin), units};
}

std::string encodeBack(const std::vector<UTF16>& units) {
    std::string bytes(units.size() * 3, '\0');
    const UTF16* source = units.data();
    UTF8* begin = reinterpret_cast<UTF8*>(&bytes[0]);
    UTF8* target = begin;
    EXPECT_EQ(
        ConvertUTF16toUTF8(&source, source + units.size(), &target, begin + bytes.size(), strictConversion),
        conversionOK);
    bytes.resize(static_cast<size_t>(target - begin));
    return bytes;
}

std::vector<unsigned> codePoints(const std::vector<UTF16>& u) {
    std::vector<unsigned> cps;
    for (size_t i = 0; i < u.size(); ++i) {
        const bool pair = u[i] >= 0xD800 && u[i] < 0xDC00 && i + 1 < u.size();
        cps.push_back(pair ? 0x10000 + ((u[i] - 0xD800u) << 10) + (u[i + 1] - 0xDC00u) : u[i]);
        i += pair;
    }
    return cps;
}

// The numbered samples after "Here come the tests:". A sample opens on a three-number heading line or on an
// indented line that starts with a quote, and runs to the next quote (possibly lines later).
std::vector<Entry> readEntries(const std::vector<std::string>& lines, size_t from) {
    std::vector<Entry> entries;
    std::string id, text;
    for (size_t i = from; i < lines.size(); ++i) {
        const std::string& line = lines[i];
        size_t open = std::string::npos;
        const size_t idEnd = line.find_first_not_of("0123456789.");
        const size_t firstNonBlank = line.find_first_not_of(' ');
        if (!line.empty() && std::isdigit(static_cast<unsigned char>(line[0])) &&
            idEnd != std::string::npos && line[idEnd] == ' ') {
            id = line.substr(0, idEnd);
            text = line.substr(0, line.find('"'));
            if (std::count(id.begin(), id.end(), '.') == 2) open = line.find('"');
        } else if (!line.empty() && line[0] == ' ' && firstNonBlank != std::string::npos &&
                   line[firstNonBlank] == '"') {
            open = line.find('"');
        } else {
            text += ' ' + line;
        }
        if (open == std::string::npos) continue;

        Entry e;
        e.id = id;
        e.description = text;
        e.prefix = line.substr(0, open + 1);
        e.firstLine = i;
        for (size_t pos = open + 1;; pos = 0) {
            const std::string& l = lines[i];
            const size_t close = l.find('"', pos);
            if (close != std::string::npos) {
                e.stored += l.substr(pos, close - pos);
                e.tail = l.substr(close);
                break;
            }
            const size_t last = l.find_last_not_of(" |");  // drop the padding and right margin
            if (last != std::string::npos && last >= pos) e.stored += l.substr(pos, last + 1 - pos);
            if (++i == lines.size()) {
                ADD_FAILURE() << "sample " << id << " never closes";
                return entries;
            }
        }
        e.lastLine = i;
        e.named = namedCodePoints(e.description);
        e.sample = rebuild(e, entries);
        if (e.sample.empty()) e.sample = e.stored;
        entries.push_back(e);
    }
    return entries;
}

}  // namespace

TEST(Utf8StressFile, RefusesMalformedOverlongAndSurrogateSamplesAndAcceptsTheRest) {
    const std::string path = TASKDB_SHARED_TESTDATA "/UTF-8-test.txt";
    std::ifstream in(path, std::ios::binary);
    ASSERT_TRUE(in) << "UTF-8 decoder stress test not found at " << path << " (the shared test data)";
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    size_t start = 0;
    while (start < lines.size() && lines[start].rfind("Here come the tests:", 0) != 0) ++start;
    ASSERT_LT(start, lines.size()) << "not the expected file";

    const std::vector<Entry> entries = readEntries(lines, start + 1);
    std::set<size_t> linesHoldingBadSamples;
    int refused = 0, accepted = 0;
    for (const Entry& e : entries) {
        SCOPED_TRACE(e.id + ": " + e.description.substr(0, 60));
        if (withoutSpaces(e.stored) != withoutSpaces(e.sample)) {
            // Only samples that must be refused may have been replaced, and only by U+FFFD.
            EXPECT_TRUE(mustRefuse(e));
            EXPECT_TRUE(onlyReplacements(e.stored));
        } else if (mustRefuse(e)) {
            for (size_t l = e.firstLine; l <= e.lastLine; ++l) linesHoldingBadSamples.insert(l);
        }
        const Result line = decodeStrict(e.prefix + e.sample + e.tail);
        if (mustRefuse(e)) {
            ++refused;
            EXPECT_EQ(line.code, sourceIllegal);
            EXPECT_EQ(line.stop, e.prefix.size()) << "must stop right at the sample";
            continue;
        }
        ++accepted;
        EXPECT_EQ(line.code, conversionOK);
        const Result sample = decodeStrict(e.sample);
        ASSERT_EQ(sample.code, conversionOK);
        EXPECT_EQ(encodeBack(sample.units), e.sample);
        const std::vector<unsigned> cps = codePoints(sample.units);
        if (e.named.size() == 1) {
            EXPECT_EQ(cps, e.named);
        }
        if (e.named.size() == 2 && e.description.find("..") != std::string::npos) {  // "U+FDD0 .. U+FDEF"
            ASSERT_EQ(cps.size(), e.named[1] - e.named[0] + 1);
            for (size_t k = 0; k < cps.size(); ++k) EXPECT_EQ(cps[k], e.named[0] + k);
        }
    }
    // 2.1-2.3 (17 samples), 3.1-3.5 (28), 4.1-4.3 (15), 5.1-5.3 (19); a short count means the file was
    // misread.
    EXPECT_EQ(entries.size(), 79u);
    EXPECT_EQ(refused, 64);
    EXPECT_EQ(accepted, 15);

    // Line by line: everything decodes and converts back unchanged, except lines still holding an original
    // sample that must be refused (none in a copy cleaned by a lenient decoder).
    for (size_t i = 0; i < lines.size(); ++i) {
        const Result r = decodeStrict(lines[i]);
        if (linesHoldingBadSamples.count(i)) {
            EXPECT_EQ(r.code, sourceIllegal) << "line " << i + 1;
            continue;
        }
        ASSERT_EQ(r.code, conversionOK) << "line " << i + 1;
        EXPECT_EQ(encodeBack(r.units), lines[i]) << "line " << i + 1;
    }
}
