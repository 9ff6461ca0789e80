#include "host/WebFiles.h"

#include <algorithm>
#include <filesystem>

#include "base/Text.h"
#include "files/FilePaths.h"

namespace kmd::host {

namespace fs = std::filesystem;

bool MatchesPattern(const std::string& name, const std::string& pattern) {
  return zpath::WildMatch(name, pattern);
}

nlohmann::json ListFolder(const std::string& dir, const std::string& patterns) {
  std::error_code ec;
  fs::path path = fs::absolute(dir.empty() ? fs::current_path(ec) : fs::path(dir), ec).lexically_normal();
  std::vector<std::string> wanted;
  for (auto& p : text::Split(patterns, ';')) {
    std::string t = text::Trim(p);
    if (!t.empty() && t != "*.*" && t != "*") wanted.push_back(t);
  }
  std::vector<nlohmann::json> dirs, files;
  for (fs::directory_iterator it(path, fs::directory_options::skip_permission_denied, ec), end; !ec && it != end;
       it.increment(ec)) {
    std::string name = it->path().filename().string();
    if (name.empty() || name[0] == '.') continue;
    std::error_code e2;
    if (it->is_directory(e2)) {
      dirs.push_back({{"name", name}, {"dir", true}});
    } else if (wanted.empty() || std::any_of(wanted.begin(), wanted.end(),
                                             [&](const std::string& w) { return MatchesPattern(name, w); })) {
      auto size = it->file_size(e2);
      files.push_back({{"name", name}, {"dir", false}, {"size", e2 ? 0 : size}});
    }
  }
  auto byName = [](const nlohmann::json& a, const nlohmann::json& b) { return a["name"] < b["name"]; };
  std::sort(dirs.begin(), dirs.end(), byName);
  std::sort(files.begin(), files.end(), byName);
  nlohmann::json entries = nlohmann::json::array();
  for (auto& d : dirs) entries.push_back(std::move(d));
  for (auto& f : files) entries.push_back(std::move(f));
  nlohmann::json parent = path.has_parent_path() && path.parent_path() != path ? nlohmann::json(path.parent_path().string())
                                                                               : nlohmann::json();
  return {{"dir", path.string()}, {"parent", parent}, {"entries", entries}};
}

}  // namespace kmd::host
