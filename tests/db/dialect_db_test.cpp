#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <set>
#include <thread>
#include <vector>

#include "base/RuntimeError.h"
#include "db/Database.h"
#include "db/Dialect.h"
#include "db/IdCounter.h"
#include "db/Scratch.h"
#include "db/SqliteConnection.h"

using namespace kmd;
using kmd::db::dialect::ToSqlite;

TEST(Dialect, TopBecomesLimitOfItsOwnQuery) {
  EXPECT_EQ(ToSqlite(" SELECT Top 1 产品类别ID FROM KMDCPML WHERE 产品类别ID=5"),
            " SELECT 产品类别ID FROM KMDCPML WHERE 产品类别ID=5 LIMIT 1");
  EXPECT_EQ(ToSqlite("SELECT TOP 0 * From KMDCPMLAttach"), "SELECT * From KMDCPMLAttach LIMIT 0");
  EXPECT_EQ(ToSqlite("select a from t where b in (select top 2 c from u order by c) order by a"),
            "select a from t where b in (select c from u order by c LIMIT 2) order by a");
  EXPECT_EQ(ToSqlite("select 'TOP 1' from t"), "select 'TOP 1' from t");
}

TEST(Dialect, DboIsNullDatesAndDeleteWithoutFrom) {
  EXPECT_EQ(ToSqlite("SELECT dbo.kmdbz.币种ID FROM dbo.kmdbz"), "SELECT kmdbz.币种ID FROM kmdbz");
  EXPECT_EQ(ToSqlite("select IsNull(A.x, 0) from t A"), "select ifnull(A.x, 0) from t A");
  EXPECT_EQ(ToSqlite("insert into t values (#1900-01-01#)"), "insert into t values ('1900-01-01')");
  EXPECT_EQ(ToSqlite("select '#1900-01-01#'"), "select '#1900-01-01#'");
  EXPECT_EQ(ToSqlite("DELETE kmdxsy WHERE AutoID=1"), "DELETE FROM kmdxsy WHERE AutoID=1");
  EXPECT_EQ(ToSqlite("delete from t where a=1"), "delete from t where a=1");
  // The server's string "+" beside a literal; numbers still add.
  EXPECT_EQ(ToSqlite("select 'k'+类别编码, a+1 from kmdcplb"), "select 'k'||类别编码, a+1 from kmdcplb");
}

// On the engine that KMD_TEST_DB names: SQLite in memory, or a scratch database on the server.
class DbTest : public testing::Test {
 protected:
  void SetUp() override {
    address = test::ScratchAddress(testing::TempDir(), "dbtest");
    if (db::pg::IsAddress(address)) {
      test::DropScratch(address);
      db::pg::CreateDatabase(address);
      conn = db::Open(address);
    } else {
      conn = std::make_shared<db::SqliteConnection>(":memory:");
    }
    ASSERT_EQ(conn->RunScript("CREATE TABLE xt_idcounter (tablename TEXT PRIMARY KEY, lastid INTEGER);"
                              "CREATE TABLE kmdwldw (往来ID INTEGER PRIMARY KEY, 销售员ID INTEGER);"
                              "CREATE TABLE kmdwlxsy (往来ID INTEGER, 销售员ID INTEGER);"
                              "CREATE TABLE KMDSKFS (收款方式ID INTEGER PRIMARY KEY, 收款名称 TEXT);"
                              "INSERT INTO kmdwldw VALUES (1, 7), (2, 8), (3, 0);"
                              "INSERT INTO kmdwlxsy VALUES (1, 7);"
                              "INSERT INTO KMDSKFS VALUES (10, 'cash');"),
              "");
    database = std::make_shared<db::Database>(conn);
  }
  void TearDown() override {
    database.reset();
    conn.reset();
    test::DropScratch(address);
  }
  std::string address;
  std::shared_ptr<db::Connection> conn;
  std::shared_ptr<db::Database> database;
};

TEST_F(DbTest, UpdateFromJoinClearsOnlyUnbackedRows) {
  database->CreateCommand(
              "update kmdwldw set 销售员ID=0 from kmdwldw A left join kmdwlxsy B on A.往来ID=B.往来ID and "
              "A.销售员ID=B.销售员ID Where IsNull(A.销售员ID, 0)<>0 And IsNull(B.销售员ID, 0)=0")
      ->Execute();
  ASSERT_EQ(database->LastError().Description(), "");
  auto rs = database->CreateCommand("select 销售员ID from kmdwldw order by 往来ID")->OpenRecordset();
  std::vector<int> got;
  for (; !rs->Eof(); rs->MoveNext()) got.push_back(rs->Fields("销售员id").ToLong());
  EXPECT_EQ(got, (std::vector<int>{7, 0, 0}));
}

TEST_F(DbTest, FailuresShowOnlyInLastError) {
  auto scalar = database->CreateCommand("select count(*) from nosuch")->ExecuteScalar();
  EXPECT_TRUE(scalar.IsNull());
  EXPECT_NE(database->LastError().Description(), "");
  auto rs = database->CreateCommand("select * from nosuch")->OpenRecordset();
  EXPECT_TRUE(rs->Eof() && rs->Bof());
  EXPECT_THROW(rs->Fields("x"), RuntimeError);
  database->CreateCommand("select 1")->ExecuteScalar();
  EXPECT_EQ(database->LastError().Description(), "");
  // A second statement is refused, not run.
  database->CreateCommand("delete from kmdwldw where 往来ID=1; delete from kmdwldw")->Execute();
  EXPECT_NE(database->LastError().Description(), "");
  EXPECT_EQ(database->CreateCommand("select count(*) from kmdwldw")->ExecuteScalar().ToLong(), 3);
  // An id in quotes compares as a number against an INTEGER column.
  EXPECT_EQ(database->CreateCommand("select count(*) from kmdwldw where 往来ID='2'")->ExecuteScalar().ToLong(), 1);
}

TEST_F(DbTest, TransactionsRollBack) {
  database->BeginTrans();
  EXPECT_TRUE(database->InTrans());
  database->CreateCommand("delete from kmdwldw")->Execute();
  database->RollbackTrans();
  EXPECT_FALSE(database->InTrans());
  EXPECT_EQ(database->CreateCommand("select count(*) from kmdwldw")->ExecuteScalar().ToLong(), 3);
  EXPECT_THROW(database->CommitTrans(), RuntimeError);
  database->RollbackTrans();  // without a transaction: nothing to undo, no error
}

// Statements with parameters are kept prepared: run again they see the new values, a table that
// gained a column, and one that was dropped and made again.
TEST_F(DbTest, StatementsRunAgainSeeNewValuesAndTheTableAsItIsNow) {
  db::QueryResult r;
  const std::string sql = "SELECT * FROM kmdwldw WHERE 往来ID = ?";
  for (int id : {1, 2, 3, 1}) {
    ASSERT_EQ(conn->Run(sql, {Value(id)}, &r), "");
    ASSERT_EQ(r.rows.size(), 1u);
    EXPECT_EQ(r.rows[0][1].ToLong(), id == 1 ? 7 : id == 2 ? 8 : 0);
  }
  ASSERT_EQ(conn->RunScript("ALTER TABLE kmdwldw ADD COLUMN 备注 TEXT; UPDATE kmdwldw SET 备注 = 'x'"), "");
  ASSERT_EQ(conn->Run(sql, {Value(2)}, &r), "");
  // The added column shows (the server spells the other names in its own case).
  ASSERT_EQ(r.columns.size(), 3u);
  EXPECT_EQ(r.columns[2], "备注");
  ASSERT_EQ(r.rows.size(), 1u);
  EXPECT_EQ(r.rows[0].size(), 3u);
  ASSERT_EQ(conn->RunScript("DROP TABLE kmdwldw"), "");
  EXPECT_NE(conn->Run(sql, {Value(1)}, &r), "");
  ASSERT_EQ(conn->RunScript("CREATE TABLE kmdwldw (往来ID INTEGER PRIMARY KEY, 销售员ID INTEGER);"
                            "INSERT INTO kmdwldw VALUES (1, 9)"),
            "");
  ASSERT_EQ(conn->Run(sql, {Value(1)}, &r), "");
  ASSERT_EQ(r.rows.size(), 1u);
  EXPECT_EQ(r.rows[0][1].ToLong(), 9);
}

TEST_F(DbTest, NextIdSharesOneCounterPerTableAndStaysAboveTheHighestKey) {
  EXPECT_EQ(db::NextId(*conn, "KMDSKFS ", "收款方式ID"), 11);
  EXPECT_EQ(db::NextId(*conn, "kmdskfs", "收款方式ID"), 12);
  conn->Run("INSERT INTO KMDSKFS VALUES (40, 'x')", {}, nullptr);
  EXPECT_EQ(db::NextId(*conn, "KmdSkfs", "收款方式ID"), 41);
  EXPECT_EQ(db::NextId(*conn, "kmdwldw", "往来ID"), 4);
  EXPECT_THROW(db::NextId(*conn, "nosuch", "id"), RuntimeError);
}

// Two windows of the web host save into one table at once, each over a connection of its own.
TEST(IdCounter, ConnectionsRacingForIdsNeverShareOne) {
  std::string path = testing::TempDir() + "idcounter_race.db";
  std::remove(path.c_str());
  {
    db::SqliteConnection setup(path, true);
    ASSERT_EQ(setup.RunScript("CREATE TABLE xt_idcounter (tablename TEXT PRIMARY KEY, lastid INTEGER);"
                              "CREATE TABLE kmdjldw (单位ID INTEGER PRIMARY KEY);"),
              "");
  }
  std::vector<int32_t> ids[2];
  auto take = [&path](std::vector<int32_t>& out) {
    db::SqliteConnection conn(path);
    for (int i = 0; i < 40; ++i) out.push_back(db::NextId(conn, "kmdjldw", "单位ID"));
  };
  std::thread a(take, std::ref(ids[0])), b(take, std::ref(ids[1]));
  a.join();
  b.join();
  std::set<int32_t> all(ids[0].begin(), ids[0].end());
  all.insert(ids[1].begin(), ids[1].end());
  EXPECT_EQ(all.size(), 80u);
  EXPECT_EQ(*all.rbegin(), 80);
  std::remove(path.c_str());
}

// A recordset of one table writes its added and changed rows as parameterised statements, traced
// with "?": bytes travel whole, an UPDATE names only the fields written and finds the row by key.
TEST_F(DbTest, UpdatableRecordsetWritesThroughParameters) {
  ASSERT_EQ(conn->RunScript("CREATE TABLE 附件 (产品ID INTEGER PRIMARY KEY, 文件 TEXT, 内容 BYTEA, 大小 INTEGER);"),
            "");
  std::vector<std::string> trace;
  database->SetTrace([&](const std::string& sql) { trace.push_back(sql); });
  Value::Bytes bytes{0, 0xFF, '\'', 0, 'x', '\\'};
  auto rs = database->CreateCommand("SELECT * FROM 附件 WHERE 产品ID=7")->OpenRecordset();
  ASSERT_TRUE(rs->Eof());
  rs->AddNew();
  rs->SetField("产品ID", Value(7));
  rs->SetField("内容", Value(bytes));
  rs->SetField("文件", Value("a'b.png"));
  rs->Update();
  rs = database->CreateCommand("SELECT * FROM 附件 WHERE 产品ID=7")->OpenRecordset();
  ASSERT_FALSE(rs->Eof());
  EXPECT_EQ(rs->Fields("内容").ToBytes(), bytes);
  EXPECT_EQ(rs->Fields("文件").ToText(), "a'b.png");
  rs->SetField("大小", Value(6));
  rs->Update();
  rs->Update();  // nothing written since: no statement
  ASSERT_EQ(trace.size(), 4u);
  EXPECT_EQ(trace[1], "INSERT INTO 附件 (产品ID,内容,文件) VALUES (?,?,?)");
  EXPECT_EQ(trace[3], "UPDATE 附件 SET 大小=? WHERE 产品ID=?");
  EXPECT_EQ(database->CreateCommand("select 大小 from 附件 where 产品ID=7")->ExecuteScalar().ToLong(), 6);
  // Execute gives the rows the statement touched; a table without a key cannot take an UPDATE.
  EXPECT_EQ(database->CreateCommand("update kmdwlxsy set 销售员ID=销售员ID")->Execute(), 1);
  EXPECT_EQ(database->CreateCommand("delete from kmdwldw where 往来ID>1")->Execute(), 2);
  rs = database->CreateCommand("SELECT * FROM kmdwlxsy")->OpenRecordset();
  rs->SetField("销售员ID", Value(9));
  EXPECT_THROW(rs->Update(), RuntimeError);
  // A recordset over a join is not updatable.
  rs = database->CreateCommand("SELECT * FROM kmdwldw A join kmdwlxsy B on A.往来ID=B.往来ID")->OpenRecordset();
  EXPECT_THROW(rs->AddNew(), RuntimeError);
}

TEST_F(DbTest, ForwardOnlyRecordsetReadsRowsAsTheyCome) {
  database->CreateCommand("insert into kmdskfs values (11, 'card'), (12, 'cheque')")->Execute();
  const char* sql = "select 收款方式ID, 收款名称 from kmdskfs order by 收款方式ID";
  auto all = database->CreateCommand(sql)->OpenRecordset()->GetRows();
  auto rs = database->CreateCommand(sql)->OpenForwardOnly();
  EXPECT_EQ(rs->RecordCount(), -1);
  std::vector<db::Row> got;
  for (; !rs->Eof(); rs->MoveNext()) {
    Value id = rs->Fields("收款方式id");
    // Writing while the rows are read leaves the read alone, even a value of the row not read yet.
    database->CreateCommand("update kmdskfs set 收款名称 = 'a longer name than any' where 收款方式ID = " + id.ToText())
        ->Execute();
    ASSERT_EQ(database->LastError().Description(), "");
    got.push_back({id, rs->Fields(1)});
  }
  EXPECT_EQ(got, all);
  EXPECT_EQ(got.size(), 3u);
  EXPECT_THROW(rs->MoveFirst(), RuntimeError);
  EXPECT_THROW(rs->MoveNext(), RuntimeError);
  rs->Close();

  auto none = database->CreateCommand("select * from kmdwldw where 往来ID < 0")->OpenForwardOnly();
  EXPECT_TRUE(none->Eof() && none->Bof());
  auto bad = database->CreateCommand("select * from nosuch")->OpenForwardOnly();
  EXPECT_NE(database->LastError().Description(), "");
  EXPECT_TRUE(bad->Eof() && bad->Bof());
}

// Long reads: past the first few hundred rows the driver reads ahead in a thread of its own.
TEST_F(DbTest, LongForwardOnlyReadKeepsItsRowsAcrossOtherStatementsAnEarlyCloseAndAFailure) {
  const std::string numbers = "WITH RECURSIVE s(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM s WHERE i<5000) ";
  auto rs = database->CreateCommand(numbers + "SELECT i, 'r' || i FROM s ORDER BY i")->OpenForwardOnly();
  int n = 0;
  for (; !rs->Eof(); rs->MoveNext()) {
    ++n;
    ASSERT_EQ(rs->Fields(0).ToLong(), n);
    ASSERT_EQ(rs->Fields(1).ToText(), "r" + std::to_string(n));
    // A loop that stalls now and then: the driver's reader goes to sleep and is woken again.
    if (n % 1500 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(3));
    if (n == 3000) {
      // Another statement midway; the rows after it still come, each once, in order.
      database->CreateCommand("insert into kmdskfs values (99, 'midway')")->Execute();
      ASSERT_EQ(database->LastError().Description(), "");
    }
  }
  EXPECT_EQ(n, 5000);
  EXPECT_EQ(database->CreateCommand("select count(*) from kmdskfs")->OpenRecordset()->Fields(0).ToLong(), 2);

  // Reads that end, or meet another statement, about when the reader starts: whether it takes
  // over the statement or is called off first, every row comes once, in order.
  for (int rows = 254; rows <= 262; ++rows) {
    for (int pause : {0, 1}) {
      auto shortRead = database->CreateCommand(numbers + "SELECT i FROM s WHERE i <= " + std::to_string(rows))->OpenForwardOnly();
      for (n = 0; !shortRead->Eof(); shortRead->MoveNext()) {
        ASSERT_EQ(shortRead->Fields(0).ToLong(), ++n);
        if (pause && n == 257) std::this_thread::sleep_for(std::chrono::milliseconds(2));
        if (rows == 262 && n == 258 + pause) {
          ASSERT_EQ(database->CreateCommand("select count(*) from kmdskfs")->OpenRecordset()->Fields(0).ToLong(), 2);
        }
      }
      ASSERT_EQ(n, rows) << pause;
    }
  }

  // Closed while rows are still being read: the connection serves the next statement.
  rs = database->CreateCommand(numbers + "SELECT i FROM s")->OpenForwardOnly();
  for (n = 0; n < 1000; ++n) rs->MoveNext();
  EXPECT_EQ(rs->Fields(0).ToLong(), 1001);
  rs->Close();
  EXPECT_EQ(database->CreateCommand("select 收款名称 from kmdskfs where 收款方式ID = 99")->OpenRecordset()->Fields(0).ToText(),
            "midway");

  if (db::pg::IsAddress(address)) return;  // the server reads all rows before the first
  // Every type of value comes through; a failure at the 4000th row is raised by the move that
  // reaches it.
  rs = database
           ->CreateCommand(numbers +
                           "SELECT abs(case when i = 4000 then -9223372036854775807 - 1 else i end), i * 0.5, "
                           "case when i % 2 = 0 then null else x'00ff' end, i * 4294967296 FROM s")
           ->OpenForwardOnly();
  for (n = 1; n < 3999; ++n) {
    ASSERT_EQ(rs->Fields(0).ToLong(), n);
    ASSERT_EQ(rs->Fields(1).ToDouble(), n * 0.5);
    ASSERT_EQ(rs->Fields(2), n % 2 ? Value(Value::Bytes{0, 255}) : Value::Null());
    ASSERT_EQ(rs->Fields(3).ToDouble(), n * 4294967296.0);
    rs->MoveNext();
  }
  EXPECT_EQ(rs->Fields(0).ToLong(), 3999);
  EXPECT_THROW(rs->MoveNext(), RuntimeError);
  EXPECT_TRUE(rs->Eof());
}

TEST_F(DbTest, ForwardOnlyReadFailingMidwayRaisesAndFailsTheUnit) {
  if (db::pg::IsAddress(address)) GTEST_SKIP() << "the server reads all rows before the first";
  // The third row's value makes the expression fail only when that row is reached.
  database->BeginUnit();
  auto rs = database->CreateCommand("select 往来ID, abs(case when 往来ID = 3 then -9223372036854775807 - 1 else 1 end) "
                                    "from kmdwldw order by 往来ID")
                ->OpenForwardOnly();
  ASSERT_EQ(database->LastError().Description(), "");
  rs->MoveNext();
  EXPECT_THROW(rs->MoveNext(), RuntimeError);
  EXPECT_TRUE(rs->Eof());
  EXPECT_FALSE(database->EndUnit().committed);
}
