// The functions that read and write: files, the terminal, dialogs.

#include <deque>
#include <filesystem>
#include <optional>

#include "reasoner/engine/Dialogs.h"
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
  Check(R"(
    (open "f" f w) (printout f one " " 2 crlf crlf "a \"q\" b" crlf)  ; values: f
    (format f "%5.2f%n" 3.14159) (close f) (open "f" f) (read f)  ; values: TRUE, f, one
    (readline f)  ; expect: ""
    (readline f) (read f) (readline f) (read f)  ; values: "a \"q\" b", 3.1400, EOF, EOF
    (close f)  ; expect: TRUE )");
  EXPECT_EQ(Content("f"), "one 2\n\na \"q\" b\n 3.14\n");
}

TEST_F(FileFunctionsTest, Modes) {
  folder_.Write("old", "12345\n67890\n");
  Check(R"(
    (open "old" a a) (printout a end) (open "new" b "a") (printout b begin)  ; values: a, b
    (close a b) (open "old" rw "r+") (readline rw) (printout rw ab)  ; values: TRUE, rw, "12345"
    (readline rw) (close rw)  ; values: "890", TRUE )");
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
  Check(R"(
    (rename "a" "b") (rename "a" "link") (rename "missing" "c")  ; values: FALSE, FALSE, FALSE
    (rename "a" "no/such/folder") (rename "a" "c") (remove "folder")  ; values: FALSE, TRUE, FALSE
    (remove "link") (remove "c")  ; values: FALSE, TRUE )");
  EXPECT_EQ(Content("b"), "b");
  EXPECT_FALSE(fs::exists("c"));
}

TEST_F(FileFunctionsTest, SavingAndLoading) {
  Check(R"(
    (deftemplate p (slot x)) (assert (p (x 1)) (q 2) (p (x 3)) (r 4))
    (save-facts "f" q p none) (save "all") (clear) (load "all")  ; values: TRUE, TRUE, TRUE, TRUE, <Fact-4>, TRUE
    (save-facts "again" q p)  ; expect: TRUE )");
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
  Check(R"-(
    (open "rules" out w) (printout out "(deffunction seven () 7)" crlf)  ; values: out
    (load "rules") (seven) (rename "rules" "laws")  ; values: TRUE, 7, TRUE
    (printout out "(deffunction eight () 8)" crlf) (batch "laws") (eight)  ; values: TRUE, 8 )-");
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
  Check(R"(
    (printout log "a" crlf) (printout nowhere b) (format log "%d" 7)  ; values:  )");
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

class DialogFunctionsTest : public EngineTest {
 protected:
  // The lines that the terminal gives from now on; behind them is the end of its input.
  void Answers(std::deque<std::string> lines) {
    lines_ = std::move(lines);
    engine.OnReadLine = [this](TReasoner&, const std::string& in_id, std::string& text) {
      EXPECT_EQ(in_id, "t");
      if (lines_.empty()) return;
      text = lines_.front();
      lines_.pop_front();
    };
  }

 private:
  std::deque<std::string> lines_;
};

TEST_F(DialogFunctionsTest, OverTheTerminal) {
  Answers({"Ada", ""});
  ExpectShown({
      {"(show-message \"hello\")", "TRUE"},
      {"(input-box \"caption\" \"Name\" \"Bob\")", "\"Ada\""},
      {"(input-query \"caption\" \"Name\" \"Bob\")", "\"Bob\""},
      {"(input-box)", "\"\""},
  });
  EXPECT_EQ(TakeOutput(), "hello\nName [Bob]: Name [Bob]: : ");
}

TEST_F(DialogFunctionsTest, ChoosingOverTheTerminal) {
  const struct {
    const char* buttons;
    std::deque<std::string> answers;
    const char* result;
  } kRows[] = {
      {"[mbYes, mbNo, mbCancel]", {"yes"}, "mrYes"},
      {"[mbYes, mbNo, mbCancel]", {" N "}, "mrNo"},
      {"[mbYes,mbYesToAll]", {"y", "YESTOALL"}, "mrYesToAll"},  // two begin with y
      {"[mbYes,mbNo,mbCancel]", {"x", "z", "yes"}, "mrCancel"},
      {"[mbOK,mbHelp]", {}, "mrOk"},
      {"[mnNoToAll]", {"notoall"}, "mrNoToAll"},
      {"[mbNoToAll, mbAll]", {"n"}, "mrNoToAll"},
  };
  for (const auto& row : kRows) {
    Answers(row.answers);
    ExpectShown(
        {{"(message-dlg \"Well?\" mtWarning \"" + std::string(row.buttons) + "\" 7)", row.result}});
  }
  TakeOutput();
  Answers({"x"});
  ExpectShown({{"(message-dlg \"Well?\" mtError)", "mrOk"}});
  EXPECT_EQ(TakeOutput(), "Well? (OK): Well? (OK): ");
  ExpectError("(message-dlg \"Well?\" mtOther)", "Unknown dialog type name: mtOther");
  ExpectError("(message-dlg \"Well?\" mtError \"[mbMaybe]\")", "Invalid item for set: mbMaybe");
}

class Host final : public IDialogs {
 public:
  void ShowMessage(const std::string& text) override { log += "show " + text + ";"; }
  std::optional<std::string> Ask(const std::string& caption, const std::string& prompt,
                                 const std::string& initial) override {
    log += "ask " + caption + "," + prompt + "," + initial + ";";
    return std::nullopt;
  }
  TMsgDlgBtn Choose(const std::string& text, TMsgDlgType type, TMsgDlgButtons buttons,
                    std::int32_t help_context) override {
    log += "choose " + text + "," + std::to_string(type) + "," + std::to_string(buttons.Bits()) +
           "," + std::to_string(help_context) + ";";
    return mbHelp;
  }
  std::string log;
};

TEST_F(DialogFunctionsTest, AHostsOwn) {
  Host host;
  engine.SetDialogs(&host);
  Check(R"(
    (show-message m) (input-box c p d) (input-query c)  ; values: TRUE, "d", FALSE
    (message-dlg m mtCustom "mbYes mbHelp" 3)  ; expect: mrHelp )");
  EXPECT_EQ(host.log, "show m;ask c,p,d;ask c,,;choose m,4,1025,3;");
  engine.SetDialogs(nullptr);
  Show("(show-message m)");
  EXPECT_EQ(TakeOutput(), "m\n");
}

}  // namespace
}  // namespace reasoner
