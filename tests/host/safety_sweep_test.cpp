// Every registered form against hostile input and failing statements. Typed text is stored as
// typed or refused with a message, and nothing else in the database moves; a command whose n-th
// statement fails leaves the database as it was, and the same command then works.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>

#include "base/Text.h"
#include "db/Connection.h"
#include "db/Scratch.h"
#include "frame/FormGuard.h"
#include "host/AllForms.h"
#include "host/Context.h"
#include "host/Setup.h"
#include "support/FileText.h"
#include "view/Widgets.h"

namespace fs = std::filesystem;
using namespace kmd;

namespace {

// ---- Every row of every table by rowid, and the schema. ----
struct Snapshot {
  std::map<std::string, std::vector<std::string>> columns;
  std::map<std::string, std::map<int64_t, std::vector<std::string>>> rows;
  std::string schema;
};

// Read straight from SQLite, past the dialect adapter, by a connection of the test's own; on a
// server, by a connection of its own, cells typed with SQLite's type numbers.
class Reader {
 public:
  explicit Reader(const std::string& address) {
    if (db::pg::IsAddress(address)) {
      m_Server = db::Open(address);
      return;
    }
    EXPECT_EQ(sqlite3_open_v2(address.c_str(), &m_Db, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
  }
  ~Reader() { sqlite3_close(m_Db); }
  bool OnServer() const { return m_Server != nullptr; }
  // Calls `row` with the cells of each row, each cell its type and text; gives the column names.
  std::vector<std::string> Query(const std::string& sql, const std::function<void(std::vector<std::string>)>& row) {
    if (m_Server) return ServerQuery(sql, row);
    sqlite3_stmt* st = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(m_Db, sql.c_str(), -1, &st, nullptr), SQLITE_OK) << sql;
    std::vector<std::string> names;
    for (int i = 0; st && i < sqlite3_column_count(st); ++i) names.push_back(sqlite3_column_name(st, i));
    while (st && sqlite3_step(st) == SQLITE_ROW) {
      std::vector<std::string> cells;
      for (int i = 0; i < sqlite3_column_count(st); ++i) {
        auto text = static_cast<const char*>(sqlite3_column_blob(st, i));
        cells.push_back(std::to_string(sqlite3_column_type(st, i)) + ":" +
                        std::string(text ? text : "", static_cast<size_t>(sqlite3_column_bytes(st, i))));
      }
      row(std::move(cells));
    }
    sqlite3_finalize(st);
    return names;
  }

 private:
  std::vector<std::string> ServerQuery(const std::string& sql, const std::function<void(std::vector<std::string>)>& row) {
    db::QueryResult r;
    EXPECT_EQ(m_Server->Run(sql, {}, &r), "") << sql;
    for (const auto& values : r.rows) {
      std::vector<std::string> cells;
      for (const auto& v : values) {
        using T = Value::Type;
        T t = v.GetType();
        int type = t == T::Long ? 1 : t == T::Double ? 2 : t == T::Bytes ? 4 : v.IsNull() ? 5 : 3;
        cells.push_back(std::to_string(type) + ":" +
                        (t == T::Bytes ? std::string(v.ToBytes().begin(), v.ToBytes().end()) : v.IsNull() ? "" : v.ToText()));
      }
      row(std::move(cells));
    }
    return r.columns;
  }
  sqlite3* m_Db = nullptr;
  std::shared_ptr<db::Connection> m_Server;
};

// On a server: the columns, views and indexes as the schema; rows by their single whole-number
// key, else by a number made of their key's text (of every cell where a table has no key).
Snapshot TakeFromServer(Reader& reader) {
  Snapshot s;
  std::vector<std::string> tables;
  reader.Query("SELECT table_name, column_name, data_type, collation_name FROM information_schema.columns "
               "WHERE table_schema = current_schema() ORDER BY table_name, ordinal_position",
               [&](std::vector<std::string> m) { s.schema += m[0] + "|" + m[1] + "|" + m[2] + "|" + m[3] + "\n"; });
  reader.Query("SELECT indexname, indexdef FROM pg_indexes WHERE schemaname = current_schema() ORDER BY indexname",
               [&](std::vector<std::string> m) { s.schema += m[0] + "|" + m[1] + "\n"; });
  reader.Query("SELECT viewname, definition FROM pg_views WHERE schemaname = current_schema() ORDER BY viewname",
               [&](std::vector<std::string> m) { s.schema += m[0] + "|" + m[1] + "\n"; });
  reader.Query("SELECT table_name FROM information_schema.tables WHERE table_schema = current_schema() "
               "AND table_type = 'BASE TABLE' ORDER BY table_name",
               [&](std::vector<std::string> m) { tables.push_back(m[0].substr(2)); });
  for (const auto& table : tables) {
    // The key's cells and the column names, read once for each table: no step changes the schema.
    static std::map<std::string, std::pair<std::vector<size_t>, std::vector<std::string>>> layouts;
    if (!layouts.count(table)) {
      std::vector<std::string> key;
      reader.Query("SELECT a.attname FROM pg_index i JOIN pg_attribute a ON a.attrelid = i.indrelid AND "
                   "a.attnum = ANY(i.indkey) WHERE i.indrelid = '" + table + "'::regclass AND i.indisprimary",
                   [&](std::vector<std::string> m) { key.push_back(m[0].substr(2)); });
      auto names = reader.Query("SELECT * FROM " + table + " WHERE false", [](std::vector<std::string>) {});
      std::vector<size_t> cells;
      for (const auto& k : key)
        for (size_t i = 0; i < names.size(); ++i)
          if (text::EqualsNoCase(names[i], k)) cells.push_back(i);
      layouts[table] = {cells, names};
    }
    const auto& [keyCells, names] = layouts[table];
    auto& rows = s.rows[table];
    reader.Query("SELECT * FROM " + table, [&](std::vector<std::string> row) {
      std::string keyText;
      for (size_t i = 0; i < row.size(); ++i)
        if (keyCells.empty() || std::find(keyCells.begin(), keyCells.end(), i) != keyCells.end())
          keyText += row[i] + "\x1f";
      int64_t id = keyCells.size() == 1 && keyText.rfind("1:", 0) == 0
                       ? std::stoll(keyText.substr(2))
                       : static_cast<int64_t>(std::hash<std::string>()(keyText) >> 1);
      rows[id] = row;
    });
    s.columns[table] = {"key"};
    s.columns[table].insert(s.columns[table].end(), names.begin(), names.end());
  }
  return s;
}

Snapshot TakeFromServer(Reader& reader);

Snapshot Take(Reader& reader) {
  if (reader.OnServer()) return TakeFromServer(reader);
  Snapshot s;
  std::vector<std::string> tables;
  reader.Query("SELECT type, name, sql FROM sqlite_master ORDER BY type, name", [&](std::vector<std::string> m) {
    s.schema += m[0] + "|" + m[1] + "|" + m[2] + "\n";
    if (m[0] == "3:table" && m[1].rfind("3:sqlite_", 0) != 0) tables.push_back(m[1].substr(2));
  });
  for (const auto& table : tables) {
    auto& rows = s.rows[table];
    s.columns[table] = reader.Query("SELECT rowid, * FROM \"" + table + "\"", [&](std::vector<std::string> row) {
      rows[std::stoll(row[0].substr(2))] = std::vector<std::string>(row.begin() + 1, row.end());
    });
  }
  return s;
}

// One row that differs: '+' added, '-' removed, '~' changed in `cells` (column = new value).
struct Change {
  std::string table;
  int64_t rowid;
  char kind;
  std::map<std::string, std::string> cells;
};

std::vector<Change> Diff(const Snapshot& a, const Snapshot& b) {
  std::vector<Change> out;
  for (const auto& [table, after] : b.rows) {
    const auto& cols = b.columns.at(table);
    auto it = a.rows.find(table);
    static const std::map<int64_t, std::vector<std::string>> none;
    const auto& before = it == a.rows.end() ? none : it->second;
    for (const auto& [id, row] : after) {
      auto old = before.find(id);
      if (old == before.end()) {
        out.push_back({table, id, '+', {}});
        for (size_t i = 0; i < row.size(); ++i) out.back().cells[cols[i + 1]] = row[i];
      } else if (old->second != row) {
        out.push_back({table, id, '~', {}});
        for (size_t i = 0; i < row.size(); ++i)
          if (i >= old->second.size() || old->second[i] != row[i]) out.back().cells[cols[i + 1]] = row[i];
      }
    }
    for (const auto& [id, row] : before)
      if (!after.count(id)) out.push_back({table, id, '-', {}});
  }
  return out;
}

std::string Describe(const std::vector<Change>& changes) {
  std::ostringstream out;
  for (const auto& c : changes) {
    out << c.kind << " " << c.table << " " << c.rowid;
    for (const auto& [col, v] : c.cells) out << " " << col << "=" << v.substr(0, 40);
    out << "\n";
  }
  return out.str();
}

// Boxes answer Yes (or OK), the find box answers `find`; boxes and reports are kept in order.
class Recorder : public view::Platform, public IFormEvents {
 public:
  int MsgBox(const std::string& text, int style, const std::string& title) override {
    shown.push_back("box " + title + " | " + text);
    int buttons = style & 7;
    return buttons == view::vbYesNo || buttons == view::vbYesNoCancel ? view::vbYes : view::vbOK;
  }
  std::string InputBox(const std::string&, const std::string&, const std::string&) override { return find; }
  void Message(const std::string&) override {}
  void ErrMessage(const std::string& msg, int32_t level, const std::string& title) override {
    if (level > kJournal) shown.push_back("err " + std::to_string(level) + " " + title + " | " + msg);
    if (level >= kFailure) failures.push_back(std::to_string(level) + " " + msg);
  }
  void FormRefreshed() override {}
  void Property(const std::string&, const Value&, bool) override {}
  // What was shown since the last call.
  std::string Take() {
    std::string all;
    for (const auto& s : shown) all += s.substr(0, 200) + "\n";
    shown.clear();
    return all;
  }

  std::vector<std::string> shown, failures;
  std::string find;
};

// A form window over its own copy of the demo database.
struct Window {
  Window(const std::string& file, const std::string& className)
      : database(std::make_shared<db::Database>(db::Open(file))),
        reader(file),
        context(std::make_shared<host::Context>(database, IUserInfo{"tester", "", ""})) {
    context->SetWindows(&rec, nullptr);
    form = host::AllForms().Create(className, rec);
    form->SetEventSink(&rec);
    EXPECT_TRUE(form->Init(context.get(), 0, 0)) << className;
    form->Refresh();
    rec.Take();
  }
  ~Window() { form->Clear(); }

  view::TreeView& Tree() { return *form->Inner().Tree(); }
  // The record's node (a leaf where a record has two), never a root. Where leaves of two tables
  // share the tag (units and the employees added under them), the one added last is the form's.
  NodePtr Node(int64_t id) {
    NodePtr any, leaf;
    for (const auto& n : Tree().AllNodes())
      if (n->Parent() && n->Tag.ToLong() == id) {
        if (n->Children() == 0) leaf = n->Ptr();
        any = n->Ptr();
      }
    return leaf ? leaf : any;
  }
  bool Click(int64_t id) {
    NodePtr n = Node(id);
    return n && form->Run([&] { Tree().UserClick(n); });
  }
  std::vector<view::TextField*> Fields(bool enabledOnly) {
    std::vector<view::TextField*> out;
    for (const auto& c : form->Controls())
      if (auto* f = dynamic_cast<view::TextField*>(c.get()); f && (!enabledOnly || (f->Enabled() && !f->Locked)))
        out.push_back(f);
    return out;
  }
  bool Type(view::TextField& f, const std::string& text) {
    return form->Run([&] {
      f.UserType(text);
      if (f.GetReference().IsReference) f.UserLeave();
    });
  }
  // What is committed, read by a connection of its own; taken again only when the file changed.
  std::shared_ptr<const Snapshot> Snap() {
    std::string now;
    // The file's version; on a server, the end of its write-ahead log, which every write moves.
    reader.Query(reader.OnServer() ? "SELECT pg_current_wal_insert_lsn()::text" : "PRAGMA data_version",
                 [&](std::vector<std::string> row) { now = row.at(0); });
    if (now != seen) {
      seen = now;
      last = std::make_shared<const Snapshot>(Take(reader));
    }
    return last;
  }

  Recorder rec;
  std::shared_ptr<db::Database> database;
  Reader reader;
  std::string seen;
  std::shared_ptr<const Snapshot> last;
  std::shared_ptr<host::Context> context;
  std::unique_ptr<FormGuard> form;
};

// The sweep reaches records through the tree; a form that lists them instead (HL) is left out.
// Forms with a line grid are left to their scenarios: a save of theirs needs lines, and writes
// rows of several tables.
bool SweepsByTree(const std::string& className) {
  Recorder rec;
  auto form = host::AllForms().Create(className, rec);
  if (!form || !form->Inner().Tree()) return false;
  for (const auto& c : form->Controls())
    if (c->TypeName() == "qnGrid") return false;
  return true;
}

// A text of the same shape that no record holds: its last two characters (or all it has) become
// a number of the field's, 50 + its place among the fields.
std::string Fresh(const std::string& t, size_t place) {
  size_t end = t.size();
  for (int chars = 0; chars < 2; ++chars) {
    if (end == 0) break;
    do --end;
    while (end > 0 && (static_cast<unsigned char>(t[end]) & 0xC0) == 0x80);
  }
  return t.substr(0, end) + std::to_string(50 + place);
}

class SafetySweep : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir = kmd::test::ScratchDir("kmd_safety");
    host::InitDatabase(test::ScratchAddress(dir, "demo.db"), true);
  }
  static void TearDownTestSuite() {
    fs::remove_all(dir);
    for (const char* name : {"demo.db", "sweep.db", "fault.db"}) test::DropScratch(test::ScratchAddress(dir, name));
  }
  // A fresh copy of the demo database.
  static std::string Copy(const std::string& name) {
    std::string copy = test::ScratchAddress(dir, name + ".db");
    test::CopyScratch(test::ScratchAddress(dir, "demo.db"), copy);
    return copy;
  }

  // The first leaf record the form opens for editing, and the texts of its fields.
  // Leaves are tried by id, not in load order: a server returns an unordered load in the order its
  // heap holds the rows, which changes as copies of the database are put back.
  static int64_t PickRecord(Window& w, std::vector<std::string>& texts) {
    std::vector<view::Node*> leaves;
    for (auto* n : w.Tree().AllNodes())
      if (n->Parent() && n->Children() == 0 && n->Tag.ToLong() > 0) leaves.push_back(n);
    std::ranges::sort(leaves, {}, [](const view::Node* n) { return n->Tag.ToLong(); });
    for (auto* n : leaves) {
      w.form->Run([&] { w.Tree().UserClick(n->Ptr()); });
      bool editable = w.form->FileEdit();
      w.form->FileCancel();
      if (!editable) continue;
      texts.clear();
      for (auto* f : w.Fields(false)) texts.push_back(f->Text());
      w.rec.Take();
      return n->Tag.ToLong();
    }
    return 0;
  }
  // Fills the fields enabled now with fresh values of `texts`; a reference takes the text as it was.
  static void FillFresh(Window& w, const std::vector<std::string>& texts, const view::TextField* except = nullptr) {
    auto all = w.Fields(false);
    for (size_t j = 0; j < all.size(); ++j)
      if (all[j] != except && all[j]->Enabled()) {
        EXPECT_TRUE(w.Type(*all[j], all[j]->GetReference().IsReference ? texts[j] : Fresh(texts[j], j)));
      }
  }

  // Saves a new record of fresh values beside the record, or under it as its first child; gives
  // the new row's id.
  static int64_t SaveNew(Window& w, int64_t record, const std::vector<std::string>& texts, bool child) {
    auto before = w.Snap();
    if (!w.Click(record) || !(child ? w.form->FileNewNext() : w.form->FileNew())) return 0;
    FillFresh(w, texts);
    EXPECT_TRUE(w.form->FileSave()) << w.rec.Take();
    for (const auto& c : Diff(*before, *w.Snap()))
      if (c.kind == '+' && c.table != "xt_idcounter") return c.rowid;
    return 0;
  }

  static fs::path dir;
};
fs::path SafetySweep::dir;

const std::vector<std::pair<std::string, std::string>> kHostile = {
    {"quote", "O'Brien"},
    {"line comment", "x' --"},
    {"block comment", "x' /*"},
    {"second statement", "'; drop table kmdjldw; --"},
    {"always true", "' or '1'='1"},
    {"NUL", std::string("a\0b", 3)},
    {"10000 characters", std::string(10000, 'x')},
    {"invalid UTF-8", "a\xC3(b\xFF"},
};

TEST_F(SafetySweep, HostileTextIsStoredAsTypedOrRefusedAndNothingElseMoves) {
  const std::string refusedInput = view::InputRefused().what();
  for (const auto& entry : host::AllForms().Entries()) {
    if (!SweepsByTree(entry.className)) continue;
    SCOPED_TRACE(entry.className);
    Window w(Copy("sweep"), entry.className);
    std::vector<std::string> texts;
    const int64_t record = PickRecord(w, texts);
    ASSERT_GT(record, 0) << "no record opens for editing";
    std::string table;  // the form's table, learnt from the first save

    // Runs one step; `changes` gets what it changed. Every step leaves the schema, reports no
    // failure and lets no exception out.
    std::vector<Change> changes;
    std::string shown;
    auto step = [&](const std::string& what, const std::function<void()>& action) {
      SCOPED_TRACE(what);
      auto before = w.Snap();
      action();
      auto after = w.Snap();
      EXPECT_EQ(before->schema, after->schema);
      changes = Diff(*before, *after);
      // The catalogue's side row is made and deleted with its product.
      std::erase_if(changes, [](const Change& c) { return text::EqualsNoCase(c.table, "KMDCPMLB"); });
      shown = w.rec.Take();
      EXPECT_TRUE(w.rec.failures.empty()) << w.rec.failures.front();
      w.rec.failures.clear();
    };
    // A save stored one new row of the form's table holding `value` where given (the id counter
    // moved with it), and deleting it again removes that row alone.
    auto newRowThenDelete = [&](const std::string& value, const std::function<void(const Change&)>& look = {}) {
      std::vector<Change> rows;
      for (const auto& c : changes)
        if (c.table != "xt_idcounter") rows.push_back(c);
      ASSERT_EQ(rows.size(), 1u) << Describe(changes);
      ASSERT_EQ(rows[0].kind, '+') << Describe(changes);
      ASSERT_LE(changes.size(), 2u) << Describe(changes);
      if (table.empty()) table = rows[0].table;
      EXPECT_EQ(rows[0].table, table);
      bool holds = value.empty();
      for (const auto& [col, v] : rows[0].cells) holds = holds || v.ends_with(value);
      EXPECT_TRUE(holds) << Describe(changes);
      if (look) look(rows[0]);
      int64_t id = rows[0].rowid;
      step("delete the new record", [&] {
        ASSERT_TRUE(w.Click(id)) << "the new record has no node";
        EXPECT_TRUE(w.form->FileDelete()) << w.rec.Take();
      });
      ASSERT_EQ(changes.size(), 1u) << Describe(changes) << shown;
      EXPECT_EQ(changes[0].kind, '-');
      EXPECT_EQ(changes[0].table, table);
      EXPECT_EQ(changes[0].rowid, id);
    };
    // Leaves the new or edited record after a refusal, which changed nothing.
    auto cancel = [&] {
      EXPECT_TRUE(changes.empty()) << Describe(changes);
      w.form->FileCancel();
      w.rec.Take();
    };
    int stored[2] = {0, 0};  // hostile values saved in an edit and in a new record

    bool saved = false;
    step("a new record of fresh values", [&] {
      ASSERT_TRUE(w.Click(record));
      ASSERT_TRUE(w.form->FileNew());
      FillFresh(w, texts);
      saved = w.form->FileSave();
    });
    ASSERT_TRUE(saved) << shown << Describe(changes);
    // A field whose fresh value the new row does not hold is one the form shows but never saves;
    // one held as a number stores text that is no number as 0.
    std::set<const view::TextField*> unsaved, numeric;
    newRowThenDelete("", [&](const Change& row) {
      auto all = w.Fields(false);
      for (size_t j = 0; j < all.size(); ++j) {
        bool held = all[j]->GetReference().IsReference;
        std::string fresh = Fresh(texts[j], j);
        for (const auto& [col, v] : row.cells) {
          if (!held && (v.starts_with("1:") || v.starts_with("2:")) && text::IsNumeric(fresh) &&
              text::Val(v.substr(2)) == text::Val(fresh)) {
            held = true;
            numeric.insert(all[j]);
          }
          held = held || v.ends_with(fresh);
        }
        if (!held) unsaved.insert(all[j]);
      }
    });

    for (const auto& [name, value] : kHostile) {
      SCOPED_TRACE(name);
      const bool storable = name != "NUL" && name != "invalid UTF-8";
      w.rec.find = value;
      for (bool isNew : {true, false}) {
        ASSERT_TRUE(w.Click(record));
        ASSERT_TRUE(isNew ? w.form->FileNew() : w.form->FileEdit());
        auto fields = w.Fields(true);
        w.form->FileCancel();
        for (size_t i = 0; i < fields.size(); ++i) {
          view::TextField& field = *fields[i];
          SCOPED_TRACE((isNew ? "new, " : "edit, ") + field.DisplayName());
          bool typed = false;
          std::string before;
          step("type", [&] {
            ASSERT_TRUE(w.Click(record));
            ASSERT_TRUE(isNew ? w.form->FileNew() : w.form->FileEdit());
            if (isNew) FillFresh(w, texts, &field);
            before = field.Text();
            typed = w.Type(field, value);
          });
          EXPECT_TRUE(changes.empty()) << Describe(changes);
          if (!storable) {  // the box says why, the field keeps its text
            EXPECT_FALSE(typed);
            EXPECT_EQ(shown, "box 提示： | " + refusedInput + "\n");
            EXPECT_EQ(field.Text(), before);
            cancel();
            continue;
          }
          EXPECT_TRUE(typed);
          if (field.GetReference().IsReference) {  // no row has such a name: the field's box
            EXPECT_EQ(shown, "box 提示： | " + field.GetReference().ErrorText + "\n");
            cancel();
            continue;
          }
          EXPECT_EQ(field.Text(), value);
          step("save", [&] { saved = w.form->FileSave(); });
          stored[isNew] += saved && !unsaved.count(&field);
          if (!saved) {
            EXPECT_NE(shown, "") << "refused without a message";
            cancel();
          } else if (isNew) {
            newRowThenDelete(unsaved.count(&field) || numeric.count(&field) ? "" : value);
          } else if (unsaved.count(&field)) {
            EXPECT_TRUE(changes.empty()) << Describe(changes);
          } else if (numeric.count(&field)) {  // the record's number became 0, nothing else moved
            ASSERT_LE(changes.size(), 1u) << Describe(changes);
            for (const auto& c : changes) {
              EXPECT_EQ(c.rowid, record);
              for (const auto& [col, v] : c.cells) EXPECT_EQ(text::Val(v.substr(2)), 0) << col << "=" << v;
            }
          } else {  // the edited record's cells that changed hold the value
            ASSERT_EQ(changes.size(), 1u) << Describe(changes);
            EXPECT_EQ(changes[0].kind, '~');
            EXPECT_EQ(changes[0].table, table);
            EXPECT_EQ(changes[0].rowid, record);
            for (const auto& [col, v] : changes[0].cells) EXPECT_TRUE(v.ends_with(value)) << col << "=" << v;
          }
        }
      }
      step("find", [&] { w.form->Find(Value(value)); });
      EXPECT_TRUE(changes.empty()) << Describe(changes);
    }
    EXPECT_GT(stored[0], 0) << "no edit stored a hostile value";
    EXPECT_GT(stored[1], 0) << "no new record stored a hostile value";
  }
}

// For each command that writes, the n-th statement fails for every n the command sends: nothing
// is left of it, the failure is reported, the command answers False, and after a Refresh the same
// command works.
TEST_F(SafetySweep, ACommandWhoseStatementFailsChangesNothingAndThenWorks) {
  using Texts = std::vector<std::string>;
  struct Command {
    std::string name;
    // Commits what the command needs and gives the record it works on; 0 where the form has no
    // such command (the flat dictionaries have no children).
    std::function<int64_t(Window&, int64_t record, const Texts&)> setup;
    // Brings the window to the command on that record.
    std::function<bool(Window&, int64_t target, const Texts&)> prepare;
    std::function<bool(Window&)> run;
  };
  auto same = [](Window&, int64_t record, const Texts&) { return record; };
  auto fill = [](auto open) {
    return [open](Window& w, int64_t target, const Texts& texts) {
      if (!w.Click(target) || !open(*w.form)) return false;
      FillFresh(w, texts);
      return true;
    };
  };
  auto click = [](Window& w, int64_t target, const Texts&) { return w.Click(target); };
  auto save = [](Window& w) { return w.form->FileSave(); };
  auto del = [](Window& w) { return w.form->FileDelete(); };
  auto newChild = [](Window& w, int64_t record, const Texts& texts) -> int64_t {
    if (!w.Click(record) || !w.form->FileNewNext()) return 0;
    w.form->FileCancel();
    return SaveNew(w, record, texts, true);
  };
  const std::vector<Command> commands = {
      {"save of a new record", same, fill([](FormGuard& f) { return f.FileNew(); }), save},
      {"save of an edit", same, fill([](FormGuard& f) { return f.FileEdit(); }), save},
      {"delete", [](Window& w, int64_t record, const Texts& texts) { return SaveNew(w, record, texts, false); },
       click, del},
      // Coded hierarchies: a leaf becomes a branch, and a branch loses its last child.
      {"save of a first child",
       [](Window& w, int64_t record, const Texts&) -> int64_t {
         bool child = w.Click(record) && w.form->FileNewNext();
         w.form->FileCancel();
         return child ? record : 0;
       },
       fill([](FormGuard& f) { return f.FileNewNext(); }), save},
      {"delete of a last child", newChild, click, del},
  };
  for (const auto& entry : host::AllForms().Entries()) {
    if (!SweepsByTree(entry.className)) continue;
    for (const auto& command : commands) {
      SCOPED_TRACE(entry.className + ", " + command.name);
      std::shared_ptr<const Snapshot> done;
      std::vector<std::string> sent;  // the command's statements without a fault
      for (int n = 0; n <= static_cast<int>(sent.size()); ++n) {
        SCOPED_TRACE(n ? "statement " + std::to_string(n) + ": " + sent[n - 1] : "no fault");
        Window w(Copy("fault"), entry.className);
        Texts texts;
        int64_t target = command.setup(w, PickRecord(w, texts), texts);
        if (target == 0) {
          ASSERT_EQ(n, 0) << "set up once, not again";
          break;
        }
        ASSERT_TRUE(command.prepare(w, target, texts));
        w.rec.Take();
        w.rec.failures.clear();
        auto before = w.Snap();
        w.database->FailNthStatement(n);
        if (n == 0) w.database->SetTrace([&](const std::string& sql) { sent.push_back(sql); });
        bool ok = command.run(w);
        w.database->SetTrace(nullptr);
        if (n == 0) {  // the command without a fault, to compare with
          ASSERT_TRUE(ok) << w.rec.Take();
          done = w.Snap();
          ASSERT_FALSE(Diff(*before, *done).empty());
          EXPECT_EQ(static_cast<int>(sent.size()), w.database->UnitStatements());
          continue;
        }
        auto after = w.Snap();
        EXPECT_TRUE(Diff(*before, *after).empty()) << Describe(Diff(*before, *after));
        EXPECT_EQ(before->schema, after->schema);
        // A form that does not look at a statement's result goes on as if it had worked and may answer
        // True; the guard undoes the whole command all the same and reports it (level 9).
        (void)ok;
        EXPECT_FALSE(w.rec.failures.empty()) << "a failure without a report: " << w.rec.Take();
        w.form->FileCancel();
        ASSERT_TRUE(w.form->Refresh());
        ASSERT_TRUE(command.prepare(w, target, texts));
        EXPECT_TRUE(command.run(w)) << w.rec.Take();
        EXPECT_TRUE(Diff(*done, *w.Snap()).empty()) << Describe(Diff(*done, *w.Snap()));
      }
    }
  }
}

}  // namespace
