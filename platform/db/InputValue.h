#pragma once
// The column value objects that bindings hand to DBtable::BindInput. The layer calls only their
// virtual functions (getDataType, setString, getStr, the destructor) and reads `isNull`, so the
// platform needs no link to the task library that defines them.
#include "db/KODBDataType.h"
