#pragma once
#include <map>
#include <memory>
#include <string>

#include "frame/FormUI.h"
#include "frame/Services.h"
#include "tree/Splitter.h"
#include "tree/cTreeView.h"
#include "view/Platform.h"
#include "view/TreeView.h"
#include "view/Widgets.h"

namespace kmd {

// A form's read failed and was reported; the command ends. It is no std::exception, so that the
// routines' own handlers let it pass to the guard, which answers the command's failure value.
struct ReadFailed {};

// The toolbar commands of a host, and whether a form's present state allows each of them.
struct CommandStates {
  bool New = false, NewChild = false, Edit = false, Delete = false, Save = false, Cancel = false;
  bool Find = false, FindNext = false, Previous = false, Next = false, Print = false;
};

// What every form shares: the common state of the contract, its controls, its tree wrapper and
// service objects, the events to the host, and the routines every form has (SetEnabled,
// ClearFields). Operations that a form does not implement answer False, 0 or "".
// A form is created for one window, handed a context by Init, and released after Clear.
class Form : public IFormUI, public IDesignUI {
 public:
  Form(std::string className, view::Platform& platform);
  ~Form() override;

  const std::string& ClassName() const { return m_ClassName; }
  void SetEventSink(IFormEvents* sink) { m_Events = sink; }
  // Number of an event in the form's outgoing interface (Message 1, ErrMessage 2, FormRefreshed 3,
  // Property 4 unless a form numbers them otherwise).
  virtual int32_t EventNumber(FormEvent e) const;
  // The title a form gives its reports; used for failures that escape a form's own handlers.
  virtual std::string Title() const { return m_Title.empty() ? m_ClassName : m_Title; }
  view::Platform& GetPlatform() const { return m_Platform; }
  view::TreeView* Tree() const { return m_Tv ? m_Tv->ctrl() : nullptr; }
  // The host sized the form's inner area (twips): the tree, the bar and the detail frame follow.
  void Resize(int width, int height);
  int32_t BackColor() const { return m_BackColor; }
  // The bar between the tree and the detail frame; null for a form without one.
  Splitter* Bar() const { return m_Sp; }

  // Which toolbar commands the present state allows. While editing only Save and Cancel, so that
  // nothing throws typing away; in browse New, Find and the moves, Edit and Delete with a record
  // selected, FindNext after a find. Print never: the forms have no printing. Families refine it.
  virtual CommandStates Commands();
  // True while the fields are unlocked for a new or an edited record: the tree is locked, or,
  // in a form without a tree, a field is open.
  virtual bool Editing() const;
  // Typing not yet saved: editing, with a field changed since the last save, cancel or refresh.
  bool HoldsTyping() const { return Editing() && m_IsDirty; }
  // What a host writes beside a control that has no caption of its own: the column it shows, or
  // "" when the form names none.
  std::string ColumnCaption(const view::Control& c) const;
  // The control whose text stands as a fixed prefix before `c` (a coded form's parent code before
  // its segment box); null for none.
  virtual const view::Control* PrefixOf(const view::Control& /*c*/) const { return nullptr; }

  // IFormUI
  bool Init(IFormContext* context, int32_t programId, int32_t recordId) override;
  bool Clear() override;
  bool FileNew() override { return false; }
  bool FileNewNext() override { return false; }
  bool FileEdit() override { return false; }
  bool FileDelete() override { return false; }
  bool FileSave() override { return false; }
  bool FileCancel() override { return false; }
  bool Find(const Value&) override { return false; }
  bool FindNext() override { return false; }
  bool Filter(const Value&) override { return false; }
  bool Refresh() override { return false; }
  bool RecordTop() override { return false; }
  bool RecordPrevious() override { return false; }
  bool RecordNext() override { return false; }
  bool RecordBottom() override { return false; }
  bool Check() override { return false; }
  bool UnCheck() override { return false; }
  bool PrintPreview() override { return m_PrintMessage ? NoPrinting() : false; }
  bool DoPrint() override { return m_PrintMessage ? NoPrinting() : false; }
  bool PrintSetup() override { return m_PrintMessage ? NoPrinting() : false; }
  bool Help() override { return false; }
  bool DoSetStatus(const std::string&, int32_t) override { return false; }
  int32_t GetID() override { return m_ID; }
  bool CheckStatus(const std::string&) override { return false; }
  std::string ReturnPrintName() override { return ""; }
  // The flag where the form answers with it; the others always say False.
  bool IsDirty() override { return m_ReturnsDirty ? m_IsDirty : false; }
  // The last state of the controls from the user's status file named by the class, then the
  // restored tree selection through RestoreSelected. Nothing is reported.
  void DoGetFormStatus() override;
  // The state of the controls into the user's status file. Nothing is reported.
  void DoSaveFormStatus() override;
  std::string Attributes(int32_t) override { return ""; }

  // False when the record a save would overwrite has changed or gone since the form showed it
  // (read outside the statement trace); true for a new record or a form without a record source.
  bool RecordUnchanged();
  // Reads the shown record's fingerprint again, after a command whose unit was rolled back.
  void RetakeFingerprint();

  // IDesignUI
  view::Controls& Controls() override { return m_Controls; }
  ParameterCollection* Parameters() override { return nullptr; }
  void SetParameters(const ParameterCollection* parameters) override;

 protected:
  // Events to the host.
  void RaiseMessage(const std::string& msg);
  void RaiseErrMessage(const std::string& msg, int32_t level, const std::string& title);
  void RaiseFormRefreshed();
  void RaiseProperty(const std::string& name, const Value& value, bool autoUpdate);
  // The print commands of most forms: a status line saying there is no printing yet.
  bool NoPrinting();

  int MsgBox(const std::string& text, int style, const std::string& title);

  // A refusal of a command, shown as a modal box, reported to the host through ErrMessage, or
  // kept silent, as each form words it.
  struct Refusal {
    enum Channel { Box, Report, Silent } channel = Box;
    std::string text;
    int style = view::vbInformation;  // icon and buttons of a box
    std::string title = "提示：";
    int32_t level = kSelection;  // level of a report
  };
  void Refuse(const Refusal& r);
  // A read whose failed statement is reported at level 8 ("数据库操作错误，原因：" and the
  // database's text) and ends the command (ReadFailed): a read that failed never counts as "no row".
  db::RecordsetPtr ReadRows(const std::string& sql);
  Value ReadValue(const std::string& sql);
  void EndIfReadFailed(db::IDatabase& db);
  // The database of the context, fetched at each use. Throws RuntimeError before Init.
  std::shared_ptr<db::IDatabase> Database() const;
  IFormContext& Context() const;

  // Creates the tree control and the wrapper, hooked with the standard image list.
  view::TreeView* CreateTree(const std::string& name = "TV");
  // Adds the detail frame fView and the splitter bar Sp beside the tree; the bar's drag widens the
  // tree and narrows the frame. Requires: CreateTree first.
  void CreateSplitter();
  // The layout of a tree form: the tree fills the height, the bar takes its top and height, the
  // frame the rest of the width. Errors are ignored.
  void UserControl_Resize();
  // The bar was moved by `offset`: the tree widens by it, the bar and the frame follow.
  void Sp_Moving(bool bIsMoved, int32_t offset);
  // Locks (false) or unlocks (true) the fields: text fields, text boxes, combo boxes and check
  // boxes get `editing`, trees and list views the opposite. A form with more to lock adds it.
  virtual void SetEnabled(bool editing);
  // m_ID 0; text fields "" with value 0, text boxes and combo boxes "", check boxes 0. A form with
  // more to empty adds it.
  virtual void ClearFields();
  // Names the column `c` shows, for hosts that caption it.
  void SetColumnCaption(const view::Control& c, std::string column);
  // The table and key column of the records the form shows, declared once by its family.
  void SetRecordSource(std::string table, std::string keyColumn);
  // The record `id` is shown: its fingerprint is kept for the check before a save. `shown`: the
  // recordset it was shown from, when the fingerprint may be taken from it (see Fingerprint).
  void KeepFingerprint(int32_t id, const db::Recordset* shown = nullptr);
  // The id of the record a save would overwrite; 0 or less for a new one.
  virtual int32_t SavingRecordId() const { return 0; }
  // The selected node's record was not found: the form shows no record. Commands that need one
  // refuse through RefuseMissingRecord until another node is selected.
  bool m_RecordMissing = false;
  // The next node after the selected one whose text holds m_FindText, selected: true when found.
  bool FindNextNode();
  // Shows "记录已不存在，请刷新" and gives true when the selected record was not found.
  bool RefuseMissingRecord();
  // After DoGetFormStatus restored a selected node: a form with a selection handler shows that
  // node's record. By default nothing happens.
  virtual void RestoreSelected(const NodePtr& /*node*/) {}
  // Makes `field` a reference field, set in this order: IsReference True, MatchMode 1, Source 1,
  // ErrorText, ValueColumn, TextColumn, MultiSelect False, SelectSql, LookupKey; its
  // CheckRequest and BrowseRequest go to the context's LookupCheck and LookupBrowse and set
  // m_IsDirty.
  void SetReference(view::TextField& field, const std::string& errorText, const std::string& valueColumn,
                    const std::string& textColumn, const std::string& selectSql, const std::string& lookupKey);

  // ---- What distinguishes one form's contract from another's. ----
  std::string m_Title;          // title of its reports and boxes; the class name when empty
  bool m_ReturnsDirty = false;  // IsDirty answers m_IsDirty
  bool m_PrintMessage = false;  // the print commands say there is no printing yet
  bool m_RaisesFormRefreshed = true;  // a successful Refresh ends with FormRefreshed

  IFormContext* m_Context = nullptr;
  std::unique_ptr<IIdAllocator> m_IdAllocator;
  std::unique_ptr<IFormHelper> m_FormHelper;
  std::unique_ptr<IValueHelper> m_ValueHelper;
  bool m_IsDirty = false;
  int32_t m_ID = 0;
  std::string m_FindText;
  std::unique_ptr<cTreeView> m_Tv;

  view::Controls m_Controls;
  int32_t m_BackColor = 0;
  Surface m_Surface;
  view::Control* m_DetailFrame = nullptr;  // fView, when the form has one
  Splitter* m_Sp = nullptr;

 private:
  std::map<const view::Control*, std::string> m_ColumnCaptions;
  std::string m_SourceTable, m_SourceKey;
  int32_t m_PrintId = 0;
  db::RowPrint m_Print;
  std::string m_ClassName;
  view::Platform& m_Platform;
  IFormEvents* m_Events = nullptr;
};

}  // namespace kmd
