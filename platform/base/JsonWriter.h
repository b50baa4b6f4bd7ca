// The writer of JSON texts: numbers with a fraction are written in six significant digits, as
// everywhere in what the chrome reads. Any thread.
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

  // JSON has no number that is not finite: null.
  bool Double(double value) {
    if (!std::isfinite(value)) return Null();
    const std::string text = formatNumberText(value);
    return RawValue(text.data(), text.size(), rapidjson::kNumberType);
  }
};

}  // namespace Tessel::Platform
