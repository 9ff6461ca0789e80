#pragma once
#include "dictionaries/FlatDictionary.h"

namespace kmd {

// The people of KMDXSY, salesmen (类型ID 1) and purchasers (类型ID 2): code, name and telephone,
// every test and the load bound to the type. Deleting a person also deletes his assignments to
// partners (kmdwlxsy) in the same transaction.
class PersonDictionary : public FlatDictionary {
 protected:
  // `word` is "销售员" or "采购员": title, root text and heading.
  PersonDictionary(std::string className, view::Platform& platform, int typeId, const std::string& word);

  std::string UpdateScreenSql(int32_t id) const override;
  std::vector<SaveCheck> SaveChecks(bool isNew, const std::string& id) override;
  void NewId(int32_t& id) override;
  std::string InsertSql(int32_t id) const override;
  std::vector<std::string> DeleteSql() const override;
  std::string Phone() const;

  // Set by the member: the name in the duplicate box ("销售员名"), the statement that finds the
  // edited record (followed by its id) and the box when it has gone.
  std::string m_NameWord;
  std::string m_StillThereSql;
  std::string m_GoneText;

 private:
  std::string m_TypeId;
};

// Salesmen.
class XSY : public PersonDictionary {
 public:
  explicit XSY(view::Platform& platform);

 protected:
  std::string SystemRowSql(int32_t id) const override;
  std::string UpdateSql(int32_t id) const override;
  std::string DeleteJournal(const std::string& nodeText) const override;
};

}  // namespace kmd
