#pragma once
// DBtable's state, shared by the files that implement it (description, cursor, writes, record,
// inputs). Internal to the database layer.
#include <memory>
#include <string>
#include <vector>

#include "platform/db/Backend.h"
#include "platform/db/DBclause.h"
#include "platform/db/DBfault.h"
#include "platform/db/DBtable.h"
#include "platform/db/DBvalue.h"

namespace dbtable {
// The statements a table sends as templates.
enum Form { kSelect, kDelete, kInsert, kUpdateById, kUpdateByWhere, kUpdateAll };
struct Template {
    Form form;
    const void* shape;       // the where-clause's template, for the forms that have one
    int generation;          // of the description it was built from
    int id;                  // dbl::templateId of `sql`
    const std::string* sql;  // the process's copy of the text
};
}  // namespace dbtable

struct DBtable::Impl {
    // ---- description
    std::string name;
    int flags = 0;
    DBtran* tran = nullptr;
    int kind = kTable;
    std::string columnList, version, description, orderBy, statementText;
    std::string sqliteText, postgresText;  // a cursor's statement for those databases ("" none)
    std::string identityColumn;
    int identityIndex = 0;
    int* identityField = nullptr;
    void* record = nullptr;
    const DBcolumn* columns = nullptr;
    int columnCount = 0;
    long long* indicators = nullptr;
    unsigned long long subset = 0;  // record columns the select reads (bit i: column i); 0: all
    dbl::Clause where;
    int generation = 0;  // changes with the description, which the statement templates are built from
    unsigned long cursorType = 0;

    // ---- the open cursor
    dbl::StatementPtr stmt;
    std::unique_ptr<dbl::Connection> ownConn;  // autocommit cursor of a table without transaction
    bool open = false;
    bool hasRow = false;          // the statement is positioned on a row
    bool hasRowIdentity = false;  // the row's identity value was read (tables with an identity)
    long long rowIdentity = 0;
    bool readAhead = false;  // open has stepped once; `readAheadCode` is the next fetch's result
    int readAheadCode = 0;
    dbl::Error readAheadError;

    // ---- results
    int lastCode = 0;
    std::string lastText;
    long long rowsAffected = 0;

    // ---- inputs
    std::vector<std::unique_ptr<KODBDataTypeBase>> inputs;
    std::string valuesText;
    dbl::Clause valuesClause;  // the first argument text as format and arguments, until it is needed as text
    bool valuesPending = false;  // valuesClause holds text not yet added to valuesText
    bool valuesBound = false;
    bool valuesUsed = false;  // an open read the text: the next CallDBsprintfWrapper starts anew
    // The argument text, with what valuesClause holds added.
    const std::string& valuesTextNow();

    // Records a failure and returns its code.
    int fail(int code, const std::string& text) {
        lastCode = code;
        lastText = text;
        return code;
    }
    // Asks the fault injector about `step`: true (failure recorded, code in `code`) when armed.
    bool faulted(dbfault::Step step, int& code) {
        std::string text;
        if (!dbfault::hit(step, code, text)) return false;
        fail(code, text);
        return true;
    }

    // ---- statement templates (see Connection::prepareTemplate): built once per binding and form
    using Form = dbtable::Form;
    using Template = dbtable::Template;
    std::vector<Template> templates;
    // The template of `form` on the current description and where-clause (which must be templated).
    const Template& templateFor(Form form);
    // Binds every column but the identity, from the raw record, to markers `first` on; returns the next
    // free marker.
    int bindRecord(dbl::Statement& st, int first);

    // The statement text of a table select, with the where-clause and order.
    std::string selectText() const;
    // The column names of the raw record (or the column list text when there is no record).
    std::string columnNames() const;
    // The identity column's position among the record's columns (-1: none), kept per description.
    int identityPosition();
    int identityAt = -1;
    int identityGeneration = -1;
    // Reads the positioned row into the raw record and the indicator array, and notes its identity.
    void fillRecord(dbl::Statement& st);
    // The where-clause of a row update: the positioned row's identity, else the table's where-clause.
    std::string updateWhere() const;
    // "INSERT INTO ..." and the set clause of an update, with the record's values as literals.
    std::string insertText() const;
    std::string setClauseFromRecord() const;
    // The inputs as parameters: from the value objects or the argument text. 0 or a failure.
    int inputParams(std::vector<dbl::Param>& params);
    // The statement text of a cursor binding for a connection of `dialect` (see setStatementText).
    int cursorText(std::string& sql, dbl::Dialect dialect);
};
