// The text of an object: what stands in its file, and what is written to it. Any thread.
//
// The first line is the marker '@' and the object's name; every other one is an attribute, its
// name, encoding and value with colons between them. Only the value may hold colons. A line that
// ends after the first colon says that there is no such attribute.
#pragma once

#include "platform/base/String.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace Tessel::Platform {

struct PPSAttribute {
  // "n" a number, "b" true or false, "json" JSON, empty a text; others are the writer's own.
  String encoding;
  String value;

  friend bool operator==(const PPSAttribute&, const PPSAttribute&) = default;
};

struct PPSValue {
  static constexpr char marker = '@';
  // Of an object's text, its heading included, and of what is written at once; in bytes.
  static constexpr std::size_t mostBytes = 1u << 20;

  // With the marker before it; empty when nothing was read.
  String objectName;
  std::map<String, PPSAttribute> attributes;

  friend bool operator==(const PPSValue&, const PPSValue&) = default;
};

// Reads a file's text. Whoever edits files may make mistakes: what is no attribute is passed over,
// and of two with one name the later counts. The heading is not needed, and does not count: an
// object is called what its file is called.
PPSValue parsePPSText(const std::string& fileName, std::string_view text);

// What is wrong with lines that are to be written; null when nothing is. Then each is an attribute,
// its name not empty, not beginning with the marker, and without control characters.
const char* problemOfPPSLines(std::string_view lines);

// Writes lines without a problem into a value. Attributes that they do not name stay. "1" and "0"
// of encoding "b" become "true" and "false", which is what readers know.
void applyPPSLines(std::string_view lines, PPSValue& value);

// The text of a value's file.
std::string formatPPSText(const PPSValue& value);

// What is different in the later value. An attribute that is no more is the JSON null.
PPSValue differenceOf(const PPSValue& earlier, const PPSValue& later);

}  // namespace Tessel::Platform
