#pragma once
#include <functional>
#include <memory>
#include <string>

#include "frame/Form.h"

namespace kmd {

// What a host holds of a form: every call goes through a guard that keeps any exception inside,
// reporting one that escaped the form's own handlers as ErrMessage(<description>, 8, <title>)
// and answering False, 0 or "".
// Each call (and each user action through Run) is one unit of work of the database: committed at
// its end when no statement failed, rolled back as a whole when one did. A rollback that the form
// did not report itself is reported at level 9 (or, for another connection's lock, at level 8 with
// the busy text). A save of a record that changed since the form showed it is refused before the
// form runs any statement.
class FormGuard : public IFormUI, public IDesignUI, private IFormEvents, private view::Platform {
 public:
  // Makes the form with `make`, over the host's platform; the form's boxes pass through the guard,
  // which lets a command that has written nothing give up its locks while a box waits.
  FormGuard(const std::function<std::unique_ptr<Form>(view::Platform&)>& make, view::Platform& host);

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
  // The outermost call opens the unit of work and gives true.
  bool BeginCommand();
  void EndCommand();
  std::shared_ptr<db::IDatabase> UnitDatabase() const;

  // The form's events pass through to the host; failures it reports are noted.
  void Message(const std::string& psMsg) override;
  void ErrMessage(const std::string& psMsg, int32_t plLevel, const std::string& psTitle) override;
  void FormRefreshed() override;
  void Property(const std::string& name, const Value& value, bool autoUpdate) override;

  // The form's platform: the host's, around a wait for the user.
  int MsgBox(const std::string& text, int style, const std::string& title) override;
  std::string InputBox(const std::string& prompt, const std::string& title, const std::string& defaultText) override;
  bool ChooseColor(const std::string& title, int32_t& color) override;
  bool ChooseFile(view::FileChoice& choice) override;
  template <class F>
  auto Waiting(F&& ask);
  // Runs a command that saves or deletes: its unit holds the write lock from the start.
  template <class R, class F>
  R GuardWriting(R fallback, F&& f);

  IFormEvents* m_Events = nullptr;
  IFormContext* m_Context = nullptr;  // the context of Init, until Clear
  bool m_Cleared = false;
  view::Platform& m_Host;
  bool m_Writes = false;    // the next unit takes the write lock at its start
  int m_Depth = 0;          // calls under way; the outermost owns the unit of work
  bool m_Reported = false;  // the form reported a failure during the unit
  std::shared_ptr<db::IDatabase> m_UnitDb;
  std::unique_ptr<Form> m_Form;  // last: it is made over the guard's platform and goes first
};

}  // namespace kmd
