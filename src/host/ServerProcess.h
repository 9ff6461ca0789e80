#pragma once
#include <string>

namespace kmd::host {

// The memory settings the server runs with. A thread keeps only blocks of up to 64 bytes in its
// own cache: a request thread that frees larger blocks of a window into its cache would keep them,
// each holding a page of the closed window's memory. The stacks of ended threads (a window's, a
// long read's reader) are given back rather than kept for the next thread, with the pages they
// touched. Without either the server would not come back to its size as windows come and go.
inline constexpr const char* kServerTunables[] = {"glibc.malloc.tcache_max=64", "glibc.pthread.stack_cache_size=0"};

// Starts the program again with the kServerTunables that GLIBC_TUNABLES lacks added to it (the C
// library reads it only as a process starts). Returns when it has them all (a setting of the same
// name given by the user stands), or when the program cannot be started again, which leaves the
// settings as they were.
void UseServerMemorySettings(char** argv);

// Opens the database and reads the forms' program list, as the server does before it starts, so
// that a wrong address or a file that is no kmd database is told at once: "" when it can, else
// what went wrong.
std::string CheckDatabase(const std::string& database);

}  // namespace kmd::host
