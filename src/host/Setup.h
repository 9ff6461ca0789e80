#pragma once
#include <string>

namespace kmd::host {

// Makes a database with the whole schema and the demo data. Refuses (RuntimeError) to touch an
// existing file unless `force`, in which case the file is replaced.
void InitDatabase(const std::string& path, bool force);

}  // namespace kmd::host
