#include "platform/shell_word.h"

#include "platform/shell.h"
#include "tests/kit/device.h"

namespace {

using ShellWordTest = DeviceTest;

// What a shell takes `word` for.
std::string ReadByShell(const std::string& word) {
  EXPECT_TRUE(RunShell("printf '<%s>' " + word + " >/tmp/read"));
  return ReadText("/tmp/read");
}

TEST_F(ShellWordTest, APlainPathIsNotQuoted) {
  const char* const paths[] = {"/usr/bin/App-1.0_b", "/opt/app~", "/opt/a=b", "/opt/a%b",
                               "/opt/a^b",           "/opt/a@b",  "/opt/a+b", "/opt/a:b",
                               "/opt/a,b",           "/opt/bär",  "/\x80\xff"};
  for (const std::string path : paths) {
    EXPECT_EQ(ShellWord(path), path);
    EXPECT_EQ(ReadByShell(path), "<" + path + ">");
  }
}

TEST_F(ShellWordTest, NoPathBreaksOutOfItsWord) {
  const struct {
    std::string path, word;
  } rows[] = {
      {"~/a", "'~/a'"},     {"a b", "'a b'"},     {"a\tb", "'a\tb'"},     {"a\nb", "'a\nb'"},
      {"a\x01", "'a\x01'"}, {"a\x1f", "'a\x1f'"}, {"a\x7f", "'a\x7f'"},   {"a|id", "'a|id'"},
      {"a&id", "'a&id'"},   {"a;id", "'a;id'"},   {"a<b", "'a<b'"},       {"a>b", "'a>b'"},
      {"a(b", "'a(b'"},     {"a)b", "'a)b'"},     {"$HOME", "'$HOME'"},   {"`id`", "'`id`'"},
      {"a\\b", "'a\\b'"},   {"a\"b", "'a\"b'"},   {"it's", "'it'\\''s'"}, {"''", "''\\'''\\'''"},
      {"/*", "'/*'"},       {"/et?", "'/et?'"},   {"/[e", "'/[e'"},       {"a]", "'a]'"},
      {"#a", "'#a'"},       {"!a", "'!a'"},       {"a{b", "'a{b'"},       {"a}", "'a}'"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(ShellWord(row.path), row.word);
    EXPECT_EQ(ReadByShell(row.word), "<" + row.path + ">");
  }
}

}  // namespace
