// Byte streams, encodings and text streams.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "reasoner/support/Object.h"

namespace reasoner {

// Between two lines, and one step of indentation, in everything that the system prints.
inline constexpr std::string_view NewLineString = "\n";
inline constexpr std::string_view IndentString = "   ";

// How text becomes bytes. A null pointer to an encoding means UTF-8 without preamble wherever one
// is taken. Encodings are constants of the process.
class TEncoding {
 public:
  static const TEncoding* UTF8();        // with a preamble
  static const TEncoding* UTF8NoMark();  // without, as the null pointer
  static const TEncoding* Unicode();     // UTF-16, low byte first, with a preamble
  static const TEncoding* BigEndianUnicode();
  static const TEncoding* Latin1();  // what it lacks is written as '?'

  virtual std::string GetPreamble() const = 0;
  // Lone surrogates are written as U+FFFD.
  virtual std::string Encode(std::string_view text) const = 0;
  // Decodes as many whole characters as `bytes` holds and takes them off its front; with `last`
  // set, all of them. Bytes that are no text become U+FFFD.
  virtual std::string Decode(std::string& bytes, bool last) const = 0;

 protected:
  ~TEncoding() = default;
};

// A sequence of bytes with a position. Failures raise EKitException.
class TStream : public TObject {
 public:
  // Reads up to `size` bytes and gives how many; 0 only at the end.
  virtual std::size_t Read(char* buffer, std::size_t size) = 0;
  virtual void Write(std::string_view bytes) = 0;
  virtual std::int64_t GetPosition() = 0;
  virtual void SetPosition(std::int64_t position) = 0;
  virtual std::int64_t GetSize() = 0;
  virtual void Flush() {}
};

// Text or bytes in memory; starts at position 0 of its text.
class TKitStringStream : public TStream {
 public:
  TKitStringStream() = default;
  explicit TKitStringStream(std::string text) : text_(std::move(text)) {}

  const std::string& GetText() const noexcept { return text_; }

  std::size_t Read(char* buffer, std::size_t size) override;
  void Write(std::string_view bytes) override;
  std::int64_t GetPosition() override { return static_cast<std::int64_t>(position_); }
  void SetPosition(std::int64_t position) override;
  std::int64_t GetSize() override { return static_cast<std::int64_t>(text_.size()); }

 private:
  std::string text_;
  std::size_t position_ = 0;
};

enum TFileMode : std::uint8_t {
  fmOpenRead,       // the file must exist
  fmOpenReadWrite,  // the file must exist
  fmCreate          // made, or emptied; for writing and reading
};

// A file. The constructor raises EKitException, with the file's name and the system's reason, when
// it cannot be opened; a folder cannot.
class TFileStream : public TStream {
 public:
  TFileStream(const std::string& file_name, TFileMode mode);
  ~TFileStream() override;

  std::size_t Read(char* buffer, std::size_t size) override;
  void Write(std::string_view bytes) override;
  std::int64_t GetPosition() override;
  void SetPosition(std::int64_t position) override;
  std::int64_t GetSize() override;
  void Flush() override;

 private:
  [[noreturn]] void Fail(const char* doing) const;

  std::string file_name_;
  std::FILE* file_ = nullptr;
  enum : std::uint8_t {
    kNothing,
    kReading,
    kWriting
  } last_ = kNothing;  // C files want a seek between the two
};

// Reads and writes text over a byte stream. Characters are the bytes of the text's UTF-8 form; a
// leading mark is stripped. Any number of characters can be put back. Text that is written goes to
// where reading has come to, and what has been read ahead is read again.
class TGTextStream : public TPersistent {
 public:
  static constexpr int kEnd = -1;

  // Borrows the stream, which must outlive this object.
  explicit TGTextStream(TStream* stream, const TEncoding* encoding = nullptr);
  // Owns the stream.
  explicit TGTextStream(std::unique_ptr<TStream> stream, const TEncoding* encoding = nullptr);
  ~TGTextStream() override;
  // Takes over the stream that it has borrowed.
  void TakeStream(std::unique_ptr<TStream> stream) noexcept { owned_ = std::move(stream); }

  virtual bool AtEnd();
  // The next character (0 to 255), or kEnd.
  virtual int GetChar();
  // The rest of the line without its end (\n, \r or \r\n), which is consumed. Empty at the end of
  // the stream.
  virtual std::string GetLine();
  void PutBack(char character);
  void PutBack(std::string_view characters);

  virtual void Put(std::string_view text);
  void PutLine(std::string_view text);
  void PutEOL();
  virtual void Flush();

 protected:
  // GetChar of this class, whatever an override counts beside it.
  int RawChar();

 private:
  bool Fill();
  void DropLookAhead();
  std::size_t BytesAhead() const;

  TStream* stream_;
  std::unique_ptr<TStream> owned_;
  const TEncoding* encoding_;
  std::string buffer_;  // decoded text from position_ on
  std::size_t position_ = 0;
  std::string bytes_;        // read, but not a whole character yet
  std::string raw_;          // what the buffer was made of, where it held bytes that are no text
  std::size_t decoded_ = 0;  // size of the buffer as it was made
  bool reading_ = false;     // read since the last write
  bool started_ = false;     // the mark at the start has been looked at
  bool ended_ = false;
};

void WritePreambleToStream(TStream& stream, const TEncoding* encoding);
void WriteStringToStream(TStream& stream, std::string_view text, const TEncoding* encoding);

}  // namespace reasoner
