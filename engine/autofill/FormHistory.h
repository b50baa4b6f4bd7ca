// The texts that were typed into fields of forms, by the names of the fields. Main thread.
#pragma once

#include "engine/autofill/PrivateFile.h"

#include <string>
#include <utility>
#include <vector>

class FormHistory {
 public:
  using String = Tessel::Platform::String;

  static constexpr std::size_t mostFields = 200;
  static constexpr std::size_t mostTexts = 20;    // of a field
  static constexpr std::size_t mostOffered = 8;   // at once
  static constexpr std::size_t longestName = 64;  // in bytes, as the next
  static constexpr std::size_t longestText = 256;

  struct Field {
    String name;
    std::vector<String> texts;  // the latest first
  };
  // The latest used first.
  struct Fields {
    std::vector<Field> fields;
  };

  explicit FormHistory(std::string folder) : file_(std::move(folder), "texts.json") {}

  // Names and texts, in the form's order. Empty, blank and oversized texts are ignored; beyond the
  // limits the least recently used entries are evicted.
  void remember(const std::vector<std::pair<String, String>>& typed);
  // What was typed into fields of that name and begins like the text, but for it itself; the latest
  // first. Upper and lower case of ASCII letters are the same.
  std::vector<String> offered(const String& name, const String& beginning);
  void clear();

 private:
  PrivateFile file_;
  Fields known_;
};
