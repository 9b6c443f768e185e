// SQL functions that SQLite lacks and the procedures need.
#include "platform/db/sqlite/SqliteCore.h"

namespace dbl {
namespace sqlite {

namespace {
// bit_or(x): the bitwise OR of the non-NULL values of a group; NULL for a group without any.
void bitOrStep(sqlite3_context* ctx, int, sqlite3_value** argv) {
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL) return;
    auto* acc = static_cast<sqlite3_int64*>(sqlite3_aggregate_context(ctx, sizeof(sqlite3_int64) * 2));
    if (!acc) {
        sqlite3_result_error_nomem(ctx);
        return;
    }
    acc[0] |= sqlite3_value_int64(argv[0]);
    acc[1] = 1;  // at least one value seen
}

void bitOrFinal(sqlite3_context* ctx) {
    auto* acc = static_cast<sqlite3_int64*>(sqlite3_aggregate_context(ctx, 0));
    if (acc && acc[1])
        sqlite3_result_int64(ctx, acc[0]);
    else
        sqlite3_result_null(ctx);
}
}  // namespace

int registerFunctions(SqliteCore& core, Error& err) {
    int rc = core.check(sqlite3_create_function_v2(core.db(), "bit_or", 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC,
                                                   nullptr, nullptr, bitOrStep, bitOrFinal, nullptr),
                        "create function bit_or", err);
    if (rc != SQLITE_OK) return rc;
    return registerJobFunctions(core, err);
}

}  // namespace sqlite
}  // namespace dbl
