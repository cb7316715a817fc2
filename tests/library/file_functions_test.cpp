#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "reasoner/language/TokenStream.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/TemporaryFolder.h"

namespace reasoner {
namespace {

namespace fs = std::filesystem;

class FileFunctionsTest : public EngineTest {
 protected:
  FileFunctionsTest() : home_(fs::current_path()) { fs::current_path(folder_.GetPath()); }
  ~FileFunctionsTest() override { fs::current_path(home_); }

  std::string Content(const std::string& name) const { return folder_.Content(name); }

  TemporaryFolder folder_;

 private:
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
      {"(readline f)", "\"\""},  // the empty line
      {"(readline f)", "\"a \\\"q\\\" b\""},
      {"(read f)", "3.1400"},
      {"(readline f)", "EOF"},
      {"(read f)", "EOF"},
      {"(close f)", "TRUE"},
  });
  EXPECT_EQ(Content("f"), "one 2\n\na \"q\" b\n 3.14\n");
}

TEST_F(FileFunctionsTest, Modes) {
  folder_.Write("old", "12345\n67890\n");
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
  ExpectError("(open \"new\" f \"x\")", "Invalid File Access Specifier: \"x\"");
  Load("(open \"old\" r)");
  ExpectError("(printout r x)", "Cannot write old");
  ExpectShown({{"(readline r)", "\"12345\""}, {"(close r)", "TRUE"}});
  Load("(open \"new\" w \"w\")");
  ExpectError("(read w)", "Invalid class of stream for read");
}

TEST_F(FileFunctionsTest, ANameInUseIsDealtWithBeforeTheFileIsTouched) {
  Load("(open \"one\" f w) (printout f first)");
  folder_.Write("two", "kept");
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

TEST_F(FileFunctionsTest, RemoveAndRename) {
  folder_.Write("a", "a");
  folder_.Write("b", "b");
  fs::create_directory("folder");
  fs::create_symlink("b", "link");
  ExpectShown({
      {"(rename \"a\" \"b\")", "FALSE"},
      {"(rename \"a\" \"link\")", "FALSE"},
      {"(rename \"missing\" \"c\")", "FALSE"},
      {"(rename \"a\" \"no/such/folder\")", "FALSE"},
      {"(rename \"a\" \"c\")", "TRUE"},
      {"(remove \"folder\")", "FALSE"},
      {"(remove \"link\")", "FALSE"},
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

class IOFunctionsTest : public EngineTest {};

TEST_F(IOFunctionsTest, PrintOutIsOnePiece) {
  ExpectPrinted("(printout)", "", "");
  ExpectPrinted("(printout t)", "");
  ExpectPrinted("(printout t a \"crlf\" 2.5 crlf)", "acrlf2.5000\n");
  ExpectPrinted("(printout t (create$ a \"b\"))", "(a \"b\" )");
}

TEST_F(IOFunctionsTest, PrintOutToANamedStream) {
  auto memory = std::make_unique<TKitStringStream>();
  TKitStringStream& stream = *memory;
  engine.GetIOStreams().Add("log", std::make_unique<TGTextStream>(std::move(memory)));
  ExpectShown({
      {"(printout log \"a\" crlf)", ""},
      {"(printout nowhere b)", ""},
      {"(format log \"%d\" 7)", ""},
  });
  engine.GetIOStreams().Flush();
  EXPECT_EQ(stream.GetText(), "a\n7");
  EXPECT_EQ(output, "");
  engine.OnPrintOut = nullptr;
  ExpectError("(printout nowhere b)", "Function is unimplemented or unassigned: printout");
}

TEST_F(IOFunctionsTest, ReadingFromTheTerminal) {
  ExpectError("(readline)", "The readline event has not been implemented");
  ExpectError("(read)", "The read event has not been implemented");
  std::string next = "a line";
  std::string asked;
  engine.OnReadLine = [&](TReasoner&, const std::string& in_id, std::string& text) {
    asked = in_id;
    text = next;
  };
  ExpectShown({{"(readline)", "\"a line\""}});
  next = "";
  ExpectShown({{"(readline t)", "\"\""}});
  engine.SetTextbookSemantics(false);
  ExpectShown({{"(readline t)", "EOF"}});
  engine.SetTextbookSemantics(true);
  engine.OnReadLine = [&](TReasoner& sender, const std::string& in_id, std::string&) {
    asked = in_id;
    sender.SetInputEnded();
  };
  ExpectShown({{"(readline t)", "EOF"}});
  EXPECT_EQ(asked, "t");
  engine.OnReadToken = [](TReasoner&, const std::string&, Ref<IStreamToken>& token) {
    token = Make<TKBStreamToken>(dtString, Text("tok"));
  };
  ExpectShown({{"(read)", "\"tok\""}});
}

}  // namespace
}  // namespace reasoner
