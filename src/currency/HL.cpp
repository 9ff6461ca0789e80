#include "currency/HL.h"

#include <algorithm>

#include "base/RuntimeError.h"
#include "base/Text.h"
#include "currency/Currency.h"

namespace kmd {

namespace {

const char* const kLoadSql =
    "SELECT dbo.kmdbz.币种ID, dbo.kmdbz.外币代号, dbo.kmdbz.外币名称, dbo.kmdbz.符号, "
    " dbo.kmdHLDay.日期, dbo.kmdHLDay.当日买入汇率, dbo.kmdHLDay.当日卖出汇率, "
    " dbo.kmdHLDay.备注, dbo.kmdHLDay.汇率ID "
    " FROM dbo.kmdbz INNER JOIN "
    " dbo.kmdHLDay ON dbo.kmdbz.币种ID = dbo.kmdHLDay.币种ID "
    " ORDER BY 汇率ID ";

}  // namespace

HL::HL(view::Platform& platform) : Form("HL", platform) {
  m_Title = kCurrencySource;
  m_ReturnsDirty = true;
  m_PrintMessage = false;
  m_RaisesFormRefreshed = true;

  auto field = [this](int index, const std::string& caption) {
    auto* f = m_Controls.Add<view::TextField>("qnTxt", index, caption);
    f->Change = [this] { m_IsDirty = true; };
    qnTxt.Set(index, f);
    return f;
  };
  field(0, "有效日期");
  auto* currency = field(2, "币种名称");
  m_Controls.Add<view::Label>("Label1", -1, "币种符号：");
  lblSign = m_Controls.Add<view::Label>("lblSign");
  m_Controls.Add<view::Label>("Label2", -1, "币种代码：");
  Lblcode = m_Controls.Add<view::Label>("Lblcode");
  field(1, "买入汇率");
  field(3, "卖出汇率");
  field(5, "备注");
  m_Controls.Add<view::Label>("Label3", -1, "汇率ID：");
  txtHlid = m_Controls.Add<view::Label>("txtHlid");
  lvdata = m_Controls.Add<view::ListView>("lvdata");
  lvdata->ColumnHeaders = {"", "有效日期", "币种ID", "币种名称", "币种符号", "币种简称", "卖入汇率", "卖出汇率", "备注", "汇率ID"};
  lvdata->ItemClick = [this](const view::ListItemPtr& item) { lvdata_ItemClick(item); };

  SetReference(*currency, "币种名称输入有误，请重新输入！", "币种ID", "外币名称",
               "Select 外币代号,外币名称,币种ID From KMDBZ  where 外币代号 = '@' or 外币名称 = '@' order by 外币代号",
               "hp_foreign");
  // A resolved currency, typed or browsed, shows its symbol and code.
  for (auto* request : {&currency->CheckRequest, &currency->BrowseRequest})
    *request = [this, resolve = *request] {
      resolve();
      ShowCurrency();
    };
  SetRecordSource("kmdHLDay", "汇率ID");
  SetEnabled(false);
}

int32_t HL::SavingRecordId() const { return Value(text::Val(txtHlid->Caption())).ToLong(); }

std::string HL::Number(const std::string& text) const { return text::FormatNumber(text::Val(text)); }

void HL::ClearRecord() {
  ClearFields();
  lblSign->SetCaption("");
  Lblcode->SetCaption("");
  txtHlid->SetCaption("");
}

bool HL::Refresh() {
  std::shared_ptr<db::IDatabase> db;
  try {
    lvdata->Clear();
    db = Database();
    auto rs = db->CreateCommand(kLoadSql, 1)->OpenRecordset();
    std::string err = db->LastError().Description();
    if (!err.empty()) {
      RaiseErrMessage("刷新数据时出错：" + err, kFailure, kCurrencySource);
      return false;
    }
    auto str = [&](const char* column) { return rs->Fields(column).ToText(); };
    while (!rs->Eof()) {
      std::string id = str("汇率ID");
      auto item = lvdata->Add("k" + id, str("日期"));
      item->Tag = Value(Value(text::Val(id)).ToLong());
      const std::string subItems[] = {str("日期"), str("币种ID"), str("外币名称"), str("符号"), str("外币代号"),
                                      Number(str("当日买入汇率")), Number(str("当日卖出汇率")), str("备注"), id};
      for (int n = 1; n <= 9; ++n) item->SetSubItem(n, subItems[n - 1]);
      rs->MoveNext();
    }
    rs->Close();
    db->ResetState();
    m_IsDirty = false;
    RaiseFormRefreshed();
    return true;
  } catch (const std::exception& e) {
    if (db) db->ResetState();
    RaiseErrMessage(std::string("刷新数据时出错：") + e.what(), kFailure, kCurrencySource);
    return false;
  }
}

void HL::lvdata_ItemClick(const view::ListItemPtr& item) {
  if (!item) return;
  qnTxt(0).SetText(item->SubItem(1));
  qnTxt(2).SetValue(Value(Value(text::Val(item->SubItem(2))).ToLong()));
  qnTxt(2).SetText(item->SubItem(3));
  qnTxt(1).SetText(item->SubItem(6));
  qnTxt(3).SetText(item->SubItem(7));
  qnTxt(5).SetText(item->SubItem(8));
  lblSign->SetCaption(item->SubItem(4));
  Lblcode->SetCaption(item->SubItem(5));
  txtHlid->SetCaption(item->SubItem(9));
  m_ID = Value(text::Val(item->SubItem(9))).ToLong();
  KeepFingerprint(m_ID);
}

void HL::ShowCurrency() {
  const Value& value = qnTxt(2).GetValue();
  if (text::Val(value.ToText()) <= 0) return;
  std::shared_ptr<db::IDatabase> db;
  try {
    db = Database();
    auto rs = db->CreateCommand("select 币种ID,外币名称,外币代号,符号 from kmdbz  where 币种ID = " + text::Quote(value.ToText()), 1)
                  ->OpenRecordset();
    std::string err = db->LastError().Description();
    if (!err.empty()) {
      RaiseErrMessage("错误，原因:" + err, kFailure, kCurrencySource);
      return;
    }
    if (!rs->Eof()) {
      lblSign->SetCaption(rs->Fields("符号").ToText());
      Lblcode->SetCaption(rs->Fields("外币代号").ToText());
    }
    rs->Close();
    db->ResetState();
  } catch (const std::exception& e) {
    if (db) db->ResetState();
    RaiseErrMessage(std::string("错误，原因:") + e.what(), kFailure, kCurrencySource);
  }
}

bool HL::FileNew() {
  m_Remembered = lvdata->SelectedItem();
  ClearRecord();
  SetEnabled(true);
  qnTxt(0).SetFocus();
  return true;
}

bool HL::FileEdit() {
  if (!lvdata->SelectedItem()) {
    MsgBox("无选择项目,不能进行编辑!   ", view::vbInformation, "提示：");
    return false;
  }
  m_Remembered = lvdata->SelectedItem();
  SetEnabled(true);
  qnTxt(0).SetFocus();
  return true;
}

// The remembered row is shown again while it is still in the list; otherwise nothing is shown.
bool HL::FileCancel() {
  SetEnabled(false);
  const auto& item = m_Remembered;
  bool listed = item && item->Index >= 1 && item->Index <= lvdata->Count() && lvdata->Item(item->Index) == item;
  lvdata->SetSelectedItem(listed ? item : nullptr);
  if (listed) lvdata_ItemClick(item);
  else ClearRecord();
  m_IsDirty = false;
  return true;
}

void HL::RefuseRule(const std::string& text, view::TextField& field) {
  RaiseErrMessage(text, kRuleRefusal, kCurrencySource);
  m_FormHelper->SetFocusTo(field);
}

bool HL::IsCanSave() {
  auto empty = [&](int index) { return text::Trim(qnTxt(index).Text()).empty(); };
  if (empty(0)) RefuseRule("没有具体的有效日期,请录入!", qnTxt(0));
  else if (empty(2)) RefuseRule("没有具体的币种名称,请录入!", qnTxt(2));
  else if (empty(1)) RefuseRule("没有具体的买入汇率,请录入!", qnTxt(1));
  else if (empty(3)) RefuseRule("没有具体的卖出汇率,请录入!", qnTxt(3));
  else return true;
  return false;
}

bool HL::SaveData(int32_t& id) {
  auto db = Database();
  try {
    db->BeginTrans();
    std::string currency = Number(text::Trim(qnTxt(2).GetValue().ToText()));
    std::string date = text::Quote(text::Trim(qnTxt(0).Text()));
    std::string buy = Number(qnTxt(1).Text()), sell = Number(qnTxt(3).Text());
    std::string note = text::Quote(text::Trim(qnTxt(5).Text()));
    std::string sql;
    id = SavingRecordId();
    if (id == 0) {
      try {
        m_IdAllocator->NextId("kmdHLday", "汇率ID", id);
      } catch (const std::exception& e) {
        db::RollbackQuietly(*db);
        RaiseErrMessage(std::string("保存数据时出错：") + e.what(), kFailure, kCurrencySource);
        return false;
      }
      sql = "insert into kmdHLday(汇率ID,币种ID,日期,当日买入汇率,当日卖出汇率,备注) values ( " + std::to_string(id) + "," +
            currency + "," + date + "," + buy + "," + sell + "," + note + ")";
    } else {
      sql = "update kmdhlday set 币种ID=" + currency + ",日期=" + date + ",当日买入汇率=" + buy + ",当日卖出汇率=" + sell +
            ",备注=" + note + " where 汇率ID=" + std::to_string(id);
    }
    db->CreateCommand(sql, 1)->Execute();
    std::string err = db->LastError().Description();
    if (!err.empty()) {
      db->RollbackTrans();
      RaiseErrMessage("保存数据时出错：" + err, kFailure, kCurrencySource);
      return false;
    }
    db->CommitTrans();
    RaiseErrMessage("保存汇率成功,汇率ID=" + std::to_string(id), kJournal, "汇率");
    return true;
  } catch (const std::exception& e) {
    db::RollbackQuietly(*db);
    RaiseSaveDataError(e);
  }
}

void HL::WriteItem(view::ListItem& item, bool withId) {
  std::string date = text::Trim(qnTxt(0).Text());
  item.Text = date;
  item.SetSubItem(1, date);
  // The currency's id goes with its name, so that the row shown again holds the saved currency.
  item.SetSubItem(2, Number(qnTxt(2).GetValue().ToText()));
  item.SetSubItem(3, qnTxt(2).Text());
  item.SetSubItem(4, lblSign->Caption());
  item.SetSubItem(5, Lblcode->Caption());
  item.SetSubItem(6, Number(qnTxt(1).Text()));
  item.SetSubItem(7, Number(qnTxt(3).Text()));
  item.SetSubItem(8, text::Trim(qnTxt(5).Text()));
  if (withId) item.SetSubItem(9, txtHlid->Caption());
}

bool HL::FileSave() {
  try {
    if (!IsCanSave()) return false;
    bool isNew = SavingRecordId() == 0;
    int32_t id = 0;
    if (!SaveData(id)) return false;
    if (isNew) {
      txtHlid->SetCaption(std::to_string(id));
      auto item = lvdata->Add("k" + std::to_string(id), "");
      item->Tag = Value(id);
      WriteItem(*item, true);
      lvdata->SetSelectedItem(item);
    } else if (auto item = ShownItem()) {
      WriteItem(*item, false);
    }
    m_ID = id;
    KeepFingerprint(m_ID);
    SetEnabled(false);
    m_IsDirty = false;
    return true;
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("save中出错，原因：") + e.what(), kFailure, kCurrencySource);
    return false;
  }
}

bool HL::DeleteData(int32_t id) {
  std::string err = ExecuteInTransaction(*Database(), "delete from kmdhlday where 汇率ID=" + std::to_string(id));
  if (err.empty()) return true;
  RaiseErrMessage("删除数据时出错：" + err, kFailure, kCurrencySource);
  return false;
}

// The journal line comes before the question and stays when the answer is No (which answers
// True). After the removal the row now at the same place is shown, else the last, else nothing.
bool HL::FileDelete() {
  try {
    auto item = lvdata->SelectedItem();
    if (!item || SavingRecordId() == 0) {
      MsgBox("无选择项目,不能进行删除！  ", view::vbExclamation, "提示：");
      return false;
    }
    RaiseErrMessage("删除的Index" + std::to_string(item->Index) + "名称：" + item->Text, kJournal, "kmd.HL");
    if (IsCulterUse(m_ID)) {
      RaiseErrMessage(" 该汇率已启用,不能删除!", kRuleRefusal, kCurrencySource);
      return false;
    }
    if (MsgBox("是否删除当前记录:" + qnTxt(2).Text() + " 操作日期：" + qnTxt(0).Text(), view::vbYesNo | view::vbExclamation,
               "提示:") != view::vbYes)
      return true;
    if (!DeleteData(m_ID)) return false;
    if (auto shown = ShownItem()) item = shown;
    int index = item->Index;
    lvdata->Remove(index);
    view::ListItemPtr next;
    if (lvdata->Count() > 0) next = lvdata->Item(std::min(index, lvdata->Count()));
    lvdata->SetSelectedItem(next);
    if (!next) {
      ClearRecord();
    } else {
      lvdata_ItemClick(next);
      lvdata->EnsureVisible(next);
      lvdata->SetFocus();
    }
    RaiseErrMessage("删除成功,名称:" + qnTxt(2).Text(), kJournal, "kmd.hl");
    m_IsDirty = false;
    return true;
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("删除时发生错误，原因：") + e.what() + " kmd.hl", kFailure, "汇率");
    return false;
  }
}

bool HL::Find(const Value&) {
  m_FindText = GetPlatform().InputBox("请输入需要查找的内容！", "查找", "");
  if (!m_FindText.empty()) {
    m_FindPos = 0;
    Search();
  }
  return true;
}

bool HL::FindNext() {
  if (m_FindPos >= lvdata->Count()) MsgBox("已经查找到最后记录", view::vbInformation, "查找");
  else Search();
  return true;
}

// The hit is selected and shown in the list, not in the fields.
void HL::Search() {
  if (lvdata->Count() == 0) {
    RaiseMessage("记录为空，不能进行查找功能..");
    return;
  }
  if (m_FindPos + 1 > lvdata->Count()) {
    MsgBox("已经查找到最后记录", view::vbInformation, "查找");
    return;
  }
  auto item = lvdata->FindItem(m_FindText, true, m_FindPos + 1, true);
  if (!item) {
    RaiseMessage("没有查找到记录");
    return;
  }
  m_FindPos = item->Index;
  lvdata->EnsureVisible(item);
  lvdata->SetSelectedItem(item);
  lvdata->SetFocus();
  RaiseMessage("查找到记录,Index:" + std::to_string(item->Index));
}

view::ListItemPtr HL::ShownItem() const {
  std::string id = txtHlid->Caption();
  auto selected = lvdata->SelectedItem();
  if (selected && selected->SubItem(9) == id) return selected;
  for (const auto& item : lvdata->Items())
    if (item->SubItem(9) == id) return item;
  return nullptr;
}

bool HL::Move(int step) {
  if (lvdata->Count() == 0) return true;
  auto selected = lvdata->SelectedItem();
  int index = selected ? std::clamp(selected->Index + step, 1, lvdata->Count()) : 1;
  auto item = lvdata->Item(index);
  lvdata->SetSelectedItem(item);
  lvdata->EnsureVisible(item);
  lvdata_ItemClick(item);
  return true;
}

}  // namespace kmd
