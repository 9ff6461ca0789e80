#include "frame/FormGuard.h"

namespace kmd {

FormGuard::FormGuard(const std::function<std::unique_ptr<Form>(view::Platform&)>& make, view::Platform& host)
    : m_Host(host), m_Form(make(*this)) {}

template <class F>
auto FormGuard::Waiting(F&& ask) {
  auto db = m_UnitDb;
  if (db) db->BeforeWait();
  struct Again {
    std::shared_ptr<db::IDatabase> db;
    ~Again() {
      if (db) db->AfterWait();
    }
  } again{db};
  return ask();
}

int FormGuard::MsgBox(const std::string& text, int style, const std::string& title) {
  return Waiting([&] { return m_Host.MsgBox(text, style, title); });
}

std::string FormGuard::InputBox(const std::string& prompt, const std::string& title, const std::string& defaultText) {
  return Waiting([&] { return m_Host.InputBox(prompt, title, defaultText); });
}

bool FormGuard::ChooseColor(const std::string& title, int32_t& color) {
  return Waiting([&] { return m_Host.ChooseColor(title, color); });
}

bool FormGuard::ChooseFile(view::FileChoice& choice) {
  return Waiting([&] { return m_Host.ChooseFile(choice); });
}

void FormGuard::SetEventSink(IFormEvents* sink) {
  m_Events = sink;
  m_Form->SetEventSink(this);
}

void FormGuard::Message(const std::string& psMsg) {
  if (m_Events) m_Events->Message(psMsg);
}

void FormGuard::ErrMessage(const std::string& psMsg, int32_t plLevel, const std::string& psTitle) {
  if (plLevel >= kFailure) m_Reported = true;
  if (m_Events) m_Events->ErrMessage(psMsg, plLevel, psTitle);
}

void FormGuard::FormRefreshed() {
  if (m_Events) m_Events->FormRefreshed();
}

void FormGuard::Property(const std::string& name, const Value& value, bool autoUpdate) {
  if (m_Events) m_Events->Property(name, value, autoUpdate);
}

std::shared_ptr<db::IDatabase> FormGuard::UnitDatabase() const {
  try {
    return m_Context ? m_Context->Database() : nullptr;
  } catch (...) {
    return nullptr;
  }
}

bool FormGuard::BeginCommand() {
  if (m_Depth++ > 0) return false;
  m_Reported = false;
  m_UnitDb = UnitDatabase();
  if (m_UnitDb) m_UnitDb->BeginUnit(m_Writes);
  return true;
}

void FormGuard::EndCommand() {
  --m_Depth;
  auto db = std::move(m_UnitDb);
  if (!db) return;
  db::UnitResult end;
  try {
    end = db->EndUnit();
    if (!end.committed) {
      if (!m_Reported && end.busy)
        ErrMessage(db::kBusyText, kFailure, m_Form->Title());
      else if (!m_Reported)
        ErrMessage("数据库操作失败，本次修改已全部撤销：" + end.error, kJournalFailure, m_Form->Title());
      // What the form keeps of its shown record was read inside the rolled-back unit.
      if (!m_Cleared) m_Form->RetakeFingerprint();
    }
  } catch (...) {
  }
  try {
    if (m_Events) m_Events->CommandEnded(end.committed);
  } catch (...) {
  }
}

template <class R, class F>
R FormGuard::Guard(R fallback, F&& f) {
  R result = fallback;
  if (m_Cleared) return result;
  bool outer = BeginCommand();
  try {
    result = f();
  } catch (const ReadFailed&) {
    // Reported by the form where the read failed.
  } catch (const view::InputRefused& e) {
    try {
      m_Form->GetPlatform().MsgBox(e.what(), view::vbExclamation, "提示：");
    } catch (...) {
    }
  } catch (const std::exception& e) {
    try {
      if (m_Events) m_Events->ErrMessage(e.what(), kFailure, m_Form->Title());
    } catch (...) {
    }
  } catch (...) {
    try {
      if (m_Events) m_Events->ErrMessage("unknown error", kFailure, m_Form->Title());
    } catch (...) {
    }
  }
  if (outer) EndCommand();
  else --m_Depth;
  return result;
}

template <class R, class F>
R FormGuard::GuardWriting(R fallback, F&& f) {
  m_Writes = m_Depth == 0;
  R result = Guard(fallback, std::forward<F>(f));
  m_Writes = false;
  return result;
}

bool FormGuard::Run(const std::function<void()>& action) {
  return Guard(false, [&] {
    action();
    return true;
  });
}

#define KMD_GUARD_BOOL(Name) \
  bool FormGuard::Name() { return Guard(false, [&] { return m_Form->Name(); }); }

KMD_GUARD_BOOL(FileNew)
KMD_GUARD_BOOL(FileNewNext)
KMD_GUARD_BOOL(FileEdit)
KMD_GUARD_BOOL(FileCancel)
KMD_GUARD_BOOL(FindNext)
KMD_GUARD_BOOL(Refresh)
KMD_GUARD_BOOL(RecordTop)
KMD_GUARD_BOOL(RecordPrevious)
KMD_GUARD_BOOL(RecordNext)
KMD_GUARD_BOOL(RecordBottom)
KMD_GUARD_BOOL(Check)
KMD_GUARD_BOOL(UnCheck)
KMD_GUARD_BOOL(PrintPreview)
KMD_GUARD_BOOL(DoPrint)
KMD_GUARD_BOOL(PrintSetup)
KMD_GUARD_BOOL(Help)
KMD_GUARD_BOOL(IsDirty)
#undef KMD_GUARD_BOOL

bool FormGuard::FileDelete() {
  return GuardWriting(false, [&] { return m_Form->FileDelete(); });
}

bool FormGuard::FileSave() {
  return GuardWriting(false, [&] {
    if (!m_Form->RecordUnchanged()) {
      ErrMessage("记录已被其他用户修改或删除，请刷新后再改", kFailure, m_Form->Title());
      return false;
    }
    return m_Form->FileSave();
  });
}

bool FormGuard::Init(IFormContext* context, int32_t programId, int32_t recordId) {
  m_Context = context;
  return Guard(false, [&] { return m_Form->Init(context, programId, recordId); });
}
bool FormGuard::Clear() {
  bool result = Guard(false, [&] {
    bool cleared = m_Form->Clear();
    m_Cleared = true;
    return cleared;
  });
  m_Context = nullptr;
  m_Cleared = true;
  return result;
}
bool FormGuard::Find(const Value& v) { return Guard(false, [&] { return m_Form->Find(v); }); }
bool FormGuard::Filter(const Value& v) { return Guard(false, [&] { return m_Form->Filter(v); }); }
bool FormGuard::DoSetStatus(const std::string& s, int32_t v) {
  return Guard(false, [&] { return m_Form->DoSetStatus(s, v); });
}
int32_t FormGuard::GetID() { return Guard(int32_t{0}, [&] { return m_Form->GetID(); }); }
bool FormGuard::CheckStatus(const std::string& s) { return Guard(false, [&] { return m_Form->CheckStatus(s); }); }
std::string FormGuard::ReturnPrintName() {
  return Guard(std::string(), [&] { return m_Form->ReturnPrintName(); });
}
void FormGuard::DoGetFormStatus() {
  Guard(false, [&] {
    m_Form->DoGetFormStatus();
    return true;
  });
}
void FormGuard::DoSaveFormStatus() {
  Guard(false, [&] {
    m_Form->DoSaveFormStatus();
    return true;
  });
}
std::string FormGuard::Attributes(int32_t index) {
  return Guard(std::string(), [&] { return m_Form->Attributes(index); });
}
ParameterCollection* FormGuard::Parameters() {
  return Guard(static_cast<ParameterCollection*>(nullptr), [&] { return m_Form->Parameters(); });
}
void FormGuard::SetParameters(const ParameterCollection* parameters) {
  Guard(false, [&] {
    m_Form->SetParameters(parameters);
    return true;
  });
}

}  // namespace kmd
