// The command line of a program: its options, help and manual page, derived from one table. Main
// thread, before any other thread or process is started.
#pragma once

#include <span>
#include <string>
#include <utility>
#include <vector>

namespace Tessel::Platform {

struct Option {
  const char* name;              // without the dashes
  const char* value;             // placeholder of the value in the help; null for a switch
  const char* text;              // description, one line
  bool valueIsOptional = false;  // then it stands behind a "="
};

// A section of the manual after the options. Entries are terms and their descriptions.
struct ManualSection {
  std::string title;
  std::string text;
  std::vector<std::pair<std::string, std::string>> entries;
};

// Texts for the help and manual of a program. All must outlive the call that they are passed to.
struct ProgramText {
  const char* name;
  const char* words;    // the arguments after the options, for the usage line
  const char* summary;  // what the program does, one line
  std::span<const Option> options;
  std::vector<ManualSection> sections;
  // Whether the first non-option argument ends the options.
  bool wordsEndOptions = false;
  // Unknown options are words like any other, not mistakes.
  bool unknownAreWords = false;
};

struct GivenOption {
  const Option* option;
  std::string value;  // empty for a switch, and where an optional value was left out
};

struct CommandLine {
  std::vector<GivenOption> options;  // in the order in which they were given
  // The program's name and the non-option arguments, without the "--" that ends the options. The
  // texts are owned by the caller.
  std::vector<char*> words;
};

// The exit status of every program after a usage error.
inline constexpr int misusedStatus = 2;

// Parses the arguments. Exits with 0 after --help, --version and --man, which every program has,
// and with misusedStatus and a line on standard error if an option is unknown or lacks its value.
CommandLine readCommandLine(const ProgramText& program, int argc, char** argv);

// Prints the problem to standard error and exits with misusedStatus.
[[noreturn]] void endMisused(const char* program, const std::string& problem);

}  // namespace Tessel::Platform
