#include "utilities/BackupStreams.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string>

#include "platform/server/ClientProperties.h"
#include "platform/server/InstanceTypes.h"
#include "platform/server/KOClient.h"
#include "utilities/VersionInfo.h"

namespace {

// Agents whose default depends on the version installed on the client.
bool versionDependent(int appType) {
    static const int kTypes[] = {1, 11, 33, 34, 42, 43, 17, 18, 19, 20, 21, 29, 36, 38, 63, 74};
    return std::find(std::begin(kTypes), std::end(kTypes), appType) != std::end(kTypes);
}

int versionDependentDefault(int appType, int clientId, void* db) {
    if (clientId < 1 || appType == 38) return 4;
    const unsigned long client = static_cast<unsigned long>(clientId);
    std::string version;
    int major = 0, servicePack = 0, second = 0;
    if (ClientProperties(client).getVersionInfo(version, db) == 0) {
        major = std::atoi(version.substr(0, 2).c_str());
        ParseSPVersionInfo(version, servicePack, second);
    }
    if (major >= 1 && major <= 10) return 4;
    if (major == 11 && servicePack > 21) return 0;
    KOClient koClient(client);
    bool yes = false;
    if (koClient.isNASClient(yes, db) == 0 && yes) return 0;
    yes = false;
    if ((koClient.isNonNDMPClient(yes, db) == 0 && yes) || major > 11) return 0;
    return 4;
}

}  // namespace

int getDefaultNumberofBackupStreams(int appType, int clientId, int instanceId, void* db) {
    if (versionDependent(appType)) return versionDependentDefault(appType, clientId, db);
    switch (appType) {
        case 64: {
            if (instanceId < 1) return 4;
            int clusterType = 0;
            DistributedClusterInstance(instanceId).getClusterType(clusterType, db);
            return clusterType == 1 || clusterType == 15 ? 4 : 0;
        }
        case 106:
            return 5;
        case 12:
            return 2;
        case 134: {
            if (instanceId < 1) return -1;
            int instanceType = 0;
            CloudAppsInstance(instanceId).getInstanceType(instanceType, db);
            return instanceType == 33 || instanceType == 34 ? 0 : -1;
        }
        default:
            return -1;
    }
}
