#include "frame/Services.h"

#include <algorithm>

#include "base/RuntimeError.h"
#include "base/Text.h"
#include "db/IdCounter.h"
#include "view/Widgets.h"

namespace kmd {

bool IIdAllocator::SetDatabase(std::shared_ptr<db::IDatabase> database) {
  m_Database = std::move(database);
  return true;
}

std::string IIdAllocator::NextId(const std::string& table, const std::string& keyColumn, int32_t& id) {
  auto* database = dynamic_cast<db::Database*>(m_Database.get());
  if (!database) throw RuntimeError("Object variable or With block variable not set");
  try {
    id = db::NextId(database->GetConnection(), table, keyColumn);
  } catch (const RuntimeError& e) {
    database->NoteFailure(e.Description());
    throw;
  }
  return "";
}

int32_t IFormHelper::ShowMessage(const std::string&, const std::string&, const std::string& text, int32_t flags,
                                 const std::string& title) {
  return m_Platform.MsgBox(text, flags, title);
}

void IFormHelper::ClearControls(view::Controls& controls) { ClearControlValues(controls); }

void ClearControlValues(view::Controls& controls, bool checkBoxes) {
  for (const auto& c : controls) {
    if (auto* f = dynamic_cast<view::TextField*>(c.get())) {
      f->SetValue(Value(0));
      f->SetText("");
    } else if (auto* t = dynamic_cast<view::TextBox*>(c.get())) {
      t->SetText("");
    } else if (auto* cb = dynamic_cast<view::ComboBox*>(c.get())) {
      cb->SetText("");
    } else if (auto* ch = dynamic_cast<view::CheckBox*>(c.get()); ch && checkBoxes) {
      ch->SetValue(0);
    }
  }
}

void IFormHelper::SetFocusTo(view::Control& control) { control.SetFocus(); }

void IFormHelper::NextField(view::Controls& controls, int32_t enterKey, int16_t keyCode) {
  int step = keyCode == enterKey || keyCode == view::vbKeyDown ? 1 : keyCode == view::vbKeyUp ? -1 : 0;
  if (step == 0) return;
  std::vector<view::Control*> order;
  for (const auto& c : controls) order.push_back(c.get());
  if (step < 0) std::reverse(order.begin(), order.end());
  // From the focused control on (from the start when none has the focus), the first text field
  // that can take the focus.
  auto at = std::find(order.begin(), order.end(), controls.Focused());
  for (auto it = at == order.end() ? order.begin() : at + 1; it != order.end(); ++it) {
    view::Control* c = *it;
    bool textField = dynamic_cast<view::TextField*>(c) || dynamic_cast<view::TextBox*>(c);
    if (!textField || !c->Enabled() || !c->Shown()) continue;
    c->SetFocus();
    return;
  }
}

Value IValueHelper::ToNumber(const Value& v) const {
  if (v.GetType() == Value::Type::Long || v.GetType() == Value::Type::Double) return v;
  double d = v.ToDouble();
  if (d == static_cast<double>(static_cast<long long>(d))) return Value(static_cast<long long>(d));
  return Value(d);
}

std::string IValueHelper::MidText(const Value& v, const Value& start, const Value& length) const {
  long long n = length.IsEmpty() || length.IsNull() ? -1 : length.ToLong();
  return text::Mid(v.ToText(), static_cast<size_t>(std::max(1, start.ToLong())),
                   n < 0 ? std::string::npos : static_cast<size_t>(n));
}

void ICommandLine::Parse(const std::string& line) {
  m_Pairs.clear();
  for (const auto& part : text::Split(line, ';')) {
    auto eq = part.find('=');
    if (eq == std::string::npos) {
      if (!text::Trim(part).empty()) m_Pairs.emplace_back(text::Trim(part), "");
      continue;
    }
    m_Pairs.emplace_back(text::Trim(part.substr(0, eq)), part.substr(eq + 1));
  }
}

ICommandLine::Entry ICommandLine::Item(const std::string& key) const {
  for (const auto& [k, v] : m_Pairs)
    if (text::EqualsNoCase(k, text::Trim(key))) return {true, v};
  return {};
}

}  // namespace kmd
