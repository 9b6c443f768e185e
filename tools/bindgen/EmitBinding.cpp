// The binding class X of one binding header, and the header as a whole.
#include <sstream>

#include "Emit.h"

namespace bindgen {
namespace {

const char* argType(char letter) {
    return letter == 'i' ? "int" : letter == 'b' ? "long long" : "const char*";
}
const char* argValue(char letter) {
    return letter == 'i' ? "KODB_int" : letter == 'b' ? "KODB_int64" : "KODB_string";
}

// "a1, a2, ...": the argument names of setValues.
std::string argNames(const std::string& args) {
    std::string out;
    for (size_t i = 0; i < args.size(); ++i) out += (i ? ", a" : "a") + std::to_string(i + 1);
    return out;
}

void emitSetValues(std::ostream& h, const Object& o) {
    std::string params, room = std::to_string(o.room), values;
    for (size_t i = 0; i < o.args.size(); ++i) {
        std::string a = "a" + std::to_string(i + 1);
        params += (i ? ", " : "") + std::string(argType(o.args[i])) + " " + a;
        if (o.args[i] == 's') room += " + KODBTextLength(" + a + ")";
        values += std::string(i ? ",\n                          " : "") + "new " + argValue(o.args[i]) + "(" +
                  a + ")";
    }
    const bool cursor = o.kind == Kind::Cursor;
    h << "    // The input arguments: as argument text when row objects are off, else as bound values.\n"
      << "    void setValues(" << params << ") {\n";
    if (cursor && (!o.sqliteStatement.empty() || !o.postgresStatement.empty())) {
        // A statement written per database is filled at open for the connection's database, from
        // bound values.
        h << "        setKODBValues(" << values << ");\n"
          << "        setValuesBound(true);\n"
          << "    }\n";
    } else {
        h << "        if (DBtable::b_newDBBase == 0) {\n";
        if (cursor)
            h << "            querySizeCheck(std::strlen(kStatement) + " << room << ", true);\n"
              << "            CallDBsprintfWrapper(statementFormat(), " << argNames(o.args) << ");\n";
        else
            h << "            valuesClauseCheck(" << room << ");\n"
              << "            CallDBsprintfWrapper(" << cLiteral(o.argFormat) << ", " << argNames(o.args)
              << ");\n";
        h << "        } else {\n"
          << "            setKODBValues(" << values << ");\n"
          << "            setValuesBound(true);\n"
          << "        }\n"
          << "    }\n";
    }
    std::string vparams;
    for (size_t i = 0; i < o.args.size(); ++i)
        vparams += (i ? ", " : "") + std::string("KODBDataTypeBase* v") + std::to_string(i + 1);
    h << "    // Binds the values in argument order; the table takes them over.\n"
      << "    void setKODBValues(" << vparams << ") {\n"
      << "        ClearBoundInputs();\n";
    for (size_t i = 0; i < o.args.size(); ++i) h << "        BindInput(v" << i + 1 << ");\n";
    h << "    }\n";
}

void emitBinding(std::ostream& h, const Object& o) {
    const std::string& n = o.name;
    const bool table = o.kind == Kind::Table;
    const char* word = table ? "Table " : o.kind == Kind::Procedure ? "Procedure " : "Cursor ";
    const size_t count = o.columns.size() ? o.columns.size() : 1;
    h << "// The binding of " << n << " on one transaction.\n"
      << "class " << n << " : public DBtable {\n"
      << "public:\n"
      << "    static constexpr const char* kName = " << cLiteral(n) << ";\n"
      << "    static constexpr int kKind = " << static_cast<int>(o.kind) << ";\n"
      << "    static constexpr const char* kColumnList = " << cLiteral(columnList(o)) << ";\n"
      << "    static constexpr const char* kFormat = " << cLiteral(o.format) << ";\n"
      << "    static constexpr const char* kDescription = " << cLiteral(word + n) << ";\n"
      << "    static constexpr const char* kHeader = "
      << cLiteral(std::string("include/Db/") + headerFolder(o.kind) + "/" + n + ".h") << ";\n";
    if (table) {
        h << "    static constexpr const char* kVersion = " << cLiteral(o.version) << ";\n"
          << "    static constexpr const char* kIdentity = " << cLiteral(o.identity) << ";\n"
          << "    static constexpr int kIdentityIndex = " << (o.identity.empty() ? 0 : o.identityIndex)
          << ";\n"
          << "    static constexpr const char* kOrderBy = " << cLiteral(o.orderBy) << ";\n";
    } else if (o.kind == Kind::Procedure) {
        h << "    static constexpr const char* kSignature = " << cLiteral(o.signature) << ";\n";
    } else {
        h << "    static constexpr const char* kStatement = " << cLiteral(o.statement) << ";\n"
          << "    static constexpr const char* kSqliteStatement = " << cLiteral(o.sqliteStatement) << ";\n"
          << "    static constexpr const char* kPostgresStatement = " << cLiteral(o.postgresStatement)
          << ";\n";
    }
    h << "\n    explicit " << n << "(DBtran* tran) : DBtable(kName, 0, tran) {\n"
      << "        setKind(kKind);\n"
      << "        setColumnList(kColumnList);\n";
    if (table) {
        h << "        setVersion(kVersion);\n";
        if (o.identity.empty())
            h << "        setIdentity(\"\", 0, nullptr);\n";
        else
            h << "        setIdentity(kIdentity, kIdentityIndex, &m_data." << o.identity << ");\n";
    }
    h << "        setDescription(kDescription);\n"
      << "        setRecord(&m_data, " << n << "_t::columns(), " << n << "_t::kColumnCount);\n";
    if (table) h << "        setOrderBy(kOrderBy);\n";
    if (o.kind == Kind::Cursor)
        h << "        setStatementText(kStatement, kSqliteStatement, kPostgresStatement);\n";
    h << "        dataBindClearFirstTime();\n"
      << "        setExtIndicatorArray(m_indicators);\n"
      << "        if (DBtable::b_newDBBase == 1) m_row = new " << n << "_t2;\n";
    if (o.kind == Kind::Procedure) h << "        std::memcpy(m_signature, kSignature, sizeof m_signature);\n";
    h << "        m_registered = KODBRegisterBinding(this, tran, " << (table ? "kKind != 2" : "true")
      << ", kHeader, __LINE__, kName);\n"
      << "    }\n"
      << "    ~" << n << "() override {\n"
      << "        KODBUnregisterBinding(this, m_registered);\n"
      << "        delete m_row;\n"
      << "    }\n\n"
      << "    // The record each fetched row lands in (owned by the binding).\n"
      << "    " << n << "_t* getDataPtr() { return &m_data; }\n"
      << "    // The row object, or null when row objects are off.\n"
      << "    " << n << "_t2* getRow() { return m_row; }\n";
    if (o.kind == Kind::Procedure) h << "    const char* getSignature() const { return m_signature; }\n";
    h << "    // Resets the record and the indicators for the next fetch (rebuilt in place, in one pass).\n"
      << "    void dataBindClear() {\n"
      << "        m_data.~" << n << "_t();\n"
      << "        new (&m_data) " << n << "_t();\n"
      << "        for (long long& i : m_indicators) i = 0;\n"
      << "    }\n"
      << "    // The constructor's reset: the record was built zeroed just before, so only the indicators.\n"
      << "    void dataBindClearFirstTime() {\n"
      << "        for (long long& i : m_indicators) i = 0;\n"
      << "    }\n";
    if (!table) emitSetValues(h, o);
    h << "\nprivate:\n";
    if (o.kind == Kind::Cursor && o.sqliteStatement.empty() && o.postgresStatement.empty())
        h << "    // Not a literal, so that an empty statement still takes its arguments.\n"
          << "    static const char* statementFormat() { return kStatement; }\n";
    h << "    " << n << "_t m_data;\n"
      << "    long long m_indicators[" << count << "] = {};\n"
      << "    " << n << "_t2* m_row = nullptr;\n";
    if (o.kind == Kind::Procedure) h << "    char m_signature[21] = {};\n";
    h << "    bool m_registered = false;\n"
      << "};\n";
}

}  // namespace

std::string bindingHeader(const Object& o) {
    std::ostringstream h;
    h << "#pragma once\n"
      << "// Generated by bindgen from schema/objects.def; edit that file, not this one.\n"
      << "#include \"platform/records/" << o.name << ".h\"\n"
      << "#include \"db/Binding.h\"\n\n";
    emitRow(h, o);
    emitBinding(h, o);
    return h.str();
}

}  // namespace bindgen
