#include "console/Terminal.h"

#include <cstdio>

#include "reasoner/language/TokenStream.h"
#include "reasoner/support/Unicode.h"

namespace console {

using namespace reasoner;

void Terminal::Print(const std::string& text) {
  const std::string shown = IsCleanUtf8(text, true) ? text : CleanUtf8(text, true);
  std::fwrite(shown.data(), 1, shown.size(), stdout);
}

bool Terminal::ReadLine(std::string& line) {
  line.clear();
  if (input_ended_) return false;
  std::fflush(stdout);
  int character = 0;
  while ((character = std::fgetc(stdin)) != EOF && character != '\n')
    line += static_cast<char>(character);
  if (!line.empty() && line.back() == '\r') line.pop_back();
  line = CleanUtf8(line, true);
  return character != EOF || !line.empty();
}

std::string Terminal::ReadAll() {
  std::string text;
  char buffer[65536];
  std::size_t count = 0;
  while ((count = std::fread(buffer, 1, sizeof(buffer), stdin)) > 0) text.append(buffer, count);
  EndInput();
  return text;
}

void Terminal::Attach(TReasoner& engine) {
  engine.OnPrintOut = [this](TReasoner&, const std::string&, const std::string& text) {
    Print(text);
  };
  engine.OnReadLine = [this](TReasoner& sender, const std::string&, std::string& text) {
    if (!ReadLine(text)) sender.SetInputEnded();
  };
  engine.OnReadToken = [this](TReasoner& sender, const std::string&, Ref<IStreamToken>& token) {
    // The first token of the next line that has one; the rest of the line is dropped.
    std::string line;
    while (ReadLine(line)) {
      TKBClipsStream stream(std::make_unique<TKitStringStream>(line));
      stream.SetEngine(&sender);
      token = stream.NextToken();
      if (!token->IsEnd()) return;
    }
    token = nullptr;
  };
}

}  // namespace console
