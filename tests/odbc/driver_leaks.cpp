// psqlODBC (13.02) drops a result object of its own (about 320 bytes) when the connection goes away
// during SQLExecute; the tests that stop the server would report it as a leak of this program. Only
// allocations made inside the driver are passed over.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:psqlodbcw.so\nleak:psqlodbca.so\n";
}
