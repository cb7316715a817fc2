#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <memory>

#include "reasoner/language/TokenStream.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class IOFunctionsTest : public EngineTest {
 protected:
  // What the call prints, all of it in one piece.
  void ExpectPrinted(const std::string& call, const std::string& out_id, const std::string& text) {
    TakeOutput();
    ExpectShown({{call, ""}});
    ASSERT_EQ(printed.size(), 1u) << call;
    EXPECT_EQ(printed[0].first, out_id) << call;
    EXPECT_EQ(printed[0].second, text) << call;
  }
};

TEST_F(IOFunctionsTest, PrintOutIsOnePiece) {
  ExpectPrinted("(printout)", "", "");
  ExpectPrinted("(printout t)", "t", "");
  ExpectPrinted("(printout t \"a\" 1 crlf)", "t", "a1\n");
  ExpectPrinted("(printout t a \"crlf\" 2.5)", "t", "acrlf2.5000");
  ExpectPrinted("(printout t (create$ a \"b\"))", "t", "(a \"b\" )");
  ExpectPrinted("(printout t (assert (a)))", "t", "<Fact-1>");
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

TEST_F(IOFunctionsTest, Format) {
  ExpectPrinted("(format t \"%d items%n\" 3)", "t", "3 items\n");
  ExpectPrinted("(format t \"%n%d\" 1)", "t", "\n1");
  ExpectPrinted("(format t \"x\" 1 \"y\")", "t", "x 1 y");
  ExpectPrinted("(format t \"%d\")", "t", "%d");
  ExpectPrinted("(format t \"%q\" 1 2)", "t", "%q");
  ExpectPrinted("(format t \"%5.2f|%-5d|\" 3.14159 7)", "t", " 3.14|7    |");
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
  ExpectShown({{"(readline t)", "EOF"}});
  EXPECT_EQ(asked, "t");
  engine.OnReadToken = [](TReasoner&, const std::string&, Ref<IStreamToken>& token) {
    token = Make<TKBStreamToken>(dtString, Text("tok"));
  };
  ExpectShown({{"(read)", "\"tok\""}});
}

TEST_F(IOFunctionsTest, Load) {
  const std::string name = ::testing::TempDir() + "io_functions_test.clp";
  std::ofstream(name) << "(deffunction loaded () yes)\n(assert (from file))\n";
  ExpectShown({{"(load \"" + name + "\")", "TRUE"}, {"(loaded)", "yes"}});
  EXPECT_EQ(engine.GetFacts().GetCount(), 2);
  std::remove(name.c_str());
  EXPECT_THROW(Show("(load \"" + name + "\")"), EKitException);
}

}  // namespace
}  // namespace reasoner
