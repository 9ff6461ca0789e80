#pragma once
#include <string>

// Temporary names in the system's temporary folder (TMPDIR, else /tmp).
namespace kmd::bGetTempFile {

// The temporary folder with a trailing "/", or "" when it cannot be found.
std::string GetTempDir();

// Creates a new empty file in the temporary folder, named by the first three characters of
// `prefix`, a unique part and ".tmp", and gives its full path; "" when none can be made.
std::string GetTempFile(const std::string& prefix);

}  // namespace kmd::bGetTempFile
