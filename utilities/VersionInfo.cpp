#include "utilities/VersionInfo.h"

#include <cctype>
#include <climits>

#include "utilities/TextEscape.h"

namespace {

// Reads the decimal digits at `pos` (advancing past them) into `value`; false, with nothing changed, when
// there is none. Saturates instead of overflowing on absurdly long digit runs.
bool readDigits(const std::string& text, size_t& pos, int& value) {
    const size_t begin = pos;
    long long number = 0;
    while (pos < text.size() && std::isdigit(static_cast<unsigned char>(text[pos]))) {
        if (number <= INT_MAX) number = number * 10 + (text[pos] - '0');
        ++pos;
    }
    if (pos == begin) return false;
    value = number > INT_MAX ? INT_MAX : static_cast<int>(number);
    return true;
}

}  // namespace

void ParseSPVersionInfo(std::string version, int& servicePack, int& second) {
    servicePack = 0;
    second = 0;
    trimWhiteSpace(version);
    if (version.empty()) return;

    size_t pos = 0;
    const size_t sp = version.find("SP");
    if (sp != std::string::npos) {
        pos = sp + 2;
    } else {
        const size_t dot = version.find('.');
        if (dot != std::string::npos) pos = dot + 1;
    }
    if (pos == 0 || pos >= version.size()) return;

    readDigits(version, pos, servicePack);
    if (pos >= version.size()) return;

    const size_t hotfix = version.find("HPK");
    if (hotfix != std::string::npos) {
        pos = hotfix + 3;
    } else {
        const size_t dot = version.find('.', pos);
        if (dot != std::string::npos) pos = dot + 1;
    }
    readDigits(version, pos, second);
    // Older clients mark a refresh with a letter after the number: 'a' is 1, 'b' is 2, ...
    if (pos < version.size() && version[pos] != '+' && version[pos] != '-') second = version[pos] - 96;
}
