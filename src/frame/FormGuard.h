#pragma once
#include <memory>
#include <string>

#include "frame/Form.h"

namespace kmd {

// What a host holds of a form: every call goes through a guard that keeps any exception inside,
// reporting one that escaped the form's own handlers as ErrMessage(<description>, 8, <title>)
// and answering False, 0 or "". A transaction still open when a call returns is rolled back and
// reported as a journal line (level 1), so that no command leaves half its writes behind.
class FormGuard : public IFormUI, public IDesignUI {
 public:
  explicit FormGuard(std::unique_ptr<Form> form);

  Form& Inner() { return *m_Form; }
  // True once Clear has released the form: every later call answers its failure value.
  bool Cleared() const { return m_Cleared; }
  const std::string& ClassName() const { return m_Form->ClassName(); }
  void SetEventSink(IFormEvents* sink);
  int32_t EventNumber(FormEvent e) const { return m_Form->EventNumber(e); }

  bool Init(IFormContext* context, int32_t programId, int32_t recordId) override;
  bool Clear() override;
  bool FileNew() override;
  bool FileNewNext() override;
  bool FileEdit() override;
  bool FileDelete() override;
  bool FileSave() override;
  bool FileCancel() override;
  bool Find(const Value& v) override;
  bool FindNext() override;
  bool Filter(const Value& v) override;
  bool Refresh() override;
  bool RecordTop() override;
  bool RecordPrevious() override;
  bool RecordNext() override;
  bool RecordBottom() override;
  bool Check() override;
  bool UnCheck() override;
  bool PrintPreview() override;
  bool DoPrint() override;
  bool PrintSetup() override;
  bool Help() override;
  bool DoSetStatus(const std::string& s, int32_t v) override;
  int32_t GetID() override;
  bool CheckStatus(const std::string& s) override;
  std::string ReturnPrintName() override;
  bool IsDirty() override;
  void DoGetFormStatus() override;
  void DoSaveFormStatus() override;
  std::string Attributes(int32_t index) override;

  view::Controls& Controls() override { return m_Form->Controls(); }
  ParameterCollection* Parameters() override;
  void SetParameters(const ParameterCollection* parameters) override;

  // Runs any action on the form inside the guard (user input events, for instance).
  // Gives false when an exception was caught.
  bool Run(const std::function<void()>& action);

 private:
  template <class R, class F>
  R Guard(R fallback, F&& f);
  void RollBackOpenTransaction();

  std::unique_ptr<Form> m_Form;
  IFormEvents* m_Events = nullptr;
  IFormContext* m_Context = nullptr;  // the context of Init, until Clear
  bool m_Cleared = false;
};

}  // namespace kmd
