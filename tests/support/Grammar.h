// Random texts out of a grammar. A line of it adds alternatives to a symbol:
//
//   fact = (<name> <value>) || (<name>)
//
// `<symbol>` stands for one of its alternatives and `<symbol word>` for one in which each % is that
// word. A symbol with a capital letter has one expansion for as long as the drawing lasts. A line
// break is written @, an alternative that is empty _.

#pragma once

#include <algorithm>
#include <cctype>
#include <map>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace reasoner {

class Grammar {
 public:
  explicit Grammar(std::istream& stream) {
    for (std::string line; std::getline(stream, line);) {
      const std::size_t equal = line.find(" = ");
      if (line.empty() || line.front() == '#') continue;
      if (equal == std::string::npos) throw std::runtime_error("no grammar: " + line);
      std::vector<std::string>& alternatives = symbols_[line.substr(0, equal)];
      std::replace(line.begin(), line.end(), '@', '\n');
      for (std::size_t begin = equal + 3; begin <= line.size();) {
        const std::size_t end = std::min(line.find(" || ", begin), line.size());
        alternatives.push_back(line.substr(begin, end - begin));
        if (alternatives.back() == "_") alternatives.back().clear();
        begin = end + 4;
      }
    }
  }

  class Drawing {
   public:
    Drawing(const Grammar& grammar, std::uint32_t seed) : grammar_(grammar), random_(seed) {}

    std::uint32_t Below(std::uint32_t count) {
      return static_cast<std::uint32_t>(random_()) % count;
    }
    std::string Expand(const std::string& symbol, const std::string& word = "") {
      const auto found = grammar_.symbols_.find(symbol);
      if (found == grammar_.symbols_.end()) throw std::runtime_error("no symbol: " + symbol);
      const bool is_kept = symbol.front() >= 'A' && symbol.front() <= 'Z';
      if (is_kept && kept_.count(symbol) > 0) return kept_[symbol];
      std::string text = found->second[Below(static_cast<std::uint32_t>(found->second.size()))];
      for (std::size_t at = 0; (at = text.find('%', at)) != std::string::npos; at += word.size())
        text.replace(at, 1, word);
      for (std::size_t at = 0; (at = text.find('<', at)) != std::string::npos;) {
        const std::size_t end = text.find('>', at);
        const bool is_symbol = end != std::string::npos && std::isalpha(text[at + 1]) != 0;
        std::istringstream inside(is_symbol ? text.substr(at + 1, end - at - 1) : "");
        std::string name;
        std::string argument;
        inside >> name >> argument;
        const std::string made = is_symbol ? Expand(name, argument) : "<";
        text.replace(at, is_symbol ? end - at + 1 : 1, made);
        at += made.size();
      }
      if (is_kept) kept_[symbol] = text;
      return text;
    }

   private:
    const Grammar& grammar_;
    std::mt19937 random_;
    std::map<std::string, std::string> kept_;
  };

 private:
  std::map<std::string, std::vector<std::string>> symbols_;
};

}  // namespace reasoner
