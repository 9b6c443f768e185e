#pragma once
// Numbers shared by the management server's services: activity, application and operation types are
// the platform's own numbers, carried as plain integers.
#include <string>

using KOActivityType = int;
using KOAppType = int;
using KOOpType = int;

// Where an activity setting applies (SRV_ActivityControl.entityLevel).
constexpr int KO_ACTIVITY_LEVEL_SERVER = 1;
constexpr int KO_ACTIVITY_LEVEL_CLIENT = 2;
constexpr int KO_ACTIVITY_LEVEL_SUBCLIENT = 3;

// Activity types with a name of their own in the tool.
constexpr KOActivityType KO_ACTIVITY_BACKUP = 1;
constexpr KOActivityType KO_ACTIVITY_RESTORE = 2;
constexpr KOActivityType KO_ACTIVITY_SCHEDULER = 12;

// The event messages that a disabled activity gives when its setting names none of its own.
// Arguments: activity type, reason (server); activity type, client name, reason (client);
// activity type, subclient name, client name, reason (subclient).
constexpr int KO_MSG_ACTIVITY_DISABLED_SERVER = 0x13000301;
constexpr int KO_MSG_ACTIVITY_DISABLED_CLIENT = 0x13000302;
constexpr int KO_MSG_ACTIVITY_DISABLED_SUBCLIENT = 0x13000303;
// The activity settings could not be read; arguments: activity type, the database's text.
constexpr int KO_MSG_ACTIVITY_UNKNOWN = 0x13000304;

// The locale that message look-ups fall back to.
constexpr int KO_LOCALE_ENGLISH = 0;

// SRV_RunningJob.status.
constexpr int KO_JOB_RUNNING = 1;
constexpr int KO_JOB_PENDING = 2;
constexpr int KO_JOB_WAITING = 3;
constexpr int KO_JOB_SUSPENDED = 4;

// Results: 0 success; 100 (no data) when the client, subclient, instance or fact asked about does not
// exist; any other value is the database's code.
constexpr int KO_SRV_NOT_FOUND = 100;
