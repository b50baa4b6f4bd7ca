// The two forms of the inspector protocol. The engine wraps the messages of a page into messages of
// the domain Target, as does its own front end, while a plain front end sends and expects the
// page's messages themselves. This translates for a plain one. Any thread: plain values.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class TargetProtocol {
 public:
  // What to send to the engine for a message of the front end. Nothing yet when there is no page
  // to address: it comes with the next page, from takeHeld(). A front end whose first message is
  // for the engine itself (the domains Target and Browser) speaks for itself: nothing is changed in
  // either direction.
  std::optional<std::string> toEngine(std::string_view message);
  // What the front end gets for a message of the engine; nothing for what only concerns the
  // wrapping. The events of the domain Target are for every front end.
  std::optional<std::string> toFrontEnd(std::string_view message);
  // What was held for the page that has come meanwhile, in order.
  std::vector<std::string> takeHeld();

  // The current target page, such as "page-7"; "" while there is none.
  const std::string& target() const { return target_; }
  // The name of the new page if the message reports one; "" otherwise.
  static std::string createdTarget(std::string_view message);

 private:
  std::string wrap(std::string_view message, std::int64_t innerId);
  void follow(const std::string& method, const rapidjson::Value& event);

  enum class FrontEnd { Unknown, Plain, Wrapping };
  FrontEnd frontEnd_ = FrontEnd::Unknown;
  std::string target_;
  std::int64_t lastId_ = 0;
  std::map<std::int64_t, std::int64_t> waiting_;  // what the engine confirms: whose id it is
  std::vector<std::string> held_;
};
