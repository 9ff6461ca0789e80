#include "frame/Settings.h"

#include "base/Text.h"

namespace kmd {

std::string ReadCodeRule(IFormContext& context, const Value& key) {
  std::string rule = context.Option(12, key).Value;
  return rule.empty() ? "22222" : rule;
}

bool IsSwitchOn(const std::string& value) { return text::Val(value) == 1; }

ProgramRow ReadProgram(db::IDatabase& database, int32_t programId) {
  ProgramRow row;
  auto rs = database
                .CreateCommand("SELECT progName,progCommandLine From xt_objects Where ProgID =" +
                                   std::to_string(programId),
                               1)
                ->OpenRecordset();
  if (!rs->Eof()) {
    row.Found = true;
    row.Name = rs->Fields("progName").ToText();
    row.CommandLine.Parse(rs->Fields("progCommandLine").ToText());
  }
  rs->Close();
  database.ResetState();
  return row;
}

std::string ReadAttributeText(db::IDatabase& database, const std::string& sql) {
  return database.CreateCommand(sql, 1)->ExecuteScalar().ToText();
}

double ReadAttributeNumber(db::IDatabase& database, const std::string& sql) {
  return text::Val(ReadAttributeText(database, sql));
}

}  // namespace kmd
