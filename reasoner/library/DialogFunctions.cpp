// Dialogs with the user, through what the host offers for them.

#include <algorithm>
#include <array>
#include <optional>
#include <string>

#include "reasoner/engine/Dialogs.h"
#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/language/TextHelpers.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

class TShowMessageFunction final : public TBuiltinFunction<TShowMessageFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "show-message",
                                       .syntax = " <string-expression> ",
                                       .arguments = Exactly(1),
                                       .comment = "Displays a message box with an OK button",
                                       .example = "(show-message \"All is well\")"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text text = TextArgument(fun_call, 0, context);
    EngineOf(context).GetDialogs().ShowMessage(text.str());
    result = FCTrue;
  }
};

struct TQuestion {
  std::string initial;
  std::optional<std::string> answer;  // nothing when the user has cancelled
};

// Asks with caption, prompt and initial text, as far as the call has them.
TQuestion AskUser(const IFunCall& fun_call, TKBContext& context) {
  std::array<std::string, 3> texts;
  for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
    texts[static_cast<std::size_t>(i)] = TextArgument(fun_call, i, context).str();
  }
  return {texts[2], EngineOf(context).GetDialogs().Ask(texts[0], texts[1], texts[2])};
}

class TInputBoxFunction final : public TBuiltinFunction<TInputBoxFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "input-box",
      .syntax = " [<caption-string> [<prompt-string> [<default-string>]]]",
      .arguments = Between(0, 3),
      .comment =
          "Displays an input dialog box that enables the user to enter a string and returns the "
          "string (or <default-string> if user cancelled)",
      .example = "(input-box \"Fruit\" \"How many\" \"none\")"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const TQuestion question = AskUser(fun_call, context);
    result = NewString(question.answer.value_or(question.initial));
  }
};

class TInputQueryFunction final : public TBuiltinFunction<TInputQueryFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "input-query",
      .syntax = " [<caption-string> [<prompt-string> [<default-string>]]]",
      .arguments = Between(0, 3),
      .comment =
          "Displays an input dialog box that enables the user to enter a string.  The string value "
          "entered by the user is returned if the user clicks OK, otherwise FALSE is returned",
      .example = "(input-query \"Fruit\" \"How many\")"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const TQuestion question = AskUser(fun_call, context);
    result = question.answer ? NewString(*question.answer) : Ref<IKBValue>(FCFalse);
  }
};

class TMessageDlgFunction final : public TBuiltinFunction<TMessageDlgFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "message-dlg",
      .syntax =
          " <string-expression> mtWarning|mtError|mtInformation|mtConfirmation|mtCustom "
          "<string-set-expression> [<integer-expression>]",
      .arguments = Between(2, 4),
      .comment =
          "Displays a message box and returns a string value of the button the user selected.  The "
          "<string-set-expression> is a string containing the set representation of any "
          "combination of mbYes, mbNo, mbOK, mbCancel, mbAbort, mbRetry, mbIgnore, mbAll, "
          "mnNoToAll, mbYesToAll, and mbHelp (for example, \"[mbYes, mbNo, mbCancel]\").  The "
          "function returns a symbol representing the button pressed: mrYes, mrNo, mrOk, mrCancel, "
          "mrAbort, mrRetry, mrIgnore, mrAll, mrNoToAll, or mrYesToAll.  The <integer-expression> "
          "argument specifies the context ID for the help topic that should appear when the user "
          "clicks the help button or presses F1 while the dialog is displayed",
      .example = "(message-dlg \"Go on?\" mtConfirmation \"[mbYes, mbNo, mbCancel]\")"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const std::int32_t count = fun_call.GetArgumentCount();
    const Text text = TextArgument(fun_call, 0, context);
    const TMsgDlgType type = FindType(TextArgument(fun_call, 1, context));
    const TMsgDlgButtons buttons =
        count > 2 ? ReadButtons(TextArgument(fun_call, 2, context)) : TMsgDlgButtons(mbOK);
    const std::int32_t help_context = count > 3 ? IntegerArgument(fun_call, 3, context) : 0;
    IDialogs& dialogs = EngineOf(context).GetDialogs();
    result = NewAtom(kResults[dialogs.Choose(text.str(), type, buttons, help_context)]);
  }

 private:
  // In the order of the buttons; behind them the other spelling of one.
  static constexpr std::array<std::string_view, 12> kButtons{
      "mbYes",    "mbNo",  "mbOK",      "mbCancel",   "mbAbort", "mbRetry",
      "mbIgnore", "mbAll", "mbNoToAll", "mbYesToAll", "mbHelp",  "mnNoToAll"};
  static constexpr std::array<std::string_view, 11> kResults{
      "mrYes",    "mrNo",  "mrOk",      "mrCancel",   "mrAbort", "mrRetry",
      "mrIgnore", "mrAll", "mrNoToAll", "mrYesToAll", "mrHelp"};

  static TMsgDlgType FindType(const Text& word) {
    const auto found = std::find(kDialogTypeNames.begin(), kDialogTypeNames.end(), word.view());
    if (found == kDialogTypeNames.end()) Raise(SUnknownName, "dialog type", word.view());
    return static_cast<TMsgDlgType>(found - kDialogTypeNames.begin());
  }

  static TMsgDlgButtons ReadButtons(const Text& text) {
    constexpr std::uint32_t kOtherSpelling = std::uint32_t{1} << (kButtons.size() - 1);
    const std::uint32_t bits = StringToSet(text, kButtons, "");
    auto buttons = TMsgDlgButtons::FromBits(bits & ~kOtherSpelling);
    if ((bits & kOtherSpelling) != 0) buttons += mbNoToAll;
    return buttons.empty() ? TMsgDlgButtons(mbOK) : buttons;
  }
};

}  // namespace

void AddDialogFunctions(TUserFunctionList& functions) {
  functions
      .AddNew<TInputBoxFunction, TInputQueryFunction, TMessageDlgFunction, TShowMessageFunction>();
}

}  // namespace reasoner
