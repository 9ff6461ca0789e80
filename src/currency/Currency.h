#pragma once
#include <string>

#include "db/Database.h"

namespace kmd {

// The application's title, which the currency form gives its reports.
// The source of the run-time errors of the currency forms' saves, and the title of the rates
// form's reports.
inline constexpr const char* kCurrencySource = "Kmd_Bz";

// Runs one statement in a transaction of its own: committed when it worked, rolled back when it
// failed. Gives "" or the database's text; a run-time error is thrown on after the rollback.
std::string ExecuteInTransaction(db::IDatabase& db, const std::string& sql);

// A save's run-time error as the forms pass it on: source "Kmd_Bz", "-->SaveData::" and the cause.
[[noreturn]] void RaiseSaveDataError(const std::exception& cause);

}  // namespace kmd
