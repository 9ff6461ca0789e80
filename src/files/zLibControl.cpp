#include "files/zLibControl.h"

#include <fcntl.h>
#include <libdeflate.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>

#include "base/RuntimeError.h"
#include "base/Text.h"

namespace fs = std::filesystem;

namespace kmd {

namespace {

constexpr int32_t kDefaultReadBuf = 65536;
constexpr int32_t kBannerLength = 21;
// Smallest possible entry: name length, four numbers, no name and no blocks.
constexpr int64_t kMinEntryBytes = 20;
// deflate never expands more than this: a 258-byte match costs at least two bits.
constexpr int64_t kMaxInflateRatio = 1032;

[[noreturn]] void Fail(const std::string& what) { throw RuntimeError(what); }

// An open file descriptor, closed with its scope.
class Fd {
 public:
  explicit Fd(int fd = -1) : m_Fd(fd) {}
  ~Fd() { Reset(); }
  Fd(Fd&& o) noexcept : m_Fd(o.m_Fd) { o.m_Fd = -1; }
  Fd& operator=(Fd&& o) noexcept {
    if (this != &o) {
      Reset();
      m_Fd = o.m_Fd;
      o.m_Fd = -1;
    }
    return *this;
  }
  int Get() const { return m_Fd; }
  int Release() {
    const int fd = m_Fd;
    m_Fd = -1;
    return fd;
  }
  void Reset() {
    if (m_Fd >= 0) ::close(m_Fd);
    m_Fd = -1;
  }

 private:
  int m_Fd;
};

std::string Hex8(uint32_t v) {
  char buf[9];
  std::snprintf(buf, sizeof buf, "%08X", v);
  return buf;
}

// A file read from start to end on a FILE*, with the run-time errors the control reports for
// file trouble.
class BinFile {
 public:
  explicit BinFile(const std::string& path) : m_Path(path) {
    m_File = std::fopen(path.c_str(), "rb");
    if (!m_File) Fail("Path/File access error: " + path + " (" + std::strerror(errno) + ")");
    struct stat st {};
    if (::fstat(::fileno(m_File), &st) == 0 && S_ISDIR(st.st_mode)) {
      Close();
      Fail("Path/File access error: " + path + " is a directory");
    }
  }
  ~BinFile() { Close(); }
  BinFile(const BinFile&) = delete;
  BinFile& operator=(const BinFile&) = delete;

  void Close() {
    if (m_File) std::fclose(m_File);
    m_File = nullptr;
  }
  int64_t Length() const {
    struct stat st {};
    if (::fstat(::fileno(m_File), &st) != 0) Fail("Device I/O error: " + m_Path);
    return st.st_size;
  }
  void Read(void* data, size_t n) {
    if (n && std::fread(data, 1, n, m_File) != n) Fail("Input past end of file: " + m_Path);
  }

 private:
  std::FILE* m_File = nullptr;
  std::string m_Path;
};

// A container opened for reading: one large buffer, so that a block's bytes are inflated where
// they were read and headers cost no system call. The length is taken once at the start.
class Input {
 public:
  explicit Input(const std::string& path) : m_Path(path) {
    m_Fd = Fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat st {};
    if (m_Fd.Get() < 0 || ::fstat(m_Fd.Get(), &st) != 0)
      Fail("Path/File access error: " + path + " (" + std::strerror(errno) + ")");
    if (S_ISDIR(st.st_mode)) Fail("Path/File access error: " + path + " is a directory");
    m_Length = st.st_size;
    m_Buf.resize(kInputBuffer);
  }

  int64_t Length() const { return m_Length; }
  int64_t Pos() const { return m_Pos; }
  int64_t Left() const { return std::max<int64_t>(0, m_Length - m_Pos); }

  // The next n bytes, valid until the next call; a file that ends before them is an error.
  const unsigned char* Take(size_t n) {
    if (m_End - m_Begin < n) Fill(n);
    const unsigned char* p = m_Buf.data() + m_Begin;
    m_Begin += n;
    m_Pos += static_cast<int64_t>(n);
    return p;
  }
  bool TryReadLong(int32_t& v) {
    if (m_End - m_Begin < 4 && !Fill(4, false)) return false;
    const unsigned char* b = Take(4);
    v = static_cast<int32_t>(uint32_t(b[0]) | uint32_t(b[1]) << 8 | uint32_t(b[2]) << 16 | uint32_t(b[3]) << 24);
    return true;
  }
  int32_t ReadLong() {
    int32_t v = 0;
    if (!TryReadLong(v)) Fail("Input past end of file: " + m_Path);
    return v;
  }
  unsigned char ReadByte() { return *Take(1); }
  // Seeking past the end is allowed; the next read then fails.
  void Seek(int64_t pos) {
    if (pos >= m_Pos && pos - m_Pos <= static_cast<int64_t>(m_End - m_Begin)) {
      m_Begin += static_cast<size_t>(pos - m_Pos);
    } else {
      if (::lseek(m_Fd.Get(), pos, SEEK_SET) < 0) Fail("Bad file position in " + m_Path);
      m_Begin = m_End = 0;
    }
    m_Pos = pos;
  }

 private:
  static constexpr size_t kInputBuffer = size_t(256) << 10;

  // Reads until n bytes stand in the buffer; false (or an error when `must`) at the end of file.
  bool Fill(size_t n, bool must = true) {
    std::memmove(m_Buf.data(), m_Buf.data() + m_Begin, m_End - m_Begin);
    m_End -= m_Begin;
    m_Begin = 0;
    if (m_Buf.size() < n) m_Buf.resize(n);
    while (m_End < n) {
      const ssize_t got = ::read(m_Fd.Get(), m_Buf.data() + m_End, m_Buf.size() - m_End);
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) Fail("Device I/O error reading " + m_Path + " (" + std::strerror(errno) + ")");
      if (got == 0) {
        if (must) Fail("Input past end of file: " + m_Path);
        return false;
      }
      m_End += static_cast<size_t>(got);
    }
    return true;
  }

  std::string m_Path;
  Fd m_Fd;
  int64_t m_Length = 0, m_Pos = 0;
  std::vector<unsigned char> m_Buf;
  size_t m_Begin = 0, m_End = 0;
};

// Writes a file through a buffer that the caller fills in place, in few large writes. The buffer
// is small enough to stay in the core's cache between being filled and being written.
class Output {
 public:
  // Opens an existing file (`create` false: a new, empty one that needs no truncation) or
  // creates the file anew.
  Output(const std::string& path, bool create) : m_Path(path) {
    const int flags = O_WRONLY | O_CLOEXEC | (create ? O_CREAT | O_TRUNC : 0);
    m_Fd = Fd(::open(path.c_str(), flags, 0666));
    if (m_Fd.Get() < 0) Fail("Path/File access error: " + path + " (" + std::strerror(errno) + ")");
  }
  // Room for n bytes at the end of what is buffered.
  unsigned char* Room(size_t n) {
    if (m_Used + n > m_Buf.size()) {
      Flush();
      if (n > m_Buf.size()) m_Buf.resize(std::max(n, kOutputBuffer));
    }
    return m_Buf.data() + m_Used;
  }
  void Commit(size_t n) {
    m_Used += n;
    if (m_Used >= kOutputBuffer) Flush();
  }
  void Write(const void* data, size_t n) {
    std::memcpy(Room(n), data, n);
    Commit(n);
  }
  void WriteLong(int32_t v) {
    const auto u = static_cast<uint32_t>(v);
    const unsigned char b[4] = {static_cast<unsigned char>(u), static_cast<unsigned char>(u >> 8),
                                static_cast<unsigned char>(u >> 16), static_cast<unsigned char>(u >> 24)};
    Write(b, 4);
  }
  // Bytes written so far, buffered ones included.
  int64_t Pos() const { return m_Flushed + static_cast<int64_t>(m_Used); }
  // Writes over bytes already written at `pos`.
  void Patch(int64_t pos, const void* data, size_t n) {
    Flush();
    if (::pwrite(m_Fd.Get(), data, n, pos) != static_cast<ssize_t>(n))
      Fail("Device I/O error writing " + m_Path + " (" + std::strerror(errno) + ")");
  }
  void Flush() {
    for (size_t done = 0; done < m_Used;) {
      const ssize_t n = ::write(m_Fd.Get(), m_Buf.data() + done, m_Used - done);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) Fail("Device I/O error writing " + m_Path + " (" + std::strerror(errno) + ")");
      done += static_cast<size_t>(n);
    }
    m_Flushed += static_cast<int64_t>(m_Used);
    m_Used = 0;
  }
  void Close() {
    Flush();
    if (::close(m_Fd.Release()) != 0) Fail("Device I/O error writing " + m_Path);
  }

 private:
  static constexpr size_t kOutputBuffer = size_t(256) << 10;
  std::string m_Path;
  Fd m_Fd;
  std::vector<unsigned char> m_Buf;
  size_t m_Used = 0;
  int64_t m_Flushed = 0;
};

// Removes a temporary file when the scope ends, whatever way it ends, and forgets its name; a
// name already forgotten (the file moved away) is left alone.
class TempGuard {
 public:
  explicit TempGuard(std::string& name) : m_Name(name) {}
  ~TempGuard() {
    std::error_code ec;
    if (!m_Name.empty()) fs::remove(m_Name, ec);
    m_Name.clear();
  }
  TempGuard(const TempGuard&) = delete;
  TempGuard& operator=(const TempGuard&) = delete;

 private:
  std::string& m_Name;
};

void RemoveQuietly(const std::string& path) {
  if (path.empty()) return;
  std::error_code ec;
  fs::remove(path, ec);
}

// A stored name loses whatever stands before a ":" in its second place, drive letter or not.
std::string WithoutDrive(const std::string& name) {
  return name.size() >= 2 && name[1] == ':' ? name.substr(2) : name;
}

int32_t CheckedLong(int64_t v, const std::string& what) {
  if (v > std::numeric_limits<int32_t>::max()) Fail("Overflow: " + what + " is larger than 2 GB");
  return static_cast<int32_t>(v);
}

void PutLong(unsigned char* at, int32_t v) {
  const auto u = static_cast<uint32_t>(v);
  at[0] = static_cast<unsigned char>(u);
  at[1] = static_cast<unsigned char>(u >> 8);
  at[2] = static_cast<unsigned char>(u >> 16);
  at[3] = static_cast<unsigned char>(u >> 24);
}

uint32_t Crc32(uint32_t crc, const void* data, size_t n) { return libdeflate_crc32(crc, data, n); }

// The mode a new file gets from open(2) with 0666: the process's umask is read where the kernel
// shows it, since umask(2) cannot read it without changing it for every thread for a moment.
mode_t NewFileMode() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.rfind("Umask:", 0) == 0) return 0666 & ~static_cast<mode_t>(std::stoul(line.substr(6), nullptr, 8));
  return 0644;
}

// Inflates one block as zlib's uncompress does, at libdeflate's speed: 0 with `outLen` set to
// what came out, -3 for data that does not inflate (also when there is output but no room at
// all), -5 for output that does not fit.
int Inflate(libdeflate_decompressor* d, const unsigned char* in, size_t inLen, unsigned char* out, size_t& outLen) {
  size_t actual = 0;
  switch (libdeflate_zlib_decompress(d, in, inLen, out, outLen, &actual)) {
    case LIBDEFLATE_SUCCESS: outLen = actual; return Z_OK;
    case LIBDEFLATE_INSUFFICIENT_SPACE: return outLen == 0 ? Z_DATA_ERROR : Z_BUF_ERROR;
    case LIBDEFLATE_SHORT_OUTPUT: return Z_BUF_ERROR;
    default: return Z_DATA_ERROR;
  }
}

struct DecompressorFree {
  void operator()(libdeflate_decompressor* d) const { libdeflate_free_decompressor(d); }
};

// Copies the whole of `from` to the new file `to`, in the kernel where it can.
void CopyFd(int from, int to, const std::string& what) {
  std::vector<char> buf;
  for (bool kernel = true;;) {
    ssize_t n = kernel ? ::copy_file_range(from, nullptr, to, nullptr, size_t(1) << 30, 0) : -1;
    if (n < 0 && kernel && (errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP)) {
      kernel = false;  // this pair of file systems does not take it: copy through a buffer
      buf.resize(1 << 20);
      continue;
    }
    if (!kernel) {
      n = ::read(from, buf.data(), buf.size());
      for (ssize_t done = 0; n > 0 && done < n;) {
        const ssize_t w = ::write(to, buf.data() + done, static_cast<size_t>(n - done));
        if (w < 0 && errno == EINTR) continue;
        if (w <= 0) Fail("Device I/O error writing " + what + " (" + std::strerror(errno) + ")");
        done += w;
      }
    }
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) Fail("Device I/O error writing " + what + " (" + std::strerror(errno) + ")");
    if (n == 0) return;
  }
}

// The stored form of a path that is added: no drive, "\" between the parts, "." and ".." resolved
// by the text alone (a ".." at the start is dropped), and a leading "\".
std::string StoredPathOf(const std::string& path) {
  std::vector<std::string> parts;
  for (auto& part : text::Split(zpath::ToWindows(WithoutDrive(path)), '\\')) {
    if (part == "..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!part.empty() && part != ".") {
      parts.push_back(std::move(part));
    }
  }
  std::string stored;
  for (const auto& part : parts) stored += "\\" + part;
  return stored.empty() ? "\\" : stored;
}

}  // namespace

// A place for one unpacked entry: the folder it goes into, opened from the output folder
// without following any link, and its name there. `refusal` says why there is none.
struct zLibControl::Target {
  Fd dir;
  std::string leaf;
  std::string path;  // native, for messages
  std::string refusal;
};

// ---- life ----

zLibControl::zLibControl() {
  std::error_code ec;
  fs::path tmp = fs::temp_directory_path(ec);
  m_TmpDir = ec ? std::string("/tmp") : tmp.string();
}

zLibControl::~zLibControl() { ClearFiles(); }

// The temporary names belong to this control, so they go with the entries that hold them.
// A name is forgotten once its file is removed or moved, so that no later call removes a file
// that another program has since made under the same name.
void zLibControl::ClearFiles() {
  for (const auto& f : m_Files) RemoveQuietly(f.TempFile);
  m_Files.clear();
  m_LastIndex = -1;
}

void zLibControl::reset() {
  ClearFiles();
  SetValue(0);
}

std::string zLibControl::NewTempName() const {
  std::string tmpl = (fs::path(m_TmpDir) / "zLiXXXXXX").string();
  std::vector<char> buf(tmpl.begin(), tmpl.end());
  buf.push_back('\0');
  const int fd = ::mkstemp(buf.data());
  if (fd < 0) Fail(std::strerror(errno));
  ::close(fd);
  return buf.data();
}

// ---- list ----

std::string zLibControl::Original_Crc32(int32_t Index) const {
  return ValidIndex(Index) ? Hex8(m_Files[Index].Original_Crc32) : std::string();
}

std::string zLibControl::Compressed_CRC32(int32_t Index) const {
  return ValidIndex(Index) ? Hex8(m_Files[Index].Compressed_CRC32) : std::string();
}

std::string zLibControl::filename(int32_t Index) const {
  return ValidIndex(Index) ? m_Files[Index].filename : std::string();
}

void zLibControl::SetFilename(int32_t Index, const std::string& value) {
  if (!ValidIndex(Index)) return;
  std::string name = zpath::ToWindows(WithoutDrive(value));
  if (name.empty() || name[0] != '\\') name.insert(name.begin(), '\\');
  m_Files[Index].filename = name;
}

std::string zLibControl::Path(int32_t Index) const { return ValidIndex(Index) ? m_Files[Index].Path : std::string(); }

int32_t zLibControl::Compressed_Size(int32_t Index) const {
  return ValidIndex(Index) ? m_Files[Index].Compressed_Size : -1;
}

int32_t zLibControl::FileSize(int32_t Index) const { return ValidIndex(Index) ? m_Files[Index].FileSize : -1; }

void zLibControl::SetReadBuf(int32_t value) {
  m_ReadBuf = value < 1 ? kDefaultReadBuf : value;
  Changed();
}

bool zLibControl::RemoveFile(int32_t Index) {
  if (!ValidIndex(Index)) return false;
  RemoveQuietly(m_Files[Index].TempFile);
  m_Files.erase(m_Files.begin() + Index);
  --m_LastIndex;
  return true;
}

bool zLibControl::AddFile(const std::string& filename, int32_t attrib) {
  const std::vector<zpath::DirEntry> found = zpath::Dir(filename, attrib);
  if (found.empty()) return false;

  if (filename.find_first_of("#?*") == std::string::npos && !found.front().folder && attrib != 16) {
    AddOneFile(filename);
    return true;
  }
  // A pattern: every file in the folder of the name, in the form the caller used.
  const size_t sep = filename.find_last_of("\\/");
  const std::string prefix = sep == std::string::npos ? std::string() : filename.substr(0, sep + 1);
  for (const auto& entry : found)
    if (!entry.folder) AddOneFile(prefix + entry.name);
  return true;
}

void zLibControl::AddOneFile(const std::string& name) {
  const std::string native = zpath::ToNative(name);
  std::error_code ec;
  const auto size = fs::file_size(native, ec);
  if (ec) Fail("File not found: " + name);

  FileEntry e;
  e.Path = name;
  e.filename = StoredPathOf(name);
  e.FileSize = CheckedLong(static_cast<int64_t>(size), name);
  e.TempFile = NewTempName();  // created empty by the name's reservation
  m_Files.push_back(e);
  ++m_LastIndex;
  SetMax(e.FileSize);
  SetValue(0);
  m_Files.back().Original_Crc32 = Calculate_Crc32(name);
}

std::string zLibControl::StoredName(int32_t Index) const {
  return ValidIndex(Index) ? zpath::FromCp936(zpath::ToCp936(m_Files[Index].filename)) : std::string();
}

uint32_t zLibControl::Calculate_Crc32(const std::string& filename) {
  const std::string native = zpath::ToNative(filename);
  std::error_code ec;
  if (!fs::is_regular_file(native, ec)) return 0;
  BinFile in(native);
  std::vector<unsigned char> buf(static_cast<size_t>(m_ReadBuf));
  uint32_t crc = 0;
  int64_t left = in.Length();
  while (left > 0) {
    const size_t n = static_cast<size_t>(std::min<int64_t>(left, m_ReadBuf));
    in.Read(buf.data(), n);
    crc = Crc32(crc, buf.data(), n);
    left -= static_cast<int64_t>(n);
    Progress(int64_t(m_Value) + static_cast<int64_t>(n));
  }
  return crc;
}

// ---- writing ----

int16_t zLibControl::Compress(const std::string& filename, bool Overwrite, int32_t level) {
  if (m_LastIndex < 0) return -7;
  const std::string target = zpath::ToNative(filename);
  std::error_code ec;
  const auto st = fs::status(target, ec);
  if (fs::exists(st)) {
    if (fs::is_directory(st)) return -9;
    if (!Overwrite) return -8;
    if (!fs::remove(target, ec) || ec) Fail("Permission denied: " + filename);
  }

  // The blocks go straight into the container; an entry's compressed CRC and length, known at
  // its end, are written into its header then.
  Output out(target, true);
  out.WriteLong(kBannerLength);
  out.Write(kBanner, kBannerLength);
  out.WriteLong(m_LastIndex);

  const int64_t readBuf = m_ReadBuf;
  std::vector<unsigned char> src;
  for (auto& f : m_Files) {
    // A missing source writes nothing; the count in the header stays as it is.
    if (f.Path.empty() || !fs::exists(zpath::ToNative(f.Path), ec)) continue;
    // The block stream needs no file of its own.
    RemoveQuietly(f.TempFile);
    f.TempFile.clear();  // the name may be another program's from now on

    SetValue(0);
    SetMax(f.FileSize);
    BinFile in(zpath::ToNative(f.Path));
    const int64_t length = in.Length();
    CheckedLong(length, f.Path);

    // The length counts the characters that the bytes hold, so that the two always agree.
    const std::string name = zpath::ToCp936(f.filename);
    out.WriteLong(zpath::CharCount936(name));
    out.Write(name.data(), name.size());
    out.WriteLong(f.FileSize);
    out.WriteLong(static_cast<int32_t>(f.Original_Crc32));
    const int64_t sums = out.Pos();
    out.WriteLong(0);  // Compressed_CRC32 and Compressed_Size, written at the end of the entry
    out.WriteLong(0);
    const int64_t stream = out.Pos();

    uint32_t crc = 0;
    const int64_t blocks = (length + readBuf - 1) / readBuf;
    for (int64_t b = 0; b < blocks; ++b) {
      const int64_t srcLen = (b == blocks - 1) ? length - b * readBuf : readBuf;
      if (srcLen == 0) break;
      uLongf capacity = static_cast<uLongf>(text::RoundHalfEven(double(srcLen) / 1000.0 + double(srcLen) + 12.0));
      src.resize(static_cast<size_t>(srcLen));
      in.Read(src.data(), src.size());

      // Compressed in place after the block's header, which is filled in once the length is known.
      unsigned char* head = out.Room(8 + capacity);
      uLongf destLen = capacity;
      int result = ::compress2(head + 8, &destLen, src.data(), static_cast<uLong>(srcLen), level);
      for (int counter = 0; result != Z_OK; ++counter) {
        if (result == Z_BUF_ERROR) {
          capacity *= 2;
          head = out.Room(8 + capacity);
          destLen = capacity;
          result = ::compress2(head + 8, &destLen, src.data(), static_cast<uLong>(srcLen), level);
        } else if (result == Z_STREAM_ERROR) {
          level = 6;  // a level zlib does not know: the default for the rest of this call
          destLen = capacity;
          result = ::compress2(head + 8, &destLen, src.data(), static_cast<uLong>(srcLen), level);
        } else {
          counter = 11;
        }
        if (counter >= 10 && result != Z_OK) {
          // The unfinished target stays on the disk.
          in.Close();
          out.Close();
          return static_cast<int16_t>(result);
        }
      }
      crc = Crc32(crc, head + 8, destLen);
      PutLong(head, static_cast<int32_t>(srcLen));
      PutLong(head + 4, static_cast<int32_t>(destLen));
      out.Commit(8 + destLen);
      Progress(int64_t(m_Value) + readBuf);
    }
    in.Close();

    f.Compressed_CRC32 = crc;
    f.Compressed_Size = CheckedLong(out.Pos() - stream, f.Path);
    unsigned char both[8];
    PutLong(both, static_cast<int32_t>(crc));
    PutLong(both + 4, f.Compressed_Size);
    out.Patch(sums, both, sizeof both);
    SetMax(CheckedLong(int64_t(f.Compressed_Size) + 6, f.Path));
    SetValue(m_Max);
  }
  out.Close();
  return 0;
}

// ---- reading ----

void zLibControl::Skip(int32_t Index, const std::string& reason) const {
  if (Skipped) Skipped(Index, reason);
}

// Finds where an entry goes and makes the folders on its way. Every folder below the output
// folder is opened without following links, so the file lands inside the output folder whatever
// stands there; a name that climbs (".."), names no file, or meets a link, a file where a folder
// belongs or a folder where the file belongs is refused, and so is an existing target without
// Overwrite. With Overwrite an existing target is deleted here.
zLibControl::Target zLibControl::CalculateTargetPath(const std::string& name, const std::string& outputpath,
                                                     bool UsePaths, bool Overwrite) const {
  Target t;
  std::string n = zpath::ToWindows(WithoutDrive(name));
  // Names written here always begin with "\"; without one the name would run into the folder's.
  if (n.empty() || n[0] != '\\') n.insert(n.begin(), '\\');
  if (!UsePaths) n = n.substr(n.rfind('\\'));

  std::string out = zpath::ToWindows(outputpath);
  while (!out.empty() && out.back() == '\\') out.pop_back();
  if (!zpath::HasDrive(out)) out = (!out.empty() && out[0] == '\\') ? "C:" + out : "C:\\" + out;
  const std::string outNative = zpath::ToNative(out);
  t.path = zpath::ToNative(out + n);

  std::vector<std::string> parts;
  for (const auto& part : text::Split(n.substr(1), '\\')) {
    if (part == "..") {
      t.refusal = "name leaves the folder";
      return t;
    }
    if (part != "." && !part.empty()) parts.push_back(part);
  }
  if (n.back() == '\\' || parts.empty() || n.find('\0') != std::string::npos) {
    t.refusal = "no file name";
    return t;
  }
  t.leaf = parts.back();
  parts.pop_back();

  std::error_code ec;
  fs::create_directories(outNative.empty() ? "/" : outNative, ec);
  t.dir = Fd(::open(outNative.empty() ? "/" : outNative.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (t.dir.Get() < 0) Fail("Path/File access error: " + outNative + " (" + std::strerror(errno) + ")");

  auto inTheWay = [&](const std::string& part, bool wantFolder) {
    struct stat st {};
    if (::fstatat(t.dir.Get(), part.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) return std::string();
    if (S_ISLNK(st.st_mode)) return std::string("link in the way");
    if (S_ISDIR(st.st_mode)) return wantFolder ? std::string() : std::string("folder in the way");
    return wantFolder ? std::string("file in the way") : std::string("exists");
  };
  for (const auto& part : parts) {
    t.refusal = inTheWay(part, true);
    if (!t.refusal.empty()) return t;
    if (::mkdirat(t.dir.Get(), part.c_str(), 0777) != 0 && errno != EEXIST)
      Fail("Path/File access error: " + t.path + " (" + std::strerror(errno) + ")");
    Fd next(::openat(t.dir.Get(), part.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (next.Get() < 0) {
      t.refusal = "link in the way";  // swapped for one since the look
      return t;
    }
    t.dir = std::move(next);
  }
  const std::string there = inTheWay(t.leaf, false);
  if (there == "exists" && Overwrite) {
    if (::unlinkat(t.dir.Get(), t.leaf.c_str(), 0) != 0 && errno != ENOENT)
      Fail("Permission denied: " + t.path + " (" + std::strerror(errno) + ")");
  } else {
    t.refusal = there;
  }
  return t;
}

int16_t zLibControl::Decompress(const std::string& filename, const std::string& outputpath, bool GetFileInfoOnly,
                                bool CheckCRC32, bool DoubleCRC32, bool SaveCorruptedFiles, bool UsePaths,
                                bool Overwrite) {
  const std::string source = zpath::ToNative(filename);
  std::error_code ec;
  const auto st = fs::status(source, ec);
  if (!fs::exists(st) || fs::is_directory(st)) return -9;

  Input in(source);
  const int64_t length = in.Length();
  SetMax(static_cast<int32_t>(std::min<int64_t>(length, std::numeric_limits<int32_t>::max())));

  int32_t bannerLen = 0;
  if (!in.TryReadLong(bannerLen) || bannerLen != kBannerLength || in.Left() < kBannerLength) return -7;
  if (std::memcmp(in.Take(kBannerLength), kBanner, kBannerLength) != 0) return -7;

  const int32_t last = in.ReadLong();
  if (last < -1) Fail("Subscript out of range: entry count " + std::to_string(last));
  const int64_t count = int64_t(last) + 1;
  if (count > in.Left() / kMinEntryBytes + 1) Fail("Input past end of file: " + filename);
  ClearFiles();
  m_Files.resize(static_cast<size_t>(count));
  m_LastIndex = last;
  Progress(in.Pos());

  std::unique_ptr<libdeflate_decompressor, DecompressorFree> inflater;
  const mode_t mode = GetFileInfoOnly ? 0 : NewFileMode();
  for (int32_t index = 0; index < int32_t(count); ++index) {
    FileEntry& f = m_Files[static_cast<size_t>(index)];
    const int32_t nameLen = in.ReadLong();
    if (nameLen < 0 || nameLen > in.Left()) Fail("Input past end of file: " + filename);
    std::string name;
    for (int32_t k = 0; k < nameLen; ++k) {
      const unsigned char b = in.ReadByte();
      name += static_cast<char>(b);
      if (zpath::IsLeadByte936(b)) name += static_cast<char>(in.ReadByte());
    }
    f.filename = zpath::FromCp936(name);
    f.FileSize = in.ReadLong();
    f.Original_Crc32 = static_cast<uint32_t>(in.ReadLong());
    f.Compressed_CRC32 = static_cast<uint32_t>(in.ReadLong());
    f.Compressed_Size = in.ReadLong();
    Progress(in.Pos());
    if (EntryRead) EntryRead(index);

    if (f.Compressed_Size <= 0) {
      if (f.Compressed_Size < 0 && !GetFileInfoOnly) Skip(index, "negative size");
      continue;
    }
    if (GetFileInfoOnly) {
      in.Seek(in.Pos() + f.Compressed_Size);
      Progress(in.Pos());
      continue;
    }
    const Target target = CalculateTargetPath(f.filename, outputpath, UsePaths, Overwrite);
    if (!target.refusal.empty()) {
      Skip(index, target.refusal);
      in.Seek(in.Pos() + f.Compressed_Size);
      continue;
    }
    if (!inflater) inflater.reset(libdeflate_alloc_decompressor());
    if (!inflater) Fail("Out of memory");

    f.TempFile = NewTempName();
    TempGuard guard(f.TempFile);
    Output tmp(f.TempFile, false);
    uint32_t crcOriginal = 0, crcCompressed = 0;
    int64_t remaining = f.Compressed_Size;
    while (remaining > 0) {
      const int32_t origLen = in.ReadLong();
      const int32_t compLen = in.ReadLong();
      if (origLen < 0 || compLen < 0) Fail("Bad block header in " + filename);
      if (compLen > in.Left()) Fail("Input past end of file: " + filename);
      const unsigned char* comp = in.Take(static_cast<size_t>(compLen));

      // The block header only claims a length: no stream of compLen bytes inflates to more
      // than the ratio bound, so the room never needs to be larger.
      const int64_t bound = int64_t(compLen) * kMaxInflateRatio + 64;
      auto sized = [&](int64_t want) { return static_cast<size_t>(std::min(want, bound)); };
      size_t outLen = sized(origLen);
      unsigned char* out = tmp.Room(outLen);
      int result = Inflate(inflater.get(), comp, static_cast<size_t>(compLen), out, outLen);
      for (int counter = 0; result != Z_OK; ++counter) {
        if (result == Z_BUF_ERROR) {
          // Retry with room after the rest of the stream; the source is still this block's
          // bytes, as a zlib stream ends inside them anyway.
          outLen = sized(2 * int64_t(counter + 1) * remaining - 1);
          out = tmp.Room(outLen);
          result = Inflate(inflater.get(), comp, static_cast<size_t>(compLen), out, outLen);
        } else {
          counter = 11;
        }
        if (counter >= 10 && result != Z_OK) return static_cast<int16_t>(result);
      }
      if (CheckCRC32) {
        crcOriginal = Crc32(crcOriginal, out, outLen);
        if (DoubleCRC32) crcCompressed = Crc32(crcCompressed, comp, static_cast<size_t>(compLen));
      }
      tmp.Commit(outLen);
      Progress(in.Pos());
      remaining -= int64_t(compLen) + 8;
    }
    tmp.Close();

    bool keep = true;
    if (CheckCRC32 && !SaveCorruptedFiles) {
      // The two comparisons joined as text ("TrueFalse") are no Boolean: the double check
      // cannot decide without SaveCorruptedFiles.
      if (DoubleCRC32) Fail("Type mismatch");
      keep = crcOriginal == f.Original_Crc32;
    }
    (void)crcCompressed;
    if (keep) {
      // Moved into place where the temporary folder shares the file system, copied where not.
      if (::chmod(f.TempFile.c_str(), mode) != 0 ||
          ::renameat(AT_FDCWD, f.TempFile.c_str(), target.dir.Get(), target.leaf.c_str()) != 0) {
        if (errno != EXDEV) Fail("Path/File access error: " + target.path + " (" + std::strerror(errno) + ")");
        Fd from(::open(f.TempFile.c_str(), O_RDONLY | O_CLOEXEC));
        Fd to(::openat(target.dir.Get(), target.leaf.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                       0666));
        if (from.Get() < 0 || to.Get() < 0)
          Fail("Path/File access error: " + target.path + " (" + std::strerror(errno) + ")");
        try {
          CopyFd(from.Get(), to.Get(), target.path);
        } catch (const RuntimeError&) {
          ::unlinkat(target.dir.Get(), target.leaf.c_str(), 0);
          throw;
        }
      } else {
        f.TempFile.clear();  // moved: the name is no longer ours
      }
    } else {
      Skip(index, "CRC mismatch");
    }
  }

  return 0;
}

// ---- the bar ----

void zLibControl::Changed() {
  m_PropertiesChanged = true;
  if (Repaint) Repaint();
}

void zLibControl::SetBackColor(uint32_t value) {
  m_BackColor = value;
  Changed();
}

void zLibControl::SetBarColor(uint32_t value) {
  m_BarColor = value;
  Changed();
}

void zLibControl::SetVertical(bool value) {
  m_Vertical = value;
  Changed();
}

void zLibControl::SetFlat(bool value) {
  m_Flat = value;
  Changed();
}

void zLibControl::SetMax(int32_t value) {
  m_Max = value < 1 ? 1 : value;
  if (m_Value > m_Max) m_Value = m_Max;
  if (Repaint) Repaint();
}

void zLibControl::SetValue(int32_t value) {
  m_Value = std::clamp(value, 0, m_Max);
  if (Repaint) Repaint();
}

void zLibControl::Progress(int64_t value) {
  SetValue(static_cast<int32_t>(std::clamp<int64_t>(value, 0, m_Max)));
}

std::vector<zLibControl::FaceRect> zLibControl::Face() const {
  const double filled = m_Value, end = m_Max;
  auto span = [&](double from, double to, uint32_t color) {
    return m_Vertical ? FaceRect{0, from, 1, to, color} : FaceRect{from, 0, to, 1, color};
  };
  std::vector<FaceRect> rects{span(filled, end, m_BackColor)};
  if (filled >= 1) rects.push_back(span(0, filled, m_BarColor));
  return rects;
}

void zLibControl::WriteProperties(std::map<std::string, kmd::Value>& bag) const {
  auto put = [&](const char* name, kmd::Value v, const kmd::Value& def) {
    if (v == def)
      bag.erase(name);
    else
      bag[name] = std::move(v);
  };
  auto colour = [](uint32_t c) { return kmd::Value(static_cast<int>(static_cast<int32_t>(c))); };
  put("BackColor", colour(m_BackColor), colour(0x8000000F));
  put("BarColor", colour(m_BarColor), colour(0x8000000D));
  put("Vertical", kmd::Value(m_Vertical), kmd::Value(false));
  put("Max", kmd::Value(static_cast<int>(m_Max)), kmd::Value(100));
  put("Value", kmd::Value(static_cast<int>(m_Value)), kmd::Value(0));
  put("Flat", kmd::Value(m_Flat), kmd::Value(true));
  put("ReadBuf", kmd::Value(static_cast<int>(m_ReadBuf)), kmd::Value(kDefaultReadBuf));
}

void zLibControl::ReadProperties(const std::map<std::string, kmd::Value>& bag) {
  auto get = [&](const char* name) -> const kmd::Value* {
    auto it = bag.find(name);
    return it == bag.end() ? nullptr : &it->second;
  };
  const auto* v = get("BackColor");
  m_BackColor = v ? static_cast<uint32_t>(v->ToLong()) : 0x8000000F;
  v = get("BarColor");
  m_BarColor = v ? static_cast<uint32_t>(v->ToLong()) : 0x8000000D;
  v = get("Vertical");
  m_Vertical = v ? v->ToBool() : false;
  v = get("Flat");
  m_Flat = v ? v->ToBool() : true;
  v = get("ReadBuf");
  m_ReadBuf = v ? v->ToLong() : kDefaultReadBuf;
  if (m_ReadBuf < 1) m_ReadBuf = kDefaultReadBuf;
  v = get("Max");
  m_Max = std::max(1, v ? v->ToLong() : 100);
  v = get("Value");
  m_Value = std::clamp(v ? v->ToLong() : 0, 0, m_Max);
  if (Repaint) Repaint();
}

}  // namespace kmd
