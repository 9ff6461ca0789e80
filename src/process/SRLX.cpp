#include "process/SRLX.h"

#include "base/RuntimeError.h"
#include "base/Text.h"

namespace kmd {

namespace {

const char* const kFormat =
    "行号|顺序号  |工艺名称  |生产车间  |工作中心  |准备工时  |加工工时  |小时加工数  |工资定额  |说明         |明细ID";
const char* const kProductMessage = "输入的物品编码或物品名称有误，请重试?";
constexpr int kEmptyRows = 15;

// The lookup of a grid column: its key, statement, id and name columns and message.
struct CellLookupSetup {
  int col;
  const char* key;
  const char* sql;
  const char* idField;
  const char* nameField;
  const char* message;
};

const CellLookupSetup kLookups[] = {
    {2, "gy_sr", "select 编号,工艺名称,简称,工艺ID from KMDSr where 编号 = '@' or 工艺名称 = '@'", "工艺ID", "工艺名称",
     "工艺名称输入有误，请重新输入！"},
    {3, "gy_CJ", "Select 部门编码,部门名称,部门ID From KMDBM where 部门编码 = '@' or 部门名称 = '@'", "部门ID", "部门名称",
     "仓库编码或名称输入有误，请重新输入！"},
    {4, "gy_gzzx",
     "Select 工作中心代码,工作中心名称,工作中心ID From KMDGZZX where 工作中心代码='@' or 工作中心名称='@'", "工作中心ID",
     "工作中心名称", "工作中心编码或名称输入有误，请重新输入！"},
};

std::string Number(double v) { return text::FormatNumber(v); }

}  // namespace

SRLX::SRLX(view::Platform& platform) : FlatDictionary("SRLX", platform) {
  m_Title = "工艺路线";
  m_RootText = "路线名称";
  m_LoadSql = "select * from kmdsrlx order by ID";
  m_RecordTable = "kmdsrlx";
  m_IdColumn = "ID";
  m_NameColumn = "路线名称";
  m_NodeShowsCode = false;
  m_PrintMessage = false;
  m_RaisesFormRefreshed = true;
  m_EditNothingSelected = "无选择项目,不能进行编辑";

  CreateTree();
  m_Controls.Add<view::Label>("Lab", -1, "工艺路线");
  AddField(0, "路线名称");
  AddField(1, "日期")->ToolTipText = "yyyy-mm-dd";
  AddField(2, "说明");
  auto* product = AddField(3, "产品");
  auto& ref = product->GetReference();
  ref.IsReference = true;
  ref.MatchMode = 1;
  ref.Source = 1;
  ref.ErrorText = kProductMessage;
  ref.ValueColumn = "产品ID";
  ref.TextColumn = "物品编码";
  ref.LookupKey = "kmdcpml";
  product->CheckRequest = [this] {
    PickProduct(true);
    m_IsDirty = true;
  };
  product->BrowseRequest = [this] {
    PickProduct(false);
    m_IsDirty = true;
  };
  lblName = m_Controls.Add<view::Label>("lblName", -1, "*");
  const char* const checks[] = {"标准", "失效", "关键路线"};
  for (int i = 0; i < 3; ++i) {
    auto* chk = m_Controls.Add<view::CheckBox>("Chk", i, checks[i]);
    chk->Click = [this] { m_IsDirty = true; };
    Chk.Set(i, chk);
  }
  qnGrid = m_Controls.Add<view::LineGrid>("qnGrid");
  qnGrid->RowDeleting = [this](int row, bool& allow) { qnGrid_RowDeleting(row, allow); };
  qnGrid->RowAdded = [this] {
    if (qnGrid->Inner().Rows() < qnGrid->FixedRows + kEmptyRows) qnGrid->SetRows(qnGrid->FixedRows + kEmptyRows);
  };
  qnGrid->CanAddRow = [](int, bool& allow) { allow = true; };
  qnGrid->CellLookup = [this](view::TextField& probe, int, int) { Context().LookupCheck(probe, Value(probe.Text())); };
  qnGrid->CellKey = [this](view::TextField& probe, const std::string& key, int, int) {
    Context().LookupBrowse(probe, key);
  };
  qnGrid->CellChanged = [this](int, int) { NumberLines(); };
  CreateSplitter();
  InitProperties();
}

bool SRLX::Init(IFormContext* context, int32_t programId, int32_t recordId) {
  FlatDictionary::Init(context, programId, recordId);
  SetUpGrid();
  return true;
}

void SRLX::SetUpGrid() {
  auto& g = *qnGrid;
  g.Redraw = false;
  g.SetCols(11);
  g.SetRows(g.FixedRows + kEmptyRows);
  g.SetFormatString(kFormat);
  g.Option2 = false;
  int decimals = static_cast<int>(text::Val(Context().Option(12, Value(7)).Value));
  std::string numberFormat = decimals > 0 ? "###." + std::string(static_cast<size_t>(decimals), '#') : "###";
  bool workCentres = text::Val(Context().Parameter(12, Value("ishavework")).Value) == 1;
  for (int col = 0; col < 11; ++col) {
    view::GridColumn& c = g.Col(col);
    c.Editable = true;
    c.Marked = false;
    c.HasLookup = false;
    c.Kind = 1;
    c.LookupKind = 0;
    c.LookupFlag = false;
    c.LookupMode = 0;
    c.ItemSize = 1;
    c.LookupKey = c.LookupMessage = c.IdField = c.NameField = c.LookupSql = "";
    if (col == 0) {
      c.Editable = false;
      c.Kind = 4;
    } else if (col == 1) {
      c.Kind = 4;
    } else if (col >= 5 && col <= 8) {
      c.Kind = 7;
      if (col <= 7) g.SetColFormat(col, numberFormat);
      c.Alignment = 5;
    } else if (col == 10) {
      c.Visible = false;
    }
    for (const auto& l : kLookups) {
      if (l.col != col) continue;
      c.HasLookup = true;
      c.LookupKind = 1;
      c.LookupFlag = false;
      c.LookupMode = 1;
      c.IdField = l.idField;
      c.NameField = l.nameField;
      c.LookupKey = l.key;
      c.LookupSql = l.sql;
      c.LookupMessage = l.message;
      if (col == 2) c.ListWidth = 6000;
    }
    if (col == 4) c.Visible = workCentres;
  }
  g.Redraw = true;
}

void SRLX::SetEnabled(bool editing) {
  FlatDictionary::SetEnabled(editing);
  qnGrid->Editable = editing;
}

void SRLX::ClearFields() {
  FlatDictionary::ClearFields();
  lblName->SetCaption("*");
  qnGrid->ClearGrid();
}

int32_t SRLX::ProductId() const { return Value(text::Val(text::Trim(qnT(3).GetValue().ToText()))).ToLong(); }

void SRLX::PickProduct(bool typed) {
  auto picker = Context().Picker("kmdcpml");
  if (!picker) throw RuntimeError("no picker over kmdcpml");
  if (typed) picker->Lookup(qnT(3).Text(), kProductMessage);
  else picker->Show("single", "");
  ShowProduct(picker->Selection());
}

void SRLX::ShowProduct(const PickerSelection& selection) {
  if (selection.Count() > 0) {
    const PickedRow& row = selection.item(1);
    qnT(3).SetValue(row.Field("l产品ID"));
    qnT(3).SetText(row.Field("s物品编码").ToText());
    lblName->SetCaption(row.Field("s物品名称").ToText() + "  " + row.Field("s规格").ToText() + "  " +
                        row.Field("n_s库存单位").ToText());
  } else {
    qnT(3).SetValue(Value());
    qnT(3).SetText("");
    lblName->SetCaption("");
  }
}

void SRLX::m_Tv_Selected(const NodePtr& node) {
  try {
    RaiseMessage("正在加载数据...");
    ClearFields();
    if (node) {
      // The root carries no tag: no route, and the header's read finds none.
      m_ID = m_ValueHelper->ToNumber(node->Tag).ToLong();
      UpdateScreen(m_ID);
    }
    RaiseMessage("");
  } catch (const std::exception& e) {
    RaiseErrMessage(m_SelectErrorText + e.what(), kFailure, m_Title);
  }
}

std::string SRLX::UpdateScreenSql(int32_t id) const {
  return "SELECT KMDSRLX.路线名称, KMDSRLX.ID, KMDSRLX.日期, KMDSRLX.工作编号, KMDSRLX.说明, KMDSRLX.产品ID, "
         "KMDSRLX.是否标准, KMDSRLX.是否失效, KMDSRLX.是否系统, KMDSRLX.是否关键路线, KMDCPML.物品编码, "
         "KMDCPML.物品名称, KMDCPML.库存单位 , KMDCPML.规格  FROM KMDSRLX LEFT OUTER JOIN  KMDCPML ON "
         "KMDSRLX.产品ID = KMDCPML.产品ID   WHERE id=" +
         std::to_string(id);
}

void SRLX::UpdateScreen(int32_t id) {
  std::shared_ptr<db::IDatabase> db;
  try {
    db = Database();
    auto rs = db->CreateCommand(UpdateScreenSql(id), 1)->OpenRecordset();
    std::string err = db->LastError().Description();
    if (!err.empty()) {
      RaiseErrMessage(err, kFailure, kAppTitle);
      return;
    }
    if (rs->Eof()) {
      rs->Close();
      db->ResetState();
      return;
    }
    qnT(0).SetText(Str(*rs, "路线名称"));
    qnT(1).SetText(Str(*rs, "日期"));
    qnT(2).SetText(Str(*rs, "说明"));
    qnT(3).SetValue(rs->Fields("产品ID"));
    qnT(3).SetText(Str(*rs, "物品编码"));
    lblName->SetCaption(Str(*rs, "物品名称") + "  " + Str(*rs, "规格") + "  " + Str(*rs, "库存单位"));
    const char* const flags[] = {"是否标准", "是否失效", "是否关键路线"};
    for (int i = 0; i < 3; ++i)
      if (Num(*rs, flags[i]) == 1) Chk(i).SetValue(1);
    int32_t productId = Value(Num(*rs, "产品ID")).ToLong();
    rs->Close();
    KeepFingerprint(id);
    ShowLines(*db, id, productId);
    db->ResetState();
  } catch (const std::exception& e) {
    RaiseErrMessage(e.what(), kFailure, kAppTitle);
    if (db) db->ResetState();
  }
}

void SRLX::ShowLines(db::IDatabase& db, int32_t id, int32_t productId) {
  auto& g = *qnGrid;
  // A failed read is reported with the database's words; the lines read so far stay.
  auto read = [&](const std::string& sql) {
    auto rs = db.CreateCommand(sql, 1)->OpenRecordset();
    std::string err = db.LastError().Description();
    if (!err.empty()) RaiseErrMessage(err, kFailure, kAppTitle);
    return err.empty() ? rs : nullptr;
  };
  g.Inner().SetRows(g.Inner().FixedRows);
  g.Inner().SetRows(g.Inner().FixedRows + kEmptyRows);
  auto rs = read(
      "SELECT KMDSRLXMX.*, KMDSR.工艺名称 AS 工艺名称, KMDBM.部门名称 AS 生产车间,KMDGZZX.工作中心名称 as 工作中心 FROM "
      "KMDSRLXMX LEFT OUTER JOIN KMDSR ON KMDSRLXMX.工艺ID = KMDSR.工艺ID LEFT OUTER JOIN KMDBM ON KMDSRLXMX.部门ID = "
      "KMDBM.部门ID LEFT OUTER JOIN KMDGZZX ON KMDSRLXMX.工作中心ID = KMDGZZX.工作中心ID  WHERE KMDSRLXMX.SRLXID = " +
      std::to_string(id) + " ORDER BY KMDSRLXMX.顺序号");
  if (!rs) return;
  int row = g.FixedRows;
  for (int line = 1; !rs->Eof(); rs->MoveNext(), ++line, ++row) {
    if (row >= g.Inner().Rows()) g.Inner().SetRows(g.Inner().Rows() + 1);
    g.SetCell(row, 0, std::to_string(line));
    g.SetCell(row, 1, Str(*rs, "顺序号"));
    g.SetCell(row, 2, Str(*rs, "工艺名称"), rs->Fields("工艺ID"));
    g.SetCell(row, 3, Str(*rs, "生产车间"), rs->Fields("部门ID"));
    g.SetCell(row, 4, Str(*rs, "工作中心"), rs->Fields("工作中心ID"));
    g.SetCell(row, 5, Str(*rs, "准备工时"));
    g.SetCell(row, 6, Str(*rs, "加工工时"));
    g.SetCell(row, 7, Str(*rs, "小时加工数"));
    g.SetCell(row, 10, Str(*rs, "ID"));
    g.SetCell(row, 9, Str(*rs, "说明"));
    if (productId != 0) {
      auto wage = read("select 单位工资 from pagzde where 工序ID=" + Str(*rs, "工艺ID") +
                           " and 产品ID=" + std::to_string(productId) + " and 工作中心ID<=0 and 品质=''");
      if (!wage) return;
      if (!wage->Eof()) g.SetCell(row, 8, Str(*wage, "单位工资"));
      wage->Close();
    }
  }
  rs->Close();
}

void SRLX::NumberLines() {
  auto& g = *qnGrid;
  for (int row = g.FixedRows; row <= g.LastDataRow(); ++row) {
    if (!text::Trim(g.GetCell(row, 1)).empty()) continue;
    std::string place = std::to_string(row - g.FixedRows + 1);
    if (place.size() < 3) place.insert(0, 3 - place.size(), '0');
    g.SetCell(row, 1, place + "0");
  }
}

bool SRLX::IsCanSave() {
  try {
    std::string name = text::Trim(qnT(0).Text());
    if (name.empty()) {
      MsgBox("没有具体的路线名称,请录入!", view::vbInformation, "提示：");
      return false;
    }
    std::string sql = m_ID < 1 ? " Select count(*) From KMDsrlx Where 路线名称=" + text::Quote(name)
                               : " Select * From KMDsrlx Where ID<>" + std::to_string(m_ID) +
                                     " and 路线名称=" + text::Quote(name);
    if (ReadValue(sql).ToDouble() > 0) {
      MsgBox("路线名称重复,请检查!", view::vbInformation, "提示：");
      m_FormHelper->SetFocusTo(qnT(0));
      return false;
    }
    int lines = 0;
    for (int row = qnGrid->FixedRows; row < qnGrid->Rows(); ++row)
      if (HasLine(row)) ++lines;
    if (lines == 0) {
      MsgBox("表体内无记录，不能保存！", view::vbInformation, "提示：");
      m_FormHelper->SetFocusTo(*qnGrid);
      return false;
    }
    return true;
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("Cansave中出错，原因：") + e.what(), kFailure, m_Title);
    return false;
  }
}

void SRLX::NewId(int32_t& id) { m_IdAllocator->NextId("kmdSRLX", "ID", id); }

std::string SRLX::InsertSql(int32_t id) const {
  return "insert into kmdsrlx (ID,产品ID,路线名称,日期,说明,是否标准,是否失效,是否关键路线) values ( " +
         std::to_string(id) + "," + std::to_string(ProductId()) + "," + text::Quote(text::Trim(qnT(0).Text())) + "," +
         text::Quote(text::Trim(qnT(1).Text())) + "," + text::Quote(text::Trim(qnT(2).Text())) + "," +
         std::to_string(Chk(0).GetValue()) + "," + std::to_string(Chk(1).GetValue()) + "," +
         std::to_string(Chk(2).GetValue()) + ")";
}

std::string SRLX::UpdateSql(int32_t id) const {
  return "update kmdsrlx set 路线名称=" + text::Quote(text::Trim(qnT(0).Text())) +
         ",日期=" + text::Quote(text::Trim(qnT(1).Text())) + ",产品ID=" + std::to_string(ProductId()) +
         ",说明=" + text::Quote(text::Trim(qnT(2).Text())) + ",是否标准=" + std::to_string(Chk(0).GetValue()) +
         ",是否失效=" + std::to_string(Chk(1).GetValue()) + ",是否关键路线=" + std::to_string(Chk(2).GetValue()) +
         " where ID=" + std::to_string(id);
}

std::vector<std::string> SRLX::DeleteSql() const {
  return {"delete from kmdsrlx where id=" + std::to_string(m_ID), " delete from kmdsrlxmx where srlxid=" + std::to_string(m_ID)};
}

std::string SRLX::Exec(db::IDatabase& db, const std::string& sql) {
  db.CreateCommand(sql, 1)->Execute();
  return db.LastError().Description();
}

std::string SRLX::SaveLine(db::IDatabase& db, int row, int32_t routeId, double productId) {
  auto& g = *qnGrid;
  auto id = [&](int col) { return Number(text::Val(g.GetCell(row, col, false))); };
  auto number = [&](int col) { return Number(text::Val(g.GetCell(row, col))); };
  std::string sequence = text::Quote(text::Left(g.GetCell(row, 1), 4));
  std::string remark = text::Quote(text::Trim(g.GetCell(row, 9)));
  std::string lineId = number(10);
  std::string sql;
  if (text::Val(g.GetCell(row, 10)) <= 0) {
    int32_t newId = 0;
    m_IdAllocator->NextId("kmdSRLXmx", "ID", newId);
    sql = " InSert Into kmdsrlxmx (ID,srlxid,顺序号,工艺ID,部门ID,工作中心ID,准备工时,加工工时,小时加工数,说明) Values (" +
          std::to_string(newId) + "," + std::to_string(routeId) + "," + sequence + "," + id(2) + "," + id(3) + "," +
          id(4) + "," + number(5) + "," + number(6) + "," + number(7) + "," + remark + ")";
  } else {
    sql = " Update kmdsrlxmx Set 顺序号=" + sequence + ",工艺ID=" + id(2) + ",部门ID=" + id(3) + ",工作中心ID=" + id(4) +
          ",准备工时=" + number(5) + ",加工工时=" + number(6) + ",小时加工数=" + number(7) + ",说明=" + remark +
          " Where ID=" + lineId;
  }
  std::string err = Exec(db, sql);
  if (!err.empty() || productId == 0) return err;
  std::string key = " where 工序ID=" + id(2) + " and 产品ID=" + Number(productId) + " and 工作中心ID<=0 and 品质=''";
  Value wageId = db.CreateCommand("select ID from pagzde" + key, 1)->ExecuteScalar();
  err = db.LastError().Description();
  if (!err.empty()) return err;
  std::string wage = number(8);
  if (wageId.ToDouble() > 0) return Exec(db, "update pagzde set 单位工资=" + wage + " where ID=" + wageId.ToText());
  int32_t newWage = 0;
  m_IdAllocator->NextId("pagzde", "ID", newWage);
  return Exec(db, "insert into pagzde(ID,工序ID,产品ID,工作中心ID,品质,单位工资) values (" + std::to_string(newWage) + "," +
                      id(2) + "," + Number(productId) + ",0,''," + wage + ")");
}

bool SRLX::FileSave() {
  std::shared_ptr<db::IDatabase> db;
  try {
    if (!IsCanSave()) return false;
    db = Database();
    db->BeginTrans();
    bool insert = m_ID <= 0;
    int32_t routeId = m_ID;
    if (insert) NewId(routeId);
    std::string err = Exec(*db, insert ? InsertSql(routeId) : UpdateSql(routeId));
    if (!err.empty()) {
      RaiseErrMessage("数据库操作错误，原因：" + err, kFailure, "工艺路线");
      db->RollbackTrans();
      return false;
    }
    double productId = text::Val(text::Trim(qnT(3).GetValue().ToText()));
    for (int row = qnGrid->FixedRows; row < qnGrid->Rows() && err.empty(); ++row)
      if (HasLine(row)) err = SaveLine(*db, row, routeId, productId);
    // The route saved last is the product's route, whichever is the standard one.
    if (err.empty())
      err = Exec(*db, "Update KMDCpml Set 工艺路线ID=" + std::to_string(routeId) + " WHERE 产品ID=" + Number(productId));
    if (!err.empty()) {
      db->RollbackTrans();
      RaiseErrMessage(err, kFailure, kAppTitle);
      return false;
    }
    db->CommitTrans();
    std::string name = text::Trim(qnT(0).Text());
    if (insert) {
      auto node = m_Tv->NodeAdd(NodeRef("ROOT"), view::tvwChild, "k" + std::to_string(routeId), name, Value(1));
      if (!node) throw RuntimeError("Object variable or With block variable not set");
      node->Tag = Value(routeId);
      node->SetSelected(true);
      node->EnsureVisible();
    } else if (auto node = Tree()->SelectedItem()) {
      node->Text = name;
      node->EnsureVisible();
    }
    m_Tv->ReSelectItem(nullptr);
    SetEnabled(false);
    m_IsDirty = false;
    return true;
  } catch (const std::exception& e) {
    if (db && db->InTrans()) db->RollbackTrans();
    RaiseErrMessage(std::string("save中出错，原因：") + e.what(), kFailure, m_Title);
    return false;
  }
}

void SRLX::qnGrid_RowDeleting(int row, bool& allow) {
  if (MsgBox("是否删除当前行记录！", view::vbInformation | view::vbYesNo, "提示：") != view::vbYes) return;
  auto db = Database();
  db->BeginTrans();
  std::string err = Exec(*db, "delete from kmdsrlxmx where id=" + Number(text::Val(qnGrid->GetCell(row, 10))));
  if (!err.empty()) {
    db->RollbackTrans();
    RaiseErrMessage("删除数据时出错：" + err, kFailure, kAppTitle);
    return;
  }
  db->CommitTrans();
  allow = true;
}

bool SRLX::FileNew() {
  FlatDictionary::FileNew();
  Chk(0).SetValue(1);
  return true;
}

bool SRLX::FileDelete() {
  std::shared_ptr<db::IDatabase> db;
  try {
    if (!m_Tv->IsSelected()) {
      MsgBox("无选择项目,不能进行删除! ", view::vbInformation, "提示：");
      return false;
    }
    auto node = Tree()->SelectedItem();
    if (!node->Parent()) {
      RaiseErrMessage("根节点不能删除，请检查后重试!", kSelection, "提示：");
      return false;
    }
    if (MsgBox("是否删除当前记录:" + node->Text, view::vbExclamation | view::vbYesNo, "提示:") != view::vbYes) return true;
    m_ID = m_ValueHelper->ToNumber(node->Tag).ToLong();
    db = Database();
    db->BeginTrans();
    for (const auto& sql : DeleteSql()) {
      std::string err = Exec(*db, sql);
      if (!err.empty()) throw RuntimeError(err);
    }
    db->CommitTrans();
    m_Tv->NodeDelete(node, true);
    m_Tv_Selected(Tree()->SelectedItem());
    m_IsDirty = false;
    return true;
  } catch (const std::exception& e) {
    if (db && db->InTrans()) db->RollbackTrans();
    RaiseErrMessage(std::string("删除数据时出错：") + e.what(), kFailure, kAppTitle);
    return false;
  }
}

void SRLX::SelectRoute(const NodePtr& node) {
  if (!node) return;
  Tree()->SetSelectedItem(node);
  node->EnsureVisible();
  m_Tv->ReSelectItem(node);
}

bool SRLX::RecordTop() {
  auto root = Tree()->FindKey("ROOT");
  SelectRoute(root ? root->Child() : nullptr);
  return true;
}

bool SRLX::RecordBottom() {
  auto root = Tree()->FindKey("ROOT");
  NodePtr last = root ? root->Child() : nullptr;
  while (last && last->Next()) last = last->Next();
  SelectRoute(last);
  return true;
}

}  // namespace kmd
