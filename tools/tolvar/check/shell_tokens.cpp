#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "tools/tolvar/check/shell_text.h"

namespace check {
namespace {

// The longest first.
constexpr std::array<std::string_view, 20> operators = {"&>>", "<<<", "<<-", "&&", "||", ";;", "&>",
                                                        ">&",  "<&",  ">>",  "<<", "<>", ">|", "&",
                                                        "|",   ";",   "<",   ">",  "(",  ")"};

class Scanner {
 public:
  explicit Scanner(const std::string& line) : line_(line) {}

  std::vector<Token> Tokens() {
    while (at_ < line_.size()) Next();
    return tokens_;
  }

 private:
  void Next() {
    const char c = line_[at_];
    if (c == ' ' || c == '\t' || c == '\r') {
      ++at_;
    } else if (c == '\n') {
      tokens_.push_back({true, ";"});
      ++at_;
    } else if (c == '#') {
      at_ = std::min(line_.find('\n', at_), line_.size());
    } else if (!TakeOperator()) {
      TakeWord();
    }
  }

  bool TakeOperator() {
    const std::size_t digits = line_.find_first_not_of("0123456789", at_);
    const bool hasNumber =
        digits != line_.npos && digits > at_ && (line_[digits] == '<' || line_[digits] == '>');
    const std::size_t start = hasNumber ? digits : at_;
    for (const std::string_view symbol : operators) {
      if (line_.compare(start, symbol.size(), symbol) != 0) continue;
      tokens_.push_back({true, line_.substr(at_, start + symbol.size() - at_)});
      at_ = start + symbol.size();
      return true;
    }
    return false;
  }

  void TakeWord() {
    std::string word;
    while (at_ < line_.size() && std::strchr(" \t\r\n&|;<>()", line_[at_]) == nullptr) {
      TakePiece(word);
    }
    tokens_.push_back({false, word});
  }

  void TakePiece(std::string& word) {
    const char c = line_[at_];
    if (c == '\\') {
      if (at_ + 1 < line_.size()) word += line_[at_ + 1];
      at_ += 2;
    } else if (c == '\'' || c == '"' || c == '`') {
      TakeQuoted(c, word);
    } else if (line_.compare(at_, 2, "$(") == 0) {
      TakeSubstitution(word);
    } else {
      word += c;
      ++at_;
    }
  }

  void TakeQuoted(char quote, std::string& word) {
    for (++at_; at_ < line_.size() && line_[at_] != quote; ++at_) {
      if (line_[at_] == '\\' && quote != '\'' && at_ + 1 < line_.size()) ++at_;
      word += line_[at_];
    }
    ++at_;
    if (quote == '`') word += "$(";  // known only when it runs
  }

  void TakeSubstitution(std::string& word) {
    int depth = 0;
    for (; at_ < line_.size(); ++at_) {
      word += line_[at_];
      depth += line_[at_] == '(' ? 1 : 0;
      depth -= line_[at_] == ')' ? 1 : 0;
      if (line_[at_] == ')' && depth == 0) break;
    }
    ++at_;
  }

  const std::string& line_;
  std::size_t at_ = 0;
  std::vector<Token> tokens_;
};

}  // namespace

std::vector<Token> TokensOf(const std::string& line) { return Scanner(line).Tokens(); }

}  // namespace check
