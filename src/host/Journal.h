#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "db/Connection.h"

namespace kmd::host {

// A line of the operation journal (the table xt_journal): a form's level-1 or level-9 report,
// with the user, the form's class and the local time "YYYY-MM-DD HH:MM:SS".
struct JournalLine {
  std::string user;
  std::string form;
  int32_t level = 0;
  std::string title;
  std::string message;
  std::string time;  // filled by WriteJournal when empty
};

// Appends the line; gives "" or the database's error.
std::string WriteJournal(db::Connection& connection, JournalLine line);
// The lines from `since` on (a prefix of the time format such as "2026-11-23" or
// "2026-11-23 16:40"; "" for all), oldest first; the last `limit` of them when limit > 0.
// Throws RuntimeError when the table cannot be read.
std::vector<JournalLine> ReadJournal(db::Connection& connection, const std::string& since, int limit = 0);
// "<time>  <user>  <form>  <level>  <title>  <message>", as `kmd journal` prints it.
std::string FormatJournalLine(const JournalLine& line);

}  // namespace kmd::host
