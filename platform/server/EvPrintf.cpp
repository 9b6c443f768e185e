// EvEvent::evPrintf: event messages from the SRV_EventMessage catalogue, by locale.
#include <cstring>

#include "platform/records/SRV_EventMessage.h"
#include "platform/server/ServiceFrame.h"
#include "platform/trace/EvEvent.h"

namespace {

// Puts argument n (1-based) in place of each %n; "%%" is one %; any other % stays as it is. The
// arguments are inserted as text, never read as a format.
std::string substitute(const std::string& format, const std::vector<std::string>& args) {
    std::string out;
    out.reserve(format.size() + 64);
    for (size_t i = 0; i < format.size(); ++i) {
        char c = format[i];
        if (c == '%' && i + 1 < format.size()) {
            char n = format[i + 1];
            if (n == '%') {
                out += '%';
                ++i;
                continue;
            }
            if (n >= '1' && n <= '9') {
                size_t at = static_cast<size_t>(n - '1');
                if (at < args.size()) out += args[at];
                ++i;
                continue;
            }
        }
        out += c;
    }
    return out;
}

// The catalogue text of `messageId` in `localeId`, else in English: 0, 100 when neither exists, or
// the database's code.
int lookUp(int messageId, int localeId, std::string& text) {
    static const char* const kName = "EvEvent::evPrintf";
    return srv::withTran(nullptr, kName, false, [&](DBtran* tran) {
        DBrecordTable<SRV_EventMessage_t> t(tran);
        srv::selectColumns(t, "localeId, formatText");
        // The asked locale sorts before English whichever of the two ids is lower.
        t.setOrderBy(localeId < KO_LOCALE_ENGLISH ? "localeId" : "localeId DESC");
        t.setWhere("messageId = %d AND (localeId = %d OR localeId = %d)", messageId, localeId,
                   KO_LOCALE_ENGLISH);
        int rc = srv::readOne(t, kName);
        if (rc == 0) text = t.row().formatText;
        return rc;
    });
}

}  // namespace

int EvEvent::evPrintf(int messageId, char* buffer, size_t size, int /*flags*/) {
    std::string format;
    int rc = lookUp(messageId, m_localeId, format);
    std::string text =
        rc == 0 ? substitute(format, m_message.GetArguments().values) : std::to_string(messageId);
    if (buffer && size > 0) {
        size_t n = text.size() < size - 1 ? text.size() : size - 1;
        // A cut never splits a UTF-8 character.
        while (n > 0 && n < text.size() && (static_cast<unsigned char>(text[n]) & 0xC0) == 0x80) --n;
        std::memcpy(buffer, text.data(), n);
        buffer[n] = '\0';
    }
    return rc;
}
