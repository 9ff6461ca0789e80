#include "base/Text.h"
#include "catalogue/CPML.h"
#include "frame/Settings.h"

namespace kmd {

namespace {
const char* const kTitle = "产品目录";
const char* const kDbError = "数据库操作错误，原因：";
}  // namespace

bool CPML::IsCanSave() {
  try {
    // A reference field that refused its typed text has said so itself.
    for (const auto& c : m_Controls)
      if (auto* f = dynamic_cast<view::TextField*>(c.get()); f && f->IsActive() && !f->IsValid()) return false;
    auto refuse = [&](const std::string& text, int field) {
      MsgBox(text, view::vbInformation, "提示：");
      qnT(field).SetFocus();
      return false;
    };
    std::string code = text::Trim(qnT(0).Text());
    if (code.empty()) return refuse("没有具体的物品编码,请录入!", 0);
    if (Switch(11, "bmcannotchinese") == 1 && ContainsChinese(code))
      return refuse("系统参数中设置物品编码不允许包含有中文字符，请检查后重试", 0);
    std::string name = text::Trim(qnT(2).Text());
    if (name.empty()) return refuse("没有具体的物品名称,请选择!", 2);
    if (text::Trim(qnT(22).Text()).empty()) return refuse("没有具体的计量单位,请选择!", 22);
    if (text::Len(text::Trim(qnT(1).Text())) > 16) return refuse("助忆词超过限定的长度16个字,指修改后重试!", 1);
    std::string id = text::FormatNumber(text::NumericValue(lbl(0).Caption()));
    auto rs = ReadRows(" Select * From kmdcpml Where 产品ID <> " + id + " and 物品编码=" + text::Quote(code));
    if (!rs->Eof()) return refuse("物品编码重复,请检查!", 0);
    if (Switch(11, "cpmlnameuniquely") == 1) {
      rs = ReadRows(" Select  * From kmdcpml Where 产品ID <> " + id + " and 物品名称=" + text::Quote(name));
      if (!rs->Eof()) return refuse("物品名称重复,请检查!", 2);
    }
    // A drawing number or a location may be demanded unique; each names the product it clashes with.
    const struct {
      int field;
      const char* joint;
      const char* what;
      bool on;
    } uniques[] = {
        {10, " and  图号=", "图号", Switch(11, "drawNO") == 0},
        {20, " and 缺省货位=", "货位", Switch(11, "warehouse") == 1},
    };
    for (const auto& u : uniques) {
      std::string value = text::Trim(qnT(u.field).Text());
      if (!u.on || value.empty()) continue;
      rs = ReadRows(" Select * From kmdcpml Where 产品ID <> " + lbl(0).Caption() + u.joint + text::Quote(value));
      if (!rs->Eof())
        return refuse(std::string("系统设置产品的") + u.what + "不能重复,现在与产品[" + rs->Fields("物品编码").ToText() + "]的" +
                          u.what + "重复, 请检查后重试!",
                      u.field);
    }
    return true;
  } catch (const RuntimeError& e) {
    RaiseErrMessage(std::string("Cansave中出错，原因：") + e.what(), kFailure, kTitle);
    return false;
  }
}

bool CPML::SaveFailed(const std::string& text) {
  RaiseErrMessage(text, kJournalFailure, kTitle);
  return false;
}

bool CPML::FileSave() {
  try {
    qnT(0).SetText(text::Trim(text::Replace(qnT(0).Text(), "\r\n", "")));
    if (!IsCanSave()) return false;
    std::string abc;
    for (int i = 0; i < 3; ++i)
      if (Opt(i).GetValue()) abc = std::string(1, static_cast<char>('A' + i));
    bool isNew = text::NumericValue(lbl(0).Caption()) == 0;
    auto box = [&](int i) { return std::to_string(Chk(i).GetValue()); };
    std::string sql;
    if (isNew) {
      m_IdAllocator->NextId("kmdcpml", "产品ID", m_ID);
      const std::string values[] = {
          std::to_string(m_ID), Text(3), Text(0), Text(1), Text(2), Text(4),
          Text(5), text::FormatNumber(text::NumericValue(lbl(1).Caption())), Text(7), Text(8),
          Text(9), Text(10), Text(11), Num(13), Num(12), Num(14), Num(15), Num(16), Num(17),
          Num(18), Num(19), Text(20), Num(21), box(0), box(1), text::Quote(abc),
          // The two units alone are stored as they stand, untrimmed.
          text::Quote(qnT(22).Text()), text::Quote(qnT(23).Text()), LookupNum(24), LookupNum(27), Num(26),
          LookupNum(25), box(7), Num(33), box(8)};
      sql = "insert into kmdcpml (产品ID,规格,物品编码,助忆词,物品名称,物品产地,条形码,"
            "产品类别ID,颜色,特性,尺寸,图号,物品说明,短缺限额,超储限额,参考进价,参考零售价,参考税额,参考批发价,损耗率,保质期,"
            "缺省货位,换算比例,是否使用,是否需批次管理,ABC码,库存单位,重量单位,工艺路线ID,主往来ID,采购提前期,来源ID,是否需单件管理,订货批量,"
            "是否需保质期管理) values (";
      for (size_t i = 0; i < std::size(values); ++i) sql += (i ? "," : "") + values[i];
      sql += ")";
    } else {
      m_ID = static_cast<int32_t>(text::NumericValue(lbl(0).Caption()));
      // The category is not written: a product changes category only by being dragged.
      const std::pair<const char*, std::string> sets[] = {
          {"物品编码=", Text(0)},     {"规格=", Text(3)},       {"物品名称=", Text(2)},
          {"物品产地=", Text(4)},     {"助忆词=", Text(1)},     {"条形码=", Text(5)},
          {"颜色=", Text(7)},         {"特性=", Text(8)},       {"尺寸=", Text(9)},
          {"图号=", Text(10)},        {"物品说明=", Text(11)},  {"短缺限额=", Num(13)},
          {"超储限额=", Num(12)},             {"参考进价=", Num(14)},           {"参考零售价=", Num(15)},
          {"参考税额=", Num(16)},             {"参考批发价=", Num(17)},         {"损耗率=", Num(18)},
          {"保质期=", Num(19)},               {"缺省货位=", Text(20)},  {"换算比例=", Num(21)},
          {"是否使用=", box(0)},              {"是否需批次管理=", box(1)},      {"ABC码=", text::Quote(abc)},
          {"库存单位=", text::Quote(qnT(22).Text())}, {"重量单位=", text::Quote(qnT(23).Text())},
          {"工艺路线ID=", LookupNum(24)},     {"主往来ID =", LookupNum(27)},    {"采购提前期=", Num(26)},
          {"来源ID=", LookupNum(25)},         {"是否需单件管理=", box(7)},      {"订货批量=", Num(33)},
          {"是否需保质期管理=", box(8)},
      };
      sql = "update kmdcpml set ";
      for (size_t i = 0; i < std::size(sets); ++i) sql += std::string(i ? ", " : "") + sets[i].first + sets[i].second;
      sql += " where 产品ID=" + std::to_string(m_ID);
    }
    auto db = Database();
    db->CreateCommand(sql, 1)->Execute();
    if (!db->LastError().Description().empty()) return SaveFailed(kDbError);
    if (!SaveSideTable() || !SavePrice()) return false;
    SavePicture(isNew);
    if (!isNew && !SaveLedger()) return false;
    PlaceSavedNode(isNew, text::Trim(qnT(0).Text()), text::Trim(qnT(2).Text()));
    m_Tv->ReSelectItem(nullptr);
    SetEnabled(false);
    m_IsDirty = false;
    RaiseMessage("保存产品目录成功");
    return true;
  } catch (const RuntimeError& e) {
    RaiseErrMessage(std::string("save中出错，原因：") + e.what(), kFailure, kTitle);
    return false;
  }
}

bool CPML::SaveSideTable() {
  auto db = Database();
  std::string id = std::to_string(m_ID);
  auto rs = db->CreateCommand("SELECT * From KMDCPMLB Where 产品ID=" + id, 1)->OpenRecordset();
  std::string err = db->LastError().Description();
  if (err.empty() && !rs->Eof()) {
    try {
      rs->SetField("采购方式", Value(text::NumericValue(text::Trim(qnT(28).GetValue().ToText()))));
      rs->SetField("建议备库量", Value(text::NumericValue(qnT(29).Text())));
      rs->SetField("最高采购价", Value(text::NumericValue(qnT(30).Text())));
      rs->SetField("最低销售价", Value(text::NumericValue(qnT(31).Text())));
      rs->SetField("业务员ID", Value(text::NumericValue(text::Trim(qnT(32).GetValue().ToText()))));
      rs->SetField("物品名称英文", Value(text::Trim(qnT(34).Text())));
      rs->Update();
    } catch (const RuntimeError& e) {
      err = e.what();
    }
  } else if (err.empty()) {
    db->CreateCommand("Insert Into KMDCPMLB (产品ID,建议备库量,采购方式,最高采购价,最低销售价,业务员ID,物品名称英文) Values (" + id +
                          "," + Num(29) + "," + LookupNum(28) + "," + Num(30) + "," + Num(31) + "," + LookupNum(32) +
                          "," + Text(34) + ")",
                      1)
        ->Execute();
    err = db->LastError().Description();
  }
  rs->Close();
  return err.empty() || SaveFailed("保存到附表时出错,原因：" + err);
}

bool CPML::SavePrice() {
  auto db = Database();
  auto attribute = [&](const std::string& caption) {
    return ReadAttributeNumber(*db, "select text from xt_billattribute where ProgID=200008 and attribute ='参考进价' and caption=" +
                                        text::Quote(caption));
  };
  if (attribute("是否保存到往来价格库") != 1) return true;
  bool zeroToo = attribute("为零是否保存到往来价格库") == 1;
  double price = text::NumericValue(qnT(14).Text());
  double supplier = text::NumericValue(text::Trim(qnT(27).GetValue().ToText()));
  if (!((zeroToo || price != 0) && supplier > 0)) return true;
  std::string currency = Context().Option(12, Value(4)).Value;
  std::string id = std::to_string(m_ID);
  int32_t row = db->CreateCommand("select wlpriceID from pubwlprice where 往来ID=" + text::FormatNumber(supplier) +
                                      " and 币种ID=" + currency + " and 产品ID=" + id,
                                  1)
                    ->ExecuteScalar()
                    .ToLong();
  std::string sql;
  if (row > 0) {
    sql = "update pubwlprice set 单价=" + text::FormatNumber(price) + ",备注='产品目录记入' where wlpriceID=" + std::to_string(row);
  } else {
    int32_t priceId = 0;
    m_IdAllocator->NextId("pubwlprice", "wlpriceID", priceId);
    sql = "insert into pubwlprice(wlpriceID,往来ID,币种ID,产品ID,单价,smark,systemcode,备注)values(" + std::to_string(priceId) +
          "," + text::FormatNumber(supplier) + "," + currency + "," + id + "," + text::FormatNumber(price) +
          ",'02','PO','产品目录记入')";
  }
  db->CreateCommand(sql, 1)->Execute();
  return db->LastError().Description().empty() || SaveFailed(kDbError);
}

bool CPML::SaveLedger() {
  if (Chk(0).GetValue() == 1) return true;
  auto db = Database();
  int32_t period = Context().Subsystem("system", 0).Period;
  int32_t row = db->CreateCommand("select AutoID from jxcgoodszztz where 是否可使用=1 and 产品ID=" + std::to_string(m_ID) +
                                      " and 会计期间=" + std::to_string(period),
                                  1)
                    ->ExecuteScalar()
                    .ToLong();
  std::string err = db->LastError().Description();
  if (err.empty() && row > 0) {
    db->CreateCommand("update jxcgoodszztz set 是否可使用=0 where AutoID=" + std::to_string(row), 1)->Execute();
    err = db->LastError().Description();
  }
  return err.empty() || SaveFailed(kDbError + err);
}

void CPML::PlaceSavedNode(bool isNew, const std::string& code, const std::string& name) {
  auto selected = Tree()->SelectedItem();
  if (isNew) {
    lbl(0).SetCaption(std::to_string(m_ID));
    NodePtr parent = lbl(2).Caption() == "w" && selected ? selected->Parent() : selected;
    auto node = m_Tv->NodeAdd(parent, view::tvwChild, "w" + code, code + "  " + name, Value(5), Value(), Value(m_ID));
    if (node) {
      Tree()->SetSelectedItem(node);
      node->EnsureVisible();
    }
  } else if (m_Tv->IsSelected()) {
    // The key keeps the old code until the next Refresh.
    selected->Text = code + "  " + name;
    selected->EnsureVisible();
  } else {
    RaiseErrMessage("没有选中对象", kFailure, kTitle);
  }
}

// ---- Delete ----

bool CPML::ConfirmForcedDelete(const std::string& sql, const std::string& question, const std::string& journal) {
  if (text::Val(ReadValue(sql).ToText()) <= 0) return true;
  if (MsgBox(question + "\r\n\r\n确认删除此记录？", view::vbYesNo | view::vbQuestion, "确认删除？") != view::vbYes) return false;
  RaiseErrMessage(journal + Context().User().Name, kJournal, kAppTitle);
  return true;
}

bool CPML::DeleteStep(const std::string& sql, const std::string& failure, const std::string& journal,
                      const std::string& countJoint) {
  auto db = Database();
  int32_t count = db->CreateCommand(sql, 1)->Execute();
  if (std::string err = db->LastError().Description(); !err.empty()) {
    db->RollbackTrans();
    RaiseErrMessage(failure + err, kJournal, kTitle);
    return false;
  }
  RaiseErrMessage(journal + std::to_string(m_ID) + countJoint + std::to_string(count), kJournal, kTitle);
  return true;
}

bool CPML::FileDelete() {
  auto db = Database();
  try {
    if (!m_Tv->IsSelected()) {
      MsgBox("无选择项目,不能进行删除!    ", view::vbInformation, "提示：");
      return false;
    }
    std::string kind = lbl(2).Caption();
    if (kind == "k" || kind == "r") {
      MsgBox("该节点为分类节点,不能删除!", view::vbInformation, "提示：");
      return false;
    }
    if (RefuseMissingRecord()) return false;
    m_ID = static_cast<int32_t>(text::Val(lbl(0).Caption()));
    std::string id = std::to_string(m_ID);
    if (!ConfirmForcedDelete("SELECT 产品ID FROM KmdBom Where 产品ID = " + id,
                             "在物料清单（BOM）的组成中，已经有该产品的BOM结构，删除后可能引起错误！",
                             "物料清单中，已经有产品物料清单，但被强制删除,用户名：") ||
        !ConfirmForcedDelete("SELECT count(配件ID) FROM KmdBommx Where 配件ID = " + id,
                             "在物料清单（BOM）的组成中，已经有产品使用了该物料，删除后可能引起BOM混乱！",
                             "物料清单中，已经有产品使用了该物料，但被强制删除,用户名：") ||
        !ConfirmForcedDelete("SELECT top 1 产品ID FROM jxcgoodszztz Where 产品ID = " + id,
                             "在物料总帐中，已经有产品使用了该物料，删除后可能引起物品总帐数据丢失！",
                             "物料总帐中，已经有产品使用了该物料，但被强制删除,用户名："))
      return false;
    auto selected = Tree()->SelectedItem();
    if (MsgBox("是否删除当前记录:" + selected->Text, view::vbYesNo | view::vbQuestion, kAppTitle) != view::vbYes) return false;
    db->BeginTrans();
    if (!DeleteStep("DELETE FROM pubWLPrice WHERE 产品ID =" + id, "删除往来单价数据时出错：", "成功删除往来单价数据,产品ID号=",
                    "记录数：") ||
        !DeleteStep("DELETE FROM kmdCpmlAttach WHERE 产品ID = " + id, "删除数据时出错：", "成功删除数据的附属图片,产品ID号=",
                    "记录数："))
      return false;
    // The transaction ends here; the side row and the product are deleted after it.
    db->CommitTrans();
    if (!DeleteStep("delete from kmdcpmlB where 产品ID=" + id, "删除数据时出错：", "成功删除数据附表(KMDCPMLB,产品ID号=",
                    " 记录数=") ||
        !DeleteStep("delete from kmdcpml where 产品ID=" + id, "删除数据时出错：", "成功删除数据,产品ID号=", " 记录数="))
      return false;
    m_Tv->NodeDelete(selected);
    m_Tv->ReSelectItem(nullptr);
    m_IsDirty = false;
    return true;
  } catch (const RuntimeError& e) {
    if (db->InTrans()) db->RollbackTrans();
    RaiseErrMessage(std::string("删除数据时出错：") + e.what(), kJournal, kTitle);
    return false;
  }
}

}  // namespace kmd
