#pragma once
// Translation between the compliance kinds of the interface and the `dataType` the store keeps.
#include "ComplianceRecords.h"
#include "TaskExport.h"

// The stored value of a kind, sign-extended (11, every kind, gives -1). A value outside the table gives 0,
// so an unknown kind filters on stored kind 0 rather than on every kind.
TASKDB_API long long toComplianceType(koComplianceOptions option);
// The kind of a stored value; only the all-ones value matches -1. A value outside the table gives 11.
TASKDB_API koComplianceOptions toComplianceOption(unsigned long stored);
