#include "xml/Fill.h"

#include <limits>

namespace xmltest {

std::string awkwardText(std::mt19937& rng) {
    static const char* const pieces[] = {"a",  "<",  ">",  "&",        "\"",  "'",  " ",
                                         "\t", "\n", "\r", "\xC3\xA9", "]]>", "x y"};
    std::string s;
    const int n = std::uniform_int_distribution<int>(0, 8)(rng);
    for (int i = 0; i < n; ++i) s += pieces[std::uniform_int_distribution<int>(0, 12)(rng)];
    return s;
}

namespace {

long long number(std::mt19937& rng, bool wide) {
    switch (std::uniform_int_distribution<int>(0, 3)(rng)) {
        case 0:
            return 0;
        case 1:
            return wide ? std::numeric_limits<long long>::min() : std::numeric_limits<int>::min();
        case 2:
            return wide ? std::numeric_limits<long long>::max() : std::numeric_limits<int>::max();
        default:
            return std::uniform_int_distribution<int>(-100000, 100000)(rng);
    }
}

}  // namespace

void fill(CNMessageBase& msg, std::mt19937& rng, int depth) {
    const CNMessageInfo& info = msg.info();
    std::uniform_int_distribution<int> count(0, 3);
    for (size_t i = 0; i < info.memberCount; ++i) {
        const CNMemberInfo& m = info.members[i];
        switch (m.kind) {
            case CNKind::Int32:
            case CNKind::Int64:
                msg.setint64(m.id, number(rng, m.kind == CNKind::Int64));
                break;
            case CNKind::String:
                msg.setstring(m.id, awkwardText(rng));
                break;
            case CNKind::Message:
                if (depth > 0) fill(*msg.getObjectAccessor(m.id), rng, depth - 1);
                break;
            case CNKind::Int32List: {
                std::list<int> v;
                for (int k = count(rng); k > 0; --k) v.push_back(static_cast<int>(number(rng, false)));
                msg.setlistint(m.id, v);
                break;
            }
            case CNKind::Int64List: {
                std::list<long long> v;
                for (int k = count(rng); k > 0; --k) v.push_back(number(rng, true));
                msg.setlistint64(m.id, v);
                break;
            }
            case CNKind::StringList: {
                std::list<std::string> v;
                for (int k = count(rng); k > 0; --k) v.push_back(awkwardText(rng));
                msg.setliststring(m.id, v);
                break;
            }
            case CNKind::MessageList:
                if (depth > 0)
                    for (int k = count(rng); k > 0; --k)
                        fill(msg.getlistobject(m.id)->append(), rng, depth - 1);
                break;
        }
    }
}

}  // namespace xmltest
