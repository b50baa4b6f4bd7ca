// A JSON writer that formats fractions with six significant digits, as everywhere in JSON for the
// chrome. Any thread.
#pragma once

#include "platform/base/String.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cmath>
#include <string>

namespace Tessel::Platform {

class JsonWriter : public rapidjson::Writer<rapidjson::StringBuffer> {
 public:
  using Writer::Writer;

  // JSON cannot represent infinities and NaN: they become null.
  bool Double(double value) {
    if (!std::isfinite(value)) return Null();
    const std::string text = formatNumberText(value);
    return RawValue(text.data(), text.size(), rapidjson::kNumberType);
  }
};

}  // namespace Tessel::Platform
