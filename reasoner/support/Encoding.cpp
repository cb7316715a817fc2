#include "reasoner/support/Streams.h"
#include "reasoner/support/Unicode.h"
#include "reasoner/support/Utf8.h"

namespace reasoner {

namespace {

class Utf8Encoding final : public TEncoding {
 public:
  explicit constexpr Utf8Encoding(std::string_view preamble) : preamble_(preamble) {}

  std::string GetPreamble() const override { return std::string(preamble_); }

  std::string Encode(std::string_view text) const override {
    return IsCleanUtf8(text, true) ? std::string(text) : CleanUtf8(text, true);
  }

  std::string Decode(std::string& bytes, bool last) const override {
    if (IsAscii(bytes)) return std::exchange(bytes, std::string());
    std::string text;
    text.reserve(bytes.size());
    const char* at = bytes.data();
    const char* const end = at + bytes.size();
    while (at != end) {
      const Utf8Character character = DecodeUtf8(at, end);
      // Half of a pair is text inside the system only, never in what comes from outside.
      if (character.valid && !IsSurrogate(character.code)) {
        text.append(at, character.length);
        at += character.length;
      } else if (!last && !character.valid && IsUnfinishedUtf8(at, end)) {
        break;
      } else {
        AppendUtf8(text, kReplacement);
        ++at;
      }
    }
    bytes.erase(0, static_cast<std::size_t>(at - bytes.data()));
    return text;
  }

 private:
  std::string_view preamble_;
};

class Utf16Encoding final : public TEncoding {
 public:
  explicit constexpr Utf16Encoding(bool big_endian) : big_endian_(big_endian) {}

  std::string GetPreamble() const override {
    std::string preamble;
    AppendUnit(preamble, 0xFEFF);
    return preamble;
  }

  std::string Encode(std::string_view text) const override {
    std::string bytes;
    bytes.reserve(text.size() * 2);
    for (const char16_t unit : ToUtf16(CleanUtf8(text, true))) AppendUnit(bytes, unit);
    return bytes;
  }

  std::string Decode(std::string& bytes, bool last) const override {
    std::string text;
    text.reserve(bytes.size());
    std::size_t place = 0;
    for (; bytes.size() - place >= 2; place += 2) {
      char32_t code = UnitAt(bytes, place);
      if (IsHighSurrogate(code)) {
        if (bytes.size() - place >= 4) {
          const char32_t low = UnitAt(bytes, place + 2);
          if (IsLowSurrogate(low)) {
            code = JoinSurrogates(code, low);
            place += 2;
          }
        } else if (!last) {
          break;
        }
      }
      AppendUtf8(text, IsSurrogate(code) ? kReplacement : code);
    }
    if (last && place != bytes.size()) {
      AppendUtf8(text, kReplacement);
      place = bytes.size();
    }
    bytes.erase(0, place);
    return text;
  }

 private:
  void AppendUnit(std::string& bytes, char16_t unit) const {
    const char high = static_cast<char>(unit >> 8);
    const char low = static_cast<char>(unit & 0xFF);
    bytes += big_endian_ ? high : low;
    bytes += big_endian_ ? low : high;
  }

  char32_t UnitAt(const std::string& bytes, std::size_t place) const {
    const auto first = static_cast<unsigned char>(bytes[place]);
    const auto second = static_cast<unsigned char>(bytes[place + 1]);
    return big_endian_ ? char32_t{first} << 8 | second : char32_t{second} << 8 | first;
  }

  bool big_endian_;
};

class Latin1Encoding final : public TEncoding {
 public:
  std::string GetPreamble() const override { return {}; }

  std::string Encode(std::string_view text) const override {
    if (IsAscii(text)) return std::string(text);
    std::string bytes;
    const std::string clean = CleanUtf8(text, true);
    const char* const end = clean.data() + clean.size();
    for (const char* at = clean.data(); at != end;) {
      const Utf8Character character = DecodeUtf8(at, end);
      bytes += character.code <= 0xFF ? static_cast<char>(character.code) : '?';
      at += character.length;
    }
    return bytes;
  }

  std::string Decode(std::string& bytes, bool /*last*/) const override {
    std::string text;
    text.reserve(bytes.size());
    for (const char byte : bytes) AppendUtf8(text, static_cast<unsigned char>(byte));
    bytes.clear();
    return text;
  }
};

constexpr Utf8Encoding kUtf8("\xEF\xBB\xBF");
constexpr Utf8Encoding kUtf8NoMark("");
constexpr Utf16Encoding kUnicode(false);
constexpr Utf16Encoding kBigEndianUnicode(true);
constexpr Latin1Encoding kLatin1;

}  // namespace

const TEncoding* TEncoding::UTF8() { return &kUtf8; }
const TEncoding* TEncoding::UTF8NoMark() { return &kUtf8NoMark; }
const TEncoding* TEncoding::Unicode() { return &kUnicode; }
const TEncoding* TEncoding::BigEndianUnicode() { return &kBigEndianUnicode; }
const TEncoding* TEncoding::Latin1() { return &kLatin1; }

}  // namespace reasoner
