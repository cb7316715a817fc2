#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "tests/support/EngineFixture.h"
#include "tests/support/TemporaryFolder.h"

namespace reasoner {
namespace {

namespace fs = std::filesystem;

class FileFunctionsTest : public EngineTest {
 protected:
  FileFunctionsTest() : home_(fs::current_path()) { fs::current_path(folder_.GetPath()); }
  ~FileFunctionsTest() override { fs::current_path(home_); }

  static std::string Content(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
  }
  static void Write(const std::string& name, const std::string& text) {
    std::ofstream(name, std::ios::binary) << text;
  }

 private:
  TemporaryFolder folder_;
  fs::path home_;
};

TEST_F(FileFunctionsTest, WhatIsWrittenReadsBackAsLinesAndTokens) {
  ExpectShown({
      {"(open \"f\" f w)", "f"},
      {"(printout f one \" \" 2 crlf crlf \"a \\\"q\\\" b\" crlf)", ""},
      {"(format f \"%5.2f%n\" 3.14159)", ""},
      {"(close f)", "TRUE"},
      {"(open \"f\" f)", "f"},
      {"(read f)", "one"},
      {"(readline f)", "EOF"},  // the empty line
      {"(readline f)", "\"a \\\"q\\\" b\""},
      {"(read f)", "3.1400"},
      {"(readline f)", "EOF"},
      {"(read f)", "EOF"},
      {"(close f)", "TRUE"},
  });
  EXPECT_EQ(Content("f"), "one 2\n\na \"q\" b\n 3.14\n");
}

TEST_F(FileFunctionsTest, Modes) {
  Write("old", "12345\n67890\n");
  ExpectShown({
      {"(open \"old\" a a)", "a"},
      {"(printout a end)", ""},
      {"(open \"new\" b \"a\")", "b"},
      {"(printout b begin)", ""},
      {"(close a b)", "TRUE"},
      {"(open \"old\" rw \"r+\")", "rw"},
      {"(readline rw)", "\"12345\""},
      {"(printout rw ab)", ""},
      {"(readline rw)", "\"890\""},
      {"(close rw)", "TRUE"},
  });
  EXPECT_EQ(Content("old"), "12345\nab890\nend");
  EXPECT_EQ(Content("new"), "begin");
  ExpectError("(open \"missing\" f)", "Cannot open missing");
  ExpectError("(open \"missing\" f \"r+\")", "Cannot open missing");
  ExpectError("(open \"no/such/folder\" f \"w\")", "Cannot open no/such/folder");
  ExpectError("(open \".\" f)", "Cannot open .");
  ExpectError("(open \"new\" f \"x\")", "Invalid File Access Specifier: \"x\"");
  EXPECT_FALSE(engine.GetIOStreams().ContainsKey("f"));
  Load("(open \"old\" r)");
  ExpectError("(printout r x)", "Cannot write old");
  ExpectShown({{"(readline r)", "\"12345\""}, {"(close r)", "TRUE"}});
  Load("(open \"new\" w \"w\")");
  ExpectError("(read w)", "Invalid class of stream for read");
}

TEST_F(FileFunctionsTest, ANameInUseIsDealtWithBeforeTheFileIsTouched) {
  Load("(open \"one\" f w) (printout f first)");
  Write("two", "kept");
  engine.DuplicateConstructs = dcError;
  ExpectError("(open \"two\" f w)", "Duplicate streams defined with same name: \"f\"");
  engine.DuplicateConstructs = dcIgnore;
  ExpectShown({{"(open \"two\" f w)", "f"}, {"(printout f \" second\")", ""}});
  EXPECT_EQ(Content("two"), "kept");
  engine.DuplicateConstructs = dcOverwrite;
  ExpectError("(open \"missing\" f)", "Cannot open missing");
  ExpectShown({{"(printout f \" third\")", ""}, {"(open \"two\" f w)", "f"}});
  EXPECT_EQ(Content("one"), "first second third");
  EXPECT_EQ(Content("two"), "");
  // The very file that is open: what waited is not written behind its back.
  ExpectShown({{"(printout f lost)", ""}, {"(open \"two\" f w)", "f"}, {"(close)", "TRUE"}});
  EXPECT_EQ(Content("two"), "");
}

TEST_F(FileFunctionsTest, Close) {
  ExpectShown({{"(close)", "TRUE"}});
  Load("(open \"a\" a w) (open \"b\" b w)");
  ExpectError("(close a nowhere b)", "Invalid stream name: nowhere");
  EXPECT_FALSE(engine.GetIOStreams().ContainsKey("a"));
  EXPECT_TRUE(engine.GetIOStreams().ContainsKey("b"));
}

TEST_F(FileFunctionsTest, RemoveAndRename) {
  Write("a", "a");
  Write("b", "b");
  fs::create_directory("folder");
  fs::create_symlink("b", "link");
  ExpectShown({
      {"(rename \"a\" \"b\")", "FALSE"},
      {"(rename \"a\" \"a\")", "FALSE"},
      {"(rename \"a\" \"link\")", "FALSE"},
      {"(rename \"missing\" \"c\")", "FALSE"},
      {"(rename \"a\" \"no/such/folder\")", "FALSE"},
      {"(rename \"a\" \"c\")", "TRUE"},
      {"(remove \"missing\")", "FALSE"},
      {"(remove \"folder\")", "FALSE"},
      {"(remove \"link\")", "FALSE"},
      {"(remove \"\")", "FALSE"},
      {"(remove \"c\")", "TRUE"},
  });
  EXPECT_EQ(Content("b"), "b");
  EXPECT_FALSE(fs::exists("c"));
}

TEST_F(FileFunctionsTest, SavingAndLoading) {
  Load("(deftemplate p (slot x)) (assert (p (x 1)) (q 2) (p (x 3)) (r 4))");
  ExpectShown({
      {"(save-facts \"f\" q p none)", "TRUE"},
      {"(save \"all\")", "TRUE"},
      {"(clear)", "TRUE"},
      {"(load \"all\")", "TRUE"},
      {"(save-facts \"again\" q p)", "TRUE"},
  });
  EXPECT_EQ(Content("f"), "(q 2 )\n(p (x 1))\n(p (x 3))\n");
  EXPECT_EQ(Content("again"), Content("f"));
  Load("(reset)");
  ExpectShown({{"(load-facts \"f\")", "TRUE"}});
  EXPECT_EQ(engine.GetFacts().GetCount(), 4);
  // A failure leaves the old file.
  ExpectError("(save-facts \"f\" q (/ 1 0))", "Division by zero");
  EXPECT_EQ(Content("f"), Content("again"));
  ExpectError("(save \"no/such/folder\")", "Cannot write no/such/folder");
  ExpectError("(load-facts \"missing\")", "Cannot open missing");
  ExpectError("(batch \"missing\")", "Cannot open missing");
}

TEST_F(FileFunctionsTest, UnwrittenTextIsThereBeforeAFileIsRead) {
  ExpectShown({
      {"(open \"rules\" out w)", "out"},
      {"(printout out \"(deffunction seven () 7)\" crlf)", ""},
      {"(load \"rules\")", "TRUE"},
      {"(seven)", "7"},
      {"(rename \"rules\" \"laws\")", "TRUE"},
      {"(printout out \"(deffunction eight () 8)\" crlf)", ""},
      {"(batch \"laws\")", "TRUE"},
      {"(eight)", "8"},
  });
}

}  // namespace
}  // namespace reasoner
