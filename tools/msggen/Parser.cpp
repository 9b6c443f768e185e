// Reading and checking platform/xml/messages.def.
#include <cctype>
#include <charconv>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "Model.h"

namespace msggen {
namespace {

std::vector<std::string> tokenize(const std::string& line) {
    std::istringstream in(line);
    std::vector<std::string> out;
    for (std::string t; in >> t;) out.push_back(t);
    return out;
}

template <class T>
bool number(const std::string& text, T& value) {
    const char* end = text.data() + text.size();
    auto [p, ec] = std::from_chars(text.data(), end, value);
    return ec == std::errc() && p == end;
}

bool identifier(const std::string& s) {
    if (s.empty() || !(std::isalpha(static_cast<unsigned char>(s[0])) || s[0] == '_')) return false;
    for (char c : s)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
    return true;
}

// XML names as written here: ASCII letters, digits, '_', '-', '.', not starting with a digit, '-' or '.'.
bool xmlName(const std::string& s) {
    if (s.empty() || !(std::isalpha(static_cast<unsigned char>(s[0])) || s[0] == '_')) return false;
    for (char c : s)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_' && c != '-' && c != '.') return false;
    return true;
}

bool splitQualified(const std::string& s, std::string& ns, std::string& name) {
    size_t sep = s.find("::");
    if (sep == std::string::npos) return false;
    ns = s.substr(0, sep);
    name = s.substr(sep + 2);
    return identifier(ns) && identifier(name);
}

// Names the accessors would collide with (CNMessageBase's own members).
const std::set<std::string> kReserved = {
    "info",   "clone",      "clear",         "serialize", "unserialize", "errorText", "equals", "isSet",
    "typeId", "descriptor", "memberAddress", "take",      "create",      "classes",   "find",   "Initialize"};

bool parseMember(const std::vector<std::string>& t, Member& m, std::string& why) {
    if (t.size() != 5) return (why = "member needs ID NAME TYPE XMLNAME"), false;
    if (!number(t[1], m.id) || m.id < 1) return (why = "bad member id " + t[1]), false;
    m.name = t[2];
    if (!identifier(m.name) || kReserved.count(m.name))
        return (why = "bad or reserved member name " + m.name), false;
    std::string type = t[3];
    if (type.size() > 2 && type.compare(type.size() - 2, 2, "[]") == 0) {
        m.list = true;
        type.resize(type.size() - 2);
    }
    if (type == "int32") {
        m.scalar = Scalar::Int32;
    } else if (type == "int64") {
        m.scalar = Scalar::Int64;
    } else if (type == "string") {
        m.scalar = Scalar::String;
    } else {
        std::string ns, name;
        if (!splitQualified(type, ns, name)) return (why = "unknown type " + t[3]), false;
        m.scalar = Scalar::Message;
        m.messageType = type;
    }
    m.xmlName = t[4];
    if (!m.xmlName.empty() && m.xmlName[0] == '@') {
        m.attribute = true;
        m.xmlName.erase(0, 1);
        if (m.list || m.scalar == Scalar::Message)
            return (why = "only a single int32, int64 or string can be an attribute"), false;
    }
    if (!xmlName(m.xmlName)) return (why = "bad XML name " + t[4]), false;
    return true;
}

bool check(const Message& msg, std::string& why, int& line) {
    line = msg.line;
    if (!msg.hasId) return (why = msg.qualified() + " has no id"), false;
    if (msg.element.empty()) return (why = msg.qualified() + " has no element"), false;
    if (msg.members.size() > 64) return (why = msg.qualified() + " has more than 64 members"), false;
    std::set<int> ids;
    std::set<std::string> names, elements, attributes;
    for (const Member& m : msg.members) {
        line = m.line;
        if (!ids.insert(m.id).second)
            return (why = "member id " + std::to_string(m.id) + " used twice"), false;
        if (!names.insert(m.name).second) return (why = "member name " + m.name + " used twice"), false;
        auto& xml = m.attribute ? attributes : elements;
        if (!xml.insert(m.xmlName).second) return (why = "XML name " + m.xmlName + " used twice"), false;
    }
    return true;
}

// Orders `messages` so that contained classes come first; false on an unknown class or a cycle.
bool order(std::vector<Message>& messages, std::string& why, int& line) {
    std::map<std::string, size_t> index;
    for (size_t i = 0; i < messages.size(); ++i) index[messages[i].qualified()] = i;
    std::vector<int> state(messages.size(), 0);  // 0 new, 1 visiting, 2 done
    std::vector<Message> sorted;
    std::vector<std::pair<size_t, size_t>> stack;  // (message, next member)
    for (size_t start = 0; start < messages.size(); ++start) {
        if (state[start]) continue;
        stack.push_back({start, 0});
        state[start] = 1;
        while (!stack.empty()) {
            auto& [i, next] = stack.back();
            if (next == messages[i].members.size()) {
                state[i] = 2;
                sorted.push_back(messages[i]);
                stack.pop_back();
                continue;
            }
            const Member& m = messages[i].members[next++];
            if (m.scalar != Scalar::Message) continue;
            auto found = index.find(m.messageType);
            line = m.line;
            if (found == index.end()) return (why = "unknown message " + m.messageType), false;
            if (state[found->second] == 1)
                return (why = messages[i].qualified() + " contains itself through " + m.messageType), false;
            if (state[found->second] == 0) {
                state[found->second] = 1;
                stack.push_back({found->second, 0});
            }
        }
    }
    messages.swap(sorted);
    return true;
}

}  // namespace

bool parseMessages(const std::string& path, std::vector<Message>& messages, std::string& error) {
    std::ifstream in(path);
    if (!in) {
        error = path + ": cannot read";
        return false;
    }
    auto fail = [&](int line, const std::string& why) {
        error = path + ":" + std::to_string(line) + ": " + why;
        return false;
    };
    Message* open = nullptr;
    int lineNo = 0;
    for (std::string line; std::getline(in, line);) {
        ++lineNo;
        size_t hash = line.find('#');
        if (hash != std::string::npos) line.resize(hash);
        std::vector<std::string> t = tokenize(line);
        if (t.empty()) continue;
        if (!open) {
            if (t[0] != "message" || t.size() != 2) return fail(lineNo, "expected: message NAMESPACE::NAME");
            Message msg;
            if (!splitQualified(t[1], msg.ns, msg.name)) return fail(lineNo, "bad message name " + t[1]);
            msg.line = lineNo;
            messages.push_back(msg);
            open = &messages.back();
            continue;
        }
        std::string why;
        if (t[0] == "end" && t.size() == 1) {
            int at = 0;
            if (!check(*open, why, at)) return fail(at, why);
            open = nullptr;
        } else if (t[0] == "id" && t.size() == 2) {
            if (!number(t[1], open->typeId)) return fail(lineNo, "bad id " + t[1]);
            open->hasId = true;
        } else if (t[0] == "family" && t.size() == 4 && t[2] == "type") {
            std::uint32_t family = 0, type = 0;
            if (!number(t[1], family) || !number(t[3], type)) return fail(lineNo, "bad family or type");
            open->typeId = (std::uint64_t(family) << 32) | type;
            open->hasId = true;
        } else if (t[0] == "element" && t.size() == 2) {
            if (!xmlName(t[1])) return fail(lineNo, "bad element name " + t[1]);
            open->element = t[1];
        } else if (t[0] == "member") {
            Member m;
            m.line = lineNo;
            if (!parseMember(t, m, why)) return fail(lineNo, why);
            open->members.push_back(m);
        } else {
            return fail(lineNo, "unknown line: " + t[0]);
        }
    }
    if (open) return fail(open->line, open->qualified() + " has no end");

    std::map<std::uint64_t, std::string> ids;
    std::set<std::string> names;
    for (const Message& m : messages) {
        if (!names.insert(m.qualified()).second) return fail(m.line, m.qualified() + " is described twice");
        auto [it, fresh] = ids.emplace(m.typeId, m.qualified());
        if (!fresh) return fail(m.line, m.qualified() + " has the id of " + it->second);
    }
    int at = 0;
    std::string why;
    if (!order(messages, why, at)) return fail(at, why);
    return true;
}

}  // namespace msggen
