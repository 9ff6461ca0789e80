#include "catalogue/CPML.h"

#include <iconv.h>

#include "base/Text.h"
#include "frame/Settings.h"

namespace kmd {

namespace {

const char* const kTitle = "产品目录";

// The pages of Toolbar1: button index, frame index, and the field that takes the focus.
struct Page {
  int button;
  int frame;
  int focus;  // -1: none
};
constexpr Page kPages[] = {{1, 2, 0}, {3, 3, 12}, {5, 0, -1}};

}  // namespace

CPML::CPML(view::Platform& platform) : Form("CPML", platform) {
  m_Title = kTitle;
  SetRecordSource("KMDCPML", "产品ID");
  InitProperties();
}

view::TextField* CPML::AddField(int index, const std::string& caption, view::Control* page) {
  auto* f = m_Controls.Add<view::TextField>("qnT", index, caption);
  f->SetContainer(page);
  f->Change = [this] { m_IsDirty = true; };
  qnT.Set(index, f);
  return f;
}

void CPML::InitProperties() {
  auto* tv = CreateTree();
  tv->Expand = [this](const NodePtr& node) { m_Tv_Expand(node); };
  m_Tv->Selected = [this](const NodePtr& node) { m_Tv_Selected(node); };
  m_Tv->Dragging = [this](const NodePtr&, const NodePtr&) { Tree()->DragIcon = "DRAGICON"; };
  m_Tv->Dropped = [this](const NodePtr& source, const NodePtr& target) { m_Tv_Dropped(source, target); };
  CreateSplitter();

  Toolbar1 = m_Controls.Add<view::Toolbar>("Toolbar1");
  Toolbar1->AddButton("  基本属性    ", "产品的基本属性", view::tbrCheck);
  Toolbar1->AddButton("", "", view::tbrSeparator);
  Toolbar1->AddButton("  其他属性    ", "物料的扩展属性", view::tbrCheck);
  Toolbar1->AddButton("", "", view::tbrSeparator);
  Toolbar1->AddButton("  产品图片    ", "物品的图片信息", view::tbrCheck);
  Toolbar1->ButtonClick = [this](view::ToolbarButton& b) { Toolbar1_ButtonClick(b); };

  for (int i : {2, 3, 0}) {
    auto* frame = m_Controls.Add<view::Control>("Frame", "Fra", i);
    frame->SetContainer(m_DetailFrame);
    Fra.Set(i, frame);
  }
  view::Control* base = &Fra(2);
  view::Control* other = &Fra(3);
  const struct {
    const char* caption;
    view::Control* page;
  } fields[] = {
      {"物品编码 *", base},     {"助忆词", base},         {"物品名称 *", base},     {"规格型号", base},
      {"物品产地", base},       {"条形码", base},         {"产品类别 *", base},     {"颜色", base},
      {"特性", base},           {"尺寸", base},           {"工程图号", base},       {"物品说明", base},
      {"最大允许库存量", other}, {"最小允许库存量", other}, {"参考进价", other},       {"参考售价", other},
      {"参考税额", other},      {"参考批发价", other},     {"损耗率", other},        {"保质期(天)", base},
      {"货位号", other},        {"转换率", base},         {"计量单位 *", base},     {"辅助单位", base},
      {"工艺路线", other},      {"产品来源", base},       {"提前期", base},         {"主供应商", base},
      {"采购方式", base},       {"建议备库量", other},     {"最高采购价", other},     {"最低销售价", other},
      {"业务员", base},         {"最小起订量", base},     {"英文名称", base},
  };
  for (int i = 0; i < 35; ++i) AddField(i, fields[i].caption, fields[i].page);

  const struct {
    int index;
    const char* caption;
  } boxes[] = {{0, "允许使用"}, {1, "批次管理"}, {7, "单件管理"}, {8, "保质期管理"}};
  for (const auto& b : boxes) {
    auto* c = m_Controls.Add<view::CheckBox>("Chk", b.index, b.caption);
    c->SetContainer(base);
    c->Click = [this] { m_IsDirty = true; };
    Chk.Set(b.index, c);
  }
  Chk(8).Click = [this] {
    m_IsDirty = true;
    qnT(19).Locked = !(Chk(8).GetValue() == 1 && Chk(8).Enabled());
  };
  const char* abc[] = {"A类", "B类", "C类"};
  for (int i = 0; i < 3; ++i) {
    auto* o = m_Controls.Add<view::OptionButton>("Opt", i, abc[i], "ABC");
    o->SetContainer(base);
    o->Click = [this] { m_IsDirty = true; };
    Opt.Set(i, o);
  }
  // Hidden labels: the product id, the category id, the node's kind, the category name.
  for (int i = 0; i <= 4; ++i) {
    auto* l = m_Controls.Add<view::Label>("lbl", i);
    l->SetVisible(false);
    lbl.Set(i, l);
  }
  ImgBom = m_Controls.Add<view::Image>("ImgBom");
  ImgBom->ToolTipText = "已有标准物料清单";
  ImgSr = m_Controls.Add<view::Image>("ImgSr");
  ImgSr->ToolTipText = "已有标准工艺路线";

  // Browsing: dragging products and new records that start from the one on screen.
  auto* drag = m_Controls.Add<view::CheckBox>("Chk", 2, "允许拖动记录");
  drag->Click = [this] { m_Tv->DragEnabled = Chk(2).GetValue() == 1; };
  Chk.Set(2, drag);
  Chk.Set(3, m_Controls.Add<view::CheckBox>("Chk", 3, "引用数据(&H)"));

  // The picture page.
  view::Control* pictures = &Fra(0);
  txtFileName = m_Controls.Add<view::TextBox>("txtFileName");
  Txt = m_Controls.Add<view::TextBox>("Txt");
  Txt->Change = [this] { Chk(6).SetValue(1); };
  CmdOpenFile = m_Controls.Add<view::Button>("CmdOpenFile", -1, "选择图片");
  CmdClear = m_Controls.Add<view::Button>("CmdClear", -1, "清除图片");
  CmdShow = m_Controls.Add<view::Button>("CmdShow", -1, "打开图片");
  picCpml = m_Controls.Add<view::PictureBox>("picCpml");
  imgCpml = m_Controls.Add<view::Image>("imgCpml");
  imgCpml->SetContainer(picCpml);
  Pic = m_Controls.Add<view::PictureBox>("Pic");
  Pic->SetVisible(false);
  const struct {
    int index;
    const char* caption;
  } pictureBoxes[] = {{4, "数据库是否有图片"}, {5, "缩放图片"}, {6, "图片是否已更改"}};
  for (const auto& b : pictureBoxes) Chk.Set(b.index, m_Controls.Add<view::CheckBox>("Chk", b.index, b.caption));
  for (view::Control* c : std::initializer_list<view::Control*>{txtFileName, Txt, CmdOpenFile, CmdClear, CmdShow, picCpml,
                                                                  Pic, &Chk(4), &Chk(5), &Chk(6)})
    c->SetContainer(pictures);
  InitPicturePage();

  const struct {
    int index;
    const char* errorText;
    const char* value;
    const char* text;
    const char* sql;
    const char* key;
  } lookups[] = {
      {22, "计量单位输入有误，请重新输入！", "单位ID", "名称",
       "Select 单位ID,代码,名称 From KMDjldw  where 代码 = '@' or 名称 = '@'", "gy_jldw"},
      {23, "辅助单位输入有误，请重新输入！", "单位ID", "名称",
       "Select 单位ID,代码,名称 From KMDjldw  where 代码 = '@' or 名称 = '@'", "gy_jldw"},
      {25, "产品来源输入有误，请重新输入！", "Text", "Caption",
       "select text,caption FROM xt_billattribute where (code = '@' or caption='@' ) AND ( attribute ='产品来源' ) ",
       "cpml_lx"},
      {28, "采购方式输入有误，请重新输入！", "Text", "Caption",
       "select text,caption FROM xt_billattribute where ProgID=200008 AND (code = '@' or caption='@' ) AND ( attribute "
       "='采购方式' ) ",
       "cpml_cg"},
      {27, "", "往来ID", "公司名称",
       "select * from vtkmdwldw where ( 公司编号='@' or 助忆词='@' or 公司名称='@') and 属性=1 AND 是否明细=1 and "
       "是否停用=0",
       "hp_provide"},
      {24, "工艺路线输入有误，请重新输入！", "ID", "路线名称",
       "select 路线名称,ID FROM KMDSRLX where 是否标准=1 and  路线名称 = '@'", "gy_srlxname"},
      {32, "业务员输入有误，请重新输入！", "AutoID", "名称", "Select 代码,名称,AutoID From kmdxsy where 代码= '@' or 名称='@'",
       "hp_ywy"},
  };
  for (const auto& l : lookups) {
    std::string errorText = *l.errorText ? l.errorText : text::Trim(qnT(l.index).Caption()) + "输入有误，请重新输入！";
    SetReference(qnT(l.index), errorText, l.value, l.text, l.sql, l.key);
  }
}

bool CPML::Init(IFormContext* context, int32_t programId, int32_t recordId) {
  Form::Init(context, programId, recordId);
  m_ProgID = programId;
  m_CategoryName = "产品类别";
  m_Subjects.clear();
  auto db = Database();
  auto program = ReadProgram(*db, programId);
  if (program.Found) {
    m_ProgName = program.Name;
    // "k=1211,1243" keeps the tree to the categories of those stock subjects: "'1211','1243'".
    auto k = program.CommandLine.Item("k");
    if (k.Found) m_Subjects = text::QuoteList(k.Value);
  }
  m_CodeRule = Context().Option(12, Value(16)).Value;
  RaiseErrMessage("读取编码规则" + m_CodeRule, kJournal, kTitle);
  if (m_CodeRule.empty()) m_CodeRule = "22222";
  m_LimitDrawing = static_cast<int32_t>(
      ReadAttributeNumber(*db, "select text from xt_billattribute where attribute='limitdrawing'"));
  m_LimitPicture = static_cast<int32_t>(
      ReadAttributeNumber(*db, "select text from xt_billattribute where attribute='limitpicture'"));
  SetEnabled(false);
  PressPage(1);
  CmdShow->SetEnabled(Context().ProgramRights(m_ProgID).ActionRight);
  return true;
}

int32_t CPML::GetID() {
  auto node = Tree()->SelectedItem();
  return node ? m_ValueHelper->ToNumber(node->Tag).ToLong() : 0;
}

int32_t CPML::SavingRecordId() const { return static_cast<int32_t>(text::NumericValue(lbl(0).Caption())); }

// ---- Pages ----

void CPML::Toolbar1_ButtonClick(view::ToolbarButton& button) {
  for (const auto& page : kPages) {
    if (page.button != button.Index) continue;
    for (const auto& other : kPages) {
      Toolbar1->Button(other.button).Value = other.button == page.button;
      Fra(other.frame).SetVisible(other.frame == page.frame);
    }
    if (page.focus >= 0 && !qnT(page.focus).Locked) qnT(page.focus).SetFocus();
    if (page.button == 5) LoadPicture();
  }
}

void CPML::PressPage(int index) { Toolbar1_ButtonClick(Toolbar1->Button(index)); }

bool CPML::PagePressed(int index) const { return Toolbar1->Button(index).Value; }

// ---- The record ----

double CPML::Switch(int module, const std::string& name) {
  return text::Val(Context().Option(module, Value(name)).Value);
}

bool CPML::DetailRight() { return Context().ProgramRights(m_ProgID).DetailRight; }

std::string CPML::Text(int index) const { return text::Quote(text::Trim(qnT(index).Text())); }

std::string CPML::Num(int index) const { return text::FormatNumber(text::NumericValue(qnT(index).Text())); }

std::string CPML::LookupNum(int index) const {
  return text::FormatNumber(text::NumericValue(text::Trim(qnT(index).GetValue().ToText())));
}

bool CPML::ContainsChinese(const std::string& text) {
  iconv_t cd = iconv_open("CP936", "UTF-8");
  if (cd == reinterpret_cast<iconv_t>(-1)) return false;
  bool found = false;
  for (size_t i = 0; i < text.size() && !found;) {
    size_t n = 1;
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c >= 0xF0) n = 4;
    else if (c >= 0xE0) n = 3;
    else if (c >= 0xC0) n = 2;
    n = std::min(n, text.size() - i);
    if (n > 1) {
      // A character that the code page writes in two bytes; one it cannot write counts as none.
      std::string one = text.substr(i, n);
      char out[8];
      char* in = one.data();
      size_t inLeft = one.size(), outLeft = sizeof out;
      char* o = out;
      iconv(cd, nullptr, nullptr, nullptr, nullptr);
      if (iconv(cd, &in, &inLeft, &o, &outLeft) != static_cast<size_t>(-1) && sizeof out - outLeft == 2) found = true;
    }
    i += n;
  }
  iconv_close(cd);
  return found;
}

void CPML::ClearFields() {
  for (int i : {1, 0, 7, 8}) Chk(i).SetValue(0);
  ImgBom->SetVisible(false);
  ImgSr->SetVisible(false);
  m_ID = 0;
  m_RecordMissing = false;
  // Only the text fields, text boxes and combo boxes: the boxes above are the ones cleared here.
  ClearControlValues(m_Controls, false);
  txtFileName->SetText("");
  imgCpml->SetPicture({});
  Pic->SetPicture({});
  Chk(4).SetValue(0);
  Chk(6).SetValue(0);
}

void CPML::SetEnabled(bool editing) {
  for (const auto& c : m_Controls) {
    const std::string& type = c->TypeName();
    if (type == "CommandButton" || type == "Button" || type == "TextBox" || type == "qnTxt_S" || type == "ComboBox" ||
        type == "CheckBox" || type == "OptionButton")
      c->SetEnabled(editing);
    else if (type == "TreeView" || type == "ListView")
      c->SetEnabled(!editing);
  }
  qnT(6).Locked = true;
  Chk(2).SetEnabled(!editing);
  Chk(3).SetEnabled(!editing);
  if (editing) {
    Chk(1).SetEnabled(Switch(1, "batchgroup") != 0);
    Chk(8).SetEnabled(Switch(1, "bzq") != 0);
  }
  qnT(19).Locked = !(Chk(8).GetValue() == 1 && Chk(8).Enabled());
  auto rights = Context().ProgramRights(m_ProgID);
  for (int i : {14, 15, 17, 16}) qnT(i).SetVisible(rights.DetailRight);
  CmdShow->SetEnabled(rights.ActionRight);
}

void CPML::UpdateScreen(int32_t productId) {
  try {
    m_RecordMissing = false;
    std::string id = std::to_string(productId);
    auto rs = ReadRows("SELECT * FROM vtKMDCPML WHERE 产品ID=" + id);
    if (rs->Eof()) {
      rs->Close();
      m_RecordMissing = true;
      return;
    }
    KeepFingerprint(productId);
    auto str = [&](const char* column) { return rs->Fields(column).ToText(); };
    auto num = [&](const char* column) { return text::FormatNumber(text::Val(str(column))); };
    std::string abc = str("ABC码");
    for (int i = 0; i < 3; ++i) Opt(i).SetValue(abc == std::string(1, static_cast<char>('A' + i)));
    lbl(0).SetCaption(str("产品ID"));
    lbl(1).SetCaption(str("类别ID"));
    lbl(4).SetCaption(str("产品类别"));
    const struct {
      int index;
      const char* column;
      bool number;
    } columns[] = {
        {0, "物品编码", false},   {1, "助忆词", false},     {2, "物品名称", false},   {3, "规格", false},
        {4, "物品产地", false},   {5, "条形码", false},     {7, "颜色", false},       {8, "特性", false},
        {9, "尺寸", false},       {10, "图号", false},      {11, "物品说明", false},  {12, "超储限额", true},
        {13, "短缺限额", true},   {14, "参考进价", true},   {15, "参考零售价", true}, {16, "参考税额", true},
        {17, "参考批发价", true}, {18, "损耗率", true},     {19, "保质期", true},     {20, "缺省货位", false},
        {21, "换算比例", true},   {22, "库存单位", false},  {23, "重量单位", false},  {26, "采购提前期", true},
        {33, "订货批量", true},
    };
    for (const auto& c : columns) qnT(c.index).SetText(c.number ? num(c.column) : str(c.column));
    lbl(1).SetCaption(str("产品类别ID"));
    qnT(6).SetText(str("产品类别"));
    qnT(24).SetValue(rs->Fields("工艺路线ID"));
    qnT(24).SetText(str("工艺路线"));
    const struct {
      int index;
      const char* column;
    } boxes[] = {{0, "是否使用"}, {1, "是否需批次管理"}, {7, "是否需单件管理"}, {8, "是否需保质期管理"}};
    for (const auto& b : boxes) Chk(b.index).SetValue(text::Val(str(b.column)) == 1 ? 1 : 0);

    Value source = rs->Fields("来源ID");
    qnT(25).SetValue(source);
    qnT(25).SetText(
        ReadValue("SELECT Caption From xt_billattribute Where attribute ='产品来源' AND Text=" + text::Quote(source.ToText()))
            .ToText());
    Value supplier = rs->Fields("主往来ID");
    qnT(27).SetValue(supplier);
    qnT(27).SetText(ReadValue("SELECT 公司名称 FROM KMDWLDW Where 往来ID=" + supplier.ToText()).ToText());
    rs->Close();

    auto side = ReadRows("SELECT * FROM KMDCPMLB WHERE 产品ID=" + id);
    if (!side->Eof()) {
      qnT(29).SetText(text::FormatNumber(text::Val(side->Fields("建议备库量").ToText())));
      Value way = side->Fields("采购方式");
      qnT(28).SetValue(way);
      qnT(28).SetText(ReadValue("SELECT Caption From xt_billattribute Where ProgID=200008 AND attribute ='采购方式' AND Text=" +
                                text::Quote(way.ToText()))
                          .ToText());
      qnT(30).SetText(text::FormatNumber(text::Val(side->Fields("最高采购价").ToText())));
      qnT(31).SetText(text::FormatNumber(text::Val(side->Fields("最低销售价").ToText())));
      Value salesman = side->Fields("业务员ID");
      qnT(32).SetValue(salesman);
      qnT(32).SetText(ReadValue("SELECT 名称 From kmdxsy Where AutoID=" + salesman.ToText()).ToText());
      qnT(34).SetText(side->Fields("物品名称英文").ToText());
    }
    side->Close();
    if (PagePressed(5)) LoadPicture();

    int32_t bom = ReadValue("select top 1 BomID FROM KMDbom where smark='02' and 是否标准=1 and 是否失效=0 and 产品ID=" + id)
                      .ToLong();
    RaiseProperty("BomID", Value(bom < 1 ? 0 : bom), false);
    ImgBom->SetVisible(bom >= 1);
    int32_t route =
        ReadValue("select top 1 ID FROM KMDSRLX where 是否标准=1 and 是否失效=0 and 产品ID=" + id).ToLong();
    RaiseProperty("工艺ID", Value(route < 1 ? 0 : route), false);
    ImgSr->SetVisible(route >= 1);
    RaiseProperty("产品ID", Value(productId), true);
  } catch (const RuntimeError& e) {
    RaiseErrMessage(std::string("更新屏幕时出错，原因：") + e.what(), kFailure, kTitle);
  }
}

bool CPML::IsCanNew() {
  try {
    if (text::Val(lbl(1).Caption()) <= 0) {
      if (text::Val(lbl(0).Caption()) == 0) {
        MsgBox("非明细级的产品类别，请选择后重试!", view::vbInformation, "提示：");
        return false;
      }
      return true;
    }
    auto rs = ReadRows("SELECT 是否明细 FROM kmdcplb WHERE 类别ID=" + text::Trim(lbl(1).Caption()));
    if (text::Val(rs->Fields(0).ToText()) == 0) {
      MsgBox("非明细级的产品类别，不能新建!", view::vbInformation, "提示：");
      return false;
    }
    return true;
  } catch (const RuntimeError& e) {
    RaiseErrMessage(std::string("判断是否允许新建时出错，原因：") + e.what(), kFailure, kTitle);
    return false;
  }
}

bool CPML::FileNew() {
  try {
    if (!IsCanNew()) return false;
    if (Chk(3).GetValue() == 1) {
      // The record on screen is the template of the new one; only the unit is read and put back.
      std::string unit = qnT(22).Text();
      qnT(22).SetText(unit);
    } else {
      ClearFields();
      qnT(1).SetText("");
      ImgBom->SetVisible(false);
      ImgSr->SetVisible(false);
    }
    // A price the user may not see is not copied into the new record.
    if (!DetailRight())
      for (int i : {14, 15, 17, 16}) qnT(i).SetText("");
    SetEnabled(true);
    lbl(0).SetCaption("0");
    if (!PagePressed(1)) PressPage(1);
    qnT(0).SetFocus();
    qnT(6).SetText(text::Trim(lbl(4).Caption()));
    Chk(0).SetValue(1);
    return true;
  } catch (const RuntimeError& e) {
    MsgBox(e.what(), view::vbInformation, "注意！");
    return false;
  }
}

bool CPML::FileEdit() {
  if (!m_Tv->IsSelected()) {
    MsgBox("无选择项目,不能进行编辑! ", view::vbInformation, "提示：");
    return false;
  }
  if (text::Val(lbl(0).Caption()) == 0) {
    MsgBox("选择的节点为分类节点，不允许编辑！ ", view::vbInformation, "提示：");
    return false;
  }
  if (RefuseMissingRecord()) return false;
  SetEnabled(true);
  if (!PagePressed(1)) PressPage(1);
  qnT(0).SetFocus();
  return true;
}

bool CPML::FileCancel() {
  qnT(0).ErrorState = 0;
  SetEnabled(false);
  m_Tv->ReSelectItem(nullptr);
  m_IsDirty = false;
  return true;
}

}  // namespace kmd
