// DBBinaryFile: reads the binary form of a database file one record at a time, holding a window
// of the file rather than the whole of it, so that a walk over a large file needs little memory.
//
// The form: values of the sequential value writer (frame/ValueWriter.h), one after the other:
//   file    := signature format header-name timestamp count record* end
//   signature := String "Morvandil KEL DB Binary"
//   format  := Integer 1
//   header-name := String      (file name part of the header file)
//   timestamp := Date          (when the file was written)
//   count   := Long            (number of records)
//   record  := id marker content
//   id      := the id value in a numeric database; else String, the id with "." written "_"
//   marker  := Boolean         (true when content holds a CR LF)
//   content := String          (the entry's structure, serialized)
//   end     := String "EOF"
// On reading, every id becomes the number its text begins with.
//
//   DBBinaryFile f("people.ry-dbb");  Variant id;  std::string_view text;
//   while (f.Next(id, text)) ...
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "frame/FileIO.h"
#include "frame/ValueWriter.h"
#include "frame/Variant.h"

namespace rykel {

class DBBinaryFile {
 public:
  static constexpr std::string_view kSignature = "Morvandil KEL DB Binary";

  // Opens pFile (a regular file, as fileio::OpenRegularFile opens it; rStamp gets its stamp) and
  // reads the part before the records. Raises the file errors, 62 for a file that ends early and
  // kInvalidData for one that is not in the binary form.
  explicit DBBinaryFile(const std::string& pFile, fileio::FileStamp* rStamp = nullptr);
  ~DBBinaryFile();
  DBBinaryFile(const DBBinaryFile&) = delete;
  DBBinaryFile& operator=(const DBBinaryFile&) = delete;

  const std::string& HeaderName() const { return headerName_; }
  // The number of records the file announces.
  int32_t Count() const { return count_; }
  // The next record: its id (the number it begins with) and its content, which stays valid until
  // the next call. False after the last record, once the end mark has been read. Raises 62 or
  // kInvalidData for a damaged file.
  bool Next(Variant& rID, std::string_view& rContent);
  // Where the next record begins in the file (before a call of Next: the offset of the record it
  // reads).
  int64_t Offset() const { return base_ + static_cast<int64_t>(pos_); }
  // The record at pOffset of pSize bytes (Offset before and after a Next), read as Next reads
  // one. A record already in the window is read from it; a jump elsewhere reads the record and
  // little more. Raises as Next.
  void ReadAt(int64_t pOffset, int64_t pSize, Variant& rID, std::string_view& rContent);

 private:
  // Reads on into the window; false when the file has no more.
  bool hMore();
  // The record at pos_: id and content.
  void hRecord(Variant& rID, std::string_view& rContent);
  // Runs pRead (a parse of the window from the current position) until the window holds all it
  // needs: a parse that runs past the window's end is tried again with more of the file.
  template <class Fn>
  auto hParse(const Fn& pRead);

  std::string file_;
  int fd_ = -1;
  std::string window_;  // the file's bytes from some offset on
  size_t pos_ = 0;      // the next unread byte of window_
  int64_t base_ = 0;    // the file offset of window_[0]
  size_t chunk_;        // bytes the window grows by at least
  bool atEnd_ = false;  // the file has been read to its end
  std::string headerName_;
  int32_t count_ = 0;
  int32_t read_ = 0;  // records read so far
};

// Writes the binary form to a stream, one record at a time: Begin, Record for each entry, End.
class DBBinaryWriter {
 public:
  // pFile names the file in messages.
  DBBinaryWriter(std::FILE* pOut, std::string pFile) : out_(pOut), file_(std::move(pFile)) {}
  // The part before the records: the header file's name and the number of records to come.
  void Begin(std::string_view pHeaderName, int32_t pCount);
  // One record: the id (in a text table written as text, "." as "_") and the entry's serialized text.
  void Record(const Variant& pID, bool pNumeric, std::string_view pContent);
  // The end mark. Raises 57 when writing fails, and kInvalidData when the records written are
  // not as many as Begin announced (the file would not read back).
  void End();
  bool Begun() const { return begun_; }

 private:
  void hFlush();
  std::FILE* out_;
  std::string file_;
  ValueWriter w_;
  bool begun_ = false;
  int32_t announced_ = 0, written_ = 0;
};

}  // namespace rykel
