// taskdb_compliance_bench: populateSearchOption on a request naming 1,000 clients, and
// getComplianceOptionList over 10,000 options, each beside a raw baseline in the same run (pugixml and
// one prepared SELECT for the request; one prepared SELECT into the same records for the list); then a
// table of milliseconds per call and the ratios.
#include <benchmark/benchmark.h>

#include <pugixml.hpp>

#include <cstdio>
#include <filesystem>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "TaskInterface.h"
#include "TaskInterfaceDB/SearchRequest.h"
#include "bench/Collector.h"
#include "bench/Raw.h"
#include "platform/db/DBconfig.h"
#include "platform/db/DBschema.h"

namespace {

constexpr int kClients = 1000;
constexpr int kOptions = 10000;
constexpr int kComplianceId = 3;

const std::string& storePath() {
    static const std::string path =
        (std::filesystem::temp_directory_path() / "taskdb-compliance-bench.sqlite").string();
    return path;
}

// 1,000 clients with two subclients each, one directory provider, 10,000 options of one definition.
void seed() {
    std::filesystem::remove(storePath());
    std::string err;
    if (DBinitSchema("sqlite:" + storePath(), &err) != 0) throw std::runtime_error("schema: " + err);
    bench::RawDb db(storePath());
    db.exec("BEGIN");
    bench::RawStmt client(
        db, "INSERT INTO APP_Client (id, name, displayName, deleted) VALUES (?1, 'c' || ?1, '', 0)");
    bench::RawStmt app(
        db,
        "INSERT INTO APP_Application (id, clientId, appTypeId, instance, backupSet, subclientName) "
        "VALUES (?1, ?2, ?3, 1, 1, 's')");
    for (int c = 1; c <= kClients; ++c) {
        client.bind(1, c);
        client.run();
        client.reset();
        for (int k = 0; k < 2; ++k) {
            app.bind(1, c * 2 + k), app.bind(2, c), app.bind(3, 33 + k);
            app.run();
            app.reset();
        }
    }
    db.exec(
        "INSERT INTO UMDSProviders (domainName, hostName, login, password) VALUES ('CORP', 'dc1', 'a', 'p')");
    bench::RawStmt opt(db,
                       "INSERT INTO SchedAdminComplianceOptions (dataType, complianceId, xmlValue, status) "
                       "VALUES (2, ?1, '<option kind=\"2\" value=\"' || ?2 || '\"/>', 1)");
    for (int i = 0; i < kOptions; ++i) {
        opt.bind(1, kComplianceId), opt.bind(2, i);
        opt.run();
        opt.reset();
    }
    db.exec("COMMIT");
}

std::string request() {
    std::string xml = "<DM2ContentIndexing_SearchRequest><searchSelection>";
    for (int c = 1; c <= kClients; ++c) xml += "<clientId>" + std::to_string(c) + "</clientId>";
    return xml +
           "</searchSelection><CFieldsAdminComp><owner>CORP\\alice</owner></CFieldsAdminComp>"
           "</DM2ContentIndexing_SearchRequest>";
}

void populateLibrary(benchmark::State& state) {
    const std::string in = request();
    for (auto _ : state) {
        std::string xml = in, err;
        if (populateSearchOption(xml, err, 0) != 0 || xml.find("clientId=\"1000\"") == std::string::npos) {
            state.SkipWithError(("populate: " + err).c_str());
            return;
        }
    }
}

// By hand: parse with pugixml, one prepared SELECT of the named clients' subclients, the client
// elements and the provider appended, written back.
void populateBaseline(benchmark::State& state) {
    const std::string in = request();
    bench::RawDb db(storePath());
    bench::RawStmt subs(
        db,
        "SELECT a.clientId, a.appTypeId, a.id FROM APP_Application a JOIN APP_Client c ON c.id = "
        "a.clientId WHERE c.deleted = 0 AND a.clientId IN (SELECT CAST(value AS INTEGER) FROM "
        "json_each('[' || ?1 || ']')) ORDER BY 1, 2, 3");
    bench::RawStmt dc(db, "SELECT hostName FROM UMDSProviders WHERE domainName = 'CORP'");
    for (auto _ : state) {
        pugi::xml_document doc;
        doc.load_buffer(in.data(), in.size());
        pugi::xml_node root = doc.first_child();
        std::string ids;
        for (pugi::xml_node c : root.child("searchSelection").children("clientId"))
            ids += (ids.empty() ? "" : ",") + std::string(c.text().get());
        pugi::xml_node admin = root.child("CFieldsAdminComp");
        pugi::xml_node list = admin.append_child("searchClients");
        subs.bind(1, ids);
        long long lastClient = 0, lastType = 0;
        pugi::xml_node client, type;
        while (subs.step()) {
            long long c = sqlite3_column_int64(subs.get(), 0), t = sqlite3_column_int64(subs.get(), 1);
            if (c != lastClient) {
                client = list.append_child("client");
                client.append_attribute("clientId") = c;
                lastClient = c, lastType = 0;
            }
            if (t != lastType) {
                type = client.append_child("appType");
                type.append_attribute("appTypeId") = t;
                lastType = t;
            }
            type.append_child("subclientId").text() = sqlite3_column_int64(subs.get(), 2);
        }
        subs.reset();
        while (dc.step()) {
            pugi::xml_node cred = admin.append_child("domainCredential");
            cred.append_attribute("domainName") = "CORP";
            cred.append_attribute("hostName") =
                reinterpret_cast<const char*>(sqlite3_column_text(dc.get(), 0));
        }
        dc.reset();
        struct Sink : pugi::xml_writer {
            std::string out;
            void write(const void* data, size_t size) override {
                out.append(static_cast<const char*>(data), size);
            }
        } sink;
        doc.save(sink, "", pugi::format_raw | pugi::format_no_declaration);
        if (lastClient != kClients) {
            state.SkipWithError("baseline clients");
            return;
        }
    }
}

void listLibrary(benchmark::State& state) {
    std::unique_ptr<TaskInterface> ti(getTaskInterface(1));
    for (auto _ : state) {
        std::list<_ComplianceOptionInfo> options;
        std::string err;
        if (ti->getComplianceOptionList(0, options, err, kComplianceId, KO_COMPLIANCE_OPTION_2, 0) != 0 ||
            options.size() != kOptions) {
            state.SkipWithError(("list: " + err).c_str());
            return;
        }
    }
}

void listBaseline(benchmark::State& state) {
    bench::RawDb db(storePath());
    bench::RawStmt st(db,
                      "SELECT dataType, xmlValue FROM SchedAdminComplianceOptions WHERE dataType = 2 AND "
                      "complianceId = ?1 ORDER BY id");
    for (auto _ : state) {
        std::list<_ComplianceOptionInfo> options;
        st.bind(1, kComplianceId);
        while (st.step()) {
            _ComplianceOptionInfo o;
            o.optionType = static_cast<koComplianceOptions>(sqlite3_column_int(st.get(), 0));
            o.xmlValue = reinterpret_cast<const char*>(sqlite3_column_text(st.get(), 1));
            options.push_back(o);
        }
        st.reset();
        if (options.size() != kOptions) {
            state.SkipWithError("baseline rows");
            return;
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    seed();
    dbconfig::setUrl("sqlite:" + storePath());
    benchmark::RegisterBenchmark("populate 1000 clients/library", populateLibrary)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("populate 1000 clients/baseline", populateBaseline)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("option list 10000/library", listLibrary)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("option list 10000/baseline", listBaseline)->Unit(benchmark::kMillisecond);
    bench::Collector reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\n%-28s %12s %12s %8s\n", "case", "library ms", "baseline ms", "ratio");
    for (const char* name : {"populate 1000 clients", "option list 10000"}) {
        double lib = reporter.ms[std::string(name) + "/library"],
               raw = reporter.ms[std::string(name) + "/baseline"];
        std::printf("%-28s %12.3f %12.3f %8.2f\n", name, lib, raw, raw > 0 ? lib / raw : 0);
    }
    std::filesystem::remove(storePath());
    return 0;
}
