// Dialogs: what rules show to the user and ask of him.
//
// A host offers them by giving the engine an object of its own class; without one, they are held
// over the terminal.

#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "reasoner/support/Set.h"

namespace reasoner {

class TReasoner;

enum TMsgDlgType : std::uint8_t { mtWarning, mtError, mtInformation, mtConfirmation, mtCustom };
inline constexpr std::array<std::string_view, 5> kDialogTypeNames{
    "mtWarning", "mtError", "mtInformation", "mtConfirmation", "mtCustom"};

enum TMsgDlgBtn : std::uint8_t {
  mbYes,
  mbNo,
  mbOK,
  mbCancel,
  mbAbort,
  mbRetry,
  mbIgnore,
  mbAll,
  mbNoToAll,
  mbYesToAll,
  mbHelp
};
using TMsgDlgButtons = Set<TMsgDlgBtn>;
// As the user sees the buttons, in ordinal order.
inline constexpr std::array<std::string_view, 11> kButtonNames{
    "Yes", "No", "OK", "Cancel", "Abort", "Retry", "Ignore", "All", "NoToAll", "YesToAll", "Help"};

class IDialogs {
 public:
  virtual ~IDialogs() = default;
  virtual void ShowMessage(const std::string& text) = 0;
  // What the user has entered; nothing when he cancels.
  virtual std::optional<std::string> Ask(const std::string& caption, const std::string& prompt,
                                         const std::string& initial) = 0;
  // One of the buttons, of which there is at least one. `help_context` is 0 where none was given.
  virtual TMsgDlgBtn Choose(const std::string& text, TMsgDlgType type, TMsgDlgButtons buttons,
                            std::int32_t help_context) = 0;
};

// Dialogs as lines of the terminal "t". They never wait for more than the input holds: at its end,
// or after an answer that nobody understands twice, they take the answer that does the least.
class TTerminalDialogs final : public IDialogs {
 public:
  explicit TTerminalDialogs(TReasoner& engine) : engine_(engine) {}

  void ShowMessage(const std::string& text) override;
  std::optional<std::string> Ask(const std::string& caption, const std::string& prompt,
                                 const std::string& initial) override;
  TMsgDlgBtn Choose(const std::string& text, TMsgDlgType type, TMsgDlgButtons buttons,
                    std::int32_t help_context) override;

 private:
  TReasoner& engine_;
};

}  // namespace reasoner
