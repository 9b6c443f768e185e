// The raw record X_t and the row class X_t2 of one binding header.
#include <sstream>

#include "Emit.h"

namespace bindgen {

std::string cLiteral(const std::string& text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        if (c == '\n') {
            out += "\\n";
            continue;
        }
        out += c;
    }
    return out + "\"";
}

const char* headerFolder(Kind kind) {
    return kind == Kind::Table ? "Tbl" : kind == Kind::Procedure ? "Proc" : "Cursor";
}

std::string columnList(const Object& o) {
    std::string out;
    for (size_t i = 0; i < o.columns.size(); ++i) out += (i ? ", " : "") + o.columns[i].name;
    return out;
}

void emitRecord(std::ostream& h, const Object& o) {
    const std::string& n = o.name;
    h << "// The raw record: one field per column, in column order; every field starts zeroed.\n";
    h << "struct " << n << "_t {\n";
    for (const Column& c : o.columns) {
        switch (c.letter) {
            case 'i':
                h << "    int " << c.name << " = 0;\n";
                break;
            case 'b':
            case 'x':
                h << "    long long " << c.name << " = 0;\n";
                break;
            case 't':
                h << "    DB_DATETIME " << c.name << ";\n";
                break;
            default:
                if (c.letter == 's' && c.width)
                    h << "    char " << c.name << "[" << c.width << "] = {};\n";
                else
                    h << "    std::string " << c.name << ";\n";
        }
    }
    h << "\n    static constexpr int kColumnCount = " << o.columns.size() << ";\n";
    h << "    // The columns as the database layer reads and fills them (null when there are none).\n";
    h << "    static const DBcolumn* columns() {\n";
    if (o.columns.empty()) {
        h << "        return nullptr;\n";
    } else {
        h << "        static const DBcolumn k[] = {\n";
        for (const Column& c : o.columns)
            h << "            {\"" << c.name << "\", '" << c.letter << "', " << c.width << ", offsetof(" << n
              << "_t, " << c.name << ")},\n";
        h << "        };\n        return k;\n";
    }
    h << "    }\n};\n\n";
}

void emitRow(std::ostream& h, const Object& o) {
    const std::string& n = o.name;
    h << "// The row: one value object per column, with the class-wide metadata set up once per process.\n";
    h << "class " << n << "_t2 : public KODBRowBase {\n"
      << "public:\n"
      << "    inline static std::string m_name;\n"
      << "    inline static int m_type = 0;\n"
      << "    inline static std::vector<std::string> m_staticColumnVec;\n"
      << "    inline static std::string structSchema;\n"
      << "    inline static std::map<std::string, std::map<std::string, std::string>> m_foreignKeyMap;\n"
      << "    inline static std::atomic<bool> s_isInitialized{false};\n\n";
    h << "    " << n << "_t2() {\n"
      << "        m_generated = true;\n"
      << "        addColumns(" << n << "_t::columns(), " << n << "_t::kColumnCount);\n"
      << "        if (!s_isInitialized) {\n"
      << "            lock();\n"
      << "            if (!s_isInitialized) {\n"
      << "                setTableName(" << cLiteral(n) << ");\n"
      << "                m_type = " << static_cast<int>(o.kind) << ";\n"
      << "                structSchema = fillForTime(" << cLiteral(o.format) << ");\n"
      << "                for (int i = 0; i < " << n << "_t::kColumnCount; ++i) pushColumnName(" << n
      << "_t::columns()[i].name);\n"
      << "                s_isInitialized = true;\n"
      << "            }\n"
      << "            unLock();\n"
      << "        }\n";
    if (o.kind == Kind::Table) {
        for (const std::string& k : o.keys) h << "        primaryKeys.push_back(" << cLiteral(k) << ");\n";
        h << "        serialColumn = " << cLiteral(o.identity) << ";\n";
    }
    h << "    }\n\n";
    h << "    int getSerialColNum() override { return serialColumnIn(m_staticColumnVec); }\n"
      << "    std::string getTableName() override { return m_name; }\n"
      << "    std::string getPrimaryWhere() override { return primaryWhere(); }\n"
      << "    std::vector<KODBDataTypeBase*> getPrimaryData() override { return primaryData(); }\n"
      << "    std::string getStructDef() override { return structSchema; }\n"
      << "    void setTableName(std::string name) override { m_name = name; }\n"
      << "    const char* getColumnName_t2(const int& index) const override {\n"
      << "        return m_staticColumnVec[index].c_str();\n"
      << "    }\n"
      << "    void pushColumnName(const char* name) override { m_staticColumnVec.push_back(name); }\n"
      << "    int getHeaderType() override { return m_type; }\n"
      << "    virtual std::map<std::string, std::map<std::string, std::string>> getForeignKeyMap() {\n"
      << "        return m_foreignKeyMap;\n"
      << "    }\n"
      << "};\n\n";
}

}  // namespace bindgen
