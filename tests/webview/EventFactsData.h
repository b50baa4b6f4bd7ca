// What the chrome may rely on about events: their names, delivery, keys and answers, and the
// numbers of the names. Written down once, not derived from the tables it is compared with.
#pragma once

namespace test_support {

struct EventFacts {
  const char* name;
  const char* delivery;
  const char* keys;          // as written, separated by blanks; "" without a body
  const char* answers = "";  // "key kind" in the order in which they are applied; of sent ones
};

// In the order of the numbers of the types.
inline constexpr EventFacts eventFacts[]{
    {"Focus", "post", "isFocused isPost isSend type"},
    {"LocationChange", "post", "isPost isSend navigationType type url"},
    {"LocationChanging", "send", "isModal isPost isPreventDefault isSend navigationType type url",
     "setModal bool setPreventDefault bool"},
    {"NetworkError", "send", "isModal isPost isPreventDefault isSend message status type url",
     "setModal bool setPreventDefault bool"},
    {"DocumentLoaded", "post", "isPost isSend type"},
    {"DocumentLoadCommitted", "post", "isPost isSend type"},
    {"DocumentLoadFinished", "post", "isPost isSend type"},
    {"DocumentLoadFailed", "post", "isPost isSend type"},
    {"ContentRendered", "post",
     "content contentHeight contentWidth contentX contentY isPost isSend type"},
    {"Created", "post", "isPost isSend type"},
    {"Destroyed", "post", "isPost isSend type"},
    {"JavaScriptException", "post", "exception file isPost isSend line type"},
    {"JavaScriptResult", "post", "isPost isSend resultId resultString resultType type"},
    {"JavaScriptCallback", "send",
     "args isModal isPost isPreventDefault isSend numArgs result type",
     "setModal bool setPreventDefault bool setResult string"},
    {"JavaScriptWindowObjectCleared", "send", "isModal isPost isPreventDefault isSend script type",
     "setModal bool setPreventDefault bool setScript string"},
    {"JavaScriptInterrupted", "post", "isPost isSend type"},
    {"OpenWindow", "send",
     "action isModal isPopup isPost isPreventDefault isSend page rect type url view wait "
     "waitHandle windowName",
     "setAction keyword setIsPopup bool setModal bool setPreventDefault bool setView handle "
     "setWait bool"},
    {"UnknownProtocol", "send",
     "isModal isPost isPreventDefault isSend protocolHandlerURL scheme streamId type url",
     "setModal bool setPreventDefault bool setProtocolHandlerURL string setScheme string"},
    {"DialogRequested", "send",
     "alertType cancellabel data databaseName dialogType isModal isNew isPost isPreventDefault "
     "isProxy isSend message oklabel password requestedSize result systemId systemType title type "
     "url username wait waitHandle",
     "setAlertType int setData string setIsNew bool setIsProxy bool setModal bool setPassword "
     "string setPreventDefault bool setResult string setURL string setUsername string setWait bool "
     "setWaitHandle uint"},
    {"NetworkResourceRequested", "send",
     "action body isModal isPost isPreventDefault isSend referrer securityOrigin streamId "
     "targetType type url",
     "setAction keyword setBody string setModal bool setPreventDefault bool setReferrer string "
     "setSecurityOrigin string"},
    {"NetworkResourceOpened", "send",
     "isModal isPost isPreventDefault isSend message status streamId type",
     "setMessage string setModal bool setPreventDefault bool setStatus int"},
    {"NetworkResourceHeaderReceived", "send",
     "isModal isPost isPreventDefault isSend key streamId type value",
     "setKey string setModal bool setPreventDefault bool setValue string"},
    {"NetworkResourceDataReceived", "send",
     "data isModal isPost isPreventDefault isSend length streamId type",
     "setModal bool setPreventDefault bool"},
    {"NetworkResourceDone", "send", "isModal isPost isPreventDefault isSend streamId type",
     "setModal bool setPreventDefault bool"},
    {"PropertyChanged", "post", "isPost isSend property type"},
    {"FullScreenEnter", "post", "isPost isSend type"},
    {"FullScreenEntering", "send", "isModal isPost isPreventDefault isSend type",
     "setModal bool setPreventDefault bool"},
    {"FullScreenExit", "post", "isPost isSend type"},
    {"FindString", "post", "currentIndex isMatched isPost isSend numMatches type"},
    {"UnsupportedMimeType", "post", "isPost isSend type url"},
    {"LockOrientation", "send", "isModal isPost isPreventDefault isSend landscape type",
     "setModal bool setPreventDefault bool"},
    {"UnlockOrientation", "post", "isPost isSend type"},
    {"FullScreenVideoStarted", "post", "context height isPost isSend screenWindow type width x y"},
    {"FullScreenVideoEnded", "post", "isPost isSend type"},
    {"FullScreenVideoWindowUpdated", "post", "height isPost isSend type width x y"},
    {"DownloadRequest", "send",
     "action downloadId filename isModal isPost isPreventDefault isSend mimeType tempFilename type "
     "url",
     "setAction keyword setFilename string setMimeType string setModal bool setPreventDefault bool "
     "setTempFile string"},
    {"DownloadStarted", "post", "downloadId filename isPost isSend type url"},
    {"DownloadProgress", "post", "downloadId downloadedSize isPost isSend totalSize type"},
    {"DownloadError", "post", "downloadError downloadId isPost isSend type"},
    {"DownloadFinished", "post", "downloadId downloadResult isPost isSend type"},
    {"UpdateGeolocationFilter", "post", "allow isPost isSend mask type"},
    {"SessionInfo", "post", "data isPost isSend type version"},
    {"SelectionChanged", "post",
     "endHeight endWidth endX endY isPost isSend startHeight startWidth startX startY type"},
    {"CaretChanged", "post", "isPost isSend rectHeight rectWidth rectX rectY type userTouch"},
    {"TextAttributeQuery", "post", "isPost isSend queryResult queryString type"},
    {"ClipboardWrite", "post", "isPost isSend type"},
    {"ClipboardRead", "post", "isPost isSend type"},
    {"UpdateWebGLFilter", "post", ""},
    {"TouchEvent", "post", ""},
    {"TouchCancelEvent", "post", ""},
    {"MouseEvent", "post", ""},
    {"KeyEvent", "post", ""},
    {"InputNotificationEvent", "post", "eventType isPost isSend position secondaryPosition type"},
    {"InputNotificationFocusEvent", "post", "focused isPost isSend styleMask type"},
    {"InputNotificationKeyEvent", "send",
     "character eventType isModal isPost isPreventDefault isSend modifierMask type",
     "setModal bool setPreventDefault bool"},
    {"InspectorMessage", "post", "isPost isSend message type"},
    {"ContextMenuRequestEvent", "send", "isModal isPost isPreventDefault isSend menuItems type",
     "setModal bool setPreventDefault bool"},
    {"CaptureContents", "post", "base64PNGImage id isPost isSend type"},
    {"ContextMenuCancelEvent", "send", "isModal isPost isPreventDefault isSend reason type",
     "setModal bool setPreventDefault bool"},
    {"InvokeRequestEvent", "post", "isPost isSend request type uri"},
    {"KeyboardRequestedEvent", "send", "isModal isPost isPreventDefault isSend type",
     "setModal bool setPreventDefault bool"},
    {"FormAutofillRequestEvent", "send", "isModal isPost isPreventDefault isSend items type",
     "setModal bool setPreventDefault bool"},
    {"FormAutofillCancelEvent", "post", "isPost isSend type"},
    {"CloseWindow", "send", "isModal isPost isPreventDefault isSend type windowName",
     "setModal bool setPreventDefault bool"},
    {"DownloadContentType", "post", "contentType downloadId isPost isSend type"},
    {"GeolocationPermissionRequest", "send",
     "isModal isPost isPreventDefault isSend origin showGlobalPermissionRequest type",
     "setModal bool setPreventDefault bool"},
    {"SSLHandshakingFailed", "post", "connectionInfo isPost isSend streamId type url"},
    {"RequestUpdateViewport", "post", "height isPost isSend type width"},
    {"SyncProxyCredential", "post", "isPost isSend password type username"},
    {"ProtocolHandler", "send",
     "baseURL isModal isPost isPreventDefault isSend protocolHandlerType result scheme title type "
     "url",
     "setModal bool setPreventDefault bool setResult string setTitle string"},
    {"JavaScriptFunctionResult", "post", "isPost isSend result resultId type"},
    {"ChooseFile", "send",
     "acceptMIMETypes allowsMultipleFiles capture fileChosen isModal isPost isPreventDefault "
     "isSend type wait waitHandle",
     "setFileChosen string setModal bool setPreventDefault bool setWait bool setWaitHandle uint"},
    {"AutomationLog", "post", "isPost isSend message type"},
    {"JavaScriptFunctionResultEvent", "post", "isPost isSend result resultId type"},
    {"UserMediaRequest", "send", "cameras id isModal isPost isPreventDefault isSend origin type",
     "setModal bool setPreventDefault bool"},
    {"CookieResult", "post", "cookies isPost isSend type url"},
    {"FormControlEvent", "post", "isNextActive isPost isPreviousActive isSend isVisible type"},
    {"AddSearchProviderRequest", "post", "isPost isSend type url"},
    {"IsSearchProviderInstalled", "send", "isModal isPost isPreventDefault isSend result type url",
     "setModal bool setPreventDefault bool setResult int"},
    {"NotificationPermissionRequest", "post", "id isPost isSend origin type"},
    {"NotificationPermissionCheck", "send",
     "isModal isPost isPreventDefault isSend origin result type wait waitHandle",
     "setModal bool setPreventDefault bool setResult string setWait bool setWaitHandle uint"},
    {"NotificationShow", "post", "body iconUrl id isPost isSend origin tag title type"},
    {"NotificationCancel", "post", "id isPost isSend type"},
    {"UnhandledKeyInput", "post",
     "altActive alternateCharacter character ctrlActive isPost isSend keyDown keycode metaActive "
     "modifierMask shiftActive sourceDevice type"},
    {"TypeMax", "post", ""},
};

struct EnumerationFacts {
  const char* type;
  int first;
  const char* names;  // each with the number after the one before
};

inline constexpr EnumerationFacts enumerationFacts[]{
    {"OrvWebNavigationType", 0,
     "LinkClicked FormSubmitted BackForward Reload FormResubmitted Other"},
    {"OrvWebJavaScriptResultType", 0,
     "JSUndefined JSNull JSBoolean JSNumber JSString JSObject JSException JSResultTypeMax"},
    {"OrvWebOpenWindowAction", 0, "CREATE RECYCLE DISCARD"},
    {"OrvWebResourceAction", 0, "ACCEPT DENY SUBSTITUTE FILTER"},
    {"OrvWebTargetType", 0,
     "TargetIsUnknown TargetIsMainFrame TargetIsSubframe TargetIsSubresource TargetIsStyleSheet "
     "TargetIsScript TargetIsFontResource TargetIsImage TargetIsObject TargetIsMedia "
     "TargetIsXMLHTTPRequest TargetIsWorker TargetIsSharedWorker TargetIsDownload TargetTypeMax"},
    {"OrvWebDownloadAction", 0, "ActionNone ActionSave ActionDiscard ActionPending ActionMax"},
    {"OrvWebDownloadError", 0, "ErrorNone ErrorInvalidFilename ErrorMax"},
    {"OrvWebDownloadResult", 0,
     "ResultSuccess ResultNetworkError ResultCancelled ResultInvalidFilename ResultFileIOError "
     "ResultFileNotFoundError ResultNoEnoughMemError ResultMax"},
    {"OrvWebInputNotification", 0,
     "CaretChanged CheckSpellingRequest EndComposition InputEventComplete"},
    {"OrvWebInputKeyEvent", 0, "KeyDown KeyRepeat KeyUp"},
    {"OrvWebContextMenuCancelReason", 0,
     "TouchEnd FCCMove SelectionHandleMove SelectionCancelled TouchMove ResetStateForNewObject"},
    {"OrvWebProtocolHandlerType", 0, "IsRegistered Register Unregister"},
    {"OrvWebSourceDevice", 0, "UnknownDevice TesselVKB TesselKeyPad"},
    {"OrvWebDialogType", 0,
     "Generic JavaScriptAlert JavaScriptConfirm JavaScriptPrompt GeolocationPermission "
     "DatabaseQuotaExceeded AuthenticationChallenge SaveCredential ContextMenu "
     "NotificationPermission InsecureSubresourceLoadPolicyConfirm BeforeUnloadConfirm MediaError "
     "WebFileSystemQuotaExceeded"},
    {"OrvWebContextMenuItem", -1,
     "Invalid Select Cancel Cut Copy Paste ClearField OpenLinkInNewTab AddLinkToBookmarks SendLink "
     "CopyLink OpenLink SaveLinkAs SaveImage SendImageLink CopyImageLink ViewImage FullMenu Delete "
     "Search ShareLink ShareImage InspectElement InvokeRequests PasteWithLock SelectAll "
     "PasteGreyedOut"},
    {"OrvWebTextReflowMode", 0,
     "TextReflowDisabled TextReflowEnabled TextReflowEnabledOnlyForBlockZoom"},
    {"OrvWebSecureType", 0, "SecureNone SecureFull SecurePartial SecureFailed"},
    {"OrvWebSensitivity", 0,
     "SensitivityTest SensitivityAlways SensitivityNever SensitivityNoFocus SensitivityFullscreen"},
    {"OrvWebApplicationActivationState", 0,
     "ApplicationActivationStateActive ApplicationActivationStateInactive "
     "ApplicationActivationStateStandby"},
    {"OrvWebSSLCertificateAction", 0, "SSLActionNone SSLActionTrust SSLActionReject"},
    {"OrvWebFocusDirection", 0, "FocusDirectionNone FocusDirectionTop FocusDirectionBottom"},
    {"OrvWebJavaScriptWorld", 0, "NormalWorld IsolatedWorld"},
};
// The one name that stands apart.
inline constexpr EnumerationFacts apartFacts{"OrvWebJavaScriptWorld", -268435456, "NoWorld"};

}  // namespace test_support
