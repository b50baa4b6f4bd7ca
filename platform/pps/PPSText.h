// The text format of an object, in its file and in writes. Any thread.
//
// The first line is the marker '@' and the object's name; every other one is an attribute: name,
// encoding and value, separated by colons. Only the value may contain colons. A line that ends
// after the first colon removes the attribute.
#pragma once

#include "platform/base/String.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace Tessel::Platform {

struct PPSAttribute {
  // "n" number, "b" true or false, "json" JSON, empty for text; others are application-defined.
  String encoding;
  String value;

  friend bool operator==(const PPSAttribute&, const PPSAttribute&) = default;
};

struct PPSValue {
  static constexpr char marker = '@';
  // Maximum size in bytes of an object's text, heading included, and of one write.
  static constexpr std::size_t mostBytes = 1u << 20;

  // With the marker; empty if nothing was read.
  String objectName;
  std::map<String, PPSAttribute> attributes;

  friend bool operator==(const PPSValue&, const PPSValue&) = default;
};

// Parses a file's text. Files may be edited by hand: malformed lines are skipped, and of two
// attributes of one name the later counts. The heading is optional and ignored: the file name is
// the object's name.
PPSValue parsePPSText(const std::string& fileName, std::string_view text);

// What is wrong with lines to be written; null if they are valid: then each is an attribute whose
// name is not empty, does not begin with the marker and has no control characters.
const char* problemOfPPSLines(std::string_view lines);

// Merges valid lines into a value. Other attributes are kept. "1" and "0" of encoding "b" become
// "true" and "false", as readers expect.
void applyPPSLines(std::string_view lines, PPSValue& value);

// The file text of a value.
std::string formatPPSText(const PPSValue& value);

// The differences in the later value. A removed attribute is JSON null.
PPSValue differenceOf(const PPSValue& earlier, const PPSValue& later);

}  // namespace Tessel::Platform
