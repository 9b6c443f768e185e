// XML messages: a TaskOperationReq of 100 entities written and read back through the message classes,
// against building and parsing the same document with pugixml directly.
#include <pugixml.hpp>
#include <string>
#include <utility>
#include <vector>

#include "TaskRecords.h"
#include "bench/Cases.h"
#include "bench/Shared.h"
#include "platform/xml/Messages.h"

namespace bench {

namespace {

constexpr int kEntities = 100;
constexpr unsigned kParseFlags = pugi::parse_escapes | pugi::parse_cdata | pugi::parse_ws_pcdata_single;
constexpr unsigned kWriteFlags = pugi::format_raw | pugi::format_no_declaration;

std::vector<Sched_AssocEntity> entities() {
    std::vector<Sched_AssocEntity> out(kEntities);
    for (int i = 0; i < kEntities; ++i) {
        Sched_AssocEntity& e = out[i];
        e.taskId = 4000 + i % 3;
        e.clientGroupId = i % 5;
        e.clientId = 1000 + i;
        e.apptypeId = 33;
        e.instanceId = 7 * i;
        e.backupsetId = 9000 + i;
        e.subclientId = 50000 + i;
        e.policyId = i % 2;
        e.copyId = 1;
    }
    return out;
}

// The sum of every id read back, so that neither side can skip reading.
long long sumOf(const TMMsg::TaskOperationReq& req) {
    long long sum = req.taskOperationType() + req.initiatedFrom();
    for (const auto& op : req.operationEntities()) {
        sum += op.subTask().subtaskId() + op.subTask().taskId();
        for (const auto& e : op.entities())
            sum += e.clientGroupId() + e.clientId() + e.apptypeId() + e.instanceId() + e.backupsetId() +
                   e.subclientId() + e.policyId() + e.copyId();
    }
    for (const auto& o : req.options().filters())
        sum += o.optionId() + static_cast<long long>(o.value().size());
    return sum;
}

void messages(benchmark::State& state) {
    const std::vector<Sched_AssocEntity> input = entities();
    std::string xml;
    Counted counted(state);
    for (auto _ : state) {
        TMMsg::TaskOperationReq req;
        TMMsg::OperationEntity& op = req.mutableOperationEntities().add();
        op.mutableSubTask().setSubtaskId(77);
        op.mutableSubTask().setTaskId(4000);
        auto& list = op.mutableEntities();
        list.reserve(input.size());
        for (const Sched_AssocEntity& e : input) {
            KoEntities::GenericEntity& g = list.add();
            g.setClientGroupId(e.clientGroupId);
            g.setClientId(e.clientId);
            g.setApptypeId(e.apptypeId);
            g.setInstanceId(e.instanceId);
            g.setBackupsetId(e.backupsetId);
            g.setSubclientId(e.subclientId);
            g.setPolicyId(e.policyId);
            g.setCopyId(e.copyId);
        }
        TMMsg::OptionFilter& option = req.mutableOptions().mutableFilters().add();
        option.setOptionId(160003);
        option.setValue("1");
        req.setTaskOperationType(5);
        req.setInitiatedFrom(5);
        if (req.serialize(xml, false) != 0) return failed(state, req.errorText());

        TMMsg::TaskOperationReq back;
        if (back.unserialize(xml) != 0) return failed(state, back.errorText());
        benchmark::DoNotOptimize(sumOf(back));
    }
}

// What the raw side reads the document into.
struct Parsed {
    struct Entity {
        long long ids[8];
    };
    struct Operation {
        int subtaskId = 0, taskId = 0;
        std::vector<Entity> entities;
    };
    int operationType = 0, initiatedFrom = 0;
    std::vector<Operation> operations;
    std::vector<std::pair<long long, std::string>> options;
};

void rawPugixml(benchmark::State& state) {
    const std::vector<Sched_AssocEntity> input = entities();
    std::string xml;
    struct Writer : pugi::xml_writer {
        std::string* out;
        void write(const void* data, size_t size) override {
            out->append(static_cast<const char*>(data), size);
        }
    } writer;
    Counted counted(state);
    for (auto _ : state) {
        pugi::xml_document doc;
        pugi::xml_node root = doc.append_child("TMMsg_TaskOperationReq");
        root.append_attribute("taskOperation").set_value(5);
        root.append_attribute("initiatedFrom").set_value(5);
        pugi::xml_node op = root.append_child("operationEntity");
        pugi::xml_node sub = op.append_child("subTask");
        sub.append_attribute("subtaskId").set_value(77);
        sub.append_attribute("taskId").set_value(4000);
        for (const Sched_AssocEntity& e : input) {
            pugi::xml_node g = op.append_child("entity");
            g.append_attribute("clientGroupId").set_value(static_cast<long long>(e.clientGroupId));
            g.append_attribute("clientId").set_value(static_cast<long long>(e.clientId));
            g.append_attribute("apptypeId").set_value(static_cast<long long>(e.apptypeId));
            g.append_attribute("instanceId").set_value(static_cast<long long>(e.instanceId));
            g.append_attribute("backupsetId").set_value(static_cast<long long>(e.backupsetId));
            g.append_attribute("subclientId").set_value(static_cast<long long>(e.subclientId));
            g.append_attribute("policyId").set_value(static_cast<long long>(e.policyId));
            g.append_attribute("copyId").set_value(static_cast<long long>(e.copyId));
        }
        pugi::xml_node option = root.append_child("options").append_child("option");
        option.append_attribute("optionId").set_value(160003);
        option.append_attribute("value").set_value("1");
        std::string out;
        writer.out = &out;
        doc.save(writer, "", kWriteFlags, pugi::encoding_utf8);
        xml.swap(out);

        pugi::xml_document back;
        if (!back.load_buffer(xml.data(), xml.size(), kParseFlags, pugi::encoding_utf8))
            return failed(state, "pugixml could not parse its own document");
        // Read back into plain records, as the message classes do.
        pugi::xml_node r = back.child("TMMsg_TaskOperationReq");
        Parsed got;
        got.operationType = r.attribute("taskOperation").as_int();
        got.initiatedFrom = r.attribute("initiatedFrom").as_int();
        for (pugi::xml_node o : r.children("operationEntity")) {
            Parsed::Operation& op = got.operations.emplace_back();
            pugi::xml_node s = o.child("subTask");
            op.subtaskId = s.attribute("subtaskId").as_int();
            op.taskId = s.attribute("taskId").as_int();
            for (pugi::xml_node g : o.children("entity")) {
                long long* v = op.entities.emplace_back().ids;
                v[0] = g.attribute("clientGroupId").as_llong();
                v[1] = g.attribute("clientId").as_llong();
                v[2] = g.attribute("apptypeId").as_llong();
                v[3] = g.attribute("instanceId").as_llong();
                v[4] = g.attribute("backupsetId").as_llong();
                v[5] = g.attribute("subclientId").as_llong();
                v[6] = g.attribute("policyId").as_llong();
                v[7] = g.attribute("copyId").as_llong();
            }
        }
        for (pugi::xml_node o : r.child("options").children("option"))
            got.options.emplace_back(o.attribute("optionId").as_llong(), o.attribute("value").value());
        long long sum = got.operationType + got.initiatedFrom;
        for (const auto& op : got.operations) {
            sum += op.subtaskId + op.taskId;
            for (const auto& e : op.entities)
                for (long long v : e.ids) sum += v;
        }
        for (const auto& o : got.options) sum += o.first + static_cast<long long>(o.second.size());
        benchmark::DoNotOptimize(sum);
    }
}

}  // namespace

void addXmlCases() {
    Case c;
    c.name = "xml TaskOperationReq (100 entities)";
    c.rows = kEntities;
    c.kind = Kind::Read;
    c.library = messages;
    c.baseline = rawPugixml;
    addCase(std::move(c));
}

}  // namespace bench
