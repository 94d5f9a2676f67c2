#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "tools/tolvar/check/shell_text.h"

namespace check {
namespace {

[[nodiscard]] bool IsOneOf(std::string_view word, std::initializer_list<std::string_view> list) {
  return std::find(list.begin(), list.end(), word) != list.end();
}

[[nodiscard]] bool IsAssignment(const std::string& word) {
  const std::size_t sign = word.find('=');
  return sign != word.npos && sign > 0 && word.find_first_of("/-.$") > sign;
}

[[nodiscard]] bool IsKeyword(const std::string& word) {
  return IsOneOf(word, {"if", "then", "else", "elif", "fi", "do", "done", "while", "until", "{",
                        "}", "!", "time"});
}

std::string BaseName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

void Redirect(const std::string& symbol, const std::string& target, Command& command) {
  const std::size_t start = symbol.find_first_not_of("0123456789");
  const std::string number = symbol.substr(0, start);
  const std::string sign = symbol.substr(start);
  const bool isCopy = target.find_first_not_of("0123456789-") == target.npos;
  const bool isBoth = sign[0] == '&' || (sign == ">&" && number.empty() && !isCopy);
  const bool isInput = sign[0] == '<';
  if (isBoth || number == "1" || (number.empty() && !isInput)) command.outputGiven = true;
  // A copy of an output that is still the host's is the host's as well.
  const bool isHosts = sign == ">&" && target == "1" && !command.outputGiven;
  if (isBoth || (number == "2" && !isHosts)) command.errorGiven = true;
  if (number == "0" || (number.empty() && isInput)) command.inputGiven = true;
}

// Splits at the operators that end a command, and remembers how the lists end.
class Splitter {
 public:
  std::vector<Command> Split(const std::vector<Token>& tokens) {
    for (std::size_t i = 0; i < tokens.size(); ++i) {
      if (!tokens[i].isOperator) {
        TakeWord(tokens[i].text);
      } else if (tokens[i].text.find_first_of("<>") != std::string::npos) {
        if (i + 1 < tokens.size()) Redirect(tokens[i].text, tokens[i + 1].text, command_);
        ++i;
      } else {
        End(tokens[i].text);
      }
    }
    End(";");
    return commands_;
  }

 private:
  void TakeWord(const std::string& word) {
    const bool isFirst = command_.words.empty();
    if (isFirst && (IsAssignment(word) || IsKeyword(word))) return;
    command_.words.push_back(word);
  }

  void End(const std::string& symbol) {
    command_.inAndList = symbol == "&&" || symbol == "||";
    commands_.push_back(command_);
    if (symbol == "&") {
      for (std::size_t i = listStart_; i < commands_.size(); ++i) commands_[i].inBackground = true;
    }
    const bool endsList = symbol == "&" || symbol == ";" || symbol == ";;" || symbol == "(";
    if (endsList) listStart_ = commands_.size();
    command_ = {};
  }

  std::vector<Command> commands_;
  Command command_;
  std::size_t listStart_ = 0;  // of the commands that an "&" would put into the background
};

}  // namespace

std::vector<Command> CommandsOf(const std::string& line) {
  return Splitter().Split(TokensOf(line));
}

Program ProgramOf(const Command& command) {
  std::string interpreter;
  for (const std::string& word : command.words) {
    const bool isNumber = word.find_first_not_of("0123456789") == word.npos;
    if (word.empty() || word[0] == '-' || isNumber || IsAssignment(word)) continue;
    const std::string name = BaseName(word);
    const bool isWrapper = IsOneOf(name, {"setsid", "nohup", "exec", "nice", "ionice", "env",
                                          "command", "busybox", "chrt", "taskset", "stdbuf"});
    if (isWrapper) continue;
    const bool isShell = IsOneOf(name, {"sh", "ash", "bash", "dash"});
    if (interpreter.empty() &&
        (isShell || name.rfind("python", 0) == 0 || name == "perl" || name == "lua")) {
      interpreter = name;
      continue;
    }
    return {word, interpreter};
  }
  return {"", interpreter};
}

}  // namespace check
