#include "reasoner/engine/Dialogs.h"

#include <cstddef>
#include <vector>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/support/Streams.h"
#include "reasoner/support/Unicode.h"

namespace reasoner {

static const std::string kDialogTerminal = "t";

void TTerminalDialogs::ShowMessage(const std::string& text) {
  engine_.PrintOut(kDialogTerminal, text + std::string(NewLineString));
}

std::optional<std::string> TTerminalDialogs::Ask(const std::string&, const std::string& prompt,
                                                 const std::string& initial) {
  engine_.PrintOut(kDialogTerminal, prompt + (initial.empty() ? "" : " [" + initial + "]") + ": ");
  const std::string answer = engine_.ReadLine(kDialogTerminal);
  return answer.empty() ? initial : answer;
}

// The button that an answer means: by its name, or by a first letter that no other one has.
static std::optional<TMsgDlgBtn> FindButton(std::string_view answer,
                                            const std::vector<TMsgDlgBtn>& buttons) {
  std::optional<TMsgDlgBtn> found;
  std::size_t count = 0;
  for (const TMsgDlgBtn button : buttons) {
    const std::string_view name = kButtonNames[button];
    if (EqualsIgnoreCase(answer, name)) return button;
    if (answer.size() != 1 || !EqualsIgnoreCase(answer, name.substr(0, 1))) continue;
    found = button;
    ++count;
  }
  return count == 1 ? found : std::nullopt;
}

TMsgDlgBtn TTerminalDialogs::Choose(const std::string& text, TMsgDlgType, TMsgDlgButtons set,
                                    std::int32_t) {
  std::vector<TMsgDlgBtn> buttons;
  std::string names;
  for (std::size_t i = 0; i < kButtonNames.size(); ++i) {
    const auto button = static_cast<TMsgDlgBtn>(i);
    if (!set.Has(button)) continue;
    buttons.push_back(button);
    names += (names.empty() ? "" : "/") + std::string(kButtonNames[i]);
  }
  for (int attempt = 0; attempt < 2; ++attempt) {
    engine_.PrintOut(kDialogTerminal, text + " (" + names + "): ");
    const std::string line = engine_.ReadLine(kDialogTerminal);
    const std::string_view answer = Trim(line);
    if (answer.empty()) break;
    if (const auto button = FindButton(answer, buttons)) return *button;
  }
  if (set.Has(mbCancel)) return mbCancel;
  if (set.Has(mbNo) || buttons.empty()) return mbNo;
  return buttons.front();
}

}  // namespace reasoner
