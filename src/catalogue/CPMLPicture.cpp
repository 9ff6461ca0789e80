// The picture page of the product catalogue: a product's picture or drawing, kept with a free
// text in KMDCPMLAttach, chosen from a file, shown fitted into its frame, opened with the shell,
// written out to the temporary folder when a product is shown on this page, and saved with the
// product.
#include <filesystem>

#include "base/Text.h"
#include "catalogue/CPML.h"
#include "files/FilePaths.h"
#include "files/MCommonDialog.h"
#include "files/bGetTempFile.h"
#include "files/file2db.h"
#include "files/mShellExecute.h"
#include "files/zLibControl.h"

namespace kmd {

namespace {

const char* const kTitle = "产品目录";
const char* const kScreenError = "更新屏幕时出错，原因：";
const char* const kFilter =
    "所有图片(*.jpg;*.gif;*.bmp;*.wmf)|*.jpg;*.gif;*.bmp;*.wmf|windows元图(*.wmf)|*.wmf|Bmp图片(*.bmp)|*.bmp|"
    "Gif图片(*.gif)|*.gif|Jpg图片(*.jpg)|*.jpg|所有文件(*.*)|*.*";

// The length of a file in bytes; 0 when it cannot be read, so that a lost file is reported by the
// routine that reads its bytes.
int64_t FileLength(const std::string& path) {
  std::error_code ec;
  auto size = std::filesystem::file_size(zpath::ToNative(path), ec);
  return ec ? 0 : static_cast<int64_t>(size);
}

}  // namespace

void CPML::InitPicturePage() {
  // The frame the picture is fitted into, 320 by 240 pixels.
  picCpml->SetWidth(4800);
  picCpml->SetHeight(3600);
  zLibControl1 = m_Controls.Add<view::Control>("zLibControl", "zLibControl1", -1);
  zLibControl1->SetContainer(&Fra(0));
  zLibControl1->SetVisible(false);
  CmdOpenFile->Click = [this] { CmdOpenFile_Click(); };
  CmdClear->Click = [this] {
    txtFileName->SetText("");
    ShowPicture("");
  };
  CmdShow->Click = [this] { OpenPictureFile(); };
  imgCpml->DblClick = [this] { OpenPictureFile(); };
  picCpml->DblClick = [this] { OpenPictureFile(); };
}

void CPML::CmdOpenFile_Click() {
  std::string path, title, filter = kFilter;
  bool mustExist = false, multiSelect = false, readOnly = false;
  int32_t filterIndex = 1, flags = 0;
  if (!MCommonDialog::OpenFileDialog(GetPlatform(), path, title, mustExist, multiSelect, readOnly, true, filter,
                                     filterIndex, m_LastFolder, "取图片", "", -1, flags)) {
    RaiseMessage("取消了选择图片");
    return;
  }
  if (!file2db::FileExists(path)) {
    MsgBox("没有找到文件" + path + ",请重新选取!", view::vbExclamation, "没有文件");
    return;
  }
  m_LastFolder = MCommonDialog::GetPathOnly(path);
  if (m_LimitPicture > 0 && FileLength(path) > static_cast<int64_t>(m_LimitPicture) * 1024) {
    MsgBox("文件" + file2db::GetFileName(path) + "的长度超过了系统设置允许的上传范围(" + std::to_string(m_LimitPicture) +
               "k)，请修改后重试",
           view::vbExclamation, "提示：");
    return;
  }
  txtFileName->SetText(path);
  Chk(6).SetValue(1);
  ShowPicture(path);
}

void CPML::ShowPicture(const std::string& path) {
  try {
    imgCpml->Stretch = Chk(5).GetValue() == 1;
    imgCpml->SetLeft(0);
    imgCpml->SetTop(0);
    imgCpml->SetWidth(picCpml->Width());
    imgCpml->SetHeight(picCpml->Height());
    // The picture of another file never stays beside this one's path.
    imgCpml->SetPicture({});
    if (path.empty()) return;
    if (!file2db::FileExists(path)) {
      MsgBox("没有找到图片文件" + path + ",请重新选取!", view::vbExclamation, "提示：");
      return;
    }
    Pic->SetPicture(view::LoadPicture(zpath::ToNative(path)));
    const view::Picture& picture = Pic->GetPicture();
    auto place = view::FitPicture(picture.Width, picture.Height, picCpml->Width(), picCpml->Height());
    imgCpml->SetLeft(place.Left);
    imgCpml->SetTop(place.Top);
    imgCpml->SetWidth(place.Width);
    imgCpml->SetHeight(place.Height);
    imgCpml->SetPicture(picture);
  } catch (const RuntimeError& e) {
    RaiseErrMessage(kScreenError + e.Description(), kFailure, kTitle);
  }
}

void CPML::OpenPictureFile() {
  try {
    std::string path = txtFileName->Text();
    if (path.empty()) return;
    std::string verb = "open";
    int32_t window = 0;
    mShellExecute::ShellOpen(path, 10, "", "", verb, window);
  } catch (const RuntimeError& e) {
    RaiseErrMessage(e.Description(), kFailure, kTitle);
  }
}

void CPML::LoadPicture() {
  std::string packed;
  try {
    Chk(4).SetValue(0);
    Chk(6).SetValue(0);
    int32_t id = static_cast<int32_t>(text::NumericValue(lbl(0).Caption()));
    if (id <= 0) return;
    auto rs = ReadRows("SELECT * From kmdCpmlAttach WHERE 产品ID=" + std::to_string(id));
    if (rs->Eof()) {
      rs->Close();
      return;
    }
    Txt->SetText(rs->Fields("contents").ToText());
    if (text::Val(rs->Fields("fileSize").ToText()) > 0) {
      // The stored name names a file of the temporary folder, never one beside it.
      std::string target = bGetTempFile::GetTempDir() + file2db::GetFileName(rs->Fields("fileName").ToText());
      if (text::Val(rs->Fields("isCompress").ToText()) == 1) {
        packed = bGetTempFile::GetTempFile("tmp");
        file2db::FieldToFile(packed, rs->Fields("fileImage"), true);
        zLibControl1->SetVisible(true);
        zLibControl unpacker;
        // The CRC is computed but a mismatch keeps the file; names lose their folders; an older
        // file of the same name is replaced.
        unpacker.Decompress(packed, MCommonDialog::GetPathOnly(target), false, true, false, true, false, true);
        zLibControl1->SetVisible(false);
      } else {
        file2db::FieldToFile(target, rs->Fields("fileImage"), true);
      }
      txtFileName->SetText(target);
      ShowPicture(target);
      Chk(4).SetValue(1);
      Chk(6).SetValue(0);
    }
    rs->Close();
  } catch (const RuntimeError& e) {
    zLibControl1->SetVisible(false);
    RaiseErrMessage(kScreenError + e.Description(), kFailure, kTitle);
  }
  if (!packed.empty()) {
    std::error_code ec;
    std::filesystem::remove(packed, ec);
  }
}

void CPML::SavePicture(bool isNew) {
  const char* const title = "图片";
  std::string file = text::Trim(txtFileName->Text());
  RaiseErrMessage("图片保存处理，图片文件名" + file, kJournal, title);
  auto db = Database();
  std::string id = std::to_string(m_ID);
  db::RecordsetPtr rs;
  if (isNew) {
    RaiseErrMessage("是在新建中", kJournal, title);
    if (file.empty() || !file2db::FileExists(file)) return;
    rs = db->CreateCommand("SELECT TOP 0 * From KMDCPMLAttach", 1)->OpenRecordset();
    if (std::string err = db->LastError().Description(); !err.empty()) {
      RaiseErrMessage("数据库错误，原因:" + err, kFailure, "附加图片");
      return;
    }
    rs->AddNew();
    rs->SetField("产品ID", Value(m_ID));
  } else if (!file.empty()) {
    // Only a changed file, or one the database does not have yet, is written.
    bool stored = Chk(4).GetValue() == 1;
    if (stored && Chk(6).GetValue() != 1) return;
    rs = ReadRows("SELECT * From KMDCPMLAttach WHERE 产品ID =" + id);
    if (rs->Eof()) {
      rs->AddNew();
      rs->SetField("产品ID", Value(m_ID));
    }
  } else {
    if (Chk(4).GetValue() == 1) db->CreateCommand("DELETE FROM kmdCpmlAttach WHERE 产品ID = " + id, 1)->Execute();
    return;
  }
  rs->SetField("fileName", Value(file2db::GetFileName(file)));
  rs->SetField("fileSize", Value(static_cast<int32_t>(FileLength(file))));
  rs->SetField("contents", Value(text::Trim(Txt->Text())));
  rs->SetField("isCompress", Value(0));
  rs->SetField("isEncrypt", Value(0));
  Value image;
  file2db::FileToField(file, image);
  rs->SetField("fileImage", std::move(image));
  rs->Update();
  rs->Close();
}

}  // namespace kmd
