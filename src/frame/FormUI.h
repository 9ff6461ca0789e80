#pragma once
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "base/Value.h"
#include "frame/FormContext.h"
#include "view/Control.h"

namespace kmd {

// Journal levels of ErrMessage.
enum JournalLevel : int32_t {
  kJournal = 1,        // a journal line of a finished change
  kRuleRefusal = 2,    // a refusal by a business rule
  kSelection = 4,      // a refusal because of the selection
  kFailure = 8,        // a database or run-time failure
  kJournalFailure = 9  // a failure that is also journalled
};

// The application's title, which boxes and lines that name the application carry.
inline constexpr const char* kAppTitle = "KMD_S";

// The events a form raises to its host.
class IFormEvents {
 public:
  virtual ~IFormEvents() = default;
  virtual void Message(const std::string& psMsg) = 0;
  virtual void ErrMessage(const std::string& psMsg, int32_t plLevel, const std::string& psTitle) = 0;
  virtual void FormRefreshed() = 0;
  virtual void Property(const std::string& psParameterName, const Value& psParameterValue, bool pbAutoUpdate) = 0;
  // Host side only: a command's unit of work has ended, committed or rolled back as a whole.
  virtual void CommandEnded(bool /*committed*/) {}
};

enum class FormEvent { Message, ErrMessage, FormRefreshed, Property };

// The parameter collection of IDesignUI.Parameters.
class ParameterCollection {
 public:
  bool Exists(const std::string& key) const { return m_Items.count(key) > 0; }
  const Value& Item(const std::string& key) const { return m_Items.at(key); }
  void Set(const std::string& key, Value v) { m_Items[key] = std::move(v); }

 private:
  std::map<std::string, Value> m_Items;
};

// The fixed contract between host and form. Every operation returns its result and never throws.
class IFormUI {
 public:
  virtual ~IFormUI() = default;
  virtual bool Init(IFormContext* context, int32_t programId, int32_t recordId) = 0;
  virtual bool Clear() = 0;
  virtual bool FileNew() = 0;
  virtual bool FileNewNext() = 0;
  virtual bool FileEdit() = 0;
  virtual bool FileDelete() = 0;
  virtual bool FileSave() = 0;
  virtual bool FileCancel() = 0;
  virtual bool Find(const Value& v) = 0;
  virtual bool FindNext() = 0;
  virtual bool Filter(const Value& v) = 0;
  virtual bool Refresh() = 0;
  virtual bool RecordTop() = 0;
  virtual bool RecordPrevious() = 0;
  virtual bool RecordNext() = 0;
  virtual bool RecordBottom() = 0;
  virtual bool Check() = 0;
  virtual bool UnCheck() = 0;
  virtual bool PrintPreview() = 0;
  virtual bool DoPrint() = 0;
  virtual bool PrintSetup() = 0;
  virtual bool Help() = 0;
  virtual bool DoSetStatus(const std::string& s, int32_t v) = 0;
  virtual int32_t GetID() = 0;
  virtual bool CheckStatus(const std::string& s) = 0;
  virtual std::string ReturnPrintName() = 0;
  virtual bool IsDirty() = 0;
  virtual void DoGetFormStatus() = 0;
  virtual void DoSaveFormStatus() = 0;
  virtual std::string Attributes(int32_t index) = 0;
};

class IDesignUI {
 public:
  virtual ~IDesignUI() = default;
  virtual view::Controls& Controls() = 0;
  // Always nil.
  virtual ParameterCollection* Parameters() = 0;
  virtual void SetParameters(const ParameterCollection* parameters) = 0;
};

// A tool entry of a form's own: a button that the host puts into its toolbar and that is on or
// off. The flags and the text are the host's, kept as the form gives them.
struct ToolEntry {
  std::string Caption;
  std::string Key;
  bool Flags[4] = {};
  std::string Text;
  bool LastFlag = false;
  bool State = false;  // on
};

// Tools of GY only.
class IFormToolUI {
 public:
  virtual ~IFormToolUI() = default;
  // The form's tool entries, in the order they were added.
  virtual const std::vector<ToolEntry>& Tools() = 0;
  // Performs the tool with that key (compared in lower case); false for a key of no tool.
  virtual bool Action(const std::string& key) = 0;
};

}  // namespace kmd
