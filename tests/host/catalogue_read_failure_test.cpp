// A category of the catalogue whose rows stop coming after the first: the products are added as
// they are read, so the expansion must take back what it added, report the failure as a failed
// statement is reported, and tell no count.
#include <gtest/gtest.h>

#include <sstream>

#include "db/Connection.h"
#include "db/Database.h"
#include "db/Scratch.h"
#include "host/Context.h"
#include "host/ScriptHost.h"
#include "host/Setup.h"
#include "support/FileText.h"

namespace {

using namespace kmd;

const char* const kDamaged = "database disk image is malformed";

// Gives the first row, then fails as a damaged file does.
class FailingCursor : public db::Cursor {
 public:
  explicit FailingCursor(std::unique_ptr<db::Cursor> inner) : m_Inner(std::move(inner)) {}
  const std::vector<std::string>& Columns() const override { return m_Inner->Columns(); }
  bool Next(db::Row& row) override { return m_Given++ == 0 && m_Inner->Next(row); }
  void Read(size_t column) override { m_Inner->Read(column); }
  void ReadAll() override { m_Inner->ReadAll(); }
  std::string Error() const override { return m_Given > 1 ? kDamaged : m_Inner->Error(); }

 private:
  std::unique_ptr<db::Cursor> m_Inner;
  int m_Given = 0;
};

// The database as it is, but for the reads of the products of one category.
class FailingProducts : public db::Connection {
 public:
  explicit FailingProducts(std::shared_ptr<db::Connection> inner) : m_Inner(std::move(inner)) {}
  std::string Run(const std::string& sql, const std::vector<Value>& params, db::QueryResult* out) override {
    return m_Inner->Run(sql, params, out);
  }
  std::unique_ptr<db::Cursor> OpenCursor(const std::string& sql, std::string& err) override {
    auto cursor = m_Inner->OpenCursor(sql, err);
    if (cursor && sql.find("FROM vtKMDCPMLX  WHERE 产品类别ID =") != std::string::npos)
      return std::make_unique<FailingCursor>(std::move(cursor));
    return cursor;
  }
  std::string Begin() override { return m_Inner->Begin(); }
  std::string BeginImmediate() override { return m_Inner->BeginImmediate(); }
  int64_t Changes() const override { return m_Inner->Changes(); }
  std::string Commit() override { return m_Inner->Commit(); }
  std::string Rollback() override { return m_Inner->Rollback(); }
  bool InTransaction() const override { return m_Inner->InTransaction(); }
  std::string DriverName() const override { return m_Inner->DriverName(); }
  std::vector<std::string> KeyColumns(const std::string& table) override { return m_Inner->KeyColumns(table); }
  std::string RunScript(const std::string& script) override { return m_Inner->RunScript(script); }

 private:
  std::shared_ptr<db::Connection> m_Inner;
};

TEST(CatalogueExpansion, RowsThatStopComingLeaveTheCategoryEmpty) {
  auto dir = test::ScratchDir("kmd_catalogue_read");
  std::string address = test::ScratchAddress(dir, "catalogue_read");
  host::InitDatabase(address, true);
  std::ostringstream out, err;
  {
    auto database = std::make_shared<db::Database>(std::make_shared<FailingProducts>(db::Open(address)));
    auto context =
        std::make_shared<host::Context>(database, IUserInfo{"tester", (dir / "home").string(), host::kSettingsApp});
    host::ScriptHost host(context, out, err);
    std::istringstream script(
        "usersetting settings cpml 1\n"
        "open CPML 200008\n"
        "Init\n"
        "Refresh\n"
        "expand k010101\n"
        "show tree\n"
        "expand k010101\n");
    EXPECT_EQ(host.Run(script, "catalogue_read"), 0) << err.str();
  }
  test::DropScratch(address);
  const std::string transcript = out.str();
  // The failure, and no notice of a count before it.
  EXPECT_NE(transcript.find("> expand k010101\nevent ErrMessage 8 产品目录 | " + std::string(kDamaged) + "\n> show tree"),
            std::string::npos)
      << transcript;
  // The category holds neither the product read before the failure nor its placeholder.
  EXPECT_NE(transcript.find("      k010101 \"010101  钢材\" 3\n      k010102 "), std::string::npos) << transcript;
  // A second expansion finds the category loaded: a count of its products, no second read.
  EXPECT_NE(transcript.find("> expand k010101\nevent Message | 共加载4条记录\n"), std::string::npos) << transcript;
}

}  // namespace
