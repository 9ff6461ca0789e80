#pragma once
#include <string>

namespace kmd::host {

// Makes a database with the whole schema and the demo data. Refuses (RuntimeError) to touch an
// existing file unless `force`, in which case the file is replaced. The new database is made in a
// file beside it and renamed over it when whole, so that a failure leaves the old one as it was;
// every failure (no folder, no right to write, a folder in its place, a full disk) is one
// RuntimeError "cannot make PATH: <reason>".
// A PostgreSQL address ("postgresql://...") makes the schema on the server instead: in the database
// it names, made when missing (UTF-8, C collation); a database that holds tables is refused unless
// `force`, and then emptied and filled in one transaction.
void InitDatabase(const std::string& path, bool force);

}  // namespace kmd::host
