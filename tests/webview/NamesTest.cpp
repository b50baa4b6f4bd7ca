// The names by which chromes know events and properties: those of the reference, which has to be
// that of the tables.
#include "webview/events/EnumerationNames.h"
#include "webview/events/Names.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

int eventNumber(const char* name, bool& notFound) {
  return eventTypeFromName(name, notFound);
}
int propertyNumber(const char* name, bool& notFound) {
  return propertyFromName(name, notFound);
}

void expectTable(int count, const char* (*nameOf)(int), int (*numberOf)(const char*, bool&)) {
  for (int number = 0; number < count; ++number) {
    bool notFound = true;
    EXPECT_EQ(numberOf(nameOf(number), notFound), number);
    EXPECT_FALSE(notFound) << number;
  }
  EXPECT_STREQ(nameOf(count), "");
  EXPECT_STREQ(nameOf(-1), "");
  for (const char* name : {"", "focus", "Focu", "Focus ", "Focuses", "PropertyCanGoBackEvent",
                           "canGoBack", "A", "zzz", "\xff"}) {
    bool notFound = false;
    EXPECT_EQ(numberOf(name, notFound), 0);
    EXPECT_TRUE(notFound) << name;
  }
}

TEST(NamesTest, EveryNameStandsForItsNumberAndBackAndNothingElseDoes) {
  expectTable(OrvWebEvent::typeCount, eventTypeName, eventNumber);
  expectTable(OrvWebPropertyChangedEvent::PropertyMax + 1, propertyName, propertyNumber);
}

TEST(NamesTest, EnumerationsHaveNamesForTheirNumbersOnly) {
  const auto check = []<typename Type>(Type) {
    for (const auto& row : EnumerationNames<Type>::table.names()) {
      bool notFound = true;
      EXPECT_STREQ(nameOf(fromName<Type>(row.name, notFound)), row.name);
      EXPECT_FALSE(notFound) << row.name;
    }
    using Limits = std::numeric_limits<int>;
    for (const int none : {Limits::min(), Limits::max()}) EXPECT_STREQ(nameOf(Type(none)), "");
  };
#define ENUMERATION(Type, first) check(Type{});
#define NAME(name)
#define NAME_AS(name, number)
#define END_ENUMERATION
#include "engine/Enumerations.def"
#undef END_ENUMERATION
#undef NAME_AS
#undef NAME
#undef ENUMERATION
}

TEST(NamesTest, CatalogueListsEveryEventAndThenEveryPropertysEvent) {
  std::string expected = "{";
  const auto add = [&](const std::string& name) { expected += "\"" + name + "\":true,"; };
  for (int type = 0; type < OrvWebEvent::typeCount; ++type) add(eventTypeName(type));
  for (int property = 0; property <= OrvWebPropertyChangedEvent::PropertyMax; ++property) {
    add(std::string("Property") + propertyName(property) + "Event");
  }
  expected.back() = '}';
  EXPECT_EQ(eventNamesCatalogue(), expected);
  EXPECT_EQ(expected.size(), 5422u);
}

}  // namespace
