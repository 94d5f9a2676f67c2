// The commands of a shell command line, as far as a check of an entry point needs them: no variable
// is expanded, no substitution looked into.
#pragma once

#include <string>
#include <vector>

namespace check {

struct Token {
  bool isOperator = false;
  std::string
      text;  // a word without its quotes; an operator, with a number in front where it has one
};

// Words and operators in their order; comments are left out.
[[nodiscard]] std::vector<Token> TokensOf(const std::string& line);

struct Command {
  std::vector<std::string> words;  // without assignments, redirections and words like "if"
  bool inputGiven = false;         // standard input, output and error are not the host's
  bool outputGiven = false;
  bool errorGiven = false;
  bool inAndList = false;  // joined with the next by "&&" or "||"
  bool inBackground = false;
};

// The simple commands of `line`. What follows a bracket's end is one without words.
[[nodiscard]] std::vector<Command> CommandsOf(const std::string& line);

struct Program {
  std::string path;         // that is run; "" when there is none
  std::string interpreter;  // that runs it; "" when it runs by itself
};

// What `command` starts in the end, behind setsid, nohup, env and their like.
[[nodiscard]] Program ProgramOf(const Command& command);

}  // namespace check
