#pragma once
// Completing a stored content-search request from the database and the clock.
#include <ctime>
#include <list>
#include <set>
#include <string>

#include "TaskExport.h"

class CNMessageBase;

// Resolves the clients, application types and subclients the search may touch, attaches the directory
// providers of the domains it names, and turns named date ranges into absolute times, on `xml` in place.
// 0; 0xb0001 or 0xb0002 with the text in `err` and `xml` unchanged; 0xb0008 when the request cannot be
// written back (`err` untouched).
TASKDB_API int populateSearchOption(std::string& xml, std::string& err, int securityUser);
// Appends to the request's client list one GSearchClient per client that SearchSecurityCheck gives for
// the request's selection and `securityUser`, each with its application types and subclients. `xml` is
// not read. 0 when the procedure gave a row, else -1.
TASKDB_API int populateAppIds(CNMessageBase& request, const std::string& xml, unsigned int securityUser);
// Replaces the request's domain credentials with one per directory provider (UMDSProviders) of a domain
// named in its account lists; user name and password stay empty.
TASKDB_API void populateADAdministrators(CNMessageBase& request);
// Turns the browse, files-modified and emails-received named dates into absolute from/to times.
TASKDB_API void populateNamedDates(CNMessageBase& request);
// The start and end of a named date range (kinds 6 to 10) from the local clock; other kinds give `current`.
TASKDB_API int getFrom(int kind, int current);
TASKDB_API int getTo(int kind, int current);
// Adds to `domains` the part before the first backslash of each account name that has one.
TASKDB_API void getDomainNames(std::set<std::string>& domains, const std::list<std::string>& accounts);
// "4,-1,30" for 4, -1, 30; empty for an empty list.
TASKDB_API std::string getCommaSeparatedStr(std::list<int> values);

namespace searchclock {
// The clock that getFrom and getTo read; null restores time(). Not exported: tests fix "now" with it.
void set(std::time_t (*now)());
}  // namespace searchclock
