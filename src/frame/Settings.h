#pragma once
#include <cstdint>
#include <string>

#include "base/Value.h"
#include "db/Database.h"
#include "frame/FormContext.h"
#include "frame/Services.h"

namespace kmd {

// The readings of configuration that forms share. None writes, none reports a missing row.

// A code rule: Option(12, key).Value, or "22222" when that is empty.
std::string ReadCodeRule(IFormContext& context, const Value& key);

// A switch is on when its value reads as the number 1.
bool IsSwitchOn(const std::string& value);

// The program's row of xt_objects: its name and its parameter line, parsed. A missing row (or a
// failing statement) leaves both empty, so that no key is found.
struct ProgramRow {
  bool Found = false;
  std::string Name;
  ICommandLine CommandLine;
};
ProgramRow ReadProgram(db::IDatabase& database, int32_t programId);

// The first value of an attribute statement appended to "", and its numeric reading: no row, Null
// and text that is no number all read 0.
std::string ReadAttributeText(db::IDatabase& database, const std::string& sql);
double ReadAttributeNumber(db::IDatabase& database, const std::string& sql);

}  // namespace kmd
