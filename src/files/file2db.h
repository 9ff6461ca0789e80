#pragma once
#include <cstdint>
#include <string>

#include "base/Value.h"

// Whole files moved between the file system and a binary column of a recordset, and the small
// path tests that go with it. Paths may be in the suite's Windows form or native (files/FilePaths.h).
namespace kmd::file2db {

// False for an empty path. With attribute 16 a folder counts too; otherwise only a file does.
// A pattern with "*" or "?" counts when anything matches. Errors count as false.
bool FileExists(const std::string& path, int32_t attribute = 0);

// Reads all bytes of the file into the field (a Bytes value).
// A missing file raises run-time error 50001, source "dbfile", "文件不存在!"; a file that cannot be
// read raises its own run-time error.
void FileToField(const std::string& path, Value& field);

// Writes the field's bytes to the file, replacing one that exists only when `overwrite`.
// False when it cannot: the file exists and no overwrite, the folder is missing, the field holds
// no binary value (Null included), or the write fails.
bool FieldToFile(const std::string& path, const Value& field, bool overwrite);

// The part behind the last "\" (or "/"); the whole text when there is none.
std::string GetFileName(const std::string& path);

}  // namespace kmd::file2db
