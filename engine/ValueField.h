// A member of an event or record. Any thread: a plain value.
#pragma once

#include <type_traits>
#include <utility>

// Read by calling it, as every accessor is, and set by assignment.
template <typename T>
class ValueField {
 public:
  using Type = T;
  using Parameter = std::conditional_t<std::is_scalar_v<T>, T, const T&>;

  ValueField() = default;
  // NOLINTNEXTLINE(google-explicit-constructor): a value is all that a field is made of
  ValueField(T value) : value_(std::move(value)) {}

  ValueField& operator=(T value) {
    value_ = std::move(value);
    return *this;
  }
  const T& operator()() const { return value_; }

  friend bool operator==(const ValueField&, const ValueField&) = default;

 private:
  T value_{};
};
