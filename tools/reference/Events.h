// The events in the reference, from the tables and field lists. Main thread.
#pragma once

#include "tools/reference/TypeTexts.h"

#include <string>
#include <vector>

namespace reference {

// An event or its answer as an interface.
struct Interface {
  std::string name;
  std::string base;  // the interface that it extends, if any
  std::vector<Member> members;
};

struct Event {
  std::string name;
  std::string body;     // the name of its interface; "" for an event without a body
  std::string answer;   // that of the answer's; "" for an event that nobody answers
  std::string unheard;  // what happens where it is not enabled
};

struct PropertyEvent {
  std::string name;
  std::string property;
  std::string type;  // of its text, in TypeScript
};

struct Events {
  std::vector<Event> events;
  std::vector<Event> ofProgram;  // always raised
  std::vector<PropertyEvent> properties;
  std::vector<Interface> bodies;
  std::vector<Interface> answers;
};

// Exits if a property event does not match the tables.
Events eventsOfWebViews(Records& records);

struct Enumeration {
  std::string name;
  std::vector<std::string> names;
};
std::vector<Enumeration> enumerations();

}  // namespace reference
