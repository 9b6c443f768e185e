#pragma once
// The tables of the reference schema, generated from schema/objects.def (see tools/bindgen).
#include "platform/db/DBtypes.h"

// Every table binding of the library, in description order. Never null; `count` receives the number.
const DBschemaTable* DBcatalogTables(int* count);
// The indexes that objects.def gives the tables, in description order. Never null.
const DBschemaIndex* DBcatalogIndexes(int* count);
