// The generic half of the message classes: registry, XML reading and writing over pugixml, and member
// access by id, all driven by the generated descriptor tables.
#include "platform/xml/Messages.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <map>
#include <pugixml.hpp>

extern const CNMessageInfo* const kCNMessageClasses[];
extern const std::size_t kCNMessageClassCount;

const CNMemberInfo* CNMessageInfo::member(int id) const {
    int i = indexOf(id);
    return i < 0 ? nullptr : &members[i];
}

int CNMessageInfo::indexOf(int id) const {
    for (std::size_t i = 0; i < memberCount; ++i)
        if (members[i].id == id) return static_cast<int>(i);
    return -1;
}

namespace {

struct Registry {
    std::vector<const CNMessageInfo*> classes;
    std::map<std::uint64_t, const CNMessageInfo*> byId;
    std::map<std::string, const CNMessageInfo*> byName;
    bool consistent = true;

    Registry() {
        classes.assign(kCNMessageClasses, kCNMessageClasses + kCNMessageClassCount);
        for (const CNMessageInfo* c : classes) {
            consistent = byId.emplace(c->typeId, c).second && consistent;
            consistent = byName.emplace(c->name, c).second && consistent;
        }
    }
};

const Registry& registry() {
    static const Registry r;
    return r;
}

constexpr unsigned kParseFlags = pugi::parse_escapes | pugi::parse_cdata | pugi::parse_ws_pcdata_single;

bool isXmlSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// A whole decimal number, blanks around it allowed.
template <class T>
bool parseNumber(const char* text, T& value) {
    while (isXmlSpace(*text)) ++text;
    auto [p, ec] = std::from_chars(text, text + std::strlen(text), value);
    if (ec != std::errc()) return false;
    while (isXmlSpace(*p)) ++p;
    return *p == '\0';
}

// "a/b/c": the element's place in the document, for error texts.
std::string pathOf(pugi::xml_node node) {
    std::string path;
    for (; node && node.type() == pugi::node_element; node = node.parent())
        path = path.empty() ? std::string(node.name()) : std::string(node.name()) + "/" + path;
    return path;
}

// The text of a value element: its character data, which must not be interleaved with elements.
bool valueText(pugi::xml_node node, std::string& text) {
    text.clear();
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
        if (c.type() == pugi::node_pcdata || c.type() == pugi::node_cdata)
            text += c.value();
        else if (c.type() == pugi::node_element)
            return false;
    }
    return true;
}

struct StringWriter : pugi::xml_writer {
    std::string* out;
    explicit StringWriter(std::string* o) : out(o) {}
    void write(const void* data, std::size_t size) override {
        out->append(static_cast<const char*>(data), size);
    }
};

}  // namespace

// Reads and writes one message over a pugixml node; friend of CNMessageBase for its set bits.
class CNMessageCodec {
  public:
    static bool write(const CNMessageBase& msg, pugi::xml_node node, std::string& error);
    static bool read(CNMessageBase& msg, pugi::xml_node node, std::string& error);
    static bool isSet(const CNMessageBase& msg, std::size_t index);

  private:
    static bool readScalar(const CNMemberInfo& m, void* address, const char* text, pugi::xml_node where,
                           std::string& error);
};

namespace {

// Lists count as set when they hold an item; scalars and nested messages carry a set bit.
bool listHolds(CNKind kind, const void* a) {
    switch (kind) {
        case CNKind::Int32List:
            return !static_cast<const std::vector<std::int32_t>*>(a)->empty();
        case CNKind::Int64List:
            return !static_cast<const std::vector<std::int64_t>*>(a)->empty();
        case CNKind::StringList:
            return !static_cast<const std::vector<std::string>*>(a)->empty();
        case CNKind::MessageList:
            return !static_cast<const CNListBase*>(a)->empty();
        default:
            return false;
    }
}

bool isList(CNKind kind) {
    return kind == CNKind::Int32List || kind == CNKind::Int64List || kind == CNKind::StringList ||
           kind == CNKind::MessageList;
}

// The member named `name` of that form, looked for from `start` on (documents usually list members in
// description order, so the first comparison mostly matches); npos when there is none.
std::size_t findMember(const CNMessageInfo& info, const char* name, bool attribute, std::size_t start) {
    for (std::size_t k = 0, j = start; k < info.memberCount; ++k, ++j) {
        if (j >= info.memberCount) j = 0;
        const CNMemberInfo& m = info.members[j];
        if (m.attribute == attribute && std::strcmp(m.xmlName, name) == 0) return j;
    }
    return std::string::npos;
}

}  // namespace

bool CNMessageCodec::isSet(const CNMessageBase& msg, std::size_t index) {
    const CNKind kind = msg.info().members[index].kind;
    return isList(kind) ? listHolds(kind, msg.memberAddress(index)) : msg.isSetAt(index);
}

namespace {

bool hasNul(const std::string& s) {
    return s.find('\0') != std::string::npos;
}

bool setText(pugi::xml_text text, const std::string& value, const CNMemberInfo& m, std::string& error) {
    if (hasNul(value)) {
        error = std::string("member ") + m.name + " holds a NUL character, which XML cannot carry";
        return false;
    }
    text.set(value.c_str());
    return true;
}

}  // namespace

bool CNMessageCodec::write(const CNMessageBase& msg, pugi::xml_node node, std::string& error) {
    const CNMessageInfo& info = msg.info();
    for (std::size_t i = 0; i < info.memberCount; ++i) {
        const CNMemberInfo& m = info.members[i];
        const bool list = isList(m.kind);
        if (!list && !msg.isSetAt(i)) continue;
        const void* a = msg.memberAddress(i);
        if (list && !listHolds(m.kind, a)) continue;
        switch (m.kind) {
            case CNKind::Int32: {
                const int v = *static_cast<const std::int32_t*>(a);
                if (m.attribute)
                    node.append_attribute(m.xmlName).set_value(v);
                else
                    node.append_child(m.xmlName).text().set(v);
                break;
            }
            case CNKind::Int64: {
                const long long v = *static_cast<const std::int64_t*>(a);
                if (m.attribute)
                    node.append_attribute(m.xmlName).set_value(v);
                else
                    node.append_child(m.xmlName).text().set(v);
                break;
            }
            case CNKind::String: {
                const std::string& s = *static_cast<const std::string*>(a);
                if (hasNul(s)) {
                    error =
                        std::string("member ") + m.name + " holds a NUL character, which XML cannot carry";
                    return false;
                }
                if (m.attribute)
                    node.append_attribute(m.xmlName).set_value(s.c_str());
                else
                    node.append_child(m.xmlName).text().set(s.c_str());
                break;
            }
            case CNKind::Message:
                if (!write(*static_cast<const CNMessageBase*>(a), node.append_child(m.xmlName), error))
                    return false;
                break;
            case CNKind::Int32List:
                for (std::int32_t v : *static_cast<const std::vector<std::int32_t>*>(a))
                    node.append_child(m.xmlName).text().set(static_cast<int>(v));
                break;
            case CNKind::Int64List:
                for (std::int64_t v : *static_cast<const std::vector<std::int64_t>*>(a))
                    node.append_child(m.xmlName).text().set(static_cast<long long>(v));
                break;
            case CNKind::StringList:
                for (const std::string& s : *static_cast<const std::vector<std::string>*>(a))
                    if (!setText(node.append_child(m.xmlName).text(), s, m, error)) return false;
                break;
            case CNKind::MessageList: {
                const CNListBase& list = *static_cast<const CNListBase*>(a);
                for (std::size_t k = 0; k < list.size(); ++k)
                    if (!write(list.item(k), node.append_child(m.xmlName), error)) return false;
                break;
            }
        }
    }
    return true;
}

bool CNMessageCodec::readScalar(const CNMemberInfo& m, void* a, const char* text, pugi::xml_node where,
                                std::string& error) {
    bool ok = true;
    const char* what = "";
    switch (m.kind) {
        case CNKind::Int32:
            ok = parseNumber(text, *static_cast<std::int32_t*>(a));
            what = "a 32-bit integer";
            break;
        case CNKind::Int64:
            ok = parseNumber(text, *static_cast<std::int64_t*>(a));
            what = "a 64-bit integer";
            break;
        case CNKind::String:
            *static_cast<std::string*>(a) = text;
            break;
        case CNKind::Int32List: {
            std::int32_t v = 0;
            ok = parseNumber(text, v);
            if (ok) static_cast<std::vector<std::int32_t>*>(a)->push_back(v);
            what = "a 32-bit integer";
            break;
        }
        case CNKind::Int64List: {
            std::int64_t v = 0;
            ok = parseNumber(text, v);
            if (ok) static_cast<std::vector<std::int64_t>*>(a)->push_back(v);
            what = "a 64-bit integer";
            break;
        }
        case CNKind::StringList:
            static_cast<std::vector<std::string>*>(a)->push_back(text);
            break;
        default:
            break;
    }
    if (!ok) {
        std::string place = pathOf(where);
        if (m.attribute) place += "/@" + std::string(m.xmlName);
        error = "element " + place + ": \"" + text + "\" is not " + what;
    }
    return ok;
}

bool CNMessageCodec::read(CNMessageBase& msg, pugi::xml_node node, std::string& error) {
    const CNMessageInfo& info = msg.info();
    std::size_t hint = 0;
    for (pugi::xml_attribute attr = node.first_attribute(); attr; attr = attr.next_attribute()) {
        const std::size_t i = findMember(info, attr.name(), true, hint);
        if (i == std::string::npos) continue;  // not ours: skipped
        hint = i + 1;
        const CNMemberInfo& m = info.members[i];
        if (msg.isSetAt(i)) {
            error = "element " + pathOf(node) + ": attribute " + m.xmlName + " appears more than once";
            return false;
        }
        if (!readScalar(m, msg.memberAddress(i), attr.value(), node, error)) return false;
        msg.markSet(i);
    }
    std::string text;
    hint = 0;
    for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
        if (child.type() != pugi::node_element) continue;
        const std::size_t i = findMember(info, child.name(), false, hint);
        if (i == std::string::npos) continue;  // not ours: skipped
        hint = i;                              // lists repeat their element
        const CNMemberInfo& m = info.members[i];
        void* a = msg.memberAddress(i);
        const bool single = !isList(m.kind);
        if (single && msg.isSetAt(i)) {
            error = "element " + pathOf(child) + " appears more than once where one value belongs";
            return false;
        }
        if (m.kind == CNKind::Message) {
            if (!read(*static_cast<CNMessageBase*>(a), child, error)) return false;
            msg.markSet(i);
        } else if (m.kind == CNKind::MessageList) {
            CNListBase& list = *static_cast<CNListBase*>(a);
            if (list.empty()) {
                // Items usually come together: room for this run of them at once.
                std::size_t run = 1;
                for (pugi::xml_node n = child.next_sibling(); n && std::strcmp(n.name(), m.xmlName) == 0;
                     n = n.next_sibling())
                    ++run;
                list.reserve(run);
            }
            if (!read(list.append(), child, error)) return false;
        } else {
            if (!valueText(child, text)) {
                error = "element " + pathOf(child) + " holds elements where a value belongs";
                return false;
            }
            if (!readScalar(m, a, text.c_str(), child, error)) return false;
            if (single) msg.markSet(i);
        }
    }
    return true;
}

const std::string& CNMessageBase::errorText() const {
    static const std::string none;
    return m_error ? *m_error : none;
}

void CNMessageBase::fail(std::string text) const {
    if (m_error)
        *m_error = std::move(text);
    else
        m_error = std::make_unique<std::string>(std::move(text));
}

int CNMessageBase::Initialize() {
    return registry().consistent ? 0 : 1;
}

std::unique_ptr<CNMessageBase> CNMessageBase::create(std::uint32_t family, std::uint32_t type) {
    return create((std::uint64_t(family) << 32) | type);
}

std::unique_ptr<CNMessageBase> CNMessageBase::create(std::uint64_t typeId) {
    const CNMessageInfo* info = find(typeId);
    return info ? info->create() : nullptr;
}

const std::vector<const CNMessageInfo*>& CNMessageBase::classes() {
    return registry().classes;
}

const CNMessageInfo* CNMessageBase::find(std::uint64_t typeId) {
    const auto& byId = registry().byId;
    auto it = byId.find(typeId);
    return it == byId.end() ? nullptr : it->second;
}

const CNMessageInfo* CNMessageBase::find(const std::string& name) {
    const auto& byName = registry().byName;
    auto it = byName.find(name);
    return it == byName.end() ? nullptr : it->second;
}

int CNMessageBase::serialize(std::string& xml, bool indent) const {
    pugi::xml_document doc;
    std::string error;
    if (!CNMessageCodec::write(*this, doc.append_child(info().element), error)) {
        fail(info().name + std::string(": ") + error);
        return -1;
    }
    std::string out;
    StringWriter writer(&out);
    doc.save(writer, "  ",
             indent ? pugi::format_indent | pugi::format_no_declaration
                    : pugi::format_raw | pugi::format_no_declaration,
             pugi::encoding_utf8);
    xml.swap(out);
    return 0;
}

int CNMessageBase::unserialize(const char* xml) {
    if (!xml) {
        fail(std::string(info().name) + ": no XML given");
        return -1;
    }
    return unserialize(xml, std::strlen(xml));
}

int CNMessageBase::unserialize(const std::string& xml) {
    return unserialize(xml.data(), xml.size());
}

int CNMessageBase::unserialize(const char* data, std::size_t size) {
    const CNMessageInfo& cls = info();
    pugi::xml_document doc;
    pugi::xml_parse_result parsed =
        data ? doc.load_buffer(data, size, kParseFlags, pugi::encoding_utf8) : pugi::xml_parse_result();
    if (!data || !parsed) {
        fail(std::string(cls.name) + ": malformed XML at offset " + std::to_string(data ? parsed.offset : 0) +
             ": " + (data ? parsed.description() : "no XML given"));
        return -1;
    }
    pugi::xml_node root;
    for (pugi::xml_node n = doc.first_child(); n; n = n.next_sibling()) {
        if (n.type() != pugi::node_element) continue;
        if (root) {
            fail(std::string(cls.name) + ": more than one root element");
            return -1;
        }
        root = n;
    }
    if (!root || std::strcmp(root.name(), cls.element) != 0) {
        fail(std::string(cls.name) + ": expected root element " + cls.element + ", found " +
             (root ? root.name() : "none"));
        return -1;
    }
    std::unique_ptr<CNMessageBase> fresh = cls.create();
    std::string error;
    if (!CNMessageCodec::read(*fresh, root, error)) {
        fail(std::string(cls.name) + ": " + error);
        return -1;
    }
    take(*fresh);
    return 0;
}

bool CNMessageBase::equals(const CNMessageBase& other) const {
    const CNMessageInfo& cls = info();
    if (&cls != &other.info()) return false;
    for (std::size_t i = 0; i < cls.memberCount; ++i) {
        const void* a = memberAddress(i);
        const void* b = other.memberAddress(i);
        switch (cls.members[i].kind) {
            case CNKind::Int32:
                if (*static_cast<const std::int32_t*>(a) != *static_cast<const std::int32_t*>(b))
                    return false;
                break;
            case CNKind::Int64:
                if (*static_cast<const std::int64_t*>(a) != *static_cast<const std::int64_t*>(b))
                    return false;
                break;
            case CNKind::String:
                if (*static_cast<const std::string*>(a) != *static_cast<const std::string*>(b)) return false;
                break;
            case CNKind::Message:
                if (!static_cast<const CNMessageBase*>(a)->equals(*static_cast<const CNMessageBase*>(b)))
                    return false;
                break;
            case CNKind::Int32List:
                if (*static_cast<const std::vector<std::int32_t>*>(a) !=
                    *static_cast<const std::vector<std::int32_t>*>(b))
                    return false;
                break;
            case CNKind::Int64List:
                if (*static_cast<const std::vector<std::int64_t>*>(a) !=
                    *static_cast<const std::vector<std::int64_t>*>(b))
                    return false;
                break;
            case CNKind::StringList:
                if (*static_cast<const std::vector<std::string>*>(a) !=
                    *static_cast<const std::vector<std::string>*>(b))
                    return false;
                break;
            case CNKind::MessageList: {
                const CNListBase& la = *static_cast<const CNListBase*>(a);
                const CNListBase& lb = *static_cast<const CNListBase*>(b);
                if (la.size() != lb.size()) return false;
                for (std::size_t k = 0; k < la.size(); ++k)
                    if (!la.item(k).equals(lb.item(k))) return false;
                break;
            }
        }
        if (isSetAt(i) != other.isSetAt(i)) return false;
    }
    return true;
}

// ---- access by member id

namespace {

// The member's index when it exists and is of one of the kinds; else -1.
int indexOfKind(const CNMessageInfo& info, int id, std::initializer_list<CNKind> kinds) {
    int i = info.indexOf(id);
    if (i < 0) return -1;
    return std::find(kinds.begin(), kinds.end(), info.members[i].kind) != kinds.end() ? i : -1;
}

template <class T, class Source>
bool fitsAll(const Source& values) {
    for (auto v : values)
        if (v < std::numeric_limits<T>::min() || v > std::numeric_limits<T>::max()) return false;
    return true;
}

}  // namespace

bool CNMessageBase::isSet(int id) const {
    int i = info().indexOf(id);
    return i >= 0 && CNMessageCodec::isSet(*this, static_cast<std::size_t>(i));
}

long long CNMessageBase::getint64(int id) const {
    int i = indexOfKind(info(), id, {CNKind::Int32, CNKind::Int64});
    if (i < 0) return 0;
    const void* a = memberAddress(i);
    return info().members[i].kind == CNKind::Int32 ? *static_cast<const std::int32_t*>(a)
                                                   : *static_cast<const std::int64_t*>(a);
}

bool CNMessageBase::setint64(int id, long long value) {
    int i = indexOfKind(info(), id, {CNKind::Int32, CNKind::Int64});
    if (i < 0) return false;
    void* a = memberAddress(i);
    if (info().members[i].kind == CNKind::Int32) {
        if (!fitsAll<std::int32_t>(std::initializer_list<long long>{value})) return false;
        *static_cast<std::int32_t*>(a) = static_cast<std::int32_t>(value);
    } else {
        *static_cast<std::int64_t*>(a) = value;
    }
    markSet(i);
    return true;
}

std::string CNMessageBase::getstring(int id) const {
    int i = indexOfKind(info(), id, {CNKind::String});
    return i < 0 ? std::string() : *static_cast<const std::string*>(memberAddress(i));
}

bool CNMessageBase::setstring(int id, const std::string& value) {
    int i = indexOfKind(info(), id, {CNKind::String});
    if (i < 0) return false;
    *static_cast<std::string*>(memberAddress(i)) = value;
    markSet(i);
    return true;
}

std::list<int> CNMessageBase::getlistint(int id) const {
    int i = indexOfKind(info(), id, {CNKind::Int32List});
    if (i < 0) return {};
    const auto& v = *static_cast<const std::vector<std::int32_t>*>(memberAddress(i));
    return std::list<int>(v.begin(), v.end());
}

bool CNMessageBase::setlistint(int id, const std::list<int>& values) {
    int i = indexOfKind(info(), id, {CNKind::Int32List});
    if (i < 0) return false;
    static_cast<std::vector<std::int32_t>*>(memberAddress(i))->assign(values.begin(), values.end());
    return true;
}

std::list<long long> CNMessageBase::getlistint64(int id) const {
    int i = indexOfKind(info(), id, {CNKind::Int32List, CNKind::Int64List});
    if (i < 0) return {};
    const void* a = memberAddress(i);
    if (info().members[i].kind == CNKind::Int32List) {
        const auto& v = *static_cast<const std::vector<std::int32_t>*>(a);
        return std::list<long long>(v.begin(), v.end());
    }
    const auto& v = *static_cast<const std::vector<std::int64_t>*>(a);
    return std::list<long long>(v.begin(), v.end());
}

bool CNMessageBase::setlistint64(int id, const std::list<long long>& values) {
    int i = indexOfKind(info(), id, {CNKind::Int32List, CNKind::Int64List});
    if (i < 0) return false;
    void* a = memberAddress(i);
    if (info().members[i].kind == CNKind::Int32List) {
        if (!fitsAll<std::int32_t>(values)) return false;
        static_cast<std::vector<std::int32_t>*>(a)->assign(values.begin(), values.end());
    } else {
        static_cast<std::vector<std::int64_t>*>(a)->assign(values.begin(), values.end());
    }
    return true;
}

std::list<std::string> CNMessageBase::getliststring(int id) const {
    int i = indexOfKind(info(), id, {CNKind::StringList});
    if (i < 0) return {};
    const auto& v = *static_cast<const std::vector<std::string>*>(memberAddress(i));
    return std::list<std::string>(v.begin(), v.end());
}

bool CNMessageBase::setliststring(int id, const std::list<std::string>& values) {
    int i = indexOfKind(info(), id, {CNKind::StringList});
    if (i < 0) return false;
    static_cast<std::vector<std::string>*>(memberAddress(i))->assign(values.begin(), values.end());
    return true;
}

CNListBase* CNMessageBase::getlistobject(int id) {
    int i = indexOfKind(info(), id, {CNKind::MessageList});
    return i < 0 ? nullptr : static_cast<CNListBase*>(memberAddress(i));
}

const CNListBase* CNMessageBase::getlistobject(int id) const {
    int i = indexOfKind(info(), id, {CNKind::MessageList});
    return i < 0 ? nullptr : static_cast<const CNListBase*>(memberAddress(i));
}

bool CNMessageBase::setlistobject(int id, const std::vector<std::unique_ptr<CNMessageBase>>& items) {
    CNListBase* list = getlistobject(id);
    if (!list) return false;
    for (const auto& item : items)
        if (!item || &item->info() != &list->itemInfo()) return false;
    list->clear();
    for (const auto& item : items) list->append(*item);
    return true;
}

bool CNMessageBase::setlistobject(int id, const CNListBase& items) {
    CNListBase* list = getlistobject(id);
    if (!list || &items.itemInfo() != &list->itemInfo()) return false;
    if (list == &items) return true;
    list->clear();
    for (std::size_t k = 0; k < items.size(); ++k) list->append(items.item(k));
    return true;
}

CNMessageBase* CNMessageBase::getObjectAccessor(int id) {
    int i = indexOfKind(info(), id, {CNKind::Message});
    if (i < 0) return nullptr;
    markSet(i);
    return static_cast<CNMessageBase*>(memberAddress(i));
}

const CNMessageBase* CNMessageBase::getObjectAccessor(int id) const {
    int i = indexOfKind(info(), id, {CNKind::Message});
    if (i < 0 || !isSetAt(i)) return nullptr;
    return static_cast<const CNMessageBase*>(memberAddress(i));
}
