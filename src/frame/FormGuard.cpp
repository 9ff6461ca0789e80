#include "frame/FormGuard.h"

namespace kmd {

FormGuard::FormGuard(std::unique_ptr<Form> form) : m_Form(std::move(form)) {}

void FormGuard::SetEventSink(IFormEvents* sink) {
  m_Events = sink;
  m_Form->SetEventSink(sink);
}

template <class R, class F>
R FormGuard::Guard(R fallback, F&& f) {
  R result = fallback;
  if (m_Cleared) return result;
  try {
    result = f();
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
  RollBackOpenTransaction();
  return result;
}

void FormGuard::RollBackOpenTransaction() {
  if (!m_Context) return;
  try {
    auto db = m_Context->Database();
    if (!db || !db->InTrans()) return;
    db->RollbackTrans();
    if (m_Events)
      m_Events->ErrMessage("命令结束时事务仍未完成，已回滚其中全部修改", kJournal, m_Form->Title());
  } catch (...) {
  }
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
KMD_GUARD_BOOL(FileDelete)
KMD_GUARD_BOOL(FileSave)
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

bool FormGuard::Init(IFormContext* context, int32_t programId, int32_t recordId) {
  m_Context = context;
  return Guard(false, [&] { return m_Form->Init(context, programId, recordId); });
}
bool FormGuard::Clear() {
  bool result = Guard(false, [&] { return m_Form->Clear(); });
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
