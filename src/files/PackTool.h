#pragma once
#include <iosfwd>
#include <string>
#include <vector>

#include "files/zLibControl.h"

// The container from the command line (`kmd pack`, `kmd unpack`, `kmd list`): what each command
// does and says, apart from reading its arguments. Each gives the command's exit status, 0 when
// everything went as asked and 1 otherwise; messages go to `err`, the listing to `out`. The
// caller's control may carry a Repaint for a progress bar.
namespace kmd::PackTool {

// Packs the files that `inputs` name (files, or patterns with "*" and "?" that leave hidden names
// out) into `archive`. An input that matches nothing is reported and makes the status 1; the rest
// are packed. The container is never one of its own inputs. A name that code page 936 cannot hold
// is stored with "?" and reported; two inputs that would be stored under one name are refused,
// and then nothing is written.
int Pack(zLibControl& z, const std::string& archive, const std::vector<std::string>& inputs, int level,
         bool overwrite, std::ostream& err);

// Unpacks `archive` into `folder` (relative to the working folder when it is not absolute). Each
// entry left out is reported as "skipped NAME (reason)" and makes the status 1.
int Unpack(zLibControl& z, const std::string& archive, const std::string& folder, bool checkCrc, bool paths,
           bool overwrite, std::ostream& err);

// Lists the entries of `archive`, one line each: size, packed size, CRC-32, name; the entries
// read before an error are listed too.
int List(zLibControl& z, const std::string& archive, std::ostream& out, std::ostream& err);

}  // namespace kmd::PackTool
