#include "reasoner/support/Streams.h"

#include <filesystem>
#include <string_view>

#include "reasoner/language/TokenStream.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/TemporaryFolder.h"

namespace reasoner {
namespace {

class LogicalStreamsTest : public EngineTest {
 protected:
  std::string Path(const std::string& name) const { return folder / name; }
  void RunBatch(const std::string& text) {
    TKitStringStream stream(text);
    EXPECT_TRUE(engine.Batch(stream));
  }
  TKitStringStream& Capture() {
    auto stream = std::make_unique<TKitStringStream>();
    TKitStringStream& memory = *stream;
    engine.StartCapture(std::move(stream));
    return memory;
  }

  TemporaryFolder folder;
};

TEST_F(LogicalStreamsTest, ABatchLineIsAnExpressionAndTheNextMayBeItsInput) {
  engine.OnReadLine = [](TReasoner&, const std::string&, std::string& text) { text = "outer"; };
  RunBatch("");
  RunBatch(
      "(bind ?a (readline))\r\nfirst line\n"
      "(bind ?b (read t))\nsecond third\n"
      "(bind ?c (readline nowhere))\n\n"
      "(printout t ?a \"|\" ?b \"|\" ?c crlf)\n"
      "(bind ?d (readline))");
  // Each line that is read is echoed, and each value of the top level shown.
  EXPECT_EQ(TakeOutput(),
            "first line\n\"first line\"\nsecond\nsecond\n\n\"\"\nfirst line|second|\n\nEOF\n");
  ExpectShown({{"(eq ?d EOF)", "TRUE"}, {"(readline)", "\"outer\""}});
  EXPECT_FALSE(engine.IsInBatch());
}

TEST_F(LogicalStreamsTest, ATokenTakesItsLineAndNoMore) {
  folder.Write("data", "(a b\nrest\n  \"one\ntwo\" three\n; note\n(\nlast");
  engine.GetIOStreams().Add("in", engine.NewTokenizer(Path("data"), fmOpenRead));
  std::string read;
  for (int i = 0; i < 4; ++i) read += engine.ReadToken("in")->GetText().str() + "|";
  EXPECT_EQ(read, "(|rest|one\ntwo|(|");
  EXPECT_EQ(engine.ReadLine("in"), "last");
  // An expression that is not closed takes no more of a batch than its line either.
  RunBatch("(bind ?x (read))\n((((\n(bind ?y 5)");
  ExpectShown({{"(+ ?y 0)", "5"}});
}

TEST_F(LogicalStreamsTest, BatchesNestAndAFailureEndsThemAll) {
  folder.Write("inner.bat", "(bind ?x (readline))\ninner text\n");
  folder.Write("outer.bat",
               "(batch \"" + Path("inner.bat") + "\")\n(bind ?y (readline))\nouter text\n");
  ExpectShown({{"(batch \"" + Path("outer.bat") + "\")", "TRUE"},
               {"(str-cat ?x \"/\" ?y)", "\"inner text/outer text\""}});
  folder.Write("bad.bat", "(bind ?z 1)\n\n(no-such-function)\n(bind ?z 2)\n");
  ExpectError("(batch \"" + Path("bad.bat") + "\")", "no-such-function");
  EXPECT_FALSE(engine.IsInBatch());
  ExpectShown({{"(+ ?z 0)", "1"}});
}

TEST_F(LogicalStreamsTest, ABatchThatCallsItselfEndsWithAFailure) {
  engine.SetMaxDepth(200);
  folder.Write("self.bat", "(batch \"" + Path("self.bat") + "\")\n");
  ExpectError("(batch \"" + Path("self.bat") + "\")", "Nested too deeply");
  EXPECT_FALSE(engine.IsInBatch());
  ExpectShown({{"(+ 1 1)", "2"}});
}

TEST_F(LogicalStreamsTest, ExitLeavesABatchAndNothingIsLost) {
  folder.Write("exit.bat",
               "(open \"" + Path("log") + "\" log \"w\")\n(printout log abc)\n(exit)\n(x)\n");
  EXPECT_THROW(engine.Batch(Path("exit.bat")), EAbort);
  EXPECT_FALSE(engine.IsInBatch());
  EXPECT_EQ(folder.Content("log"), "abc");
}

TEST_F(LogicalStreamsTest, ACaptureTakesTerminalAndEchoButNotStreams) {
  TKitStringStream& memory = Capture();
  auto named = std::make_unique<TKitStringStream>();
  TKitStringStream& log = *named;
  engine.GetIOStreams().Add("log", std::make_unique<TGTextStream>(std::move(named)));
  RunBatch("(printout t (readline) crlf)\ntext\n(printout log named)\n(format \"\" \"%d\" 7)");
  EXPECT_EQ(memory.GetText(), "text\ntext\n7");
  EXPECT_EQ(log.GetText(), "named");
  EXPECT_EQ(TakeOutput(), "");
  EXPECT_TRUE(engine.StopCapture());
  EXPECT_TRUE(engine.StopCapture());
  Show("(printout t again)");
  EXPECT_EQ(TakeOutput(), "again");
}

TEST_F(LogicalStreamsTest, ASecondCaptureEndsTheFirst) {
  ExpectShown({{"(dribble-on \"" + Path("one") + "\")", "TRUE"}});
  Show("(printout t first)");
  ExpectShown({{"(dribble-on \"" + Path("no/such/folder") + "\")", "FALSE"}});
  Show("(printout t \" still first\")");
  ExpectShown({{"(dribble-on \"" + Path("two") + "\")", "TRUE"}});
  EXPECT_EQ(folder.Content("one"), "first still first");
  Show("(printout t second)");
  // The same file again: emptied, with nothing of before written into it afterwards.
  ExpectShown({{"(dribble-on \"" + Path("two") + "\")", "TRUE"}});
  Show("(printout t x)");
  ExpectShown({{"(dribble-off)", "TRUE"}});
  EXPECT_EQ(folder.Content("two"), "x");
}

TEST_F(LogicalStreamsTest, TextToAnUnknownNameIsTheHostsToHear) {
  std::string heard;
  engine.OnUnknownStream = [&heard](TReasoner&, const std::string& id, const std::string& text) {
    heard += id + ":" + text + ";";
  };
  Show("(printout nowhere a)");
  Show("(printout t b)");
  engine.OnPrintOut = nullptr;
  Show("(printout nowhere c)");
  Show("(printout t d)");
  EXPECT_EQ(heard, "nowhere:a;nowhere:c;");
}

TEST_F(LogicalStreamsTest, AHostCanAskForTheEndOfAStream) {
  folder.Write("in", "one\n\n");
  engine.GetIOStreams().Add("in", engine.NewTokenizer(Path("in"), fmOpenRead));
  TIOStreams& streams = engine.GetIOStreams();
  EXPECT_FALSE(streams.AtEnd("in"));
  ExpectShown({{"(readline in)", "\"one\""}});
  EXPECT_FALSE(streams.AtEnd("in"));
  engine.SetTextbookSemantics(false);
  ExpectShown({{"(readline in)", "EOF"}});  // literally an empty line reads like the end
  EXPECT_TRUE(streams.AtEnd("in"));
  EXPECT_EQ(FailureOf([&] { streams.AtEnd("out"); }), "Invalid stream name: out");
}

TEST_F(LogicalStreamsTest, ABorrowedStreamStaysItsOwners) {
  TKitStringStream memory;
  TGTextStream stream(&memory);
  engine.GetIOStreams().Add("lent", stream);
  Show("(printout lent a)");
  ExpectShown({{"(close lent)", "TRUE"}});
  stream.Put("b");
  EXPECT_EQ(memory.GetText(), "ab");
}

// A stream that comes back to the engine while it is being written.
class MeddlingStream final : public TKitStringStream {
 public:
  explicit MeddlingStream(std::function<void()> meddle) : meddle_(std::move(meddle)) {}
  void Write(std::string_view bytes) override {
    if (meddle_) std::exchange(meddle_, nullptr)();
    TKitStringStream::Write(bytes);
  }

 private:
  std::function<void()> meddle_;
};

TEST_F(LogicalStreamsTest, AStreamMayBeClosedWhileItIsInUse) {
  engine.GetIOStreams().Add("self", std::make_unique<TGTextStream>(std::make_unique<MeddlingStream>(
                                        [this] { Show("(close self)"); })));
  Show("(printout self abc)");
  EXPECT_FALSE(engine.GetIOStreams().ContainsKey("self"));
  engine.StartCapture(std::make_unique<MeddlingStream>([this] { Show("(dribble-off)"); }));
  Show("(printout t abc)");
  EXPECT_FALSE(engine.IsCapturing());
}

TEST_F(LogicalStreamsTest, WhatCannotBeWrittenIsToldAndTheNameIsFree) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP();
  ExpectShown({{"(open \"/dev/full\" full \"w\")", "full"}, {"(printout full abc)", ""}});
  ExpectError("(close full)", "Cannot write /dev/full");
  EXPECT_FALSE(engine.GetIOStreams().ContainsKey("full"));
  // Nor does it keep the others from being written.
  Load("(open \"/dev/full\" full \"w\") (open \"" + Path("good") + "\" good \"w\")");
  Load("(printout full abc) (printout good def)");
  ExpectError("(close)", "Cannot write /dev/full");
  EXPECT_EQ(folder.Content("good"), "def");
  EXPECT_EQ(engine.GetIOStreams().GetCount(), 0);
}

TEST_F(LogicalStreamsTest, ARunAndALoadLeaveNothingUnwritten) {
  Load("(defrule log (go ?x) => (printout log ?x) (if (= ?x 2) then (/ 1 0)))");
  Load("(open \"" + Path("log") + "\" log \"w\") (assert (go 1))");
  engine.Run();
  EXPECT_EQ(folder.Content("log"), "1");
  Load("(assert (go 2))");
  EXPECT_THROW(engine.Run(), EKBException);
  EXPECT_EQ(folder.Content("log"), "12");
  folder.Write("load.clp", "(printout log 3) (no-such-function)");
  EXPECT_THROW(engine.LoadFromFile(Path("load.clp")), EKBException);
  EXPECT_EQ(folder.Content("log"), "123");
  engine.Clear();
  EXPECT_EQ(engine.GetIOStreams().GetCount(), 0);
}

TEST_F(LogicalStreamsTest, WritingGoesToWhereReadingHasCome) {
  const struct {
    const char* what;
    std::string before;
    const TEncoding* encoding;
    std::string after;
  } kRows[] = {
      {"plain", "one\ntwo\nthree\n", nullptr, "one\nNEW\nthree\n"},
      {"bytes that are no text", "o\xFF\xFE\ntwo\xFF\nthree\xC3\n", nullptr,
       "o\xFF\xFE\nNEW\xFF\nthree\xC3\n"},
      {"Latin-1", "\xE4\xE4\ntwo\n\xE4", TEncoding::Latin1(), "\xE4\xE4\nNEW\n\xE4"},
  };
  for (const auto& row : kRows) {
    TKitStringStream memory(row.before);
    TKBClipsStream stream(&memory, row.encoding);
    stream.GetLine();
    stream.Put("NEW");
    EXPECT_EQ(memory.GetText(), row.after) << row.what;
  }
}

}  // namespace
}  // namespace reasoner
