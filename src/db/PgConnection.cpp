#include "db/PgConnection.h"

#include <libpq-fe.h>

#include <cctype>
#include <cstdlib>
#include <memory>
#include <vector>

#include "base/RuntimeError.h"
#include "base/Text.h"
#include "db/Dialect.h"

namespace kmd::db {

namespace {

// Type oids of the server's built-in types that are not read as text.
constexpr Oid kBool = 16, kBytea = 17, kInt8 = 20, kInt2 = 21, kInt4 = 23, kOid = 26, kFloat4 = 700,
              kFloat8 = 701, kNumeric = 1700;

using Result = std::unique_ptr<PGresult, decltype(&PQclear)>;

void Quiet(void*, const char*) {}

// The error of a failed result: another transaction's lock or write is the busy text.
std::string ErrorOf(PGconn* conn, const PGresult* res) {
  const char* state = res ? PQresultErrorField(res, PG_DIAG_SQLSTATE) : nullptr;
  if (state) {
    std::string s = state;
    if (s == "40001" || s == "40P01" || s == "55P03") return kBusyText;
  }
  const char* primary = res ? PQresultErrorField(res, PG_DIAG_MESSAGE_PRIMARY) : nullptr;
  if (primary && *primary) return primary;
  std::string msg = PQerrorMessage(conn);
  while (!msg.empty() && (msg.back() == '\n' || msg.back() == ' ')) msg.pop_back();
  return msg.empty() ? "the server gave no result" : msg;
}

bool Failed(const PGresult* res) {
  auto st = PQresultStatus(res);
  return st != PGRES_COMMAND_OK && st != PGRES_TUPLES_OK && st != PGRES_EMPTY_QUERY;
}

Value CellValue(const PGresult* res, int row, int col) {
  if (PQgetisnull(res, row, col)) return Value::Null();
  const char* v = PQgetvalue(res, row, col);
  switch (PQftype(res, col)) {
    case kInt2:
    case kInt4:
    case kInt8:
    case kOid:
      return Value(std::strtoll(v, nullptr, 10));
    case kFloat4:
    case kFloat8:
    case kNumeric:
      return Value(std::strtod(v, nullptr));
    case kBool:
      return Value(v[0] == 't');
    case kBytea: {
      size_t n = 0;
      unsigned char* b = PQunescapeBytea(reinterpret_cast<const unsigned char*>(v), &n);
      if (!b) return Value::Null();
      Value out(Value::Bytes(b, b + n));
      PQfreemem(b);
      return out;
    }
    default:
      return Value(std::string(v, static_cast<size_t>(PQgetlength(res, row, col))));
  }
}

// The first word of a statement, upper-cased.
std::string FirstWord(const std::string& sql) {
  size_t b = sql.find_first_not_of(" \t\r\n");
  if (b == std::string::npos) return "";
  size_t e = b;
  while (e < sql.size() && std::isalpha(static_cast<unsigned char>(sql[e]))) ++e;
  return text::UCase(sql.substr(b, e - b));
}

bool IsNameByte(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

// The items of a statement's select list as written, when it begins with SELECT; empty otherwise.
std::vector<std::string> SelectList(const std::string& sql) {
  std::vector<std::string> items;
  size_t i = sql.find_first_not_of(" \t\r\n");
  if (i == std::string::npos || !text::StartsWithNoCase(sql.substr(i), "select") ||
      (i + 6 < sql.size() && IsNameByte(sql[i + 6])))
    return items;
  i += 6;
  int depth = 0;
  size_t start = i;
  for (; i < sql.size(); ++i) {
    char c = sql[i];
    if (c == '\'') {
      size_t e = sql.find('\'', i + 1);
      while (e != std::string::npos && e + 1 < sql.size() && sql[e + 1] == '\'') e = sql.find('\'', e + 2);
      if (e == std::string::npos) break;
      i = e;
    } else if (c == '(') {
      ++depth;
    } else if (c == ')') {
      --depth;
    } else if (depth == 0 && c == ',') {
      items.push_back(text::Trim(sql.substr(start, i - start)));
      start = i + 1;
    } else if (depth == 0 && IsNameByte(c) && (i == 0 || !IsNameByte(sql[i - 1]))) {
      size_t e = i;
      while (e < sql.size() && IsNameByte(sql[e])) ++e;
      std::string word = sql.substr(i, e - i);
      if (text::EqualsNoCase(word, "from")) break;
      // DISTINCT, ALL and TOP n before the first item are no part of it.
      if (items.empty() && text::Trim(sql.substr(start, i - start)).empty() &&
          (text::EqualsNoCase(word, "distinct") || text::EqualsNoCase(word, "all"))) {
        start = e;
      } else if (items.empty() && text::Trim(sql.substr(start, i - start)).empty() && text::EqualsNoCase(word, "top")) {
        size_t n = sql.find_first_not_of(" (", e);
        while (n < sql.size() && std::isdigit(static_cast<unsigned char>(sql[n]))) ++n;
        if (n < sql.size() && sql[n] == ')') ++n;
        start = n;
      }
      i = e - 1;
    }
  }
  items.push_back(text::Trim(sql.substr(start, i - start)));
  return items;
}

bool IsTransactionControl(const std::string& sql) {
  std::string w = FirstWord(sql);
  return w == "BEGIN" || w == "START" || w == "COMMIT" || w == "END" || w == "ROLLBACK" || w == "SAVEPOINT" ||
         w == "RELEASE";
}

// Connects to the address, or throws naming it.
PGconn* Connect(const std::string& address) {
  PGconn* conn = PQconnectdb(address.c_str());
  if (!conn) throw RuntimeError("cannot open database " + pg::Shown(address) + ": out of memory");
  if (PQstatus(conn) != CONNECTION_OK) {
    std::string msg = PQerrorMessage(conn);
    PQfinish(conn);
    while (!msg.empty() && (msg.back() == '\n' || msg.back() == ' ')) msg.pop_back();
    if (msg.find("does not exist") != std::string::npos && msg.find("database") != std::string::npos)
      throw RuntimeError("no database at " + pg::Shown(address) + "; make one with kmd init");
    throw RuntimeError("cannot open database " + pg::Shown(address) + ": " + msg);
  }
  PQsetNoticeProcessor(conn, Quiet, nullptr);
  return conn;
}

}  // namespace

PgConnection::PgConnection(const std::string& address) : m_Conn(Connect(address)) {
  std::string err;
  if (PQsetClientEncoding(m_Conn, "UTF8") != 0) err = PQerrorMessage(m_Conn);
  // A lock waits as long as SQLite's busy timeout; dates read as SQLite keeps them.
  if (err.empty()) err = Exec("SET lock_timeout = '5s'");
  if (err.empty()) err = Exec("SET DateStyle = 'ISO, YMD'");
  // A backslash in a literal is a character, never an escape that could end the literal.
  if (err.empty()) err = Exec("SET standard_conforming_strings = on");
  if (!err.empty()) {
    PQfinish(m_Conn);
    m_Conn = nullptr;
    throw RuntimeError("cannot open database " + pg::Shown(address) + ": " + err);
  }
  LoadSpellings();
}

void PgConnection::LoadSpellings() {
  Result res(PQexec(m_Conn,
                    "SELECT a.attrelid::int8, a.attnum::int4, a.attname, d.description FROM pg_description d "
                    "JOIN pg_attribute a ON a.attrelid = d.objoid AND a.attnum = d.objsubid "
                    "WHERE d.classoid = 'pg_class'::regclass AND d.objsubid > 0"),
             PQclear);
  if (PQresultStatus(res.get()) != PGRES_TUPLES_OK) return;
  for (int r = 0; r < PQntuples(res.get()); ++r) {
    std::string name = PQgetvalue(res.get(), r, 2), spelling = PQgetvalue(res.get(), r, 3);
    if (!text::EqualsNoCase(name, spelling)) continue;  // a comment of another kind
    auto oid = static_cast<unsigned>(std::strtoul(PQgetvalue(res.get(), r, 0), nullptr, 10));
    m_Spelling[{oid, std::atoi(PQgetvalue(res.get(), r, 1))}] = spelling;
    m_SpellingByName.emplace(name, spelling);
  }
}

std::string PgConnection::ColumnName(const pg_result* res, int col, const std::string& sql) const {
  std::string name = PQfname(res, col);
  auto it = m_Spelling.find({PQftable(res, col), PQftablecol(res, col)});
  if (it != m_Spelling.end() && text::EqualsNoCase(it->second, name)) return it->second;
  // An expression without a name is named by its text, as SQLite names it.
  if (PQftable(res, col) == 0) {
    auto items = SelectList(sql);
    if (items.size() == static_cast<size_t>(PQnfields(res)) && static_cast<size_t>(col) < items.size()) {
      const std::string& item = items[static_cast<size_t>(col)];
      size_t last = item.size();
      while (last > 0 && IsNameByte(item[last - 1])) --last;
      bool named = last < item.size() && text::EqualsNoCase(item.substr(last), name);
      if (!named && !item.empty()) return item;
    }
  }
  // A word of the statement outside its literals.
  for (size_t i = 0; i < sql.size();) {
    unsigned char c = static_cast<unsigned char>(sql[i]);
    if (c == '\'') {
      size_t e = sql.find('\'', i + 1);
      while (e != std::string::npos && e + 1 < sql.size() && sql[e + 1] == '\'') e = sql.find('\'', e + 2);
      if (e == std::string::npos) break;
      i = e + 1;
    } else if (std::isalnum(c) || c == '_' || c >= 0x80) {
      size_t b = i;
      while (i < sql.size() && (std::isalnum(static_cast<unsigned char>(sql[i])) || sql[i] == '_' ||
                                static_cast<unsigned char>(sql[i]) >= 0x80))
        ++i;
      if (i - b == name.size() && text::EqualsNoCase(sql.substr(b, i - b), name)) return sql.substr(b, i - b);
    } else {
      ++i;
    }
  }
  auto byName = m_SpellingByName.find(name);
  return byName != m_SpellingByName.end() ? byName->second : name;
}

PgConnection::~PgConnection() {
  if (!m_Conn) return;
  if (InTransaction()) Exec("ROLLBACK");
  PQfinish(m_Conn);
}

std::string PgConnection::Exec(const char* sql) {
  Result res(PQexec(m_Conn, sql), PQclear);
  return Failed(res.get()) ? ErrorOf(m_Conn, res.get()) : "";
}

std::string PgConnection::Run(const std::string& sql, const std::vector<Value>& params, QueryResult* out) {
  if (std::string why = RefusedStatement(sql); !why.empty()) return why;
  if (out) *out = {};
  std::string adapted = dialect::ToPostgres(sql);
  // Texts go as text for the server to read by their place in the statement; bytes go as binary.
  std::vector<std::string> texts(params.size());
  std::vector<const char*> values(params.size(), nullptr);
  std::vector<int> lengths(params.size(), 0), formats(params.size(), 0);
  std::vector<Oid> types(params.size(), 0);
  for (size_t i = 0; i < params.size(); ++i) {
    const Value& v = params[i];
    switch (v.GetType()) {
      case Value::Type::Empty:
      case Value::Type::Null:
        break;
      case Value::Type::Bytes:
        values[i] = reinterpret_cast<const char*>(v.ToBytes().data());
        lengths[i] = static_cast<int>(v.ToBytes().size());
        formats[i] = 1;
        types[i] = kBytea;
        break;
      case Value::Type::Boolean:
        texts[i] = v.ToBool() ? "1" : "0";
        values[i] = texts[i].c_str();
        break;
      default:
        texts[i] = v.ToText();
        values[i] = texts[i].c_str();
    }
  }
  bool guarded = InTransaction() && !IsTransactionControl(adapted);
  if (guarded) {
    if (std::string err = Exec("SAVEPOINT kmd_statement"); !err.empty()) return err;
  }
  Result res(PQexecParams(m_Conn, adapted.c_str(), static_cast<int>(params.size()), types.data(), values.data(),
                          lengths.data(), formats.data(), 0),
             PQclear);
  if (Failed(res.get())) {
    std::string err = ErrorOf(m_Conn, res.get());
    // Back to the state before the statement; the transaction goes on.
    if (guarded) Exec("ROLLBACK TO SAVEPOINT kmd_statement");
    return err;
  }
  if (guarded) {
    if (std::string err = Exec("RELEASE SAVEPOINT kmd_statement"); !err.empty()) return err;
  }
  std::string status = PQcmdStatus(res.get());
  if (status.rfind("INSERT", 0) == 0 || status.rfind("UPDATE", 0) == 0 || status.rfind("DELETE", 0) == 0)
    m_Changes += std::strtoll(PQcmdTuples(res.get()), nullptr, 10);
  if (out && PQresultStatus(res.get()) == PGRES_TUPLES_OK) {
    int rows = PQntuples(res.get()), cols = PQnfields(res.get());
    for (int c = 0; c < cols; ++c) out->columns.push_back(ColumnName(res.get(), c, sql));
    out->rows.reserve(static_cast<size_t>(rows));
    for (int r = 0; r < rows; ++r) {
      Row row;
      row.reserve(static_cast<size_t>(cols));
      for (int c = 0; c < cols; ++c) row.push_back(CellValue(res.get(), r, c));
      out->rows.push_back(std::move(row));
    }
  }
  return "";
}

std::string PgConnection::Begin() { return Exec("BEGIN ISOLATION LEVEL SERIALIZABLE"); }

std::string PgConnection::BeginImmediate() {
  std::string err = Begin();
  if (err.empty()) err = Exec("LOCK TABLE xt_idcounter IN SHARE ROW EXCLUSIVE MODE");
  if (!err.empty() && InTransaction()) Exec("ROLLBACK");
  return err;
}

std::string PgConnection::Commit() {
  if (!InTransaction()) return "cannot commit - no transaction is active";
  Result res(PQexec(m_Conn, "COMMIT"), PQclear);
  if (Failed(res.get())) return ErrorOf(m_Conn, res.get());
  // A transaction that had failed ends in a rollback, without an error.
  if (std::string(PQcmdStatus(res.get())) == "ROLLBACK") return "the transaction was rolled back";
  return "";
}

std::string PgConnection::Rollback() {
  if (!InTransaction()) return "cannot rollback - no transaction is active";
  return Exec("ROLLBACK");
}

bool PgConnection::InTransaction() const {
  auto st = PQtransactionStatus(m_Conn);
  return st == PQTRANS_INTRANS || st == PQTRANS_INERROR || st == PQTRANS_ACTIVE;
}

std::vector<std::string> PgConnection::KeyColumns(const std::string& table) {
  QueryResult r;
  std::vector<std::string> keys;
  std::string sql =
      "SELECT a.attname FROM pg_index i JOIN pg_attribute a ON a.attrelid = i.indrelid AND a.attnum = ANY(i.indkey) "
      "WHERE i.indrelid = to_regclass(?) AND i.indisprimary ORDER BY a.attnum";
  if (!Run(sql, {Value(table)}, &r).empty()) return keys;
  for (const auto& row : r.rows) keys.push_back(row[0].ToText());
  return keys;
}

std::string PgConnection::RunScript(const std::string& script) { return Exec(script.c_str()); }

namespace pg {

bool IsAddress(const std::string& address) {
  return address.rfind("postgres://", 0) == 0 || address.rfind("postgresql://", 0) == 0;
}

namespace {

// The address in parts: "scheme://", the authority, the path after its "/" and the "?..." rest.
struct Parts {
  std::string scheme, authority, path, query;
};

Parts Split(const std::string& address) {
  Parts p;
  size_t s = address.find("://");
  size_t a = s == std::string::npos ? 0 : s + 3;
  p.scheme = address.substr(0, a);
  size_t end = address.find_first_of("/?", a);
  p.authority = address.substr(a, end == std::string::npos ? std::string::npos : end - a);
  if (end == std::string::npos) return p;
  size_t q = address.find('?', end);
  if (address[end] == '/') p.path = address.substr(end + 1, q == std::string::npos ? std::string::npos : q - end - 1);
  if (q != std::string::npos) p.query = address.substr(q);
  return p;
}

std::string DatabaseName(const std::string& address) {
  char* err = nullptr;
  PQconninfoOption* options = PQconninfoParse(address.c_str(), &err);
  if (!options) {
    std::string msg = err ? err : "not a database address";
    PQfreemem(err);
    throw RuntimeError("cannot read " + Shown(address) + ": " + msg);
  }
  std::string name;
  for (auto* o = options; o->keyword; ++o)
    if (std::string(o->keyword) == "dbname" && o->val) name = o->val;
  PQconninfoFree(options);
  if (name.empty()) throw RuntimeError(Shown(address) + " names no database");
  return name;
}

std::string QuotedName(const std::string& name) {
  std::string out = "\"";
  for (char c : name) out += c == '"' ? std::string("\"\"") : std::string(1, c);
  return out + "\"";
}

}  // namespace

std::string Shown(const std::string& address) {
  Parts p = Split(address);
  size_t at = p.authority.rfind('@');
  size_t colon = p.authority.find(':');
  if (at != std::string::npos && colon < at) p.authority.erase(colon, at - colon);
  std::string query;
  if (!p.query.empty()) {
    // Every parameter but the password.
    size_t i = 1;
    while (i < p.query.size()) {
      size_t e = p.query.find('&', i);
      std::string item = p.query.substr(i, e == std::string::npos ? std::string::npos : e - i);
      if (item.rfind("password=", 0) != 0) query += (query.empty() ? "?" : "&") + item;
      if (e == std::string::npos) break;
      i = e + 1;
    }
  }
  return p.scheme + p.authority + "/" + p.path + query;
}

std::string WithDatabase(const std::string& address, const std::string& database) {
  Parts p = Split(address);
  return p.scheme + p.authority + "/" + database + p.query;
}

bool CreateDatabase(const std::string& address) {
  std::string name = DatabaseName(address);
  PgConnection server(WithDatabase(address, "postgres"));
  QueryResult r;
  std::string err = server.Run("SELECT 1 FROM pg_database WHERE datname = ?", {Value(name)}, &r);
  if (err.empty() && !r.rows.empty()) return false;
  if (err.empty())
    err = server.RunScript("CREATE DATABASE " + QuotedName(name) +
                           " TEMPLATE template0 ENCODING 'UTF8' LC_COLLATE 'C' LC_CTYPE 'C'");
  if (!err.empty()) throw RuntimeError("cannot make the database " + name + ": " + err);
  return true;
}

void DropDatabase(const std::string& address) {
  std::string name = DatabaseName(address);
  PgConnection server(WithDatabase(address, "postgres"));
  std::string err = server.RunScript("DROP DATABASE IF EXISTS " + QuotedName(name) + " WITH (FORCE)");
  if (!err.empty()) throw RuntimeError("cannot drop the database " + name + ": " + err);
}

}  // namespace pg

}  // namespace kmd::db
