#pragma once
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "base/Value.h"
#include "files/FilePaths.h"

namespace kmd {

// Packs a list of files into one container file and unpacks such containers, block by block with
// zlib, and shows its progress on a bar of its own.
//
// Container layout, every integer 4 bytes little-endian signed, no padding, no trailer:
//   banner length (21), banner "MorvelLab zLibControl", last index (entries - 1), then per entry:
//   name length in characters, name in code page 936, original size, CRC-32 of the original,
//   CRC-32 of the compressed bytes of all blocks, length of the block stream, the block stream.
//   A block is: unpacked length, packed length, one complete zlib stream.
//
// Paths. Names inside a container keep the Windows form ("\t\ab.txt", folders split by "\").
// Paths handed to the control may be in Windows form ("C:\t\ab.txt") or native ("/tmp/ab.txt");
// they reach the file system as zpath maps them (files/FilePaths.h).
class zLibControl {
 public:
  struct FileEntry {
    std::string Path;      // full source path, as the caller gave it
    std::string filename;  // name as stored in the container (UTF-8, Windows form)
    uint32_t Original_Crc32 = 0;
    uint32_t Compressed_CRC32 = 0;
    int32_t FileSize = 0;
    int32_t Compressed_Size = 0;
    // A temporary file of the entry: reserved (empty) when the file is added and removed when it
    // is packed; while unpacking, where its bytes are inflated before they move into place.
    std::string TempFile;
  };

  // One filled area of the bar's face, in scale units: the long axis runs from 0 to Max, the
  // short axis from 0 to 1. For a vertical bar y grows upwards from the bottom.
  struct FaceRect {
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    uint32_t Color = 0;
  };

  static constexpr const char* kBanner = "MorvelLab zLibControl";

  zLibControl();
  ~zLibControl();
  zLibControl(const zLibControl&) = delete;
  zLibControl& operator=(const zLibControl&) = delete;

  // CRC-32 of a file read in blocks of ReadBuf; 0 when it is missing or a directory.
  uint32_t Calculate_Crc32(const std::string& filename);

  // 0 done; -7 empty list; -8 target exists and no Overwrite; -9 target is a directory; other
  // negative values are the zlib code that stopped the work. File errors throw RuntimeError.
  int16_t Compress(const std::string& filename, bool Overwrite, int32_t level);

  // 0 done; -7 no banner; -9 missing file or a directory; other negative values a zlib code.
  // File errors, and a container that ends too early, throw RuntimeError. Entries that are left
  // out keep the status 0 and are told to Skipped.
  // Files are written only inside `outputpath`: a name that climbs out of it, or a link that
  // stands at a target or on its way, is left out. New files get 0666 less the umask.
  int16_t Decompress(const std::string& filename, const std::string& outputpath, bool GetFileInfoOnly,
                     bool CheckCRC32, bool DoubleCRC32, bool SaveCorruptedFiles, bool UsePaths,
                     bool Overwrite);

  // Per-entry properties; a bad index gives "" or -1.
  std::string Original_Crc32(int32_t Index) const;
  std::string filename(int32_t Index) const;
  // The name as a reader of the container gets it back: after the trip through code page 936.
  std::string StoredName(int32_t Index) const;
  void SetFilename(int32_t Index, const std::string& value);
  std::string Path(int32_t Index) const;
  std::string Compressed_CRC32(int32_t Index) const;
  int32_t Compressed_Size(int32_t Index) const;
  int32_t FileSize(int32_t Index) const;

  int32_t ReadBuf() const { return m_ReadBuf; }
  void SetReadBuf(int32_t value);
  int32_t FileCount() const { return m_LastIndex + 1; }

  bool RemoveFile(int32_t Index);
  // Adds one file, or every file that a pattern with "*" or "?" matches; attrib 16 lets the name
  // match folders too (they are never added), attrib 2 lets a pattern match hidden names. The
  // stored name is the path without its drive, "." and ".." resolved in the text, behind a "\".
  bool AddFile(const std::string& filename, int32_t attrib = 0);
  void reset();

  // The bar.
  uint32_t BackColor() const { return m_BackColor; }
  void SetBackColor(uint32_t value);
  uint32_t BarColor() const { return m_BarColor; }
  void SetBarColor(uint32_t value);
  bool Vertical() const { return m_Vertical; }
  void SetVertical(bool value);
  bool Flat() const { return m_Flat; }
  void SetFlat(bool value);
  int32_t Max() const { return m_Max; }
  void SetMax(int32_t value);
  int32_t Value() const { return m_Value; }
  void SetValue(int32_t value);

  // The face as the paint routine draws it: the back, then the filled part when it is at least
  // one unit long.
  std::vector<FaceRect> Face() const;

  // Saved properties: only values that differ from the initial ones are written; missing names
  // read back as the initial values.
  void WriteProperties(std::map<std::string, kmd::Value>& bag) const;
  void ReadProperties(const std::map<std::string, kmd::Value>& bag);

  // Raised when the user clicks the face; Repaint is called whenever the face changes.
  std::function<void()> Click;
  std::function<void()> Repaint;
  void OnClick() const {
    if (Click) Click();
  }
  // Told by Decompress of each entry once its header is read, and of each entry it leaves out,
  // with the reason ("CRC mismatch", "exists", "link in the way", ...).
  std::function<void(int32_t Index)> EntryRead;
  std::function<void(int32_t Index, const std::string& reason)> Skipped;

  // True once a saved property has been written since creation.
  bool PropertiesChanged() const { return m_PropertiesChanged; }

  // The temporary folder (native), taken from the system at creation.
  const std::string& TmpDir() const { return m_TmpDir; }
  const std::vector<FileEntry>& Files() const { return m_Files; }

 private:
  void AddOneFile(const std::string& name);
  std::string NewTempName() const;
  struct Target;
  Target CalculateTargetPath(const std::string& name, const std::string& outputpath, bool UsePaths,
                             bool Overwrite) const;
  void Skip(int32_t Index, const std::string& reason) const;
  void ClearFiles();
  bool ValidIndex(int32_t Index) const { return Index >= 0 && Index <= m_LastIndex; }
  void Changed();
  void Progress(int64_t value);

  std::string m_TmpDir;
  std::vector<FileEntry> m_Files;
  int32_t m_LastIndex = -1;
  int32_t m_ReadBuf = 65536;
  uint32_t m_BackColor = 0x8000000F;
  uint32_t m_BarColor = 0x8000000D;
  bool m_Vertical = false;
  int32_t m_Max = 100;
  int32_t m_Value = 0;
  bool m_Flat = true;
  bool m_PropertiesChanged = false;
};

}  // namespace kmd
