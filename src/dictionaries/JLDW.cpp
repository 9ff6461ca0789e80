#include "dictionaries/JLDW.h"

#include "base/RuntimeError.h"
#include "base/Text.h"

namespace kmd {

JLDW::JLDW(view::Platform& platform) : FlatDictionary("JLDW", platform) {
  m_Title = "计量单位";
  m_RootText = "计量单位";
  m_LoadSql = "select * from kmdjldw order by 代码";
  m_IdColumn = "单位ID";
  m_RecordTable = "kmdjldw";
  m_CodeColumn = "代码";
  m_NameColumn = "名称";
  m_SelectionHandler = false;
  m_NothingSelected.text = "请选择计量单位方式后重试!";

  CreateTree();
  m_Controls.Add<view::Label>("Lab", -1, "计量单位设置");
  AddField(0, "代码");
  AddField(1, "名称");
  AddIdLabel("lbl", 0, "内部ID:");
  lbl.Set(0, m_IdLabel);
  for (int i = 0; i < 2; ++i) {
    auto* o = m_Controls.Add<view::OptionButton>("Opt", i, i == 0 ? "是" : "否");
    o->Click = [this] { m_IsDirty = true; };
    Opt.Set(i, o);
    SetColumnCaption(*o, "是否系统");
  }
  CreateSplitter();
  InitProperties();
}

void JLDW::m_Tv_Selected(const NodePtr& node) {
  ClearFields();
  if (node) {
    m_ID = m_ValueHelper->ToNumber(node->Tag).ToLong();
    UpdateScreen(m_ID);
  } else {
    m_ID = 0;
  }
}

std::string JLDW::UpdateScreenSql(int32_t id) const {
  return "SELECT * FROM kmdjldw WHERE 单位id=" + std::to_string(id);
}

void JLDW::ShowRecord(db::Recordset& rs, int32_t id) {
  qnT(0).SetText(Str(rs, "代码"));
  qnT(1).SetText(Str(rs, "名称"));
  lbl(0).SetCaption(Str(rs, "单位ID"));
  if (Num(rs, "是否系统") != 1) Opt(1).SetValue(true);
  else Opt(0).SetValue(true);
  lbl(0).SetCaption(std::to_string(id));
}

bool JLDW::FileNew() {
  ClearFields();
  lbl(0).SetCaption("0");
  Opt(1).SetValue(true);
  SetEnabled(true);
  qnT(0).SetFocus();
  return true;
}

bool JLDW::FileNewNext() {
  FileNew();
  return false;
}

bool JLDW::IsCanSave() {
  try {
    if (RefuseEmpty(qnT(0), "没有具体的代码,请录入!")) return false;
    if (RefuseEmpty(qnT(1), "没有具体的名称,请录入!")) return false;
    std::string code = Code(), name = Name();
    int32_t id = EditingId();
    if (text::Val(lbl(0).Caption()) <= 0) {
      if (Taken(" Select count(*) From KMDJLDW Where 代码=" + text::Quote(code))) {
        RefuseDuplicate("代码(" + code + ")重复,请检查!", &qnT(0));
        return false;
      }
      if (Taken(" Select count(*) From KMDJLDW Where 名称=" + text::Quote(name) + " ")) {
        RefuseDuplicate("名称(" + name + ")重复,请检查!", &qnT(1));
        return false;
      }
    } else {
      std::string sid = std::to_string(id);
      if (Taken(" Select  count(*) From KMDJLDW Where 单位ID <> " + sid + " and 代码=" + text::Quote(code))) {
        RefuseDuplicate("代码" + code + "重复,请检查!", &qnT(0));
        return false;
      }
      if (Taken(" Select count(*) From KMDJLDW Where 单位ID <> " + sid + " and 名称=" + text::Quote(name) + " ")) {
        RefuseDuplicate("名称" + name + "重复,请检查!", &qnT(1));
        return false;
      }
      if (!Taken(" Select count(*) From KMDJLDW Where 单位ID = " + sid)) {
        RefuseDuplicate("需要修改的计量单位找不到内部ID号,请重新刷新数据", &qnT(1), view::vbExclamation, "提示:");
        return false;
      }
    }
    return true;
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("Cansave中出错，原因：") + e.what(), kFailure, m_Title);
    return false;
  }
}

void JLDW::NewId(int32_t& id) { m_IdAllocator->NextId("kmdjldw", "单位ID", id); }

std::string JLDW::InsertSql(int32_t id) const {
  int flag = Opt(0).GetValue() ? 1 : 0;
  return "insert into kmdjldw (单位ID,代码,名称,是否系统) values ( " + std::to_string(id) + "," + text::Quote(Code()) +
         "," + text::Quote(Name()) + "," + std::to_string(flag) + ") ";
}

std::string JLDW::UpdateSql(int32_t id) const {
  int flag = Opt(0).GetValue() ? 1 : 0;
  return "update kmdjldw set 代码=" + text::Quote(Code()) + ",名称=" + text::Quote(Name()) + ",是否系统=" + std::to_string(flag) +
         " where 单位ID= " + std::to_string(id);
}

bool JLDW::IsCanDelete() {
  std::shared_ptr<db::IDatabase> db;
  try {
    db = Database();
    auto rs = db->CreateCommand("Select 是否系统 From KMDJLDW Where 单位ID = " + std::to_string(EditingId()), 1)
                  ->OpenRecordset();
    std::string err = db->LastError().Description();
    if (!err.empty()) {
      RaiseErrMessage("数据库操作错误" + err, kFailure, m_Title);
      return false;
    }
    if (Num(*rs, "是否系统") == 1) {
      RaiseErrMessage("系统内部计量单位,不能删除!", kRuleRefusal, m_Title);
      return false;
    }
    rs->Close();
    return true;
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("KMDJLDW::IsCanDelete出错，原因：") + e.what(), kFailure, m_Title);
    return false;
  }
}

std::vector<std::string> JLDW::DeleteSql() const {
  return {"delete from kmdjldw where 单位id= " + std::to_string(m_ID)};
}

std::string JLDW::DeleteJournal(const std::string& nodeText) const { return "删除计量单位" + nodeText; }

}  // namespace kmd
