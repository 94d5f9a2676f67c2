// The rules of a release: what each says and what to do. docs/releases.md is made of this table.
#pragma once

#include <string>
#include <vector>

namespace check {

enum class Severity {
  Warning,  // a device takes it, and does less well than it could, or not what was meant
  Error     // a device cannot start, stop, fetch or roll back something, or harms something else
};

// Their numbers are for people and programs; they never change their meaning.
enum class Id {
  NoManifest = 101,
  RepeatedKey = 102,
  UnknownKey = 103,
  NoNumber = 104,
  OtherNumber = 105,
  RepeatedProcess = 106,
  EmptyList = 107,
  LongName = 201,
  SpecialName = 202,
  KillsNeighbour = 203,
  KillsSystem = 204,
  NameRunsNowhere = 205,
  BrokenShell = 301,
  NoBackground = 302,
  NoRedirection = 303,
  AndList = 304,
  RunsStrangePath = 305,
  NoChmod = 306,
  EnvScript = 307,
  NoRetries = 401,
  NoStartupTime = 402,
  ShortStartupTime = 403,
  RelativePath = 501,
  CrookedPath = 502,
  FolderPath = 503,
  RootPath = 504,
  SharedPath = 505,
  SystemFile = 506,
  SystemFolder = 507,
  BadChecksum = 601,
  NoFile = 602,
  OtherFile = 603,
  TwoContents = 604,
  SameVersion = 701,
  TwoVersions = 702,
  UnknownLabel = 703,
  RolledBack = 704,
  NoRollback = 705,
  SlowDownload = 801,
  MuchMemory = 802,
  ConfigUnknown = 901,
  ConfigTakenAs = 902,
  ConfigAtOnce = 903,
  ConfigNever = 904,
  ConfigReportAtOnce = 905,
  ConfigReportNever = 906
};

struct Rule {
  Id id;
  Severity severity;
  const char* sentence;  // what is wrong, and what a device does
  const char* cure;
};

// Every rule, by number.
[[nodiscard]] const std::vector<Rule>& Rules();
[[nodiscard]] const Rule& RuleOf(Id id);

// The rules as the section of the page that lists them.
[[nodiscard]] std::string RulesAsMarkdown();

}  // namespace check
