#include "host/WebView.h"

#include <algorithm>
#include <map>

#include "base/Text.h"
#include "tree/Splitter.h"
#include "view/Grid.h"
#include "view/LineGrid.h"
#include "view/ListView.h"
#include "view/TreeView.h"
#include "view/Widgets.h"

namespace kmd::host {

using nlohmann::json;

std::string CssColour(int32_t colour) {
  if (colour < 0) return "#f0f0f0";
  static const char* hex = "0123456789abcdef";
  auto u = static_cast<uint32_t>(colour);
  std::string s = "#";
  for (int shift : {0, 8, 16}) {
    unsigned byte = (u >> shift) & 0xFF;
    s += hex[byte >> 4];
    s += hex[byte & 0xF];
  }
  return s;
}

namespace {

int Depth(const view::Node* node) {
  int depth = 0;
  for (auto p = node->ParentLink(); p; p = p->ParentLink()) ++depth;
  return depth;
}

json TreeModel(view::TreeView& tree, const RowRange& range) {
  // The tree keeps its visible rows until they change: a request reads only the rows it shows.
  const auto& rows = tree.VisibleRows();
  json out = {{"count", rows.size()}, {"first", range.first}, {"selected", -1}, {"rows", json::array()}};
  if (auto sel = tree.SelectedItem()) {
    out["selectedKey"] = sel->Key();
    out["selected"] = tree.RowOf(sel.get());
  }
  size_t first = static_cast<size_t>(std::max(0, range.first));
  size_t last = std::min(rows.size(), first + static_cast<size_t>(std::clamp(range.count, 0, RowRange::kMaxCount)));
  for (size_t i = first; i < last; ++i) {
    const view::Node* n = rows[i];
    json row = {{"key", n->Key()}, {"text", n->Text}, {"depth", Depth(n)}, {"children", n->Children()},
                {"expanded", n->Expanded()}, {"image", n->Image().ToText()}};
    if (n->Bold) row["bold"] = true;
    if (n->Cut) row["cut"] = true;
    out["rows"].push_back(std::move(row));
  }
  return out;
}

json ListModel(const view::ListView& list) {
  json items = json::array();
  for (const auto& item : list.Items()) {
    json cells = json::array({item->Text});
    for (const auto& s : item->SubItems) cells.push_back(s);
    items.push_back({{"key", item->Key}, {"cells", cells}, {"selected", item == list.SelectedItem()}});
  }
  return {{"columns", list.ColumnHeaders}, {"items", items}};
}

json GridModel(const view::Grid& grid) {
  json cells = json::array();
  for (int r = 0; r < grid.Rows(); ++r) {
    json row = json::array();
    for (int c = 0; c < grid.Cols(); ++c) row.push_back(grid.TextMatrix(r, c));
    cells.push_back(std::move(row));
  }
  json widths = json::array();
  for (int c = 0; c < grid.Cols(); ++c) widths.push_back(grid.ColWidth(c));
  json model = {{"fixedRows", grid.FixedRows}, {"fixedCols", grid.FixedCols}, {"cells", cells}, {"widths", widths}};
  if (const auto* line = dynamic_cast<const view::LineGrid*>(&grid)) {
    // The line grid's cells are typed into: which columns take typing, which look up a row.
    auto& lines = const_cast<view::LineGrid&>(*line);
    json cols = json::array();
    for (int c = 0; c < grid.Cols(); ++c) {
      const auto& col = lines.Col(c);
      cols.push_back({{"visible", col.Visible}, {"editable", col.Editable && c > 0}, {"lookup", col.HasLookup}});
    }
    model.update({{"line", true}, {"editable", line->Editable}, {"cols", cols}, {"lastDataRow", lines.LastDataRow()}});
  }
  return model;
}

std::string Base64(const std::vector<unsigned char>& bytes) {
  static const char* const digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t i = 0; i < bytes.size(); i += 3) {
    uint32_t n = static_cast<uint32_t>(bytes[i]) << 16;
    if (i + 1 < bytes.size()) n |= static_cast<uint32_t>(bytes[i + 1]) << 8;
    if (i + 2 < bytes.size()) n |= bytes[i + 2];
    out += digits[(n >> 18) & 63];
    out += digits[(n >> 12) & 63];
    out += i + 1 < bytes.size() ? digits[(n >> 6) & 63] : '=';
    out += i + 2 < bytes.size() ? digits[n & 63] : '=';
  }
  return out;
}

// An image: its place and size in twips, the size of the picture box it lies in (which clips it)
// and its picture as a data address; a picture above 4 MiB is left out of the model.
json ImageModel(const view::Image& image) {
  json m = {{"kind", "image"},          {"left", image.Left()},     {"top", image.Top()},
            {"width", image.Width()},   {"height", image.Height()}, {"text", image.ShownText()}};
  if (auto* frame = dynamic_cast<const view::PictureBox*>(image.Container()))
    m["frame"] = {{"width", frame->Width()}, {"height", frame->Height()}};
  const view::Picture& picture = image.GetPicture();
  constexpr size_t kMaxPicture = 4 << 20;
  if (!picture.IsEmpty() && picture.Bytes && picture.Bytes->size() <= kMaxPicture) {
    static const std::map<std::string, std::string> types = {
        {"bmp", "image/bmp"}, {"gif", "image/gif"}, {"jpeg", "image/jpeg"}, {"png", "image/png"}, {"wmf", "image/wmf"}};
    m["src"] = "data:" + types.at(picture.Format) + ";base64," + Base64(*picture.Bytes);
  }
  return m;
}

json ControlModel(view::Control& c, const RowRange& rows) {
  json m = {{"name", c.DisplayName()}, {"type", c.TypeName()}, {"enabled", c.Enabled()},
            {"visible", c.Shown()}, {"focus", c.HasFocus()}};
  if (auto* f = dynamic_cast<view::TextField*>(&c)) {
    m.update({{"kind", "text"}, {"caption", f->Caption()}, {"text", f->Text()}, {"maxLength", f->MaxLength},
              {"reference", f->GetReference().IsReference}, {"keys", f->HandlesKeys()}, {"locked", f->Locked}});
  } else if (auto* t = dynamic_cast<view::TextBox*>(&c)) {
    m.update({{"kind", "textbox"}, {"text", t->Text()}});
  } else if (auto* l = dynamic_cast<view::Label*>(&c)) {
    m.update({{"kind", "label"}, {"caption", l->Caption()}});
  } else if (auto* o = dynamic_cast<view::OptionButton*>(&c)) {
    m.update({{"kind", "option"}, {"caption", o->Caption()}, {"value", o->GetValue()}, {"group", o->Group()}});
  } else if (auto* ch = dynamic_cast<view::CheckBox*>(&c)) {
    m.update({{"kind", "check"}, {"caption", ch->Caption()}, {"value", ch->GetValue()}});
  } else if (auto* cb = dynamic_cast<view::ComboBox*>(&c)) {
    m.update({{"kind", "combo"}, {"text", cb->Text()}, {"items", cb->Items}});
  } else if (auto* d = dynamic_cast<view::DatePicker*>(&c)) {
    m.update({{"kind", "date"}, {"text", d->GetValue().ToText()}});
  } else if (auto* b = dynamic_cast<view::Button*>(&c)) {
    m.update({{"kind", "button"}, {"caption", b->Caption()}});
  } else if (auto* p = dynamic_cast<view::PictureBox*>(&c)) {
    m.update({{"kind", "picture"}, {"color", CssColour(p->BackColor)}});
  } else if (auto* bar = dynamic_cast<view::Toolbar*>(&c)) {
    json buttons = json::array();
    for (int i = 1; i <= bar->Count(); ++i) {
      const auto& b = bar->Button(i);
      buttons.push_back({{"index", b.Index}, {"caption", b.Caption}, {"tip", b.ToolTipText}, {"pressed", b.Value},
                         {"separator", b.Style == view::tbrSeparator}, {"enabled", b.Enabled}, {"visible", b.Visible}});
    }
    m.update({{"kind", "bar"}, {"buttons", buttons}});
  } else if (auto* tv = dynamic_cast<view::TreeView*>(&c)) {
    m.update({{"kind", "tree"}, {"tree", TreeModel(*tv, rows)}});
  } else if (auto* lv = dynamic_cast<view::ListView*>(&c)) {
    m.update({{"kind", "list"}, {"list", ListModel(*lv)}});
  } else if (auto* g = dynamic_cast<view::Grid*>(&c)) {
    m.update({{"kind", "grid"}, {"grid", GridModel(*g)}});
  } else if (auto* image = dynamic_cast<view::Image*>(&c)) {
    m.update(ImageModel(*image));
  } else {
    m.update({{"kind", "other"}, {"text", c.ShownText()}});
  }
  return m;
}

// The commands of the toolbar by their contract names, as the form's state allows them. Refresh
// stays offered while editing: the page asks before it throws typing away.
json Toolbar(Form& form) {
  CommandStates s = form.Commands();
  return {{"FileNew", s.New},         {"FileNewNext", s.NewChild},  {"FileEdit", s.Edit},
          {"FileDelete", s.Delete},   {"FileSave", s.Save},         {"FileCancel", s.Cancel},
          {"Find", s.Find},           {"FindNext", s.FindNext},     {"RecordPrevious", s.Previous},
          {"RecordNext", s.Next},     {"PrintPreview", s.Print},    {"Refresh", true}};
}

// Where the tree, the bar and the detail frame stand, in twips, and which sides the bar shows.
json Layout(Form& form) {
  auto* bar = form.Bar();
  auto* tree = form.Tree();
  if (!bar || !tree) return nullptr;
  return {{"bar", bar->DisplayName()}, {"left", bar->Left()},          {"width", bar->Width()},
          {"treeWidth", tree->Width()}, {"minLeft", bar->MinLeft},     {"minRight", bar->MinRight},
          {"visible1", bar->ControlVisible1()}, {"visible2", bar->ControlVisible2()}};
}

}  // namespace

namespace {

// A form's own tools (IFormToolUI) as toggle buttons of the toolbar: key, caption and whether each
// is on; none for the other forms.
json ToolsModel(FormGuard& form) {
  json tools = json::array();
  if (auto* t = dynamic_cast<IFormToolUI*>(&form.Inner()))
    for (const auto& e : t->Tools()) tools.push_back({{"key", e.Key}, {"caption", e.Caption}, {"on", e.State}});
  return tools;
}

}  // namespace

json ViewModel(FormGuard& form, const RowRange& rows) {
  Form& inner = form.Inner();
  json controls = json::array();
  for (const auto& c : form.Controls()) {
    json m = ControlModel(*c, rows);
    // The column a control shows captions it where the form gives it no label of its own.
    if (std::string column = inner.ColumnCaption(*c); !column.empty()) m["column"] = column;
    if (auto* prefix = inner.PrefixOf(*c)) m["prefix"] = prefix->DisplayName();
    controls.push_back(std::move(m));
  }
  auto* tree = inner.Tree();
  auto* focused = form.Controls().Focused();
  return {{"controls", controls},
          {"tree", tree ? json(tree->DisplayName()) : json()},
          {"focus", focused && focused->HasFocus() ? json(focused->DisplayName()) : json()},
          {"toolbar", Toolbar(inner)},
          {"tools", ToolsModel(form)},
          {"dirty", inner.HoldsTyping()},
          {"layout", Layout(inner)}};
}

namespace {

[[noreturn]] void Refuse(int status, const std::string& message) { throw ActionError{status, message}; }

std::string Text(const json& action, const char* key) {
  auto it = action.find(key);
  if (it == action.end() || !it->is_string()) Refuse(400, std::string("the action needs a text \"") + key + "\"");
  return it->get<std::string>();
}

view::Control& ControlOf(FormGuard& form, const json& action) {
  std::string name = Text(action, "control");
  auto* c = form.Controls().FindByDisplayName(name);
  if (!c) Refuse(404, "the form has no control " + name);
  return *c;
}

template <class T>
T& Expect(view::Control& c, const std::string& kind) {
  auto* t = dynamic_cast<T*>(&c);
  if (!t) Refuse(400, "cannot " + kind + " " + c.DisplayName());
  return *t;
}

// Typing, clicking and picking act only on a control the user can reach.
void RequireEnabled(const view::Control& c) {
  if (!c.Enabled() || !c.Shown()) Refuse(409, c.DisplayName() + " is locked");
}

view::NodePtr NodeOf(view::TreeView& tree, const json& action) {
  std::string key = Text(action, "key");
  auto node = tree.FindKey(key);
  if (!node) Refuse(404, "no node has the key " + key);
  return node;
}

using Command = bool (FormGuard::*)();
const std::map<std::string, Command>& Commands() {
  static const std::map<std::string, Command> commands = {
      {"FileNew", &FormGuard::FileNew},       {"FileNewNext", &FormGuard::FileNewNext},
      {"FileEdit", &FormGuard::FileEdit},     {"FileDelete", &FormGuard::FileDelete},
      {"FileSave", &FormGuard::FileSave},     {"FileCancel", &FormGuard::FileCancel},
      {"FindNext", &FormGuard::FindNext},     {"Refresh", &FormGuard::Refresh},
      {"RecordTop", &FormGuard::RecordTop},   {"RecordPrevious", &FormGuard::RecordPrevious},
      {"RecordNext", &FormGuard::RecordNext}, {"RecordBottom", &FormGuard::RecordBottom},
      {"Check", &FormGuard::Check},           {"UnCheck", &FormGuard::UnCheck},
      {"PrintPreview", &FormGuard::PrintPreview}, {"DoPrint", &FormGuard::DoPrint},
      {"PrintSetup", &FormGuard::PrintSetup}, {"Help", &FormGuard::Help},
  };
  return commands;
}

json RunCommand(FormGuard& form, const std::string& name) {
  if (name == "Find") return {{"result", form.Find(Value())}};
  auto it = Commands().find(name);
  if (it == Commands().end()) Refuse(400, "unknown command " + name);
  return {{"result", (form.*(it->second))()}};
}

// Performs a form's own tool; a key of no tool answers false.
json RunTool(FormGuard& form, const std::string& key) {
  auto* tools = dynamic_cast<IFormToolUI*>(&form.Inner());
  if (!tools) Refuse(400, "the form has no tools");
  bool result = false;
  form.Run([&] { result = tools->Action(key); });
  return {{"result", result}};
}

// The next expanded row after the selection (wrapping round) whose text starts with `prefix`.
view::NodePtr Seek(view::TreeView& tree, const std::string& prefix) {
  auto rows = tree.ViewableRows();
  if (rows.empty()) return nullptr;
  size_t start = 0;
  if (auto sel = tree.SelectedItem()) {
    auto it = std::find(rows.begin(), rows.end(), sel);
    // A prefix longer than one letter may still match the selected row itself.
    if (it != rows.end()) start = static_cast<size_t>(it - rows.begin()) + (text::Len(prefix) > 1 ? 0 : 1);
  }
  for (size_t i = 0; i < rows.size(); ++i) {
    const auto& n = rows[(start + i) % rows.size()];
    if (text::StartsWithNoCase(n->Text, prefix)) return n;
  }
  return nullptr;
}

}  // namespace

json PerformAction(FormGuard& form, const json& action) {
  if (!action.is_object()) Refuse(400, "the action is no JSON object");
  std::string kind = Text(action, "kind");
  if (kind == "command") return RunCommand(form, Text(action, "command"));
  if (kind == "tool") return RunTool(form, Text(action, "key"));
  if (kind == "resize") {
    // The window's inner size in twips: the form lays out its tree, bar and frame.
    int width = action.value("width", 0), height = action.value("height", 0);
    if (width <= 0 || height <= 0) Refuse(400, "a size needs a positive \"width\" and \"height\"");
    int treeWidth = action.value("treeWidth", 0);
    form.Run([&] {
      Form& inner = form.Inner();
      // A tree the form gave no width takes the page's, and the bar stands beside it.
      if (auto* tree = inner.Tree(); tree && tree->Width() <= 0 && treeWidth > 0) {
        tree->SetWidth(treeWidth);
        if (auto* bar = inner.Bar()) bar->SetLeft(tree->Left() + treeWidth + 10);
      }
      inner.Resize(width, height);
    });
    return json::object();
  }

  auto& c = ControlOf(form, action);
  if (kind == "focus") {
    // Focus follows the page; a text box also hears that it was entered.
    if (auto* t = dynamic_cast<view::TextBox*>(&c)) form.Run([&] { t->UserEnter(); });
    else c.SetFocus();
    return json::object();
  }
  RequireEnabled(c);
  if (kind == "type") {
    std::string typed = Text(action, "text");
    if (auto* f = dynamic_cast<view::TextField*>(&c)) form.Run([&] { f->UserType(typed); });
    else if (auto* t = dynamic_cast<view::TextBox*>(&c)) form.Run([&] { t->UserType(typed); });
    else if (auto* cb = dynamic_cast<view::ComboBox*>(&c)) form.Run([&] { cb->UserType(typed); });
    else if (auto* d = dynamic_cast<view::DatePicker*>(&c)) form.Run([&] { d->UserPick(typed); });
    else Refuse(400, "cannot type into " + c.DisplayName());
  } else if (kind == "leave") {
    if (auto* f = dynamic_cast<view::TextField*>(&c)) form.Run([&] { f->UserLeave(); });
    else if (auto* t = dynamic_cast<view::TextBox*>(&c)) form.Run([&] { t->UserLeave(); });
  } else if (kind == "browse") {
    auto& f = Expect<view::TextField>(c, "browse");
    if (!f.GetReference().IsReference) Refuse(400, c.DisplayName() + " is no reference field");
    form.Run([&] { f.UserBrowse(); });
  } else if (kind == "click") {
    if (auto* o = dynamic_cast<view::OptionButton*>(&c)) form.Run([&] { o->UserClick(); });
    else if (auto* ch = dynamic_cast<view::CheckBox*>(&c)) form.Run([&] { ch->UserClick(); });
    else if (auto* b = dynamic_cast<view::Button*>(&c)) form.Run([&] { b->UserClick(); });
    else if (auto* bar = dynamic_cast<view::Toolbar*>(&c)) {
      int index = action.value("button", 0);
      if (index < 1 || index > bar->Count()) Refuse(404, c.DisplayName() + " has no button " + std::to_string(index));
      form.Run([&] { bar->UserClick(index); });
    }
    else if (auto* p = dynamic_cast<view::PictureBox*>(&c)) {
      int x = action.value("x", 0), y = action.value("y", 0);
      form.Run([&] { p->UserClick(x, y); });
    } else {
      Refuse(400, "cannot click " + c.DisplayName());
    }
  } else if (kind == "dblclick") {
    if (auto* image = dynamic_cast<view::Image*>(&c)) form.Run([&] { image->UserDblClick(); });
    else if (auto* p = dynamic_cast<view::PictureBox*>(&c)) form.Run([&] { p->UserDblClick(); });
    else Refuse(400, "cannot double-click " + c.DisplayName());
  } else if (kind == "cell" || kind == "celllookup" || kind == "cellbrowse" || kind == "addrow" || kind == "delrow") {
    auto& grid = Expect<view::LineGrid>(c, "type into the cells of");
    if (!grid.Editable) Refuse(409, c.DisplayName() + " takes no typing now");
    if (kind == "addrow") {
      form.Run([&] { grid.UserAddRow(); });
    } else {
      int row = action.value("row", -1);
      if (row < grid.FixedRows || row >= grid.Rows()) Refuse(404, c.DisplayName() + " has no data row " + std::to_string(row));
      if (kind == "delrow") {
        form.Run([&] { grid.UserDeleteRow(row); });
      } else {
        int col = action.value("col", -1);
        if (col < 1 || col >= grid.Cols() || !grid.Col(col).Visible || !grid.Col(col).Editable)
          Refuse(404, c.DisplayName() + " has no column " + std::to_string(col) + " to type into");
        if (kind == "cell") {
          std::string typed = Text(action, "text");
          form.Run([&] { grid.UserType(row, col, typed); });
        } else if (kind == "celllookup") {
          std::string typed = Text(action, "text");
          form.Run([&] { grid.UserLookup(row, col, typed); });
        } else {
          form.Run([&] { grid.UserBrowse(row, col); });
        }
      }
    }
  } else if (kind == "key") {
    auto& f = Expect<view::TextField>(c, "press a key in");
    static const std::map<std::string, int> codes = {
        {"Enter", view::vbKeyReturn}, {"Up", view::vbKeyUp}, {"Down", view::vbKeyDown}};
    auto code = codes.find(Text(action, "key"));
    if (code == codes.end()) Refuse(400, "the key is none of Enter, Up and Down");
    form.Run([&] { f.UserKey(code->second); });
  } else if (kind == "pick" && dynamic_cast<view::ListView*>(&c)) {
    auto& list = dynamic_cast<view::ListView&>(c);
    auto it = action.find("index");
    if (it == action.end() || !it->is_number_integer()) Refuse(400, "the action needs a row \"index\"");
    int index = it->get<int>();
    if (index < 1 || index > list.Count()) Refuse(404, "the list has no row " + std::to_string(index));
    form.Run([&] { list.UserClick(list.Item(index)); });
  } else if (kind == "pick" || kind == "expand" || kind == "collapse") {
    auto& tree = Expect<view::TreeView>(c, kind);
    auto node = NodeOf(tree, action);
    if (kind == "pick") form.Run([&] { tree.UserClick(node); });
    else form.Run([&] { node->SetExpanded(kind == "expand", true); });
  } else if (kind == "split") {
    // The mouse on the bar: "down", "move" or "up", x in twips from the bar's left edge. Let go
    // left of the bar's least left, it hides the tree; a drag away from the edge shows it again.
    auto& bar = Expect<Splitter>(c, kind);
    std::string phase = Text(action, "phase");
    float x = action.value("x", 0.0f);
    form.Run([&] {
      if (phase == "down") {
        bar.UserMouseDown(1, x);
      } else if (phase == "move") {
        if (!bar.ControlVisible1() && bar.Left() + x >= bar.MinLeft) bar.SetControlVisible1(true);
        bar.UserMouseMove(1, x);
      } else if (phase == "up") {
        bool hide = bar.IsMoving() && bar.Left() + x < bar.MinLeft && bar.ControlVisible1();
        bar.UserMouseUp(1, x);
        if (hide) bar.SetControlVisible1(false);
      }
    });
  } else if (kind == "seek") {
    auto& tree = Expect<view::TreeView>(c, kind);
    if (auto node = Seek(tree, Text(action, "text"))) form.Run([&] { tree.UserClick(node); });
  } else {
    Refuse(400, "unknown action " + kind);
  }
  return json::object();
}

}  // namespace kmd::host
