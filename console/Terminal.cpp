#include "console/Terminal.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string_view>
#include <utility>

#include "console/ExpressionScanner.h"
#include "console/Interrupts.h"
#include "reasoner/language/TokenStream.h"
#include "reasoner/support/Unicode.h"
#include "reasoner/vocabulary/KBExceptions.h"
#include "reasoner/vocabulary/Messages.h"

namespace console {

using namespace reasoner;

static constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

void Terminal::Print(const std::string& text) {
  const std::string shown = IsCleanUtf8(text, true) ? text : CleanUtf8(text, true);
  std::fwrite(shown.data(), 1, shown.size(), stdout);
}

int Terminal::NextByte(void (*deliver)()) {
  if (position_ == buffer_.size()) {
    std::fflush(stdout);
    buffer_.clear();
    position_ = 0;
    std::array<char, 65536> bytes;
    ssize_t count = 0;
    do {
      if (!WaitForInput(deliver)) throw EKBInterrupted(std::string(SInterrupted.kFormat));
      count = read(STDIN_FILENO, bytes.data(), bytes.size());
    } while (count < 0 && (errno == EINTR || errno == EAGAIN));
    if (count <= 0) return kEnd;
    buffer_.assign(bytes.data(), static_cast<std::size_t>(count));
  }
  return static_cast<unsigned char>(buffer_[position_++]);
}

bool Terminal::HasByte(int milliseconds) const {
  return position_ < buffer_.size() || HasInput(milliseconds);
}

bool Terminal::ReadLine(std::string& line) {
  if (in_line_) HoldLine();
  line.clear();
  int byte = 0;
  // A terminal that a line editor has had leaves carriage returns at the ends of lines that were
  // typed ahead.
  const bool is_terminal = isatty(STDIN_FILENO) != 0;
  while ((byte = NextByte()) != kEnd && byte != '\n' && (byte != '\r' || !is_terminal))
    line += static_cast<char>(byte);
  if (!line.empty() && line.back() == '\r') line.pop_back();
  if (byte == kEnd && line.empty()) return false;
  ++data_lines_;
  line = CleanUtf8(line, true);
  return true;
}

void Terminal::DropInput() {
  buffer_.clear();
  position_ = 0;
}

void Terminal::HoldLine() {
  held_.erase(0, held_position_);
  held_position_ = 0;
  int byte = 0;
  while (byte != '\n' && (byte = NextByte()) != kEnd) held_ += static_cast<char>(byte);
  in_line_ = false;
}

int Terminal::NextOfProgram() {
  if (held_position_ < held_.size()) return static_cast<unsigned char>(held_[held_position_++]);
  held_.clear();
  held_position_ = 0;
  if (!in_line_) place_.line += std::exchange(data_lines_, 0);
  const int byte = NextByte();
  in_line_ = byte != '\n' && byte != kEnd;
  return byte;
}

void Terminal::PutBackOfProgram(char character) {
  if (held_position_ > 0) {
    --held_position_;
  } else {
    held_ = character;
  }
}

// As the engine counts.
void Terminal::Count(char character) {
  if (character == '\n' || character == '\r') {
    if (character == '\r' || !after_return_) ++place_.line;
    place_.column = 1;
  } else if ((static_cast<unsigned char>(character) & 0xC0) != 0x80) {
    ++place_.column;
  }
  after_return_ = character == '\r';
}

bool Terminal::ReadExpression(std::string& text, TTextPlace& start) {
  text.clear();
  ExpressionScanner scanner;
  while (true) {
    const int byte = NextOfProgram();
    if (byte == kEnd) return !text.empty();
    const char character = static_cast<char>(byte);
    if (scanner.EndsBefore(character)) {
      PutBackOfProgram(character);
      return true;
    }
    if (text.empty() && scanner.BeginsWith(character)) {
      start = place_;
      text = character;
    } else if (!text.empty()) {
      text += character;
    }
    Count(character);
    if (scanner.Take(character)) return true;
    if (text == kByteOrderMark && start.line == 1 && start.column == 1) {
      text.clear();
      scanner = ExpressionScanner();
      place_.column = 1;
    }
  }
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
