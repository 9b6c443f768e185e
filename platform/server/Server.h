#pragma once
// The management server's services over the store: activity control, clients, subclients, client
// properties, running jobs, application entities and instance types; event messages are formatted
// through EvEvent::evPrintf (platform/trace/EvEvent.h).
#include "platform/server/ApplicationId.h"
#include "platform/server/ClientProperties.h"
#include "platform/server/InstanceTypes.h"
#include "platform/server/JMActivityCtrl.h"
#include "platform/server/KOClient.h"
#include "platform/server/KOManageDBForJM.h"
#include "platform/server/ServerTypes.h"
#include "platform/server/Subclient.h"
#include "platform/trace/EvEvent.h"
