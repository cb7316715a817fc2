#include "reasoner/support/Streams.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "reasoner/support/Exception.h"
#include "tests/support/Failure.h"
#include "tests/support/TemporaryFolder.h"

namespace reasoner {
namespace {

const std::string kBad = "�";

// Gives one byte at a time: no character comes whole.
class TDripStream : public TKitStringStream {
 public:
  using TKitStringStream::TKitStringStream;
  std::size_t Read(char* buffer, std::size_t size) override {
    return TKitStringStream::Read(buffer, std::min<std::size_t>(size, 1));
  }
};

std::string ReadAll(TGTextStream& text) {
  std::string all;
  for (int next = text.GetChar(); next != TGTextStream::kEnd; next = text.GetChar()) {
    all += static_cast<char>(next);
  }
  return all;
}

std::string Bytes(std::initializer_list<int> bytes) {
  std::string text;
  for (const int byte : bytes) text += static_cast<char>(byte);
  return text;
}

TEST(TextStreamTest, DecodesToCleanText) {
  struct Row {
    const TEncoding* encoding;
    std::string bytes, wanted;
  };
  const Row rows[] = {
      {nullptr, "\xEF\xBB\xBF", ""},
      {nullptr,
       "\xEF\xBB\xBF"
       "a\xEF\xBB\xBF",
       "a\uFEFF"},
      {nullptr, "\xEF\xBB", kBad + kBad},
      {TEncoding::UTF8(), "\xEF\xBB\xBFé😀", "é😀"},
      {nullptr,
       "a\xFF"
       "b\xE2\x82",
       "a" + kBad + "b" + kBad + kBad},
      {nullptr, "\xF0\x9F\x98x", kBad + kBad + kBad + "x"},
      {TEncoding::Unicode(), Bytes({0xFF, 0xFE, 'a', 0, 0x3D, 0xD8, 0x00, 0xDE}), "a😀"},
      {TEncoding::Unicode(), Bytes({'a', 0, 0x3D, 0xD8, 'b', 0}), "a" + kBad + "b"},
      {TEncoding::Unicode(), Bytes({'a', 0, 0x3D, 0xD8, 'b'}), "a" + kBad + kBad},
      {TEncoding::BigEndianUnicode(), Bytes({0xFE, 0xFF, 0, 'a', 0x04, 0x36}), "aж"},
      {TEncoding::Latin1(), Bytes({'a', 0xE9, 0xFF}), "aéÿ"},
  };
  for (const Row& row : rows) {
    TKitStringStream whole(row.bytes);
    TGTextStream text(&whole, row.encoding);
    EXPECT_EQ(ReadAll(text), row.wanted) << row.wanted;
    TGTextStream dripped(std::make_unique<TDripStream>(row.bytes), row.encoding);
    EXPECT_EQ(ReadAll(dripped), row.wanted) << row.wanted;
    EXPECT_TRUE(dripped.AtEnd());
  }
}

TEST(TextStreamTest, CharactersAcrossChunksStayWhole) {
  // An odd start puts a character across every border between chunks.
  std::string wanted = "x";
  for (int index = 0; index < 60000; ++index) wanted += "ж€";
  TKitStringStream bytes(wanted);
  TGTextStream text(&bytes);
  EXPECT_EQ(ReadAll(text), wanted);
}

TEST(TextStreamTest, LinesEndInThreeWays) {
  const std::string source = "one\ntwo\r\nthree\rfour\n\r\n\rlast";
  const std::vector<std::string> wanted{"one", "two", "three", "four", "", "", "last"};
  for (const bool drip : {false, true}) {
    std::unique_ptr<TStream> bytes = std::make_unique<TKitStringStream>(source);
    if (drip) bytes = std::make_unique<TDripStream>(source);
    TGTextStream text(std::move(bytes));
    std::vector<std::string> lines;
    while (!text.AtEnd()) lines.push_back(text.GetLine());
    EXPECT_EQ(lines, wanted);
    EXPECT_EQ(text.GetLine(), "");
  }
}

TEST(TextStreamTest, WhatIsPutBackComesFirst) {
  TKitStringStream bytes("abc");
  TGTextStream text(&bytes);
  EXPECT_EQ(text.GetChar(), 'a');
  text.PutBack('a');
  text.PutBack("line\r\nfirst ");
  EXPECT_EQ(text.GetLine(), "line");
  EXPECT_EQ(text.GetLine(), "first abc");
  EXPECT_TRUE(text.AtEnd());
  text.PutBack("end\r");
  EXPECT_FALSE(text.AtEnd());
  EXPECT_EQ(text.GetLine(), "end");
  EXPECT_EQ(text.GetChar(), TGTextStream::kEnd);
  for (int index = 0; index < 200'000; ++index) text.PutBack(static_cast<char>('0' + index % 10));
  const std::string all = ReadAll(text);
  EXPECT_EQ(all.size(), 200'000u);
  EXPECT_EQ(all.substr(0, 4), "9876");
}

TEST(TextStreamTest, WritesInItsEncoding) {
  const std::string text = "aé😀\xED\xA0\xBD";
  struct Row {
    const TEncoding* encoding;
    std::string wanted;
  };
  const Row rows[] = {
      {nullptr, "aé😀" + kBad + "\n"},
      {TEncoding::UTF8(),
       "\xEF\xBB\xBF"
       "aé😀" +
           kBad + "\n"},
      {TEncoding::Unicode(),
       Bytes({0xFF, 0xFE, 'a', 0, 0xE9, 0, 0x3D, 0xD8, 0x00, 0xDE, 0xFD, 0xFF, '\n', 0})},
      {TEncoding::BigEndianUnicode(),
       Bytes({0xFE, 0xFF, 0, 'a', 0, 0xE9, 0xD8, 0x3D, 0xDE, 0x00, 0xFF, 0xFD, 0, '\n'})},
      {TEncoding::Latin1(), Bytes({'a', 0xE9, '?', '?', '\n'})},
  };
  for (const Row& row : rows) {
    TKitStringStream by_stream;
    WritePreambleToStream(by_stream, row.encoding);
    TGTextStream(&by_stream, row.encoding).PutLine(text);
    EXPECT_EQ(by_stream.GetText(), row.wanted);
    TKitStringStream at_once;
    WritePreambleToStream(at_once, row.encoding);
    WriteStringToStream(at_once, text + "\n", row.encoding);
    EXPECT_EQ(at_once.GetText(), row.wanted);
  }
}

TEST(StringStreamTest, WritesOverAndBeyondWhatIsThere) {
  TKitStringStream stream("0123456789");
  stream.SetPosition(8);
  stream.Write("abcd");
  stream.SetPosition(2);
  stream.Write("--");
  EXPECT_EQ(stream.GetText(), "01--4567abcd");
  char buffer[8] = {};
  EXPECT_EQ(stream.Read(buffer, 3), 3u);
  EXPECT_EQ(std::string(buffer), "456");
  EXPECT_THROW(stream.SetPosition(13), EKitException);
  EXPECT_THROW(stream.SetPosition(-1), EKitException);
  stream.SetPosition(12);
  EXPECT_EQ(stream.Read(buffer, 8), 0u);
}

class FileStreamTest : public testing::Test {
 protected:
  std::string Path(const char* name) const { return folder_ / name; }

  TemporaryFolder folder_;
};

TEST_F(FileStreamTest, FailuresTellTheFileAndTheReason) {
  const auto message = [](const std::string& name, TFileMode mode) {
    return FailureOf([&] { TFileStream(name, mode); });
  };
  EXPECT_EQ(message(Path("missing"), fmOpenRead),
            "Cannot open " + Path("missing") + ": No such file or directory");
  for (const TFileMode mode : {fmOpenRead, fmOpenReadWrite, fmCreate}) {
    EXPECT_EQ(message(Path(""), mode), "Cannot open " + Path("") + ": Is a directory");
  }
  const std::string cut_short = Path("a") + '\0' + "b";
  EXPECT_NE(message(cut_short, fmCreate), "");
  EXPECT_FALSE(std::filesystem::exists(Path("a")));

  TFileStream(Path("fixed"), fmCreate).Write("x");
  TFileStream read_only(Path("fixed"), fmOpenRead);
  EXPECT_THROW(
      {
        read_only.Write("y");
        read_only.Flush();
      },
      EKitException);
}

}  // namespace
}  // namespace reasoner
