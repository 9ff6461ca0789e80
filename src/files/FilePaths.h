#pragma once
#include <cstdint>
#include <string>
#include <vector>

// Paths in the suite's Windows form and in this platform's form, the code page of stored names,
// and the listing of names that the suite's Dir gives.
//
// A Windows path reaches the file system with its drive dropped and "\" turned into "/", so every
// drive stands for the root "/"; a native path is used as it is. The other way round, a native
// path is written with "/" turned into "\" (it has no drive to drop). Native names that contain a
// backslash of their own cannot be told apart from folders and are not supported.
namespace kmd::zpath {

// A letter and ":" at the start.
bool HasDrive(const std::string& p);
// Native form of a path given in either form.
std::string ToNative(const std::string& path);
// Windows form of a path given in either form, drive kept when it has one.
std::string ToWindows(const std::string& path);

// Text in code page 936 and back. Characters without a place in it become "?", one per UTF-16
// unit, so that the character count of the text still holds; a byte that is not part of well-formed
// UTF-8 becomes one "?".
std::string ToCp936(const std::string& utf8);
// Characters in code page 936 text, as a reader counts them: a lead byte and the byte after it
// are one.
int32_t CharCount936(const std::string& bytes);
std::string FromCp936(const std::string& bytes);
// A byte that starts a two-byte character of code page 936.
bool IsLeadByte936(unsigned char b);

// Windows-like matching of a name against a pattern with "*" and "?" (one character each),
// ignoring Latin case.
bool WildMatch(const std::string& name, const std::string& pattern);

// What Dir(path, attrib) lists: the one name when `path` names a file, or the names in its folder
// that its last part matches when that holds "*" or "?" (Latin case ignored; "*.*" also takes
// names without a dot). Folders are listed only when attrib has the bit 16, hidden names (those
// beginning with ".") only when it has the bit 2. Sorted by name.
struct DirEntry {
  std::string name;
  bool folder = false;
};
std::vector<DirEntry> Dir(const std::string& path, int32_t attrib);

}  // namespace kmd::zpath
