#pragma once
#include <string>

namespace kmd::host {

// Makes a database with the whole schema and the demo data. Refuses (RuntimeError) to touch an
// existing file unless `force`, in which case the file is replaced. The new database is made in a
// file beside it and renamed over it when whole, so that a failure leaves the old one as it was;
// every failure (no folder, no right to write, a folder in its place, a full disk) is one
// RuntimeError "cannot make PATH: <reason>".
void InitDatabase(const std::string& path, bool force);

}  // namespace kmd::host
