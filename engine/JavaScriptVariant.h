// A JavaScript value as it crosses between native code and pages. Any thread: a plain value.
#pragma once

#include "platform/base/String.h"

#include <variant>
#include <vector>

class JavaScriptVariant {
 public:
  using String = Tessel::Platform::String;
  enum Type : int { Undefined = 0, Null = 1, Boolean = 2, Number = 3, Text = 4, Object = 5 };

  JavaScriptVariant() = default;
  JavaScriptVariant(bool value) : value_(value) {}
  JavaScriptVariant(int value) : value_(static_cast<double>(value)) {}
  JavaScriptVariant(double value) : value_(value) {}
  JavaScriptVariant(String value) : value_(std::move(value)) {}
  JavaScriptVariant(const char* value) : value_(String(value)) {}
  static JavaScriptVariant null() { return JavaScriptVariant(Value(NullValue())); }
  // An object is passed without its members.
  static JavaScriptVariant object() { return JavaScriptVariant(Value(ObjectValue())); }

  // The numbers of Type are the indices of the alternatives.
  Type type() const { return static_cast<Type>(value_.index()); }
  // Each is false, 0 or empty for a value of another type.
  bool booleanValue() const { return valueOr<bool>(false); }
  double numberValue() const { return valueOr<double>(0.0); }
  String stringValue() const { return valueOr<String>(String()); }

  friend bool operator==(const JavaScriptVariant&, const JavaScriptVariant&) = default;

 private:
  struct NullValue {
    friend bool operator==(NullValue, NullValue) = default;
  };
  struct ObjectValue {
    friend bool operator==(ObjectValue, ObjectValue) = default;
  };
  using Value = std::variant<std::monostate, NullValue, bool, double, String, ObjectValue>;

  explicit JavaScriptVariant(Value value) : value_(std::move(value)) {}

  template <typename T>
  T valueOr(T fallback) const {
    const T* value = std::get_if<T>(&value_);
    return value ? *value : fallback;
  }

  Value value_;
};

// A function of a page by its path from the global object, with the arguments of a call.
struct FunctionCall {
  std::vector<Tessel::Platform::String> path;
  std::vector<JavaScriptVariant> arguments;
};
