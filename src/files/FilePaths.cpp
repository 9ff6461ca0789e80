#include "files/FilePaths.h"

#include <iconv.h>

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "base/RuntimeError.h"
#include "base/Text.h"

namespace fs = std::filesystem;

namespace kmd::zpath {

namespace {

[[noreturn]] void Fail(const std::string& what) { throw RuntimeError(what); }

// One conversion direction of iconv, opened for the life of one call.
class Converter {
 public:
  Converter(const char* to, const char* from) {
    m_Cd = ::iconv_open(to, from);
    if (m_Cd == reinterpret_cast<iconv_t>(-1)) Fail(std::string("No conversion from ") + from + " to " + to);
  }
  ~Converter() { ::iconv_close(m_Cd); }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  // Converts one character; false when it has no place in the target set.
  bool One(const std::string& in, std::string& out) {
    ::iconv(m_Cd, nullptr, nullptr, nullptr, nullptr);
    char buf[16];
    char* src = const_cast<char*>(in.data());
    size_t srcLeft = in.size();
    char* dst = buf;
    size_t dstLeft = sizeof buf;
    if (::iconv(m_Cd, &src, &srcLeft, &dst, &dstLeft) == static_cast<size_t>(-1) || srcLeft != 0) return false;
    out.assign(buf, dst);
    return !out.empty();
  }

 private:
  iconv_t m_Cd;
};

// Length of the well-formed UTF-8 sequence at s[i], or 0 when the bytes there are not one
// (a stray continuation byte, a cut sequence, an overlong form, a surrogate, beyond U+10FFFF).
size_t Utf8SeqLen(const std::string& s, size_t i) {
  const auto b = static_cast<unsigned char>(s[i]);
  if (b < 0x80) return 1;
  size_t len;
  unsigned char lo = 0x80, hi = 0xBF;  // the allowed range of the second byte
  if (b >= 0xC2 && b <= 0xDF) {
    len = 2;
  } else if (b >= 0xE0 && b <= 0xEF) {
    len = 3;
    if (b == 0xE0) lo = 0xA0;
    if (b == 0xED) hi = 0x9F;
  } else if (b >= 0xF0 && b <= 0xF4) {
    len = 4;
    if (b == 0xF0) lo = 0x90;
    if (b == 0xF4) hi = 0x8F;
  } else {
    return 0;
  }
  if (i + len > s.size()) return 0;
  for (size_t k = 1; k < len; ++k) {
    const auto c = static_cast<unsigned char>(s[i + k]);
    if (k == 1 ? (c < lo || c > hi) : (c < 0x80 || c > 0xBF)) return 0;
  }
  return len;
}

// Windows-like matching of one name against a pattern with "*" and "?", ignoring Latin case.
bool WildMatch(const std::u16string& name, const std::u16string& pat) {
  auto low = [](char16_t c) { return (c >= u'A' && c <= u'Z') ? char16_t(c - u'A' + u'a') : c; };
  size_t n = 0, p = 0, starP = std::u16string::npos, starN = 0;
  while (n < name.size()) {
    if (p < pat.size() && (pat[p] == u'?' || low(pat[p]) == low(name[n]))) {
      ++n;
      ++p;
    } else if (p < pat.size() && pat[p] == u'*') {
      starP = p++;
      starN = n;
    } else if (starP != std::u16string::npos) {
      p = starP + 1;
      n = ++starN;
    } else {
      return false;
    }
  }
  while (p < pat.size() && pat[p] == u'*') ++p;
  return p == pat.size();
}

bool PatternMatches(const std::string& name, const std::string& pattern) {
  const auto n = text::ToUtf16(name);
  const auto p = text::ToUtf16(pattern);
  if (WildMatch(n, p)) return true;
  // "*.*" and "a.*" also take names without any dot, as the Windows listing does.
  if (p.size() >= 2 && p.compare(p.size() - 2, 2, u".*") == 0 && n.find(u'.') == std::u16string::npos)
    return WildMatch(n, p.substr(0, p.size() - 2));
  return false;
}

}  // namespace

bool WildMatch(const std::string& name, const std::string& pattern) {
  return WildMatch(text::ToUtf16(name), text::ToUtf16(pattern));
}

bool HasDrive(const std::string& p) {
  return p.size() >= 2 && p[1] == ':' && std::isalpha(static_cast<unsigned char>(p[0]));
}

bool IsLeadByte936(unsigned char b) { return b >= 0x81 && b <= 0xFE; }

std::string ToNative(const std::string& path) {
  std::string p = path;
  const bool drive = HasDrive(p);
  if (drive) p = p.substr(2);
  std::replace(p.begin(), p.end(), '\\', '/');
  if (drive && (p.empty() || p[0] != '/')) p.insert(p.begin(), '/');
  return p;
}

std::string ToWindows(const std::string& path) {
  std::string p = path;
  std::replace(p.begin(), p.end(), '/', '\\');
  return p;
}

std::string ToCp936(const std::string& utf8) {
  Converter conv("CP936", "UTF-8");
  std::string out, one;
  for (size_t i = 0; i < utf8.size();) {
    const size_t len = Utf8SeqLen(utf8, i);
    if (len == 1) {
      out += utf8[i++];
    } else if (len == 0) {
      out += '?';  // not UTF-8: one "?" for the byte, and on to the next
      ++i;
    } else {
      if (conv.One(utf8.substr(i, len), one) && one.size() <= 2)
        out += one;
      else
        out += len == 4 ? "??" : "?";  // a character beyond the BMP counts two units
      i += len;
    }
  }
  return out;
}

int32_t CharCount936(const std::string& bytes) {
  int32_t n = 0;
  for (size_t i = 0; i < bytes.size(); ++n)
    i += IsLeadByte936(static_cast<unsigned char>(bytes[i])) && i + 1 < bytes.size() ? 2 : 1;
  return n;
}

std::string FromCp936(const std::string& bytes) {
  Converter conv("UTF-8", "CP936");
  std::string out, one;
  for (size_t i = 0; i < bytes.size();) {
    const auto b = static_cast<unsigned char>(bytes[i]);
    if (b < 0x80) {
      out += bytes[i++];
      continue;
    }
    const size_t len = (IsLeadByte936(b) && i + 1 < bytes.size()) ? 2 : 1;
    out += conv.One(bytes.substr(i, len), one) ? one : std::string("?");
    i += len;
  }
  return out;
}

std::vector<DirEntry> Dir(const std::string& path, int32_t attrib) {
  const bool withFolders = (attrib & 16) != 0;
  const bool withHidden = (attrib & 2) != 0;
  const std::string native = ToNative(path);
  const size_t slash = native.rfind('/');
  const std::string folder = slash == std::string::npos ? std::string(".") : native.substr(0, slash + 1);
  const std::string last = slash == std::string::npos ? native : native.substr(slash + 1);

  std::vector<DirEntry> found;
  std::error_code ec;
  if (last.find_first_of("*?") != std::string::npos) {
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
      const bool dir = it->is_directory(ec);
      const std::string name = it->path().filename().string();
      if ((!dir || withFolders) && (withHidden || name[0] != '.') && PatternMatches(name, last))
        found.push_back({name, dir});
    }
    std::sort(found.begin(), found.end(), [](const DirEntry& a, const DirEntry& b) { return a.name < b.name; });
  } else if (!last.empty()) {
    const auto st = fs::status(native, ec);
    if (!ec && fs::exists(st) && (!fs::is_directory(st) || withFolders)) found.push_back({last, fs::is_directory(st)});
  }
  return found;
}

}  // namespace kmd::zpath
