#include "utilities/CloudPlatform.h"

#include "platform/config/Config.h"
#include "platform/trace/EvDebug.h"

bool isCloudLaptopPlatform() {
    static const char kName[] = "::isCloudLaptopPlatform";
    KOPlatformInfo info;
    info.setFocus(KOPI_Focus::getFocus());
    const bool cloudLaptop = info.IsCloudLaptopClient();
    unsigned int disabled = 1;
    info.getNumber("Quorin", "sDisableCloudCaching", &disabled);
    if (disabled != 0) {
        EvDebug::DebugLvl(
            6, kName,
            "AppMgr Cloud caching is disabled. Not using AppMgrCloud. Will route requests to AppMgrNet");
        return false;
    }
    if (cloudLaptop)
        EvDebug::DebugLvl(
            6, kName,
            "This is a cloud laptop client. AppMgrCloud will be loaded and client caching will be used.");
    return cloudLaptop;
}

bool setAppMgrCloudReqID(unsigned long) {
    return true;
}

unsigned long getAppMgrCloudReqID() {
    return 0;
}
