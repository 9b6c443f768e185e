// Row loops over a DBtable for callers that do not use the wrappers.
#include "platform/db/DBtable.h"

int getNextRow(DBtable* table, int* rowCounter, int limit, int /*flags*/) {
    if (!table->isOpen()) {
        if (int rc = table->openCursor()) return rc;
    }
    if (limit > 0 && rowCounter && *rowCounter >= limit) {
        table->closeCursor();
        return DB_NO_DATA;
    }
    int rc = table->fetchCursor(true);
    if (rc == 0) {
        if (rowCounter) ++*rowCounter;
        return 0;
    }
    table->closeCursor();
    return rc;
}

int getOneRow(DBtable* table, bool /*lock*/, int /*limit*/, int /*flags*/) {
    if (int rc = table->openCursor()) return rc;
    int rc = table->fetchCursor(true);
    int closed = table->closeCursor();
    return rc != 0 ? rc : closed;
}
