#include "console/Prompt.h"

#include <exception>
#include <optional>
#include <string>

#include "console/Commands.h"
#include "console/ExpressionScanner.h"
#include "console/Interrupts.h"
#include "console/LineEditor.h"
#include "console/Report.h"
#include "reasoner/vocabulary/KBExceptions.h"

namespace console {

using namespace reasoner;

static void Evaluate(TReasoner& engine, Terminal& terminal, const std::string& text) {
  const Evaluation evaluation(engine);
  try {
    engine.Parse(text, true);
  } catch (const EAbort&) {
    throw;
  } catch (const EKBInterrupted& failure) {
    terminal.DropInput();
    terminal.Print("\n");  // behind the terminal's own "^C"
    Report(engine, failure);
  } catch (const std::exception& failure) {
    Report(engine, failure);
  }
}

void Converse(TReasoner& engine, Terminal& terminal) {
  const InterruptHandler handler(InterruptHandler::kPrompt);
  LineEditor editor(terminal,
                    [&engine](const std::string& start) { return NamesFor(engine, start); });
  std::string text;
  ExpressionScanner scanner;  // has seen the text
  std::string line;
  while (true) {
    const LineEditor::TOutcome outcome =
        editor.ReadLine(text.empty() ? "reasoner> " : "       .. ", line);
    if (outcome == LineEditor::kEnd && text.empty()) return;
    if (outcome != LineEditor::kLine) {
      text.clear();  // an unfinished input is given up
      scanner = ExpressionScanner();
    } else if (const auto answer = text.empty() ? AnswerCommand(engine, line) : std::nullopt) {
      terminal.Print(*answer);
    } else {
      line += '\n';
      text += line;
      for (const char character : line) scanner.Take(character);
      if (scanner.IsOpen()) continue;
      Evaluate(engine, terminal, text);
      text.clear();
      scanner = ExpressionScanner();
    }
  }
}

}  // namespace console
