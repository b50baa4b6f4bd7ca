// The events of web views. An event lives on the stack of whoever raises it, for the length of
// the handler's call; what an answer sets is read when the handler has returned. UI thread.
#pragma once

#include "platform/base/String.h"

#include <vector>

class OrvWebEvent {
 public:
  enum Type : int {
#define EVENT_TYPE(name, ...) name,
#include "engine/EventTypes.def"
  };
  static constexpr int typeCount = TypeMax + 1;

  explicit OrvWebEvent(Type type) : OrvWebEvent(type, false) {}
  virtual ~OrvWebEvent() = default;

  Type type() const {
    return type_;
  }
  // Whether the caller that raises it waits for an answer.
  bool isSend() const {
    return send_;
  }
  bool isPost() const {
    return !send_;
  }

 protected:
  OrvWebEvent(Type type, bool send) : type_(type), send_(send) {}

 private:
  Type type_;
  bool send_;
};

// An event that takes an answer.
class OrvWebSendEvent : public OrvWebEvent {
 public:
  explicit OrvWebSendEvent(Type type) : OrvWebEvent(type, true) {}

  bool isModal() const { return modal_; }
  bool isPreventDefault() const { return preventDefault_; }
  void setModal(bool modal) { modal_ = modal; }
  void setPreventDefault(bool prevent) { preventDefault_ = prevent; }

 private:
  bool modal_ = false;
  bool preventDefault_ = false;
};

// A page called a native function. Argument 0 is the function's name.
class OrvWebJavaScriptCallbackEvent final : public OrvWebSendEvent {
 public:
  using String = Tessel::Platform::String;

  // The texts are the caller's and outlive the event; a null pointer is a null or undefined
  // argument.
  explicit OrvWebJavaScriptCallbackEvent(std::vector<const char*> args)
      : OrvWebSendEvent(JavaScriptCallback), args_(std::move(args)) {}

  unsigned int numArgs() const { return static_cast<unsigned int>(args_.size()); }
  const char* const* args() const { return args_.data(); }
  const String& result() const { return result_; }
  // What the call returns to the page; empty unless set.
  void setResult(const String& result) { result_ = result; }
  // The origin of the calling document, empty for a text without an address, and whether the
  // program itself has loaded it. As known to the engine, not as claimed by the caller.
  const String& callerOrigin() const { return callerOrigin_; }
  bool isOwnCaller() const { return isOwnCaller_; }
  void setCaller(const String& origin, bool isOwn) {
    callerOrigin_ = origin;
    isOwnCaller_ = isOwn;
  }

 private:
  std::vector<const char*> args_;
  String result_;
  String callerOrigin_;
  bool isOwnCaller_ = false;
};

// A property of the web view has another value now; the web view's getter tells it.
class OrvWebPropertyChangedEvent final : public OrvWebEvent {
 public:
  enum Property : int {
#define PROPERTY(name) name,
#include "engine/Properties.def"
  };
  static constexpr int propertyCount = PropertyMax + 1;

  explicit OrvWebPropertyChangedEvent(Property property)
      : OrvWebEvent(PropertyChanged), property_(property) {}

  Property property() const {
    return property_;
  }

 private:
  Property property_;
};
