#pragma once
#include <string>

namespace kmd::host {

// The malloc setting the server runs with: a thread keeps only blocks of up to 64 bytes in its own
// cache. A request thread that frees larger blocks of a window into its cache would keep them, each
// holding a page of the closed window's memory, and the server would not come back to its size.
inline constexpr const char* kServerMallocTunable = "glibc.malloc.tcache_max=64";

// Starts the program again with kServerMallocTunable added to GLIBC_TUNABLES when it is not there
// (the C library reads it only as a process starts). Returns when it is there, or when the program
// cannot be started again, which leaves the setting as it was.
void UseServerMalloc(char** argv);

// Opens the database and reads the forms' program list, as the server does before it starts, so
// that a wrong address or a file that is no kmd database is told at once: "" when it can, else
// what went wrong.
std::string CheckDatabase(const std::string& database);

}  // namespace kmd::host
