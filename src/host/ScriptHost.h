#pragma once
#include <deque>
#include <functional>
#include <istream>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>

#include "frame/FormGuard.h"
#include "frame/FormRegistry.h"
#include "host/Context.h"
#include "host/Journal.h"
#include "view/Platform.h"

namespace kmd::host {

// The automation host behind `kmd run`: one command a line, a transcript on `out`.
// A script error (unknown command or control, a form that cannot be created, a command on a form
// that Clear released) stops the run with exit status 2; otherwise the status is 0, whatever the
// forms answered. Each transcript line reaches `out` (flushed) as soon as it is written, so that
// a run that is killed leaves what it did.
// Reference fields: `lookup <control> <text>` types the text and leaves the field; `browse
// <control>` opens the field's browse window, which takes the row whose shown text or code equals
// the next answer (queued before, or given by the `answer` line right after), and prints
// `browse <key> -> <shown text>` (`-> Cancel` when no row is taken).
// `option MODULE KEY VALUE [NAME]` sets a system option (VALUE one word, the rest its name);
// `expand KEY` is the user's expansion of a node; `click Toolbar1 N` clicks toolbar button N;
// `drag SOURCEKEY TARGETKEY` drags a node onto another with the mouse and prints nothing itself.
// `type` into a control out of sight is a script error; `show fields` marks it `hidden`.
// `Tools` and `Action <key>` reach a form's own tools (IFormToolUI).
// `dblclick NAME` double-clicks an image or a picture box. The temporary folder is "$TMPDIR/"
// in script lines and transcripts.
// `item LIST N` is the user's click on row N (1-based) of a list; `key CONTROL Enter|Up|Down` a
// key pressed in a text field; `show list LIST` prints a line per row: its index, text and
// sub-items, and `*` on the selected one.
// Line grids: `cell GRID ROW COL TEXT` types into a cell, `celllookup GRID ROW COL TEXT` types into
// a lookup cell and leaves it, `cellbrowse GRID ROW COL` presses its lookup key (the browse window
// takes the next answer), `addrow GRID` appends a row, `delrow GRID ROW` deletes one, and `show grid
// GRID` prints the titles and the rows up to the last one with data. A picker window prints
// `picker <table> -> <answer>` and takes the rows whose cells name the answer (Cancel: none).
class ScriptHost : public view::Platform, public IFormEvents {
 public:
  // Forms are created from `forms`, or from every form of the library when it is null. The
  // context's boxes and browse windows show through this host while it lives.
  ScriptHost(std::shared_ptr<Context> context, std::ostream& out, std::ostream& err,
             const FormRegistry* forms = nullptr);
  ~ScriptHost() override;

  // Runs the script; `name` names it in error messages.
  int Run(std::istream& script, const std::string& name);

  // Platform: answers from the queue of `answer` commands.
  int MsgBox(const std::string& text, int style, const std::string& title) override;
  std::string InputBox(const std::string& prompt, const std::string& title, const std::string& defaultText) override;
  // The colour dialog: the answer "#RRGGBB" (or "RRGGBB") is typed into its hex box and taken with
  // OK; "Cancel", or no answer, cancels it.
  bool ChooseColor(const std::string& title, int32_t& color) override;
  // The open-file dialog: the answer is the path chosen; "Cancel", or no answer, cancels it.
  bool ChooseFile(view::FileChoice& choice) override;
  // A file or address that a form opens (mShellExecute included, on this thread) prints
  // `shell open <target>` and counts as opened; nothing is opened.
  bool OpenFile(const std::string& target) override;

  // Events of the current form.
  void Message(const std::string& psMsg) override;
  void ErrMessage(const std::string& psMsg, int32_t plLevel, const std::string& psTitle) override;
  void FormRefreshed() override;
  void Property(const std::string& name, const Value& value, bool autoUpdate) override;
  // A rolled-back command journals its failures, not the changes it undid.
  void CommandEnded(bool committed) override;

 private:
  struct ScriptError {
    std::string message;
  };
  // Passes what is written on to a stream, flushing it at the end of every line.
  class LineFlush : public std::streambuf {
   public:
    explicit LineFlush(std::ostream& target) : m_Target(target) {}

   protected:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* s, std::streamsize n) override;
    int sync() override;

   private:
    std::ostream& m_Target;
    std::string m_Pending;
  };
  void Execute(const std::string& line);
  // `write PATH SIZE [SOURCE]`: a file of SIZE bytes, SOURCE's bytes first, then zeros.
  void WriteFile(const std::string& args);
  // `show file PATH`: `file PATH N bytes crc XXXXXXXX`, or `file PATH missing`.
  void ShowFile(const std::string& path);
  bool CallOperation(const std::string& op, const std::string& args);
  // `rights PROGID DETAIL ACTION`, `period N`, `usersetting SECTION KEY VALUE`: the current user's
  // rights and personal settings, and the accounting period, in the database.
  void SetHostStore(const std::string& cmd, const std::string& args);
  // `Tools`: a line `tool <key> <caption> <state>` for each tool of the form; `Action <key>`
  // performs one. A form without tools is a script error.
  void RunTool(const std::string& cmd, const std::string& key);
  void ShowTree();
  void ShowFields();
  void ShowList(const std::string& name);
  void ShowGrid(const std::string& name);
  // The grid commands: cell, celllookup, cellbrowse, addrow, delrow.
  void RunGridCommand(const std::string& cmd, const std::string& args);
  // The picker window: takes the rows named by the next answer.
  std::vector<int> Pick(const PickerTable& table, const std::string& mode, const db::Recordset& rows);
  void RunSql(const std::string& sql);
  view::Control& ControlNamed(const std::string& name);
  FormGuard& CurrentForm();
  // The current form's tree, and its node of `key`: script errors when there is none.
  view::TreeView& Tree();
  view::NodePtr NodeKeyed(const std::string& key);
  std::string TakeAnswer();
  // The browse window of a lookup key: picks a row by the next answer.
  int Browse(const LookupWindow& window, const db::Recordset& rows, const std::string& textColumn);
  // Runs the browse that waits for its answer, if any.
  void RunPendingBrowse();

  std::shared_ptr<Context> m_Context;
  LineFlush m_Lines;
  std::ostream m_Out;
  std::ostream& m_Err;
  std::unique_ptr<FormGuard> m_Form;
  int32_t m_ProgramId = 0;
  int32_t m_RecordId = 0;
  std::deque<std::string> m_Answers;
  const FormRegistry* m_Forms = nullptr;
  view::TextField* m_PendingBrowse = nullptr;
  // A lookup key pressed in a grid cell, waiting for its answer like m_PendingBrowse.
  std::function<void()> m_PendingCellBrowse;
  // Level-1 and level-9 reports waiting to be written to the journal table.
  std::vector<JournalLine> m_Journal;
  void FlushJournal();
};

}  // namespace kmd::host
