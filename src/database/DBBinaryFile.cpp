#include "database/DBBinaryFile.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "database/DBEntryTable.h"
#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "frame/ValueReader.h"

namespace rykel {

namespace {
constexpr size_t kChunk = 32 * 1024;  // bytes read at a time; a larger record widens the window
constexpr size_t kSeekChunk = 4096;   // after a jump: a record of its own, not the records around it
}  // namespace

template <class Fn>
auto DBBinaryFile::hParse(const Fn& pRead) {
  // The window is topped up before it runs low, so that a record is rarely cut at its end: a
  // parse that runs past the end raises, and the unwinding costs far more than the read. A record
  // larger than half a chunk may still be cut; it is parsed again once the window has more.
  if (!atEnd_ && window_.size() - pos_ < chunk_ / 2) hMore();
  for (;;) {
    ValueReader r(std::string_view(window_).substr(pos_));
    try {
      auto result = pRead(r);
      pos_ += r.Position();
      return result;
    } catch (const Error& e) {
      if (e.number != err::kInputPastEnd || !hMore()) throw;
    }
  }
}

DBBinaryFile::DBBinaryFile(const std::string& pFile, fileio::FileStamp* rStamp) : file_(pFile), chunk_(kChunk) {
  fd_ = fileio::OpenRegularFile(pFile, rStamp);
  try {
    hParse([&](ValueReader& r) {
      if (r.ReadStringView() != kSignature) Raise(err::kInvalidData, "not a binary database file");
      int32_t format = CLng(r.Read());
      if (format != 1) Raise(err::kInvalidData, "unknown binary format " + std::to_string(format));
      headerName_ = std::string(r.ReadStringView());
      r.Read();  // time stamp
      count_ = CLng(r.Read());
      return 0;
    });
    if (count_ < 0) Raise(err::kInvalidData, "negative entry count");
  } catch (...) {
    ::close(fd_);
    throw;
  }
}

DBBinaryFile::~DBBinaryFile() { ::close(fd_); }

bool DBBinaryFile::hMore() {
  if (atEnd_) return false;
  window_.erase(0, pos_);
  base_ += static_cast<int64_t>(pos_);
  pos_ = 0;
  // The window stays one chunk wide (read when half of it is left); a longer record doubles it.
  size_t have = window_.size(), need = std::max(chunk_, 2 * have);
  if (need > window_.capacity()) {
    // Exactly as wide as needed: growing in place would double the capacity (and the memory held).
    std::string wider;
    wider.reserve(need);
    wider.assign(window_);
    window_.swap(wider);
  }
  window_.resize(need);
  ssize_t n;
  do { n = ::read(fd_, window_.data() + have, window_.size() - have); } while (n < 0 && errno == EINTR);
  if (n < 0) {
    int e = errno;
    window_.resize(have);
    Raise(err::kFileIO, "cannot read '" + file_ + "': " + std::strerror(e));
  }
  window_.resize(have + static_cast<size_t>(n));
  if (n == 0) atEnd_ = true;
  return n > 0;
}

bool DBBinaryFile::Next(Variant& rID, std::string_view& rContent) {
  if (read_ > count_) return false;
  if (read_ == count_) {
    ++read_;
    if (hParse([](ValueReader& r) { return r.ReadStringView(); }) != "EOF")
      Raise(err::kInvalidData, "end mark missing");
    return false;
  }
  ++read_;
  hRecord(rID, rContent);
  return true;
}

void DBBinaryFile::hRecord(Variant& rID, std::string_view& rContent) {
  Variant id;
  rContent = hParse([&](ValueReader& r) {
    id = r.Read();
    r.Read();  // marker: the content is restored from its text either way
    return r.ReadStringView();
  });
  double d;
  rID = NumericValue(id, d) ? DBEntryTable::NumberId(d) : DBEntryTable::NumberId(DBEntryTable::LeadingNumber(CStr(id)));
}

void DBBinaryFile::ReadAt(int64_t pOffset, int64_t pSize, Variant& rID, std::string_view& rContent) {
  // the whole record in the window, so that its parse never runs past the end
  if (pOffset >= base_ && pOffset + pSize <= base_ + static_cast<int64_t>(window_.size())) {
    pos_ = static_cast<size_t>(pOffset - base_);
  } else {
    if (pOffset < 0 || ::lseek(fd_, pOffset, SEEK_SET) < 0)
      Raise(err::kFileIO, "cannot read '" + file_ + "' at " + std::to_string(pOffset) + ": " + std::strerror(errno));
    window_.clear();
    pos_ = 0;
    base_ = pOffset;
    atEnd_ = false;
    chunk_ = std::max(kSeekChunk, static_cast<size_t>(std::max<int64_t>(pSize, 0)));
  }
  hRecord(rID, rContent);
}

void DBBinaryWriter::hFlush() {
  // a failed write is raised by the atomic writer that owns the stream, with the system's reason
  if (!w_.Data().empty() && std::fwrite(w_.Data().data(), 1, w_.Data().size(), out_) != w_.Data().size())
    Raise(err::kFileIO, "cannot write '" + file_ + "'");
  w_.Clear();
}

void DBBinaryWriter::Begin(std::string_view pHeaderName, int32_t pCount) {
  w_.WriteString(DBBinaryFile::kSignature);
  w_.Write(Variant(static_cast<int16_t>(1)));
  w_.WriteString(pHeaderName);
  w_.Write(Variant::Date(date::Now()));
  w_.Write(Variant(pCount));
  announced_ = pCount;
  begun_ = true;
}

void DBBinaryWriter::Record(const Variant& pID, bool pNumeric, std::string_view pContent) {
  if (pNumeric) w_.Write(pID);
  else w_.WriteString(text::Replace(CStr(pID), ".", "_"));
  w_.WriteBool(pContent.find("\r\n") != std::string_view::npos);
  w_.WriteString(pContent);
  ++written_;
  if (w_.Data().size() > (1u << 20)) hFlush();
}

void DBBinaryWriter::End() {
  w_.WriteString("EOF");
  hFlush();
  if (written_ != announced_)
    Raise(err::kInvalidData, "'" + file_ + "': " + std::to_string(written_) + " records written, " +
                                 std::to_string(announced_) + " announced");
}

}  // namespace rykel
