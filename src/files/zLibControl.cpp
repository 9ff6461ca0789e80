#include "files/zLibControl.h"

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
#include <limits>

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

std::string Hex8(uint32_t v) {
  char buf[9];
  std::snprintf(buf, sizeof buf, "%08X", v);
  return buf;
}

// Binary file on a FILE*, with the run-time errors the control reports for file trouble.
class BinFile {
 public:
  BinFile(const std::string& path, const char* mode)
      : m_Path(path), m_Writing(std::strpbrk(mode, "wa+") != nullptr) {
    m_File = std::fopen(path.c_str(), mode);
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

  int64_t Pos() const { return ::ftello(m_File); }
  int64_t Length() const {
    if (m_Writing) std::fflush(m_File);
    struct stat st {};
    if (::fstat(::fileno(m_File), &st) != 0) Fail("Device I/O error: " + m_Path);
    return st.st_size;
  }
  int64_t Left() const { return std::max<int64_t>(0, Length() - Pos()); }
  // Seeking past the end is allowed; the next read then fails.
  void Seek(int64_t pos) {
    if (::fseeko(m_File, pos, SEEK_SET) != 0) Fail("Bad file position in " + m_Path);
  }

  void Write(const void* data, size_t n) {
    if (n && std::fwrite(data, 1, n, m_File) != n) Fail("Device I/O error writing " + m_Path);
  }
  void WriteLong(int32_t v) {
    const auto u = static_cast<uint32_t>(v);
    const unsigned char b[4] = {static_cast<unsigned char>(u), static_cast<unsigned char>(u >> 8),
                                static_cast<unsigned char>(u >> 16), static_cast<unsigned char>(u >> 24)};
    Write(b, 4);
  }

  size_t ReadSome(void* data, size_t n) { return n ? std::fread(data, 1, n, m_File) : 0; }
  void Read(void* data, size_t n) {
    if (ReadSome(data, n) != n) Fail("Input past end of file: " + m_Path);
  }
  bool TryReadLong(int32_t& v) {
    unsigned char b[4];
    if (ReadSome(b, 4) != 4) return false;
    v = static_cast<int32_t>(uint32_t(b[0]) | uint32_t(b[1]) << 8 | uint32_t(b[2]) << 16 | uint32_t(b[3]) << 24);
    return true;
  }
  int32_t ReadLong() {
    int32_t v = 0;
    if (!TryReadLong(v)) Fail("Input past end of file: " + m_Path);
    return v;
  }
  unsigned char ReadByte() {
    unsigned char b = 0;
    Read(&b, 1);
    return b;
  }

 private:
  std::FILE* m_File = nullptr;
  std::string m_Path;
  bool m_Writing;
};

// Removes a temporary file when the scope ends, whatever way it ends.
class TempGuard {
 public:
  explicit TempGuard(std::string path) : m_Path(std::move(path)) {}
  ~TempGuard() {
    std::error_code ec;
    fs::remove(m_Path, ec);
  }
  TempGuard(const TempGuard&) = delete;
  TempGuard& operator=(const TempGuard&) = delete;

 private:
  std::string m_Path;
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

}  // namespace

// ---- life ----

zLibControl::zLibControl() {
  std::error_code ec;
  fs::path tmp = fs::temp_directory_path(ec);
  m_TmpDir = ec ? std::string("/tmp") : tmp.string();
}

zLibControl::~zLibControl() { ClearFiles(); }

// The temporary names belong to this control, so they go with the entries that hold them.
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

// The stored name is the path without its drive; a native path has none and is kept whole.
void zLibControl::AddOneFile(const std::string& name) {
  const std::string native = zpath::ToNative(name);
  std::error_code ec;
  const auto size = fs::file_size(native, ec);
  if (ec) Fail("File not found: " + name);

  FileEntry e;
  e.Path = name;
  e.filename = zpath::ToWindows(zpath::HasDrive(name) ? name.substr(2) : name);
  e.FileSize = CheckedLong(static_cast<int64_t>(size), name);
  e.TempFile = NewTempName();  // created empty by the name's reservation
  m_Files.push_back(e);
  ++m_LastIndex;
  SetMax(e.FileSize);
  SetValue(0);
  m_Files.back().Original_Crc32 = Calculate_Crc32(name);
}

uint32_t zLibControl::Calculate_Crc32(const std::string& filename) {
  const std::string native = zpath::ToNative(filename);
  std::error_code ec;
  if (!fs::is_regular_file(native, ec)) return 0;
  BinFile in(native, "rb");
  std::vector<unsigned char> buf(static_cast<size_t>(m_ReadBuf));
  uLong crc = 0;
  int64_t left = in.Length();
  while (left > 0) {
    const size_t n = static_cast<size_t>(std::min<int64_t>(left, m_ReadBuf));
    in.Read(buf.data(), n);
    crc = ::crc32(crc, buf.data(), static_cast<uInt>(n));
    left -= static_cast<int64_t>(n);
    Progress(int64_t(m_Value) + static_cast<int64_t>(n));
  }
  return static_cast<uint32_t>(crc);
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

  BinFile out(target, "wb");
  out.WriteLong(kBannerLength);
  out.Write(kBanner, kBannerLength);
  out.WriteLong(m_LastIndex);

  const int64_t readBuf = m_ReadBuf;
  std::vector<unsigned char> src, dest;
  for (auto& f : m_Files) {
    // A missing source writes nothing; the count in the header stays as it is.
    if (f.Path.empty() || !fs::exists(zpath::ToNative(f.Path), ec)) continue;

    SetValue(0);
    SetMax(f.FileSize);
    uLong crc = 0;
    BinFile tmp(f.TempFile, "w+b");
    BinFile in(zpath::ToNative(f.Path), "rb");
    const int64_t length = in.Length();
    CheckedLong(length, f.Path);
    const int64_t blocks = (length + readBuf - 1) / readBuf;
    for (int64_t b = 0; b < blocks; ++b) {
      const int64_t srcLen = (b == blocks - 1) ? length - b * readBuf : readBuf;
      if (srcLen == 0) break;
      uLongf capacity = static_cast<uLongf>(text::RoundHalfEven(double(srcLen) / 1000.0 + double(srcLen) + 12.0));
      dest.assign(capacity, 0);
      src.resize(static_cast<size_t>(srcLen));
      in.Read(src.data(), src.size());

      uLongf destLen = capacity;
      int result = ::compress2(dest.data(), &destLen, src.data(), static_cast<uLong>(srcLen), level);
      for (int counter = 0; result != Z_OK; ++counter) {
        if (result == Z_BUF_ERROR) {
          capacity *= 2;
          dest.assign(capacity, 0);
          destLen = capacity;
          result = ::compress2(dest.data(), &destLen, src.data(), static_cast<uLong>(srcLen), level);
        } else if (result == Z_STREAM_ERROR) {
          level = 6;  // a level zlib does not know: the default for the rest of this call
          destLen = capacity;
          result = ::compress2(dest.data(), &destLen, src.data(), static_cast<uLong>(srcLen), level);
        } else {
          counter = 11;
        }
        if (counter >= 10 && result != Z_OK) {
          // The unfinished target and block stream stay on the disk.
          in.Close();
          tmp.Close();
          out.Close();
          return static_cast<int16_t>(result);
        }
      }
      crc = ::crc32(crc, dest.data(), static_cast<uInt>(destLen));
      tmp.WriteLong(static_cast<int32_t>(srcLen));
      tmp.WriteLong(static_cast<int32_t>(destLen));
      tmp.Write(dest.data(), destLen);
      Progress(int64_t(m_Value) + readBuf);
    }
    in.Close();

    tmp.Seek(0);
    f.Compressed_CRC32 = static_cast<uint32_t>(crc);
    f.Compressed_Size = CheckedLong(tmp.Length(), f.Path);
    SetValue(0);
    SetMax(CheckedLong(int64_t(f.Compressed_Size) + 6, f.Path));

    const std::string name = zpath::ToCp936(f.filename);
    out.WriteLong(CheckedLong(static_cast<int64_t>(text::Len(f.filename)), f.filename));
    out.Write(name.data(), name.size());
    out.WriteLong(f.FileSize);
    out.WriteLong(static_cast<int32_t>(f.Original_Crc32));
    out.WriteLong(static_cast<int32_t>(f.Compressed_CRC32));
    out.WriteLong(f.Compressed_Size);
    Progress(int64_t(m_Value) + 6);

    std::vector<unsigned char> buf(static_cast<size_t>(readBuf));
    for (int64_t left = f.Compressed_Size; left > 0;) {
      const size_t n = static_cast<size_t>(std::min(left, readBuf));
      tmp.Read(buf.data(), n);
      out.Write(buf.data(), n);
      left -= static_cast<int64_t>(n);
      Progress(int64_t(m_Value) + static_cast<int64_t>(n));
    }
    tmp.Close();
    RemoveQuietly(f.TempFile);
  }
  out.Close();
  return 0;
}

// ---- reading ----

// Gives the native path to write an entry to, or "" to skip it. Names that would climb out of
// the output folder ("..") or name no file are skipped, and so is a target that is a folder.
std::string zLibControl::CalculateTargetPath(const std::string& name, const std::string& outputpath, bool UsePaths,
                                             bool Overwrite) const {
  std::string n = zpath::ToWindows(WithoutDrive(name));
  // Names written here always begin with "\"; without one the name would run into the folder's.
  if (n.empty() || n[0] != '\\') n.insert(n.begin(), '\\');
  if (n.find('\0') != std::string::npos) return {};

  std::string out = zpath::ToWindows(outputpath);
  while (!out.empty() && out.back() == '\\') out.pop_back();
  if (!zpath::HasDrive(out)) out = (!out.empty() && out[0] == '\\') ? "C:" + out : "C:\\" + out;

  if (!UsePaths) n = n.substr(n.rfind('\\'));
  if (n.back() == '\\') return {};
  for (const auto& part : text::Split(n, '\\'))
    if (part == "..") return {};

  const std::string joined = out + n;
  const std::string native = zpath::ToNative(joined);
  std::error_code ec;
  const auto st = fs::symlink_status(native, ec);
  if (fs::exists(st)) {
    if (fs::is_directory(st) || !Overwrite) return {};
    if (!fs::remove(native, ec) || ec) Fail("Permission denied: " + native);
  }
  for (size_t p = 3; p < joined.size(); ++p) {
    if (joined[p] != '\\') continue;
    const std::string folder = zpath::ToNative(joined.substr(0, p));
    if (!fs::exists(fs::symlink_status(folder, ec))) {
      fs::create_directory(folder, ec);
      if (ec) Fail("Path/File access error: " + folder + " (" + ec.message() + ")");
    }
  }
  return native;
}

int16_t zLibControl::Decompress(const std::string& filename, const std::string& outputpath, bool GetFileInfoOnly,
                                bool CheckCRC32, bool DoubleCRC32, bool SaveCorruptedFiles, bool UsePaths,
                                bool Overwrite) {
  const std::string source = zpath::ToNative(filename);
  std::error_code ec;
  const auto st = fs::status(source, ec);
  if (!fs::exists(st) || fs::is_directory(st)) return -9;

  BinFile in(source, "rb");
  const int64_t length = in.Length();
  SetMax(static_cast<int32_t>(std::min<int64_t>(length, std::numeric_limits<int32_t>::max())));

  int32_t bannerLen = 0;
  if (!in.TryReadLong(bannerLen) || bannerLen != kBannerLength || in.Left() < kBannerLength) return -7;
  char banner[kBannerLength];
  in.Read(banner, kBannerLength);
  if (std::memcmp(banner, kBanner, kBannerLength) != 0) return -7;

  const int32_t last = in.ReadLong();
  if (last < -1) Fail("Subscript out of range: entry count " + std::to_string(last));
  const int64_t count = int64_t(last) + 1;
  if (count > in.Left() / kMinEntryBytes + 1) Fail("Input past end of file: " + filename);
  ClearFiles();
  m_Files.resize(static_cast<size_t>(count));
  m_LastIndex = last;
  Progress(in.Pos());

  std::vector<unsigned char> comp, outBuf;
  for (auto& f : m_Files) {
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

    if (f.Compressed_Size <= 0) continue;
    if (GetFileInfoOnly) {
      in.Seek(in.Pos() + f.Compressed_Size);
      Progress(in.Pos());
      continue;
    }
    const std::string target = CalculateTargetPath(f.filename, outputpath, UsePaths, Overwrite);
    if (target.empty()) {
      in.Seek(in.Pos() + f.Compressed_Size);
      continue;
    }

    f.TempFile = NewTempName();
    TempGuard guard(f.TempFile);
    BinFile tmp(f.TempFile, "wb");
    uLong crcOriginal = 0, crcCompressed = 0;
    int64_t remaining = f.Compressed_Size;
    while (remaining > 0) {
      const int32_t origLen = in.ReadLong();
      const int32_t compLen = in.ReadLong();
      if (origLen < 0 || compLen < 0) Fail("Bad block header in " + filename);
      if (compLen > in.Left()) Fail("Input past end of file: " + filename);
      comp.resize(static_cast<size_t>(compLen));
      in.Read(comp.data(), comp.size());

      // The block header only claims a length: no stream of compLen bytes inflates to more
      // than the ratio bound, so the buffer never needs to be larger.
      const int64_t bound = int64_t(compLen) * kMaxInflateRatio + 64;
      auto sized = [&](int64_t want) {
        const auto n = static_cast<uLongf>(std::min(want, bound));
        outBuf.assign(std::max<uLongf>(n, 1), 0);
        return n;
      };
      uLongf outLen = sized(origLen);
      int result = ::uncompress(outBuf.data(), &outLen, comp.data(), static_cast<uLong>(compLen));
      for (int counter = 0; result != Z_OK; ++counter) {
        if (result == Z_BUF_ERROR) {
          // Retry with room after the rest of the stream; the source is still this block's
          // bytes, as a zlib stream ends inside them anyway.
          outLen = sized(2 * int64_t(counter + 1) * remaining - 1);
          result = ::uncompress(outBuf.data(), &outLen, comp.data(), static_cast<uLong>(compLen));
        } else {
          counter = 11;
        }
        if (counter >= 10 && result != Z_OK) {
          tmp.Close();
          in.Close();
          return static_cast<int16_t>(result);
        }
      }
      if (CheckCRC32) {
        crcOriginal = ::crc32(crcOriginal, outBuf.data(), static_cast<uInt>(outLen));
        if (DoubleCRC32) crcCompressed = ::crc32(crcCompressed, comp.data(), static_cast<uInt>(compLen));
      }
      tmp.Write(outBuf.data(), outLen);
      Progress(in.Pos());
      remaining -= int64_t(compLen) + 8;
    }
    tmp.Close();

    bool keep = true;
    if (CheckCRC32 && !SaveCorruptedFiles) {
      // The two comparisons joined as text ("TrueFalse") are no Boolean: the double check
      // cannot decide without SaveCorruptedFiles.
      if (DoubleCRC32) Fail("Type mismatch");
      keep = static_cast<uint32_t>(crcOriginal) == f.Original_Crc32;
    }
    (void)crcCompressed;
    if (keep) {
      fs::copy_file(f.TempFile, target, fs::copy_options::overwrite_existing, ec);
      if (ec) {
        RemoveQuietly(target);
        Fail("Path/File access error: " + target + " (" + ec.message() + ")");
      }
    }
  }
  in.Close();
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
