#pragma once
#include <cstdint>
#include <string>

#include "view/Platform.h"

// The open-file dialog, asked of the host through its Platform, and the small text routines
// that go with its null-separated strings.
namespace kmd::MCommonDialog {

// Asks the user for a file. `Filter` is "name|patterns|name|patterns..." ("|" and ":" both
// separate, so a filter cannot hold a drive). The dialog's flags are the bits of `Flags` without
// 0x60, with 0x1000 for FileMustExist, 0x200 for MultiSelect, 1 for ReadOnly and 4 for
// HideReadOnly. `Owner` names a window on the suite's platform and plays no part here.
// OK: FileName is the chosen path (with MultiSelect the folder, then the names, all separated by
// nulls), FileTitle its name, Filter the name of the chosen filter, FilterIndex and Flags as the
// dialog gave them, ReadOnly set when the user asked for it; true.
// Cancel: FileName, FileTitle and Filter empty, Flags 0, FilterIndex -1; false.
bool OpenFileDialog(view::Platform& platform, std::string& FileName, std::string& FileTitle, bool& FileMustExist,
                    bool& MultiSelect, bool& ReadOnly, bool HideReadOnly, std::string& Filter, int32_t& FilterIndex,
                    const std::string& InitDir, const std::string& DlgTitle, const std::string& DefaultExt,
                    int32_t Owner, int32_t& Flags);

// The name of entry `index` (from 1) of a filter whose names and patterns are separated by
// nulls; "" when there is none.
std::string FilterName(const std::string& filter, int32_t index);

// The text before the last "\" (or "/"); the whole text when there is none.
std::string GetPathOnly(const std::string& path);

// Cuts `s` at its first null and gives it.
std::string TrimAtNull(std::string& s);

}  // namespace kmd::MCommonDialog
