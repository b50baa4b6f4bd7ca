// What crosses for each command, written down once more beside the table that it is derived from:
// processes of different builds talk by these numbers and layouts, so they never change.
#pragma once

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace test_support {

struct MessageLayoutFact {
  int number = 0;
  std::string name;
  std::string fields;
  char reply = '-';
};

// The commands from a number on, each as its name, then after a colon a letter per field after the
// handle (i int, b bool, s text), and after an equals sign one for the reply (b bool, i int,
// u unsigned int, f float, d double, e enumeration, t text), where there are any.
struct MessageLayoutRun {
  int first;
  const char* commands;
};

// clang-format off
inline constexpr MessageLayoutRun messageLayoutRuns[] = {
    {2000,
     "applicationSwipeInEvent=b applicationWindowGroup=t arguments=t backgroundColor=u "
     "canGoBack=b canGoForward=b cancelVibration certificateInfo=t clearAutofillData "
     "clearBrowsingData clearCache clearCookies clearCredentials clearDatabases clearFocus "
     "clearHistory clearLocalStorage clearWebFileSystem contentRectangle=t currentContext=t "
     "defaultFontSize=i defaultTextEncoding=t destroy destroyFadeColorWindow "
     "destroyIfNotRejectedByUser devicePixelRatio=d encryptionInfo=t eventNames=t "
     "extraHttpHeaders=t fadeColorWindowPlatformHandle=i favicon=t fileSystemAPISandboxed=b "
     "focusNextField focusPreviousField forcedTextEncoding=t fullScreenVideoCapable=b "
     "getHistoryList=t goBack goForward historyLength=i historyPosition=i isActive=b "
     "isAllPropertyChangedEventsEnabled=b isAllWebEventsEnabled=b isAlwaysShowKeyboardOnFocus=b "
     "isAnyPropertyChangedEventsEnabled=b isAnyWebEventsEnabled=b "
     "isAutoDeferNetworkingAndJavaScript=b isBlockPopups=b isDeferNetworkingAndJavaScript=b "
     "isEnableConsoleLogging=b isEnableCookies=b isEnableCredentialAutofill=b "
     "isEnableCrossSiteXHR=b isEnableDNSPrefetch=b isEnableDefaultOverScrollBackground=b "
     "isEnableDialogRequestedEvents=b isEnableDiskCache=b isEnableDownloadableBinaryFonts=b "
     "isEnableFineCursorControl=b isEnableFormAutofill=b isEnableGeolocation=b "
     "isEnableInputMethodSupport=b isEnableInputNotifications=b isEnableJavaScript=b "
     "isEnableLocalAccessToAllCookies=b isEnableMediaRTSP=b "
     "isEnableNetworkResourceRequestedEvents=b isEnablePlugins=b "
     "isEnableSoundOnAnchorElementTouchEvents=b isEnableSpatialNavigation=b "
     "isEnableTextSelectionControls=b isEnableWebContentCache=b isEnableWebInspector=b "
     "isEnableWebSockets=b isLoadImages=b isPluginFullScreen=b isPrivateBrowsing=b "
     "isVideoFullScreen=b isVisible=b isZoomToFitWidthOnLoad=b javaScriptInterruptTimeout=i"},
    {2083,
     "knownSSLCertificates=t loadProgress=i location=t lockProperties maximumScale=d "
     "minimumFontSize=i minimumScale=d notifyApplicationOrientationDone "
     "notifyContextMenuCancelled notifySystemLowMemory originalLocation=t overScrollColor=u"},
    {2096,
     "reload removeAllKnownSSLCertificates requestCurrentContextUpdate requestSession scale=d"},
    {2102,
     "scrollPosition=t secureType=e securityInfo=t sensitivity=e status=t stop stopAnimatedScroll "
     "submitForm textEncoding=t textReflowMode=e title=t tooltip=t unlockProperties userAgent=t "
     "userStyleSheetLocation=t viewport=t viewportHeight=f viewportInitialScale=f "
     "viewportMaximumScale=f viewportMinimumScale=f viewportTargetDensityDpi=f "
     "viewportUserScalable=f viewportWidth=f webInspectorPort=i windowUniqueId=t zOrder=i "
     "zoomFactor=i addKnownSSLCertificates:s=b animateToDocumentScrollPosition:s assignFocus:i "
     "autofillTextField:s automationLog:s cleanupSSLCertificateDetails:s clearBackForwardList:b"},
    {2137,
     "downloadCancel:s downloadPause:s downloadRemove:s downloadResume:s downloadRetry:s "
     "enableOrvJavaScriptObject:b fullScreenVideoExited:b getCookies:s "
     "getSSLCertificateDetails:s=t handleContextMenuResponse:i"},
    {2148,
     "isPropertyChangedEventEnabled:i=b isWebEventEnabled:i=b knownSSLCertificate:s=t loadURL:s "
     "log:s notificationClicked:s notificationClosed:s notificationError:s notificationShown:s "
     "notifyDone:s notifyViewportChanged:s printToStderr:s printToStdout:s "
     "removeGeolocationFilter:s setActive:b setAllPropertyChangedEventsEnabled:b "
     "setAllWebEventsEnabled:b setAlwaysShowKeyboardOnFocus:b setApplicationActivationState:i "
     "setApplicationOrientation:i setAutoDeferNetworkingAndJavaScript:b setBackgroundColor:s "
     "setBitmapZooming:b setBlockPopups:b setDefaultFontSize:i setDefaultTextEncoding:s "
     "setDeferNetworkingAndJavaScript:b setDevicePixelRatio:s setEnableConsoleLogging:b "
     "setEnableCookies:b setEnableCredentialAutofill:b setEnableCrossSiteXHR:b "
     "setEnableDNSPrefetch:b setEnableDefaultOverScrollBackground:b "
     "setEnableDialogRequestedEvents:b setEnableDiskCache:b setEnableDownloadableBinaryFonts:b "
     "setEnableFineCursorControl:b setEnableFormAutofill:b setEnableGeolocation:b "
     "setEnableInputMethodSupport:b setEnableInputNotifications:b setEnableJavaScript:b "
     "setEnableLocalAccessToAllCookies:b setEnableMediaRTSP:b "
     "setEnableNetworkResourceRequestedEvents:b setEnablePlugins:b "
     "setEnableSoundOnAnchorElementTouchEvents:b setEnableSpatialNavigation:b "
     "setEnableTextSelectionControls:b setEnableWebContentCache:b setEnableWebSockets:b "
     "setExtraHttpHeaders:s=b setExtraPluginDirectory:s setFileSystemAPISandboxed:b "
     "setForcedTextEncoding:s setFullScreenVideoCapable:b setHistoryPosition:i "
     "setJSWebViewBindings:b setJavaScriptInterruptTimeout:i setKeyboardVisibilityLocked:b "
     "setKeyboardVisible:b setLoadImages:b setMinimumFontSize:i setOverScrollColor:s "
     "setPatternMatchingEnabled:b setPopupWebView:s setPrivateBrowsing:b setScreenPowerState:b "
     "setScrollPosition:s setScrolling:b setSensitivity:i setStandalone:b "
     "setTemporaryViewportSize:s setTextReflowMode:i setUserAgent:s setUserStyleSheetLocation:s "
     "setViewport:s setViewportHeight:s setViewportInitialScale:s setViewportMaximumScale:s "
     "setViewportMinimumScale:s setViewportTargetDensityDpi:s setViewportUserScalable:s "
     "setViewportWidth:s setVisible:b setWebInspectorEnabled:b setZOrder:i setZoomFactor:i "
     "setZoomToFitWidthOnLoad:b startAnimatedScroll:s textHasAttribute:s "
     "addKnownSSLCertificate:ss=b animateToScaleAndDocumentScrollPosition:ss animateZoomBy:ss "
     "chooseFileResponse:ss continueSSLHandshaking:si convertIDNtoReadableStringByLanguage:ss=t "
     "executeJavaScript:si=t executeJavaScriptFunction:ss=t handleWebInspectorMessageToBackend:si "
     "initialize:si=b loadFile:ss loadString:ss notificationPermissionCheckResponse:ss "
     "openWindowResponse:ss removeKnownSSLCertificate:ss=b restoreSession:si scrollBy:ii "
     "setAllowGeolocation:sb setAllowNotification:sb setAllowUserMedia:ss setCookies:ss"},
    {2262,
     "setPropertyChangedEventEnabled:ib setWebEventEnabled:ib syncProxyCredential:ss "
     "updateDisabledPluginFiles:sb updateGeolocationFilter:sb updateNotificationPermission:sb "
     "addOriginAccessWhitelistEntry:ssb bitmapZoom:sss captureContents:sss downloadUpdate:sis "
     "downloadUrl:sss loadStringWithBase:sss notifyDataReceived:sss notifyHeaderReceived:sss "
     "notifyOpen:sis removeOriginAccessWhitelistEntry:ssb setFadeColorWindowRect:iiii "
     "setFadeWindowColor:iiii setGeometry:iiii setLayerTilerPrefillRect:iiii "
     "createFadeColorWindow:iiiii=i dialogResponse:sbsss findString:sbbbb"},
};
// clang-format on

inline const std::vector<MessageLayoutFact>& messageLayoutFacts() {
  static const std::vector<MessageLayoutFact> all = [] {
    std::vector<MessageLayoutFact> facts;
    for (MessageLayoutRun run : messageLayoutRuns) {
      std::istringstream stream(run.commands);
      for (std::string word; stream >> word; ++run.first) {
        const auto end = std::min(word.find('='), word.size());
        const auto colon = std::min(word.find(':'), end);
        facts.push_back({run.first, word.substr(0, colon),
                         colon < end ? word.substr(colon + 1, end - colon - 1) : "",
                         end < word.size() ? word.at(end + 1) : '-'});
      }
    }
    return facts;
  }();
  return all;
}

}  // namespace test_support
