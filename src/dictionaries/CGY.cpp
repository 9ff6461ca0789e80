#include "dictionaries/CGY.h"

#include "base/Text.h"

namespace kmd {

CGY::CGY(view::Platform& platform) : PersonDictionary("CGY", platform, 2, "采购员") {
  m_ReturnsDirty = false;
  m_HasFindNext = false;
  m_NothingSelected = {Refusal::Box, "没有选择节点，不能删除!", view::vbExclamation};
  m_RootSelected = {Refusal::Box, "没有选择具本的项目，请检查后重试!", view::vbExclamation};
  m_EmptyNameText = "没有具体的采购员名,请录入!";
  m_NameWord = "采购员名";
  m_StillThereSql = " Select count(*) From KMDXSY Where AutoID = ";
  m_GoneText = "操作时内部ID号已经不存在，请刷新数据后重试...";
  m_SystemRowRefusal = {Refusal::Report, "系统内置对象，不能删除...", 0, "提示：", kSelection};
}

int32_t CGY::EventNumber(FormEvent e) const {
  switch (e) {
    case FormEvent::FormRefreshed: return 2;
    case FormEvent::ErrMessage: return 3;
    default: return PersonDictionary::EventNumber(e);
  }
}

std::string CGY::SystemRowSql(int32_t id) const {
  return " Select 是否系统 From KMDXSY Where 是否系统=1 AND AutoID = " + std::to_string(id);
}

bool CGY::IsSystemRecord(int32_t id) { return Taken(SystemRowSql(id), true); }

std::string CGY::UpdateSql(int32_t id) const {
  return "update kmdxsy set 代码=" + text::Quote(Code()) + ",名称=" + text::Quote(Name()) + ",电话号码=" + text::Quote(Phone()) +
         " where AutoID=" + std::to_string(id);
}

}  // namespace kmd
