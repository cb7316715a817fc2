#include "reasoner/support/Streams.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "reasoner/support/Exception.h"
#include "reasoner/support/Format.h"
#include "reasoner/support/Unicode.h"

namespace reasoner {

std::size_t TKitStringStream::Read(char* buffer, std::size_t size) {
  const std::size_t count = text_.copy(buffer, size, position_);
  position_ += count;
  return count;
}

void TKitStringStream::Write(std::string_view bytes) {
  const std::size_t replaced = std::min(bytes.size(), text_.size() - position_);
  text_.replace(position_, replaced, bytes);
  position_ += bytes.size();
}

void TKitStringStream::SetPosition(std::int64_t position) {
  if (position < 0 || position > GetSize()) {
    throw EKitException(FormatText("No such position in the stream: %d", {position}));
  }
  position_ = static_cast<std::size_t>(position);
}

TFileStream::TFileStream(const std::string& file_name, TFileMode mode) : file_name_(file_name) {
  if (file_name.find('\0') != std::string::npos) {
    errno = ENOENT;  // the system would open the file of the name's first part
    Fail("open");
  }
  const char* how = "rb";
  if (mode == fmOpenReadWrite) how = "r+b";
  if (mode == fmCreate) how = "w+b";
  file_ = std::fopen(file_name.c_str(), how);
  if (file_ == nullptr) Fail("open");
  struct stat status;
  if (fstat(fileno(file_), &status) == 0 && S_ISDIR(status.st_mode)) {
    std::fclose(std::exchange(file_, nullptr));
    errno = EISDIR;
    Fail("open");
  }
}

TFileStream::~TFileStream() { std::fclose(file_); }

std::size_t TFileStream::Read(char* buffer, std::size_t size) {
  if (last_ == kWriting && std::fseek(file_, 0, SEEK_CUR) != 0) Fail("read");
  last_ = kReading;
  const std::size_t count = std::fread(buffer, 1, size, file_);
  if (count < size && std::ferror(file_) != 0) Fail("read");
  return count;
}

void TFileStream::Write(std::string_view bytes) {
  if (last_ == kReading && std::fseek(file_, 0, SEEK_CUR) != 0) Fail("write");
  last_ = kWriting;
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) Fail("write");
}

std::int64_t TFileStream::GetPosition() {
  const auto position = ftello(file_);
  if (position < 0) Fail("tell the position in");
  return position;
}

void TFileStream::SetPosition(std::int64_t position) {
  if (fseeko(file_, position, SEEK_SET) != 0) Fail("move in");
  last_ = kNothing;
}

std::int64_t TFileStream::GetSize() {
  Flush();
  struct stat status;
  if (fstat(fileno(file_), &status) != 0) Fail("tell the size of");
  return status.st_size;
}

void TFileStream::Flush() {
  if (last_ == kWriting && std::fflush(file_) != 0) Fail("write");
}

void TFileStream::Fail(const char* doing) const {
  const std::string reason = std::generic_category().message(errno);
  if (file_ != nullptr) std::clearerr(file_);  // one failure is told once
  throw EKitException(FormatText("Cannot %s %s: %s", {doing, file_name_, reason}));
}

namespace {

constexpr std::size_t kReadSize = 64 * 1024;

// A reader accepts the mark of UTF-8 also where a writer puts none.
std::string MarkOf(const TEncoding* encoding) {
  if (encoding == TEncoding::UTF8NoMark()) encoding = TEncoding::UTF8();
  return encoding->GetPreamble();
}

}  // namespace

TGTextStream::TGTextStream(TStream* stream, const TEncoding* encoding)
    : stream_(stream), encoding_(encoding != nullptr ? encoding : TEncoding::UTF8NoMark()) {
  if (stream == nullptr) throw EKitException("No stream was given");
}

TGTextStream::TGTextStream(std::unique_ptr<TStream> stream, const TEncoding* encoding)
    : TGTextStream(stream.get(), encoding) {
  owned_ = std::move(stream);
}

TGTextStream::~TGTextStream() = default;

bool TGTextStream::AtEnd() { return position_ == buffer_.size() && !Fill(); }

int TGTextStream::GetChar() { return RawChar(); }

int TGTextStream::RawChar() {
  if (position_ == buffer_.size() && !Fill()) return kEnd;
  return static_cast<unsigned char>(buffer_[position_++]);
}

std::string TGTextStream::GetLine() {
  std::string line;
  while (position_ < buffer_.size() || Fill()) {
    const std::size_t end = buffer_.find_first_of("\r\n", position_);
    if (end == std::string::npos) {
      line.append(buffer_, position_);
      position_ = buffer_.size();
      continue;
    }
    line.append(buffer_, position_, end - position_);
    position_ = end + 1;
    if (buffer_[end] == '\r' && (position_ < buffer_.size() || Fill()) &&
        buffer_[position_] == '\n') {
      ++position_;
    }
    break;
  }
  return line;
}

void TGTextStream::PutBack(char character) { PutBack(std::string_view(&character, 1)); }

void TGTextStream::PutBack(std::string_view characters) {
  if (position_ < characters.size()) {
    // More room than asked for, so that one character after the other does not move all of it each
    // time.
    const std::size_t room = characters.size() + buffer_.size() + 64;
    buffer_.insert(0, room, '\0');
    position_ += room;
  }
  position_ -= characters.size();
  characters.copy(buffer_.data() + position_, characters.size());
}

// How many bytes the stream is ahead of the reader.
std::size_t TGTextStream::BytesAhead() const {
  const std::size_t left = buffer_.size() - position_;
  if (raw_.empty() || left > decoded_) {
    return bytes_.size() + encoding_->Encode(std::string_view(buffer_).substr(position_)).size();
  }
  // Bytes that are no text have become longer: the place is found by decoding once more.
  std::string pending;
  std::size_t taken = 0;
  std::size_t characters = 0;
  while (taken < raw_.size() && characters < decoded_ - left) {
    pending += raw_[taken++];
    characters += encoding_->Decode(pending, false).size();
  }
  return bytes_.size() + raw_.size() - (taken - pending.size());
}

void TGTextStream::DropLookAhead() {
  started_ = true;  // what is written stands where a mark would
  if (!std::exchange(reading_, false)) return;
  const std::size_t ahead = BytesAhead();
  if (ahead > 0) stream_->SetPosition(stream_->GetPosition() - static_cast<std::int64_t>(ahead));
  buffer_.clear();
  position_ = 0;
  bytes_.clear();
  raw_.clear();
  ended_ = false;
}

void TGTextStream::Put(std::string_view text) {
  DropLookAhead();
  if (encoding_ == TEncoding::UTF8NoMark() && IsCleanUtf8(text, true)) {
    stream_->Write(text);
  } else {
    stream_->Write(encoding_->Encode(text));
  }
}

void TGTextStream::PutLine(std::string_view text) {
  Put(text);
  PutEOL();
}

void TGTextStream::PutEOL() { Put(NewLineString); }

void TGTextStream::Flush() { stream_->Flush(); }

// Replaces the spent buffer by the next characters; false at the end.
bool TGTextStream::Fill() {
  buffer_.clear();
  position_ = 0;
  raw_.clear();
  reading_ = true;
  while (buffer_.empty() && !ended_) {
    const std::size_t kept = bytes_.size();
    bytes_.resize(kept + kReadSize);
    std::size_t count = 0;
    try {
      count = stream_->Read(bytes_.data() + kept, kReadSize);
    } catch (...) {
      bytes_.resize(kept);
      throw;
    }
    bytes_.resize(kept + count);
    ended_ = count == 0;
    if (!started_) {
      const std::string mark = MarkOf(encoding_);
      if (bytes_.size() < mark.size() && !ended_) continue;
      if (bytes_.starts_with(mark)) bytes_.erase(0, mark.size());
      started_ = true;
    }
    const bool is_utf8 = encoding_ == TEncoding::UTF8NoMark() || encoding_ == TEncoding::UTF8();
    if (is_utf8) raw_ = bytes_;
    buffer_ = encoding_->Decode(bytes_, ended_);
    decoded_ = buffer_.size();
    raw_.resize(raw_.size() - std::min(raw_.size(), bytes_.size()));
    if (raw_.size() == decoded_) raw_.clear();  // nothing has been replaced
  }
  return !buffer_.empty();
}

void WritePreambleToStream(TStream& stream, const TEncoding* encoding) {
  if (encoding != nullptr) stream.Write(encoding->GetPreamble());
}

void WriteStringToStream(TStream& stream, std::string_view text, const TEncoding* encoding) {
  stream.Write((encoding != nullptr ? encoding : TEncoding::UTF8NoMark())->Encode(text));
}

}  // namespace reasoner
