// The PostgreSQL side: the adapter's output for the statements the forms send, and, when
// KMD_TEST_DB names a server, the driver's answers where the engines differ by default.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <set>

#include "base/RuntimeError.h"
#include "db/Database.h"
#include "db/Dialect.h"
#include "db/IdCounter.h"
#include "db/Scratch.h"

using namespace kmd;
using kmd::db::dialect::ToPostgres;

TEST(PostgresDialect, EachConstructOfTheForms) {
  const std::pair<const char*, const char*> cases[] = {
      {" SELECT Top 1 产品类别ID FROM KMDCPML WHERE 产品类别ID=5", " SELECT 产品类别ID FROM KMDCPML WHERE 产品类别ID=5 LIMIT 1"},
      {"SELECT TOP 0 * From KMDCPMLAttach", "SELECT * From KMDCPMLAttach LIMIT 0"},
      {"SELECT dbo.kmdbz.币种ID FROM dbo.kmdbz", "SELECT kmdbz.币种ID FROM kmdbz"},
      {"select IsNull(A.x, 0) from t A", "select coalesce(A.x, 0) from t A"},
      {"select 编码 + '  ' + 名称 from kmddq where 级次 + 1 = 2", "select 编码 || '  ' || 名称 from kmddq where 级次 + 1 = 2"},
      {"update kmdwldw set 销售员ID=0 from kmdwldw A left join kmdwlxsy B on A.往来ID=B.往来ID Where IsNull(B.销售员ID, 0)=0",
       "update kmdwldw set 销售员ID=0 WHERE ctid IN (SELECT A.ctid FROM kmdwldw A left join kmdwlxsy B on "
       "A.往来ID=B.往来ID Where coalesce(B.销售员ID, 0)=0)"},
      {"DELETE kmdxsy WHERE AutoID=1", "DELETE FROM kmdxsy WHERE AutoID=1"},
      {"insert into t values (#1900-01-01#, '#1900-01-01#')", "insert into t values ('1900-01-01', '#1900-01-01#')"},
      {"SELECT count(*) FROM kmdjldw WHERE 代码 LIKE 'c%'", "SELECT count(*) FROM kmdjldw WHERE 代码 ILIKE 'c%'"},
      {"select a from t where b in (select top 2 c from u order by c desc) order by a, len(b) asc",
       "select a from t where b in (select c from u order by c desc NULLS LAST LIMIT 2) order by a NULLS FIRST, "
       "len(b) asc NULLS FIRST"},
      {"SELECT value FROM xt_options WHERE module = ? AND key = ? AND x <> '?'",
       "SELECT value FROM xt_options WHERE module = $1 AND key = $2 AND x <> '?'"},
  };
  for (const auto& [in, out] : cases) EXPECT_EQ(ToPostgres(in), out) << in;
}

// A scratch database of its own on the test server; skipped without one.
class Server : public testing::Test {
 protected:
  void SetUp() override {
    if (test::ServerAddress().empty()) GTEST_SKIP() << "KMD_TEST_DB names no PostgreSQL server";
    address = test::ScratchAddress("", "pgtest");
    test::DropScratch(address);
    db::pg::CreateDatabase(address);
    conn = db::Open(address);
    ASSERT_EQ(conn->RunScript("CREATE TABLE xt_idcounter (tablename TEXT PRIMARY KEY, lastid INTEGER);"
                              "CREATE TABLE kmdjldw (单位ID INTEGER PRIMARY KEY, 代码 TEXT, 名称 TEXT, 图 BYTEA);"
                              "INSERT INTO kmdjldw VALUES (1, 'b', '乙', NULL), (2, NULL, '空', NULL), "
                              "(3, 'B', '丙', NULL), (4, 'a', '甲', NULL), (5, '中', '中', NULL)"),
              "");
  }
  void TearDown() override {
    conn.reset();
    if (!address.empty()) test::DropScratch(address);
  }
  std::vector<db::Row> Rows(const std::string& sql, const std::vector<Value>& params = {}) {
    db::QueryResult r;
    EXPECT_EQ(conn->Run(sql, params, &r), "") << sql;
    return r.rows;
  }
  std::string address;
  std::shared_ptr<db::Connection> conn;
};

TEST_F(Server, ValuesOrderAndComparisonsAreSQLites) {
  auto database = std::make_shared<db::Database>(conn);
  EXPECT_EQ(database->Info().Item(Value("driver")).ToText(), "postgres");
  // Counts are whole numbers; a quoted number compares with a number column.
  auto count = database->CreateCommand("select count(*) from kmdjldw where 单位ID = '3'")->ExecuteScalar();
  EXPECT_EQ(count.GetType(), Value::Type::Long);
  EXPECT_EQ(count.ToLong(), 1);
  // Code-point order with NULL first; LIKE ignores Latin case only.
  std::string order;
  for (const auto& row : Rows("SELECT 代码 FROM kmdjldw ORDER BY 代码")) order += row[0].IsNull() ? "-" : row[0].ToText();
  EXPECT_EQ(order, "-Bab中");
  EXPECT_EQ(Rows("SELECT count(*) FROM kmdjldw WHERE 代码 LIKE 'b%'")[0][0].ToLong(), 2);
  EXPECT_EQ(Rows("SELECT TOP 1 名称 + '!' FROM kmdjldw WHERE IsNull(代码, 'x') = 'x'")[0][0].ToText(), "空!");
  // A backslash at the end of a literal is a character of it, whatever the database's default.
  ASSERT_EQ(conn->RunScript("ALTER DATABASE " + address.substr(address.rfind('/') + 1) +
                            " SET standard_conforming_strings = off"),
            "");
  auto other = db::Open(address);
  EXPECT_EQ(other->Run("UPDATE kmdjldw SET 名称 = 'a\\' WHERE 单位ID = 5", {}, nullptr), "");
  EXPECT_EQ(Rows("SELECT 名称 FROM kmdjldw WHERE 单位ID = 5")[0][0].ToText(), "a\\");
  // Bytes go as a parameter and come back whole; Execute gives the rows it wrote.
  Value::Bytes bytes{0, 0xFF, '\'', 0, 'x'};
  EXPECT_EQ(conn->Run("UPDATE kmdjldw SET 图 = ? WHERE 单位ID = ?", {Value(bytes), Value(1)}, nullptr), "");
  EXPECT_EQ(Rows("SELECT 图 FROM kmdjldw WHERE 单位ID = 1")[0][0].ToBytes(), bytes);
  EXPECT_EQ(database->CreateCommand("update kmdjldw set 名称 = 名称 where 单位ID > 2")->Execute(), 3);
  // A row added through a recordset names its columns as the server folded them.
  auto rs = database->CreateCommand("SELECT 单位ID, 代码 FROM KMDJLDW WHERE 1 = 0")->OpenRecordset();
  rs->AddNew();
  rs->SetField("单位ID", Value(9));
  rs->SetField("代码", Value("新"));
  rs->Update();
  EXPECT_EQ(Rows("SELECT 代码 FROM kmdjldw WHERE 单位ID = 9")[0][0].ToText(), "新");
}

TEST_F(Server, AFailedStatementLeavesTheEarlierStatementsCommittable) {
  ASSERT_EQ(conn->Begin(), "");
  EXPECT_EQ(conn->Run("INSERT INTO kmdjldw (单位ID, 代码) VALUES (10, 'X')", {}, nullptr), "");
  EXPECT_NE(conn->Run("SELECT * FROM nosuch", {}, nullptr), "");
  EXPECT_NE(conn->Run("INSERT INTO kmdjldw (单位ID, 代码) VALUES (10, 'dup')", {}, nullptr), "");
  EXPECT_EQ(conn->Run("INSERT INTO kmdjldw (单位ID, 代码) VALUES (11, 'Y')", {}, nullptr), "");
  EXPECT_TRUE(conn->InTransaction());
  ASSERT_EQ(conn->Commit(), "");
  EXPECT_EQ(Rows("SELECT count(*) FROM kmdjldw WHERE 单位ID IN (10, 11)")[0][0].ToLong(), 2);
}

TEST_F(Server, AWriterWaitsForTheWriteLockAndThenIsBusy) {
  auto other = db::Open(address);
  ASSERT_EQ(conn->BeginImmediate(), "");
  ASSERT_EQ(other->RunScript("SET lock_timeout = '200ms'"), "");
  EXPECT_EQ(other->BeginImmediate(), db::kBusyText);
  EXPECT_FALSE(other->InTransaction());
  // Readers do not wait.
  ASSERT_EQ(other->Begin(), "");
  db::QueryResult r;
  EXPECT_EQ(other->Run("SELECT count(*) FROM kmdjldw", {}, &r), "");
  EXPECT_EQ(other->Commit(), "");
  EXPECT_EQ(conn->Commit(), "");
}

TEST_F(Server, FourProcessesTakingIdsForOneTableNeverShareOne) {
  const int processes = 4, each = 5000;
  std::string folder = testing::TempDir();
  std::vector<pid_t> children;
  for (int p = 0; p < processes; ++p) {
    pid_t pid = ::fork();
    if (pid == 0) {
      int status = 0;
      try {
        auto own = db::Open(address);
        std::ofstream out(folder + "ids" + std::to_string(p));
        for (int i = 0; i < each; ++i) out << db::NextId(*own, "KMDJLDW", "单位ID") << "\n";
      } catch (const std::exception&) {
        status = 1;
      }
      ::_exit(status);
    }
    children.push_back(pid);
  }
  for (pid_t pid : children) {
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  std::set<int> ids;
  for (int p = 0; p < processes; ++p) {
    std::ifstream in(folder + "ids" + std::to_string(p));
    for (int id; in >> id;) ids.insert(id);
    std::remove((folder + "ids" + std::to_string(p)).c_str());
  }
  EXPECT_EQ(ids.size(), static_cast<size_t>(processes * each));
  EXPECT_EQ(*ids.begin(), 6);
}
