#include <gtest/gtest.h>

#include <deque>
#include <optional>
#include <string>

#include "reasoner/engine/Dialogs.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

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
  ExpectShown({
      {"(show-message m)", "TRUE"},
      {"(input-box c p d)", "\"d\""},
      {"(input-query c)", "FALSE"},
      {"(message-dlg m mtCustom \"mbYes mbHelp\" 3)", "mrHelp"},
  });
  EXPECT_EQ(host.log, "show m;ask c,p,d;ask c,,;choose m,4,1025,3;");
  engine.SetDialogs(nullptr);
  Show("(show-message m)");
  EXPECT_EQ(TakeOutput(), "m\n");
}

}  // namespace
}  // namespace reasoner
