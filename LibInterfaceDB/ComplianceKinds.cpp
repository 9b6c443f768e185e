#include "ComplianceKinds.h"

namespace {

struct KindPair {
    koComplianceOptions option;
    int stored;
};

const KindPair kKinds[12] = {
    {KO_COMPLIANCE_OPTION_0, 0}, {KO_COMPLIANCE_SEARCH_REQUEST, 1}, {KO_COMPLIANCE_OPTION_2, 2},
    {KO_COMPLIANCE_OPTION_3, 3}, {KO_COMPLIANCE_OPTION_4, 4},       {KO_COMPLIANCE_OPTION_5, 5},
    {KO_COMPLIANCE_OPTION_6, 6}, {KO_COMPLIANCE_OPTION_7, 7},       {KO_COMPLIANCE_OPTION_8, 8},
    {KO_COMPLIANCE_OPTION_9, 9}, {KO_COMPLIANCE_OPTION_10, 10},     {KO_COMPLIANCE_ALL, -1},
};

}  // namespace

long long toComplianceType(koComplianceOptions option) {
    for (const KindPair& pair : kKinds) {
        if (pair.option == option) return pair.stored;
    }
    return 0;
}

koComplianceOptions toComplianceOption(unsigned long stored) {
    for (const KindPair& pair : kKinds) {
        if (stored == static_cast<unsigned long>(static_cast<long long>(pair.stored))) return pair.option;
    }
    return KO_COMPLIANCE_ALL;
}
