#pragma once
// Shared helpers of the frame tests: a scratch folder and a context that only knows its user,
// its options and its database.
#include <filesystem>
#include <map>

#include "frame/FormContext.h"
#include "support/FileText.h"

namespace kmd::testing_frame {

namespace fs = std::filesystem;

inline fs::path ScratchDir(const std::string& name) { return test::ScratchDir("kmd_frame_" + name); }

using test::ReadAll;
using test::WriteAll;

class FakeContext : public IFormContext {
 public:
  std::shared_ptr<db::IDatabase> database;
  std::map<std::string, std::string> options;  // "module/key"
  IUserInfo user;

  std::shared_ptr<db::IDatabase> Database() override { return database; }
  IProgramRights ProgramRights(int32_t) override { return {}; }
  ISetting Option(int32_t module, const Value& key) override {
    auto it = options.find(std::to_string(module) + "/" + key.ToText());
    return {it == options.end() ? "" : it->second};
  }
  ISetting Parameter(int32_t, const Value&) override { return {}; }
  void LookupBrowse(view::TextField&, const std::string&) override {}
  void LookupCheck(view::TextField&, const Value&) override {}
  IUserInfo User() override { return user; }
  ISubsystem Subsystem(const std::string&, int32_t) override { return {}; }
};

}  // namespace kmd::testing_frame
