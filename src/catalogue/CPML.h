#pragma once
#include <string>
#include <string_view>

#include "frame/Form.h"
#include "hierarchies/CodeRule.h"

namespace kmd {

// The product catalogue: one master record per product in KMDCPML (and its side table KMDCPMLB),
// shown beside a tree of the product categories with the products as leaves. Above `maxRows`
// products the tree loads each category's products only when it is expanded. Saving writes the
// product, its side row, a partner price and the ledger's usable flag, without a transaction of
// its own; a product changes category only by being dragged.
class CPML : public Form {
 public:
  explicit CPML(view::Platform& platform);

  bool Init(IFormContext* context, int32_t programId, int32_t recordId) override;
  bool Refresh() override;
  bool FileNew() override;
  bool FileEdit() override;
  bool FileSave() override;
  bool FileDelete() override;
  bool FileCancel() override;
  bool Find(const Value& v) override;
  bool FindNext() override;
  int32_t GetID() override;

 protected:
  int32_t SavingRecordId() const override;
  void RestoreSelected(const NodePtr& node) override { m_Tv_Selected(node); }

 private:
  // ---- The record (CPML.cpp) ----
  void InitProperties();
  view::TextField* AddField(int index, const std::string& caption, view::Control* page);
  void UpdateScreen(int32_t productId);
  void ClearFields();
  void SetEnabled(bool editing);
  bool IsCanNew();
  // True when a character of the text takes two bytes in the Chinese code page.
  static bool ContainsChinese(const std::string& text);
  void Toolbar1_ButtonClick(view::ToolbarButton& button);
  void PressPage(int index);
  bool PagePressed(int index) const;
  // A switch of module 11 (or 1) read as a number.
  double Switch(int module, const std::string& name);
  // The numeric value of a field's text, and of a lookup's value, written as statements take them.
  std::string Num(int index) const;
  std::string LookupNum(int index) const;
  std::string Text(int index) const;
  bool DetailRight();

  // ---- Save and delete (CPMLSave.cpp) ----
  bool IsCanSave();
  bool SaveFailed(const std::string& text);
  bool SaveSideTable();
  bool SavePrice();
  bool SaveLedger();
  void PlaceSavedNode(bool isNew, const std::string& code, const std::string& name);
  bool ConfirmForcedDelete(const std::string& sql, const std::string& question, const std::string& journal);
  bool DeleteStep(const std::string& sql, const std::string& failure, const std::string& journal,
                  const std::string& countJoint);

  // ---- The picture page (CPMLPicture.cpp) ----
  void InitPicturePage();
  void CmdOpenFile_Click();
  // Shows the file fitted into picCpml; "" empties the image.
  void ShowPicture(const std::string& path);
  // Opens the file of txtFileName with the shell (CmdShow, double clicks on the picture).
  void OpenPictureFile();
  // Writes the shown product's stored file into the temporary folder and shows it.
  void LoadPicture();
  // Step 10 of FileSave: writes, keeps or deletes the product's row of KMDCPMLAttach.
  void SavePicture(bool isNew);

  // ---- The tree (CPMLTree.cpp) ----
  int32_t MaxRows();
  std::string BaseQuery() const;
  void AddCategory(db::Recordset& rs);
  // Messages of a load kept back until the user has been told how many rows it holds.
  struct HeldMessages {
    std::vector<std::string> duplicates;  // each duplicate's message, in the order met
    std::string failure;                  // the first product that could not be added otherwise
  };
  // Adds a product node under its category; a duplicate code is retried with "****" in front,
  // each retry reported with `duplicateText` (the handler's words), or kept in `held`.
  void AddProduct(std::string_view categoryKey, std::string code, std::string_view name, const Value& id,
                  const std::string& duplicateText, HeldMessages* held);
  // Adds a product node for each remaining row of `rs` (类别编码, 物品编码, 物品名称, 产品ID) and
  // gives their number. With `held`, the messages wait there, and a product that cannot be added
  // for a reason other than its code ends the adding but not the count.
  int32_t AddProducts(db::Recordset& rs, const std::string& duplicateText, HeldMessages* held = nullptr);
  bool IsUnloaded(const NodePtr& node) const;
  void m_Tv_Expand(const NodePtr& node);
  void m_Tv_Selected(const NodePtr& node);
  void m_Tv_Dropped(const NodePtr& source, const NodePtr& target);
  void MoveProduct(NodePtr source, NodePtr target);

  int32_t m_ProgID = 0;
  std::string m_Subjects;
  std::string m_CategoryName;
  std::string m_ProgName;
  std::string m_CodeRule;
  int32_t m_LimitPicture = 0;
  int32_t m_LimitDrawing = 0;
  ICodeRule m_CodeHelper;
  std::string m_LastFolder;

  view::Toolbar* Toolbar1 = nullptr;
  view::ControlArray<view::Control> Fra;
  view::ControlArray<view::TextField> qnT;
  view::ControlArray<view::CheckBox> Chk;
  view::ControlArray<view::OptionButton> Opt;
  view::ControlArray<view::Label> lbl;
  view::Image* ImgBom = nullptr;
  view::Image* ImgSr = nullptr;
  view::TextBox* txtFileName = nullptr;
  view::TextBox* Txt = nullptr;
  view::Button* CmdOpenFile = nullptr;
  view::Button* CmdClear = nullptr;
  view::Button* CmdShow = nullptr;
  view::PictureBox* picCpml = nullptr;
  view::Image* imgCpml = nullptr;
  view::PictureBox* Pic = nullptr;
  view::Control* zLibControl1 = nullptr;
};

}  // namespace kmd
