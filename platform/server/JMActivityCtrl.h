#pragma once
// Activity control: whether an activity (backup, restore, scheduling...) may run on the management
// server, a client or a subclient. An activity is enabled unless a setting disables it at one of
// those levels; the server level wins over the client's, the client's over the subclient's.
#include <string>
#include <vector>

#include "platform/PlatformExport.h"
#include "platform/events/EvMessageContainer.h"
#include "platform/server/ServerTypes.h"

struct KOActivitySetting {
    int level = 0;               // KO_ACTIVITY_LEVEL_*
    unsigned long entityId = 0;  // 0 at server level
    KOActivityType activityType = 0;
    bool enabled = true;
    int reasonMessageId = 0;  // 0: the level's default message
    std::string reason;
};

class KO_PLATFORM_API JMActivityCtrl {
  public:
    // `db` is the caller's DBtran (null: each call works on a transaction of its own).
    explicit JMActivityCtrl(void* db = nullptr) : m_db(db) {}

    // 0 with `enabled` set, or the database's code (`enabled` unchanged).
    int isServerEnabled(KOActivityType type, bool& enabled);
    // True when `type` may run for the client (and the subclient when `subclientId` > 0). When not,
    // `message` (may be null) gets the message id and its arguments that say why. A store that cannot
    // be read answers false with KO_MSG_ACTIVITY_UNKNOWN. `appType` and `flag` are accepted as the
    // job manager passes them; settings are kept per client and subclient, not per agent.
    bool isActivityEnabled(KOActivityType type, unsigned long clientId, KOAppType appType,
                           const char* clientName, int subclientId, const char* subclientName,
                           EvMessageContainer* message, int flag);

    // Enables or disables `type` at one level (`entityId` 0 for the server): 0, KO_SRV_NOT_FOUND for a
    // client or subclient that does not exist, or the database's code. Enabling removes the setting.
    int setActivityEnabled(int level, unsigned long entityId, KOActivityType type, bool enabled,
                           const std::string& reason = "", int reasonMessageId = 0);
    // Every setting that disables something, by level, entity and type.
    int getSettings(std::vector<KOActivitySetting>& settings);

  private:
    void* m_db;
};
