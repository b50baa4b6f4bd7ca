// The names by which chromes know events and properties. They are written out once more for the
// tests: every chrome depends on them and on their numbers.
#include "tests/webview/EventFactsData.h"
#include "webview/events/Names.h"

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::vector<std::string> words(const char* text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

const std::vector<std::string> eventNames = [] {
  std::vector<std::string> names;
  for (const auto& facts : test_support::eventFacts) names.emplace_back(facts.name);
  return names;
}();

const std::vector<std::string> propertyNames = words(
    "CanGoBack CanGoForward Location Title Viewport OriginalLocation ContentRectangle "
    "HistoryLength HistoryPosition HistoryList PrivateBrowsing ScrollPosition TextEncoding "
    "DefaultTextEncoding ForcedTextEncoding DefaultFontSize WindowUniqueId UserAgent "
    "TextReflowMode BlockPopups LoadImages EnableJavaScript EnablePlugins EnableCookies "
    "EnableWebSockets EnableGeolocation EnableCrossSiteXHR EnableNetworkResourceRequestedEvents "
    "EnableDialogRequestedEvents EnableLocalAccessToAllCookies "
    "EnableSoundOnAnchorElementTouchEvents CustomHTTPHeaders JavaScriptInterruptTimeout "
    "LoadProgress ZOrder Visible Active ZoomToFitWidthOnLoad Tooltip Status Favicon "
    "CurrentContext UserStyleSheetLocation PluginFullScreen SecureType CertificateInfo "
    "EncryptionInfo EnableWebInspector OverScrollColor BackgroundColor "
    "EnableDownloadableBinaryFonts WebInspectorPort EnableSpatialNavigation Scale Sensitivity "
    "MinimumFontSize AutoDeferNetworkingAndJavaScript DeferNetworkingAndJavaScript ZoomFactor "
    "EnableInputMethodSupport EnableInputNotifications ViewportWidth ViewportHeight "
    "ViewportInitialScale ViewportMinimumScale ViewportMaximumScale ViewportTargetDensityDpi "
    "ViewportUserScalable EnableDefaultOverScrollBackground EnableFineCursorControl "
    "EnableTextSelectionControls FullScreenVideoCapable SecurityInfo FileSystemAPISandboxed "
    "EnableCredentialAutofill EnableFormAutofill AlwaysShowKeyboardOnFocus VideoFullScreen "
    "DevicePixelRatio MinimumScale MaximumScale EnableMediaRTSP EnableDNSPrefetch "
    "EnableConsoleLogging EnableWebContentCache PropertyMax");

void expectTable(const std::vector<std::string>& expected, const char* (*nameOf)(int),
                 int (*numberOf)(const char*, bool&)) {
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const auto number = static_cast<int>(i);
    EXPECT_EQ(nameOf(number), expected[i]);
    bool notFound = true;
    EXPECT_EQ(numberOf(expected[i].c_str(), notFound), number);
    EXPECT_FALSE(notFound) << expected[i];
  }
  EXPECT_STREQ(nameOf(static_cast<int>(expected.size())), "");
  EXPECT_STREQ(nameOf(-1), "");
}

int eventNumber(const char* name, bool& notFound) {
  return eventTypeFromName(name, notFound);
}
int propertyNumber(const char* name, bool& notFound) {
  return propertyFromName(name, notFound);
}

TEST(NamesTest, EveryNameStandsForItsNumberAndBack) {
  expectTable(eventNames, eventTypeName, eventNumber);
  expectTable(propertyNames, propertyName, propertyNumber);
}

TEST(NamesTest, OnlyExactNamesAreFoundAndOthersGiveZero) {
  for (const char* name : {"", "focus", "Focu", "Focus ", "Focuses", "PropertyCanGoBackEvent",
                           "canGoBack", "A", "zzz", "\xff"}) {
    for (auto* numberOf : {eventNumber, propertyNumber}) {
      bool notFound = false;
      EXPECT_EQ(numberOf(name, notFound), 0);
      EXPECT_TRUE(notFound) << name;
    }
  }
}

TEST(NamesTest, CatalogueListsEveryEventAndThenEveryPropertysEvent) {
  std::string expected = "{";
  for (const std::string& name : eventNames) expected += "\"" + name + "\":true,";
  for (const std::string& name : propertyNames) expected += "\"Property" + name + "Event\":true,";
  expected.back() = '}';
  EXPECT_EQ(eventNamesCatalogue(), expected);
  EXPECT_EQ(expected.size(), 5422u);
}

}  // namespace
