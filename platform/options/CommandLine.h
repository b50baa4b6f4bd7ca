// The command line of a program: one table gives its options, its help and its page of the manual.
// Main thread, before any other thread and process is started.
#pragma once

#include <span>
#include <string>
#include <utility>
#include <vector>

namespace Tessel::Platform {

struct Option {
  const char* name;   // without the dashes
  const char* value;  // what the help calls its value; null for a switch
  const char* text;   // what it does, a line
};

// A part of the manual behind the options. Entries are terms and what they mean.
struct ManualSection {
  std::string title;
  std::string text;
  std::vector<std::pair<std::string, std::string>> entries;
};

// What the help and the manual say of a program. All texts outlive the call that they are for.
struct ProgramText {
  const char* name;
  const char* words;    // what stands behind the options, as the usage line has it
  const char* summary;  // what the program does, a line
  std::span<const Option> options;
  std::vector<ManualSection> sections;
  // Behind the first word that is no option, options are somebody else's.
  bool wordsEndOptions = false;
};

struct GivenOption {
  const Option* option;
  std::string value;  // empty for a switch
};

struct CommandLine {
  std::vector<GivenOption> options;  // in the order in which they were given
  // The program's name, and what is no option; without the "--" that ends the options. The texts
  // are the caller's.
  std::vector<char*> words;
};

// Every program ends with this status after a mistake in what it was started with.
inline constexpr int misusedStatus = 2;

// Reads the arguments. Ends the process with 0 after --help, --version and --man, which every
// program has, and with misusedStatus and a line on standard error after an option that is unknown,
// or lacks its value.
CommandLine readCommandLine(const ProgramText& program, int argc, char** argv);

// Says what is wrong on standard error and ends the process with misusedStatus.
[[noreturn]] void endMisused(const char* program, const std::string& problem);

}  // namespace Tessel::Platform
