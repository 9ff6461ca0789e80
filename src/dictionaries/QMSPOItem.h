#pragma once
#include "dictionaries/FlatDictionary.h"

namespace kmd {

// An inspection item list: code, name, content and remark on its own table, the title as root
// text and heading. Purchase and outsourced inspection are this one form on two tables.
class QMSItemDictionary : public FlatDictionary {
 protected:
  // `table` as the statements name it, `idTable` as the id counter gets it, `nameWord` the name in
  // the New duplicate box ("采购检验项目").
  QMSItemDictionary(std::string className, view::Platform& platform, std::string table, std::string idTable,
                    const std::string& title, std::string nameWord);

  std::string UpdateScreenSql(int32_t id) const override;
  std::vector<SaveCheck> SaveChecks(bool isNew, const std::string& id) override;
  std::string SystemRowSql(int32_t id) const override;
  void NewId(int32_t& id) override;
  std::string InsertSql(int32_t id) const override;
  std::string UpdateSql(int32_t id) const override;
  std::vector<std::string> DeleteSql() const override;
  std::string DeleteJournal(const std::string& nodeText) const override;

 private:
  std::string Field(int index) const;

  std::string m_Table;
  std::string m_IdTable;
  std::string m_NameWord;
};

// Purchase inspection items (KMDQMSPOItem).
class QMSPOItem : public QMSItemDictionary {
 public:
  explicit QMSPOItem(view::Platform& platform);
};

}  // namespace kmd
