#include "tests/oracle/Words.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <unordered_map>

namespace reasoner::oracle {

static TWord::Kind KindOf(std::string_view text) {
  if (text.starts_with("?*")) return TWord::kGlobal;
  if (text.starts_with("?") || text.starts_with("$?")) return TWord::kVariable;
  if (text.starts_with('"')) return TWord::kString;
  if (text.starts_with('#')) return TWord::kFactId;
  const std::size_t sign = text.starts_with('-') ? 1 : 0;
  if (text.size() == sign || text[sign] < '0' || text[sign] > '9') return TWord::kAtom;
  return text.find_first_of(".e") == std::string_view::npos ? TWord::kInteger : TWord::kFloat;
}

const TWord::TInfo& TWord::Intern(std::string_view text) {
  static std::deque<TInfo> words;
  static std::unordered_map<std::string_view, const TInfo*> found;
  const TInfo*& known = found[text];
  if (known != nullptr) return *known;
  TInfo& info = words.emplace_back();
  info.text = text;
  found.erase(text);
  found[info.text] = &info;
  info.kind = KindOf(text);
  info.index = static_cast<std::int32_t>(words.size());
  info.value = &info;
  if (info.kind == kFactId) {
    info.number = std::strtod(info.text.c_str() + 1, nullptr);
  } else if (info.kind == kInteger) {
    info.number = std::strtod(info.text.c_str(), nullptr);
  } else if (info.kind == kFloat) {
    info.number = std::strtod(info.text.c_str(), nullptr);
    if (text != "0.0" && info.number == 0) info.value = &Intern("0.0");
  }
  return info;
}

TWord::TWord(std::string_view text) : info_(&Intern(text)) {}

TWord TWord::FactId(std::int32_t id) { return TWord("#" + std::to_string(id)); }

TWord TWord::Float(double number) {
  char digits[40];
  const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, number);
  std::string text(digits, end.ptr);
  if (text.find_first_of(".e") == std::string::npos) text += ".0";
  return TWord(text).Value();
}

std::string TWord::Content() const {
  const std::string& text = info_->text;
  if (info_->kind == kString) return text.substr(1, text.size() - 2);
  return text == "nil" ? std::string() : text;
}

// A number's is its whole part; of a text of 16 characters and more about eight count.
std::uint32_t TWord::HashCode() const {
  if (info_->kind == kInteger || info_->kind == kFloat || info_->kind == kFactId)
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(info_->number));
  const std::string text = Content();
  const std::size_t step = text.size() < 16 ? 1 : text.size() / 8;
  std::uint32_t hash = 0;
  for (std::size_t i = 0; i < text.size(); i += step)
    hash = hash * 31 + static_cast<unsigned char>(text[i]);
  return hash;
}

}  // namespace reasoner::oracle
