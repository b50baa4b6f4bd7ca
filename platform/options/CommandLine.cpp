// Parses a program's command line with GLib's option parser.
#include "platform/options/CommandLine.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace Tessel::Platform {

namespace {

// Options of every program, listed after its own.
constexpr Option commonOptions[] = {
    {"help", nullptr, "Prints this text."},
    {"version", nullptr, "Prints the version."},
    {"man", nullptr, "Prints the page of the manual: PROGRAM --man | man -l -"},
};

using Texts = std::vector<std::pair<std::string, std::string>>;

std::string termOf(const Option& option) {
  std::string name = std::string("--") + option.name;
  if (!option.value) return name;
  return option.valueIsOptional ? name + "[=" + option.value + "]" : name + " " + option.value;
}

Texts optionTexts(const ProgramText& program) {
  Texts texts;
  for (const Option& each : program.options) texts.emplace_back(termOf(each), each.text);
  for (const Option& each : commonOptions) texts.emplace_back(termOf(each), each.text);
  return texts;
}

// Wraps a text at the usual terminal width, keeping existing line breaks.
void appendWrapped(std::string& out, std::string_view text, std::size_t indent) {
  constexpr std::size_t width = 80;
  while (!text.empty()) {
    std::size_t end = std::min(text.find('\n'), text.size());
    if (indent + end > width) {
      const std::size_t space = text.rfind(' ', width - indent);
      end = space == std::string_view::npos ? std::min(text.find(' '), end) : space;
    }
    out.append(indent, ' ').append(text.substr(0, end)).push_back('\n');
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

void appendTerms(std::string& out, const Texts& terms) {
  for (const auto& [term, text] : terms) {
    out.append("  ").append(term).push_back('\n');
    appendWrapped(out, text, 6);
  }
}

std::string helpOf(const ProgramText& program) {
  std::string text = std::string("Usage: ") + program.name + " [OPTION...]" +
                     (*program.words ? " " : "") + program.words + "\n\n";
  appendWrapped(text, program.summary, 0);
  appendTerms(text.append("\nOptions:\n"), optionTexts(program));
  for (const ManualSection& section : program.sections) {
    text.append("\n").append(section.title).append(":\n");
    appendWrapped(text, section.text, 2);
    appendTerms(text, section.entries);
  }
  return text;
}

// Escapes a text for the manual's formatter: lines must not begin with its control characters.
std::string escaped(std::string_view text) {
  std::string out;
  bool lineBegins = true;
  for (const char c : text) {
    if (lineBegins && (c == '.' || c == '\'')) out += "\\&";
    if (c == '\\') {
      out += "\\e";
    } else if (c == '-') {
      out += "\\-";
    } else {
      out += c;
    }
    lineBegins = c == '\n';
  }
  return out;
}

std::string capitals(std::string_view text) {
  gchar* const upper = g_ascii_strup(text.data(), static_cast<gssize>(text.size()));
  std::string out(upper);
  g_free(upper);
  return out;
}

void appendManualTerms(std::string& out, const Texts& terms) {
  for (const auto& [term, text] : terms) {
    out += ".TP\n.B " + escaped(term) + "\n" + escaped(text) + "\n";
  }
}

std::string manualOf(const ProgramText& program) {
  const std::string name = escaped(program.name);
  std::string text = ".\\\" Written by " + std::string(program.name) +
                     " --man: change the program.\n" + ".TH " + capitals(program.name) +
                     " 1 \"\" \"pagehost " PAGEHOST_VERSION "\"\n" + ".SH NAME\n" + name + " \\- " +
                     escaped(program.summary) + "\n.SH SYNOPSIS\n.B " + name + "\n[OPTION...] " +
                     escaped(program.words) + "\n.SH OPTIONS\n";
  appendManualTerms(text, optionTexts(program));
  for (const ManualSection& section : program.sections) {
    text += ".SH " + capitals(section.title) + "\n";
    if (!section.text.empty()) text += ".nf\n" + escaped(section.text) + "\n.fi\n";
    appendManualTerms(text, section.entries);
  }
  return text;
}

// The state of the parser's callback.
struct Reading {
  const ProgramText& program;
  std::vector<GivenOption> given;
  const Option* common = nullptr;
};

gboolean take(const gchar* name, const gchar* value, gpointer data, GError**) {
  auto* reading = static_cast<Reading*>(data);
  const auto isNamed = [&](const Option& each) { return std::strcmp(each.name, name + 2) == 0; };
  const auto& own = reading->program.options;
  const auto found = std::find_if(own.begin(), own.end(), isNamed);
  if (found != own.end()) {
    reading->given.push_back({&*found, value ? value : ""});
  } else if (!reading->common) {
    reading->common = std::find_if(std::begin(commonOptions), std::end(commonOptions), isNamed);
  }
  return TRUE;
}

void addEntry(std::vector<GOptionEntry>& entries, const Option& option) {
  GOptionEntry entry{};
  entry.long_name = option.name;
  // As a file's name it comes as it is, whatever the encoding of the locale.
  entry.flags = option.value ? G_OPTION_FLAG_FILENAME : G_OPTION_FLAG_NO_ARG;
  if (option.valueIsOptional) entry.flags |= G_OPTION_FLAG_OPTIONAL_ARG;
  entry.arg = G_OPTION_ARG_CALLBACK;
  entry.arg_data = reinterpret_cast<gpointer>(take);
  entries.push_back(entry);
}

[[noreturn]] void carryOut(const Option& common, const ProgramText& program) {
  const std::string_view name = common.name;
  const std::string text = name == "help"  ? helpOf(program)
                           : name == "man" ? manualOf(program)
                                           : std::string(program.name) + " " PAGEHOST_VERSION "\n";
  std::fputs(text.c_str(), stdout);
  std::exit(std::fflush(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE);
}

}  // namespace

CommandLine readCommandLine(const ProgramText& program, int argc, char** argv) {
  Reading reading{program, {}, nullptr};
  std::vector<GOptionEntry> entries;
  for (const Option& each : program.options) addEntry(entries, each);
  for (const Option& each : commonOptions) addEntry(entries, each);
  entries.push_back({});
  GOptionContext* const context = g_option_context_new(nullptr);
  GOptionGroup* const group = g_option_group_new("", "", "", &reading, nullptr);
  g_option_group_add_entries(group, entries.data());
  g_option_context_set_main_group(context, group);
  g_option_context_set_help_enabled(context, FALSE);
  g_option_context_set_strict_posix(context, program.wordsEndOptions);
  g_option_context_set_ignore_unknown_options(context, program.unknownAreWords);

  char** const end = argv + argc;
  char** const separator =
      std::find_if(argv, end, [](const char* each) { return std::strcmp(each, "--") == 0; });
  std::vector<char*> words(argv, separator);
  words.push_back(nullptr);
  int count = static_cast<int>(separator - argv);
  char** rest = words.data();
  GError* error = nullptr;
  const bool isGood = g_option_context_parse(context, &count, &rest, &error) != FALSE;
  g_option_context_free(context);
  if (!isGood) {
    const std::string problem = error->message;
    g_error_free(error);
    endMisused(program.name, problem);
  }
  if (reading.common) carryOut(*reading.common, program);
  words.resize(static_cast<std::size_t>(count));
  // After a word that ended the options, "--" is an ordinary word.
  const bool isWord = program.wordsEndOptions && count > 1;
  words.insert(words.end(), isWord || separator == end ? separator : separator + 1, end);
  words.push_back(nullptr);
  return {std::move(reading.given), std::move(words)};
}

void endMisused(const char* program, const std::string& problem) {
  std::fprintf(stderr, "%s: %s; see %s --help\n", program, problem.c_str(), program);
  std::exit(misusedStatus);
}

}  // namespace Tessel::Platform
