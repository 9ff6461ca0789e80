#include "files/MCommonDialog.h"

#include <vector>

#include "files/file2db.h"

namespace kmd::MCommonDialog {

namespace {

// The filter with its separators turned into nulls and two nulls at the end.
std::string NullFilter(const std::string& filter) {
  std::string s = filter;
  for (char& c : s)
    if (c == '|' || c == ':') c = '\0';
  return s + std::string(2, '\0');
}

std::vector<std::string> SplitAtNulls(const std::string& s) {
  std::vector<std::string> items;
  size_t start = 0;
  for (size_t p; (p = s.find('\0', start)) != std::string::npos; start = p + 1) items.push_back(s.substr(start, p - start));
  if (start < s.size()) items.push_back(s.substr(start));
  return items;
}

}  // namespace

std::string FilterName(const std::string& filter, int32_t index) {
  if (index < 1) return "";
  const auto items = SplitAtNulls(filter);
  const size_t at = static_cast<size_t>(index - 1) * 2;
  return at < items.size() ? items[at] : "";
}

std::string GetPathOnly(const std::string& path) {
  const size_t at = path.find_last_of("\\/");
  return at == std::string::npos ? path : path.substr(0, at);
}

std::string TrimAtNull(std::string& s) {
  const size_t at = s.find('\0');
  if (at != std::string::npos) s.resize(at);
  return s;
}

bool OpenFileDialog(view::Platform& platform, std::string& FileName, std::string& FileTitle, bool& FileMustExist,
                    bool& MultiSelect, bool& ReadOnly, bool HideReadOnly, std::string& Filter, int32_t& FilterIndex,
                    const std::string& InitDir, const std::string& DlgTitle, const std::string& DefaultExt,
                    int32_t /*Owner*/, int32_t& Flags) {
  view::FileChoice choice;
  choice.flags = (FileMustExist ? view::FileChoice::kFileMustExist : 0) |
                 (MultiSelect ? view::FileChoice::kAllowMultiSelect : 0) | (ReadOnly ? view::FileChoice::kReadOnly : 0) |
                 (HideReadOnly ? view::FileChoice::kHideReadOnly : 0) | (Flags & ~0x60);
  const std::string nullFilter = NullFilter(Filter);
  // The dialog reads name and patterns in pairs up to the first empty name.
  const auto items = SplitAtNulls(nullFilter);
  for (size_t i = 0; i + 1 < items.size() && !items[i].empty(); i += 2) choice.filters.emplace_back(items[i], items[i + 1]);
  choice.filterIndex = FilterIndex;
  choice.initDir = InitDir;
  choice.title = DlgTitle;
  choice.defaultExt = DefaultExt;
  std::string start = FileName;
  choice.fileName = TrimAtNull(start);

  if (!platform.ChooseFile(choice) || choice.files.empty()) {
    FileName.clear();
    FileTitle.clear();
    Filter.clear();
    Flags = 0;
    FilterIndex = -1;
    return false;
  }
  if (choice.files.size() == 1) {
    FileName = choice.files.front();
    FileTitle = file2db::GetFileName(FileName);
  } else {
    // Several files: the folder, then each name, separated by nulls.
    FileName = GetPathOnly(choice.files.front());
    for (const auto& f : choice.files) FileName += '\0' + file2db::GetFileName(f);
    FileTitle = file2db::GetFileName(choice.files.front());
  }
  if (!MultiSelect) {
    TrimAtNull(FileName);
    TrimAtNull(FileTitle);
  }
  Flags = choice.flags;
  FilterIndex = choice.filterIndex;
  Filter = FilterName(nullFilter, FilterIndex);
  if (choice.flags & view::FileChoice::kReadOnly) ReadOnly = true;
  return true;
}

}  // namespace kmd::MCommonDialog
