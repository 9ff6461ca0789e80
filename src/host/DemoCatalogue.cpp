#include "host/DemoCatalogue.h"

#include <algorithm>
#include <string>
#include <vector>

#include "base/RuntimeError.h"

namespace kmd::host {

namespace {

void Check(const std::string& err, const char* what) {
  if (!err.empty()) throw RuntimeError(std::string(what) + ": " + err);
}

int64_t Scalar(db::Connection& c, const std::string& sql) {
  db::QueryResult r;
  Check(c.Run(sql, {}, &r), "reading the catalogue");
  return r.rows.empty() || r.rows[0].empty() ? 0 : r.rows[0][0].ToLong();
}

// A code segment of two digits, n from 0 to 99.
std::string Two(int n) { return std::string(1, static_cast<char>('0' + n / 10 % 10)) + static_cast<char>('0' + n % 10); }

// Inserts rows of `width` values each, many rows a statement.
class BatchInsert {
 public:
  BatchInsert(db::Connection& c, std::string head, int width) : m_C(c), m_Head(std::move(head)), m_Width(width) {}
  void Add(std::vector<Value> row) {
    for (auto& v : row) m_Values.push_back(std::move(v));
    if (++m_Rows == kRowsPerStatement) Flush();
  }
  void Flush() {
    if (m_Rows == 0) return;
    std::string row = "(";
    for (int i = 0; i < m_Width; ++i) row += i ? ",?" : "?";
    row += ")";
    std::string sql = m_Head;
    for (int i = 0; i < m_Rows; ++i) sql += (i ? "," : " VALUES ") + row;
    Check(m_C.Run(sql, m_Values, nullptr), "adding rows");
    m_Values.clear();
    m_Rows = 0;
  }

 private:
  static constexpr int kRowsPerStatement = 500;
  db::Connection& m_C;
  std::string m_Head;
  int m_Width;
  int m_Rows = 0;
  std::vector<Value> m_Values;
};

}  // namespace

int64_t FillCatalogue(db::Connection& c, const CatalogueShape& shape) {
  if (shape.leaves < 1 || shape.leaves > 10 * 99 * 99) throw RuntimeError("leaf categories must be 1 to 98010");
  if (shape.products < 0 || shape.firstLeafProducts > shape.products)
    throw RuntimeError("the first leaf cannot hold more than all products");
  Check(c.Begin(), "beginning");
  try {
    int64_t categoryId = Scalar(c, "SELECT MAX(类别ID) FROM kmdcplb");
    int64_t productId = Scalar(c, "SELECT MAX(产品ID) FROM KMDCPML");
    // Ten first-level categories, each with up to 99 second-level ones, each with up to 99 leaves.
    const int perFirst = (shape.leaves + 9) / 10;
    const int perSecond = std::min(99, std::max(1, (perFirst + 9) / 10));
    BatchInsert categories(c, "INSERT INTO kmdcplb (类别ID, 类别编码, 类别名称, 是否明细, 级次, 对应科目编号, 是否系统)", 7);
    std::vector<int64_t> leafIds;
    int made = 0;
    for (int a = 0; a < 10 && made < shape.leaves; ++a) {
      std::string first = Two(50 + a);
      categories.Add({Value(++categoryId), Value(first), Value("类别" + first), Value(0), Value(1), Value("1211"), Value(0)});
      for (int b = 1; b <= 99 && made < shape.leaves && (b - 1) * perSecond < perFirst; ++b) {
        std::string second = first + Two(b);
        categories.Add({Value(++categoryId), Value(second), Value("类别" + second), Value(0), Value(2), Value("1211"), Value(0)});
        for (int l = 1; l <= perSecond && made < shape.leaves; ++l, ++made) {
          std::string leaf = second + Two(l);
          categories.Add({Value(++categoryId), Value(leaf), Value("类别" + leaf), Value(1), Value(3), Value("1211"), Value(0)});
          leafIds.push_back(categoryId);
        }
      }
    }
    categories.Flush();
    BatchInsert products(c, "INSERT INTO KMDCPML (产品ID, 物品编码, 物品名称, 产品类别ID, 库存单位)", 5);
    const int64_t rest = shape.products - shape.firstLeafProducts;
    const int64_t others = shape.firstLeafProducts > 0 ? static_cast<int64_t>(leafIds.size()) - 1 : static_cast<int64_t>(leafIds.size());
    for (int64_t i = 0; i < shape.products; ++i) {
      size_t leaf = 0;
      if (shape.firstLeafProducts > 0) {
        if (i >= shape.firstLeafProducts)
          leaf = others > 0 ? 1 + static_cast<size_t>((i - shape.firstLeafProducts) * others / std::max<int64_t>(rest, 1)) : 0;
      } else {
        leaf = static_cast<size_t>(i * others / std::max<int64_t>(shape.products, 1));
      }
      std::string number = std::to_string(++productId);
      if (number.size() < 7) number.insert(0, 7 - number.size(), '0');
      products.Add({Value(productId), Value("P" + number), Value("产品" + number), Value(leafIds[leaf]), Value("个")});
    }
    products.Flush();
    Check(c.Commit(), "committing");
    return leafIds.front();
  } catch (...) {
    c.Rollback();
    throw;
  }
}

}  // namespace kmd::host
