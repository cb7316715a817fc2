// Texts of programs, each held once: constants as they are written, and names with their "?".

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace reasoner::oracle {

class TWord {
 public:
  enum Kind : std::uint8_t { kAtom, kString, kInteger, kFloat, kFactId, kVariable, kGlobal };

  TWord() : TWord(std::string_view()) {}
  TWord(std::string_view text);
  TWord(const std::string& text) : TWord(std::string_view(text)) {}
  TWord(const char* text) : TWord(std::string_view(text)) {}
  static TWord FactId(std::int32_t id);
  static TWord Float(double number);

  const std::string& Text() const { return info_->text; }
  bool IsEmpty() const { return info_->text.empty(); }
  Kind GetKind() const { return info_->kind; }
  bool IsVariable() const { return info_->kind >= kVariable; }
  bool IsMultiVariable() const { return info_->text.size() > 1 && info_->text[0] == '$'; }
  bool IsNumber() const { return info_->kind == kInteger || info_->kind == kFloat; }
  // Of numbers and fact ids.
  double GetNumber() const { return info_->number; }
  // A number for each word, the same in each run of the same programs.
  std::int32_t GetIndex() const { return info_->index; }
  // The constant that it is equal to: -0.0 is 0.0.
  TWord Value() const { return TWord(*info_->value); }
  // The constant without its quotes.
  std::string Content() const;
  std::uint32_t HashCode() const;

  friend bool operator==(TWord a, TWord b) { return a.info_ == b.info_; }

 private:
  struct TInfo {
    std::string text;
    Kind kind = kAtom;
    double number = 0;
    std::int32_t index = 0;
    const TInfo* value = nullptr;
  };
  explicit TWord(const TInfo& info) : info_(&info) {}
  static const TInfo& Intern(std::string_view text);

  const TInfo* info_;
};

}  // namespace reasoner::oracle
