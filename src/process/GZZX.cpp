#include "process/GZZX.h"

#include "base/Text.h"

namespace kmd {

namespace {

// The capacity columns, shown and written in this order from qnT(3).
const char* const kFigures[] = {"每日班数", "每班人数", "每班小时数", "每班设备数", "利用率"};

}  // namespace

GZZX::GZZX(view::Platform& platform) : FlatDictionary("GZZX", platform) {
  m_Title = "工作中心";
  m_RootText = "工作中心";
  m_LoadSql = "select * from kmdgzzx order by 工作中心代码";
  m_IdColumn = "工作中心ID";
  m_RecordTable = "kmdgzzx";
  m_CodeColumn = "工作中心代码";
  m_NameColumn = "工作中心名称";
  m_RaisesFormRefreshed = true;
  m_NothingSelected = {Refusal::Report, "请选择工作中心后重试!", 0, "提示：", kSelection};
  m_MissingRowRefusal = {Refusal::Report, "没有找到此工作中心", 0, "提示：", kFailure};
  m_SystemRowRefusal = {Refusal::Report, "不能删除系统工作中心，请重试！", 0, "提示：", kFailure};
  m_SystemByMagnitude = true;
  m_DeleteChecksStatement = true;
  m_MissingIdCaption = "0";

  CreateTree();
  m_Controls.Add<view::Label>("Lab", -1, "工作中心设置");
  AddField(0, "工作中心代码");
  AddField(1, "工作中心名称");
  SetReference(*AddField(2, "生产车间"), "车间名称输入有误，请重新输入！", "部门ID", "部门名称",
               "Select 部门编码,部门名称,部门ID From KMDBM where  部门编码='@' or 部门名称 = '@' order by 部门ID", "gy_CJ");
  for (int i = 0; i < 5; ++i) AddField(3 + i, kFigures[i]);
  AddField(8, "是否系统")->Locked = true;
  AddIdLabel("lbl", 0, "内部ID:");
  CreateSplitter();
  InitProperties();
}

std::string GZZX::Number(int index) const {
  const auto& field = qnT(index);
  return text::FormatNumber(text::Val(index == 2 ? field.GetValue().ToText() : field.Text()));
}

// The workshop is required through its name: a centre whose workshop is gone shows none.
std::vector<std::pair<view::TextField*, std::string>> GZZX::RequiredFields() {
  return {{&qnT(1), "没有具体的工作中心名称,请录入!"}, {&qnT(2), "没有车间名称,请录入!"}};
}

std::string GZZX::UpdateScreenSql(int32_t id) const {
  return "SELECT dbo.KMDBM.部门名称 AS 部门名称, dbo.KMDGZZX.*  FROM dbo.KMDGZZX LEFT OUTER JOIN dbo.KMDBM ON "
         "dbo.KMDGZZX.部门ID = dbo.KMDBM.部门ID WHERE (dbo.KMDGZZX.工作中心ID = " +
         std::to_string(id) + ")";
}

void GZZX::ShowRecord(db::Recordset& rs, int32_t) {
  qnT(0).SetText(Str(rs, "工作中心代码"));
  qnT(1).SetText(Str(rs, "工作中心名称"));
  qnT(2).SetValue(rs.Fields("部门ID"));
  qnT(2).SetText(Str(rs, "部门名称"));
  for (int i = 0; i < 5; ++i) qnT(3 + i).SetText(Str(rs, kFigures[i]));
  qnT(8).SetText(Str(rs, "是否系统"));
}

// A duplicate name on Edit moves no focus.
std::vector<FlatDictionary::SaveCheck> GZZX::SaveChecks(bool isNew, const std::string& id) {
  const std::string taken = "工作中心名称重复,请检查!";
  if (isNew) return {{" Select  * From KMDgzzx Where 工作中心名称=" + text::Quote(Name()), taken, &qnT(1), true}};
  return {{" Select  * From KMDgzzx Where 工作中心ID <> " + id + " and 工作中心名称=" + text::Quote(Name()), taken, nullptr,
           true}};
}

std::string GZZX::SystemRowSql(int32_t id) const {
  return " Select 是否系统 From KMDGZZX Where 工作中心ID = " + std::to_string(id);
}

void GZZX::NewId(int32_t& id) { m_IdAllocator->NextId("kmdgzzx", "工作中心ID", id); }

std::string GZZX::InsertSql(int32_t id) const {
  std::string sql = "insert into kmdgzzx (工作中心ID,工作中心代码,工作中心名称,部门ID,每日班数,每班人数,每班小时数,每班设备数,利用率)values( " +
                    std::to_string(id) + "," + text::Quote(Code()) + "," + text::Quote(Name());
  for (int i = 2; i <= 7; ++i) sql += "," + Number(i);
  return sql + ")";
}

std::string GZZX::UpdateSql(int32_t id) const {
  std::string sql = "update kmdgzzx set 工作中心代码=" + text::Quote(Code()) + ",工作中心名称=" + text::Quote(Name()) +
                    ",部门ID=" + Number(2);
  for (int i = 0; i < 5; ++i) sql += std::string(",") + kFigures[i] + "=" + Number(3 + i);
  return sql + " where 工作中心ID=" + std::to_string(id);
}

std::vector<std::string> GZZX::DeleteSql() const {
  return {"delete from kmdgzzx where 工作中心id=" + std::to_string(m_ID)};
}

}  // namespace kmd
