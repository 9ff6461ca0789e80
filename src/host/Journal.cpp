#include "host/Journal.h"

#include <ctime>

#include "base/RuntimeError.h"

namespace kmd::host {

namespace {

std::string Now() {
  std::time_t t = std::time(nullptr);
  std::tm local{};
  localtime_r(&t, &local);
  char buf[32];
  std::strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S", &local);
  return buf;
}

}  // namespace

std::string WriteJournal(db::Connection& connection, JournalLine line) {
  if (line.time.empty()) line.time = Now();
  return connection.Run("INSERT INTO xt_journal (time, username, form, level, title, message) VALUES (?, ?, ?, ?, ?, ?)",
                        {Value(line.time), Value(line.user), Value(line.form), Value(line.level), Value(line.title),
                         Value(line.message)},
                        nullptr);
}

std::vector<JournalLine> ReadJournal(db::Connection& connection, const std::string& since, int limit) {
  db::QueryResult r;
  std::string sql = "SELECT time, username, form, level, title, message, id FROM xt_journal WHERE time >= ? ORDER BY id";
  if (limit > 0) sql = "SELECT * FROM (" + sql + " DESC LIMIT " + std::to_string(limit) + ") AS recent ORDER BY id";
  std::string err = connection.Run(sql, {Value(since)}, &r);
  if (!err.empty()) throw RuntimeError(err);
  std::vector<JournalLine> lines;
  for (const auto& row : r.rows)
    lines.push_back({row[1].ToText(), row[2].ToText(), row[3].ToLong(), row[4].ToText(),
                     row[5].ToText(), row[0].ToText()});
  return lines;
}

std::string FormatJournalLine(const JournalLine& line) {
  return line.time + "  " + line.user + "  " + line.form + "  " + std::to_string(line.level) + "  " + line.title +
         "  " + line.message;
}

}  // namespace kmd::host
