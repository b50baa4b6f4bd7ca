// What a chrome calls, and what it is called with. Written by tools/generate-reference.sh from the
// program's tables: change those.
//
//   import type { ChromeEvents, JsonText, OrvWebRect } from './native.d.ts';
//   const view = orv.callNative('webview.create', group);

declare const json: unique symbol;
/** The JSON of a T: JSON.stringify makes it, JSON.parse reads it. */
export type JsonText<T> = string & { readonly [json]: T };
export type NumberText = `${number}`;
/** A truth value that a function returns; '1' and '0' are no truth values of arguments. */
export type BooleanText = '1' | '0';
/** A truth value that an event brings, and some functions return. */
export type TruthText = 'true' | 'false';

export type Numeric = number | bigint | NumberText;
export type Flag = boolean | TruthText;
declare const pem: unique symbol;
/** A certificate in PEM form. */
export type PemText = string & { readonly [pem]: true };
export type WindowAnimationCurve = 'Linear' | 'EaseInCurve' | 'EaseOutCurve';
export type CertificateText = JsonText<SSLCertificateInfo> | JsonText<SSLConnectionInfo> | PemText;

export type OrvWebNavigationType =
  | 'LinkClicked' | 'FormSubmitted' | 'BackForward' | 'Reload' | 'FormResubmitted' | 'Other';
export type OrvWebJavaScriptResultType =
  | 'JSUndefined' | 'JSNull' | 'JSBoolean' | 'JSNumber' | 'JSString' | 'JSObject'
  | 'JSException' | 'JSResultTypeMax';
export type OrvWebOpenWindowAction =
  | 'CREATE' | 'RECYCLE' | 'DISCARD';
export type OrvWebResourceAction =
  | 'ACCEPT' | 'DENY' | 'SUBSTITUTE' | 'FILTER';
export type OrvWebTargetType =
  | 'TargetIsUnknown' | 'TargetIsMainFrame' | 'TargetIsSubframe' | 'TargetIsSubresource'
  | 'TargetIsStyleSheet' | 'TargetIsScript' | 'TargetIsFontResource' | 'TargetIsImage'
  | 'TargetIsObject' | 'TargetIsMedia' | 'TargetIsXMLHTTPRequest' | 'TargetIsWorker'
  | 'TargetIsSharedWorker' | 'TargetIsDownload' | 'TargetTypeMax';
export type OrvWebDownloadAction =
  | 'ActionNone' | 'ActionSave' | 'ActionDiscard' | 'ActionPending' | 'ActionMax';
export type OrvWebDownloadError =
  | 'ErrorNone' | 'ErrorInvalidFilename' | 'ErrorMax';
export type OrvWebDownloadResult =
  | 'ResultSuccess' | 'ResultNetworkError' | 'ResultCancelled' | 'ResultInvalidFilename'
  | 'ResultFileIOError' | 'ResultFileNotFoundError' | 'ResultNoEnoughMemError' | 'ResultMax';
export type OrvWebInputNotification =
  | 'CaretChanged' | 'CheckSpellingRequest' | 'EndComposition' | 'InputEventComplete';
export type OrvWebInputKeyEvent =
  | 'KeyDown' | 'KeyRepeat' | 'KeyUp';
export type OrvWebContextMenuCancelReason =
  | 'TouchEnd' | 'FCCMove' | 'SelectionHandleMove' | 'SelectionCancelled' | 'TouchMove'
  | 'ResetStateForNewObject';
export type OrvWebProtocolHandlerType =
  | 'IsRegistered' | 'Register' | 'Unregister';
export type OrvWebSourceDevice =
  | 'UnknownDevice' | 'TesselVKB' | 'TesselKeyPad';
export type OrvWebDialogType =
  | 'Generic' | 'JavaScriptAlert' | 'JavaScriptConfirm' | 'JavaScriptPrompt'
  | 'GeolocationPermission' | 'DatabaseQuotaExceeded' | 'AuthenticationChallenge'
  | 'SaveCredential' | 'ContextMenu' | 'NotificationPermission'
  | 'InsecureSubresourceLoadPolicyConfirm' | 'BeforeUnloadConfirm' | 'MediaError'
  | 'WebFileSystemQuotaExceeded' | 'Print';
export type OrvWebContextMenuItem =
  | 'Invalid' | 'Select' | 'Cancel' | 'Cut' | 'Copy' | 'Paste' | 'ClearField'
  | 'OpenLinkInNewTab' | 'AddLinkToBookmarks' | 'SendLink' | 'CopyLink' | 'OpenLink'
  | 'SaveLinkAs' | 'SaveImage' | 'SendImageLink' | 'CopyImageLink' | 'ViewImage' | 'FullMenu'
  | 'Delete' | 'Search' | 'ShareLink' | 'ShareImage' | 'InspectElement' | 'InvokeRequests'
  | 'PasteWithLock' | 'SelectAll' | 'PasteGreyedOut';
export type OrvWebTextReflowMode =
  | 'TextReflowDisabled' | 'TextReflowEnabled' | 'TextReflowEnabledOnlyForBlockZoom';
export type OrvWebSecureType =
  | 'SecureNone' | 'SecureFull' | 'SecurePartial' | 'SecureFailed';
export type OrvWebSensitivity =
  | 'SensitivityTest' | 'SensitivityAlways' | 'SensitivityNever' | 'SensitivityNoFocus'
  | 'SensitivityFullscreen';
export type OrvWebApplicationActivationState =
  | 'ApplicationActivationStateActive' | 'ApplicationActivationStateInactive'
  | 'ApplicationActivationStateStandby';
export type OrvWebSSLCertificateAction =
  | 'SSLActionNone' | 'SSLActionTrust' | 'SSLActionReject';
export type OrvWebFocusDirection =
  | 'FocusDirectionNone' | 'FocusDirectionTop' | 'FocusDirectionBottom';
export type OrvWebJavaScriptWorld =
  | 'NormalWorld' | 'IsolatedWorld' | 'NoWorld';
export type WebEventName =
  | 'Focus' | 'LocationChange' | 'LocationChanging' | 'NetworkError' | 'DocumentLoaded'
  | 'DocumentLoadCommitted' | 'DocumentLoadFinished' | 'DocumentLoadFailed' | 'ContentRendered'
  | 'Created' | 'Destroyed' | 'JavaScriptException' | 'JavaScriptResult' | 'JavaScriptCallback'
  | 'JavaScriptWindowObjectCleared' | 'JavaScriptInterrupted' | 'OpenWindow' | 'UnknownProtocol'
  | 'DialogRequested' | 'NetworkResourceRequested' | 'NetworkResourceOpened'
  | 'NetworkResourceHeaderReceived' | 'NetworkResourceDataReceived' | 'NetworkResourceDone'
  | 'PropertyChanged' | 'FullScreenEnter' | 'FullScreenEntering' | 'FullScreenExit'
  | 'FindString' | 'UnsupportedMimeType' | 'LockOrientation' | 'UnlockOrientation'
  | 'FullScreenVideoStarted' | 'FullScreenVideoEnded' | 'FullScreenVideoWindowUpdated'
  | 'DownloadRequest' | 'DownloadStarted' | 'DownloadProgress' | 'DownloadError'
  | 'DownloadFinished' | 'UpdateGeolocationFilter' | 'SessionInfo' | 'SelectionChanged'
  | 'CaretChanged' | 'TextAttributeQuery' | 'ClipboardWrite' | 'ClipboardRead'
  | 'UpdateWebGLFilter' | 'TouchEvent' | 'TouchCancelEvent' | 'MouseEvent' | 'KeyEvent'
  | 'InputNotificationEvent' | 'InputNotificationFocusEvent' | 'InputNotificationKeyEvent'
  | 'InspectorMessage' | 'ContextMenuRequestEvent' | 'CaptureContents'
  | 'ContextMenuCancelEvent' | 'InvokeRequestEvent' | 'KeyboardRequestedEvent'
  | 'FormAutofillRequestEvent' | 'FormAutofillCancelEvent' | 'CloseWindow'
  | 'DownloadContentType' | 'GeolocationPermissionRequest' | 'SSLHandshakingFailed'
  | 'RequestUpdateViewport' | 'SyncProxyCredential' | 'ProtocolHandler'
  | 'JavaScriptFunctionResult' | 'ChooseFile' | 'AutomationLog'
  | 'JavaScriptFunctionResultEvent' | 'UserMediaRequest' | 'CookieResult' | 'FormControlEvent'
  | 'AddSearchProviderRequest' | 'IsSearchProviderInstalled' | 'NotificationPermissionRequest'
  | 'NotificationPermissionCheck' | 'NotificationShow' | 'NotificationCancel'
  | 'UnhandledKeyInput' | 'TypeMax';
export type PropertyName =
  | 'CanGoBack' | 'CanGoForward' | 'Location' | 'Title' | 'Viewport' | 'OriginalLocation'
  | 'ContentRectangle' | 'HistoryLength' | 'HistoryPosition' | 'HistoryList' | 'PrivateBrowsing'
  | 'ScrollPosition' | 'TextEncoding' | 'DefaultTextEncoding' | 'ForcedTextEncoding'
  | 'DefaultFontSize' | 'WindowUniqueId' | 'UserAgent' | 'TextReflowMode' | 'BlockPopups'
  | 'LoadImages' | 'EnableJavaScript' | 'EnablePlugins' | 'EnableCookies' | 'EnableWebSockets'
  | 'EnableGeolocation' | 'EnableCrossSiteXHR' | 'EnableNetworkResourceRequestedEvents'
  | 'EnableDialogRequestedEvents' | 'EnableLocalAccessToAllCookies'
  | 'EnableSoundOnAnchorElementTouchEvents' | 'CustomHTTPHeaders' | 'JavaScriptInterruptTimeout'
  | 'LoadProgress' | 'ZOrder' | 'Visible' | 'Active' | 'ZoomToFitWidthOnLoad' | 'Tooltip'
  | 'Status' | 'Favicon' | 'CurrentContext' | 'UserStyleSheetLocation' | 'PluginFullScreen'
  | 'SecureType' | 'CertificateInfo' | 'EncryptionInfo' | 'EnableWebInspector'
  | 'OverScrollColor' | 'BackgroundColor' | 'EnableDownloadableBinaryFonts' | 'WebInspectorPort'
  | 'EnableSpatialNavigation' | 'Scale' | 'Sensitivity' | 'MinimumFontSize'
  | 'AutoDeferNetworkingAndJavaScript' | 'DeferNetworkingAndJavaScript' | 'ZoomFactor'
  | 'EnableInputMethodSupport' | 'EnableInputNotifications' | 'ViewportWidth' | 'ViewportHeight'
  | 'ViewportInitialScale' | 'ViewportMinimumScale' | 'ViewportMaximumScale'
  | 'ViewportTargetDensityDpi' | 'ViewportUserScalable' | 'EnableDefaultOverScrollBackground'
  | 'EnableFineCursorControl' | 'EnableTextSelectionControls' | 'FullScreenVideoCapable'
  | 'SecurityInfo' | 'FileSystemAPISandboxed' | 'EnableCredentialAutofill'
  | 'EnableFormAutofill' | 'AlwaysShowKeyboardOnFocus' | 'VideoFullScreen' | 'DevicePixelRatio'
  | 'MinimumScale' | 'MaximumScale' | 'EnableMediaRTSP' | 'EnableDNSPrefetch'
  | 'EnableConsoleLogging' | 'EnableWebContentCache';

export interface OrvWebCertificateInfo {
  error: number;
  fileCount: number;
  fileNames: string[];
  filenames: string;
  rejected: number;
  trusted: number;
}
export interface OrvWebContext {
  alt: string;
  invokeRequests: string;
  isAudio: boolean;
  isFocusable: boolean;
  isImage: boolean;
  isInput: boolean;
  isLoomContext: boolean;
  isPassword: boolean;
  isSelectable: boolean;
  isSingleLine: boolean;
  isVideo: boolean;
  loomContext: string;
  mimeType: string;
  pattern: string;
  src: string;
  text: string;
  url: string;
}
export interface OrvWebFavicon {
  data: string;
  dataInBase64: string;
  height: number;
  url: string;
  width: number;
}
export interface OrvWebHistoryItem {
  isPost: boolean;
  originalURL: string;
  title: string;
  url: string;
}
export interface OrvWebMemoryExcess {
  bytes: number;
  limit: number;
  process: number;
  reason: string;
}
export interface OrvWebPageSecurityBasicInfo {
  location: string;
  secured: boolean;
}
export interface OrvWebPageSecurityInfo {
  certificates: SSLCertificate[];
  connection: SSLConnectionInfo;
  connectionDetails: SSLConnectionBasicInfo;
  page: OrvWebPageSecurityBasicInfo;
}
export interface OrvWebPoint {
  x: number;
  y: number;
}
export interface OrvWebRect {
  height: number;
  width: number;
  x: number;
  y: number;
}
export interface OrvWebRetry {
  delay: number;
  reason: string;
  url: string;
  whenShown: boolean;
}
export interface OrvWebSize {
  height: number;
  width: number;
}
export interface SSLCertificate {
  fingerprint: string;
  hostNames: string[];
  issuer: SSLEntity;
  pem: string;
  publicKey: SSLPublicKey;
  serialNumber: string;
  subject: SSLEntity;
  validFrom: SSLDateTime;
  validTo: SSLDateTime;
}
export interface SSLCertificateInfo {
  certificate: string;
  host: string;
  issuer: string;
  problems: string[];
  subject: string;
}
export interface SSLCipher {
  name: string;
  protocol: string;
}
export interface SSLConnectionBasicInfo {
  cipher: SSLCipher;
  since: SSLDateTime;
}
export interface SSLConnectionInfo {
  certificate: string;
  host: string;
  issuer: string;
  problems: string[];
  subject: string;
}
export interface SSLDateTime {
  text: string;
}
export interface SSLEntity {
  commonName: string;
  country: string;
  name: string;
  organization: string;
}
export interface SSLPublicKey {
  algorithm: string;
  bits: number;
}

// What events bring.
export interface OrvWebEvent {
  isPost: boolean;
  isSend: boolean;
  type: string;
}
export interface OrvWebSendEvent extends OrvWebEvent {
  isModal: boolean;
  isPreventDefault: boolean;
}
export interface OrvWebFocusEvent extends OrvWebEvent {
  isFocused: boolean;
}
export interface OrvWebLocationChangeEvent extends OrvWebEvent {
  navigationType: OrvWebNavigationType;
  url: string;
}
export interface OrvWebLocationChangingEvent extends OrvWebSendEvent {
  button: number;
  modifierMask: number;
  navigationType: OrvWebNavigationType;
  url: string;
}
export interface OrvWebNetworkErrorEvent extends OrvWebSendEvent {
  message: string;
  status: number;
  url: string;
}
export interface OrvWebContentRenderedEvent extends OrvWebEvent {
  content: OrvWebRect;
  contentHeight: number;
  contentWidth: number;
  contentX: number;
  contentY: number;
}
export interface OrvWebJavaScriptExceptionEvent extends OrvWebEvent {
  exception: string;
  file: string;
  line: number;
}
export interface OrvWebJavaScriptResultEvent extends OrvWebEvent {
  resultId: string;
  resultString: string;
  resultType: OrvWebJavaScriptResultType;
}
export interface OrvWebJavaScriptCallbackEvent extends OrvWebSendEvent {
  args: string[];
  numArgs: number;
  result: string;
}
export interface OrvWebJavaScriptWindowObjectClearedEvent extends OrvWebSendEvent {
  script: string;
}
export interface OrvWebOpenWindowEvent extends OrvWebSendEvent {
  action: OrvWebOpenWindowAction;
  button: number;
  isPopup: boolean;
  modifierMask: number;
  page: string;
  rect: OrvWebRect;
  url: string;
  view: NumberText;
  wait: boolean;
  waitHandle: number;
  windowName: string;
}
export interface OrvWebUnknownProtocolEvent extends OrvWebSendEvent {
  protocolHandlerURL: string;
  scheme: string;
  streamId: number;
  url: string;
}
export interface OrvWebDialogRequestedEvent extends OrvWebSendEvent {
  alertType: number;
  cancellabel: string;
  data: string;
  databaseName: string;
  dialogType: OrvWebDialogType;
  isNew: boolean;
  isProxy: boolean;
  message: string;
  oklabel: string;
  password: string;
  requestedSize: number;
  result: string;
  systemId: string;
  systemType: number;
  title: string;
  url: string;
  username: string;
  wait: boolean;
  waitHandle: number;
}
export interface OrvWebNetworkResourceRequestedEvent extends OrvWebSendEvent {
  action: OrvWebResourceAction;
  body: string;
  referrer: string;
  securityOrigin: string;
  streamId: number;
  targetType: OrvWebTargetType;
  url: string;
}
export interface OrvWebNetworkResourceOpenedEvent extends OrvWebSendEvent {
  message: string;
  status: number;
  streamId: number;
}
export interface OrvWebNetworkResourceHeaderReceivedEvent extends OrvWebSendEvent {
  key: string;
  streamId: number;
  value: string;
}
export interface OrvWebNetworkResourceDataReceivedEvent extends OrvWebSendEvent {
  data: string;
  length: number;
  streamId: number;
}
export interface OrvWebNetworkResourceDoneEvent extends OrvWebSendEvent {
  streamId: number;
}
export interface OrvWebPropertyChangedEvent extends OrvWebEvent {
  property: string;
}
export interface OrvWebFullScreenEnteringEvent extends OrvWebSendEvent {}
export interface OrvWebFindStringEvent extends OrvWebEvent {
  caseSensitive: boolean;
  currentIndex: number;
  isMatched: boolean;
  numMatches: number;
  text: string;
}
export interface OrvWebUnsupportedMimeTypeEvent extends OrvWebEvent {
  url: string;
}
export interface OrvWebLockOrientationEvent extends OrvWebSendEvent {
  landscape: boolean;
}
export interface OrvWebFullScreenVideoStartedEvent extends OrvWebEvent {
  context: string;
  height: number;
  screenWindow: string;
  width: number;
  x: number;
  y: number;
}
export interface OrvWebFullScreenVideoWindowUpdatedEvent extends OrvWebEvent {
  height: number;
  width: number;
  x: number;
  y: number;
}
export interface OrvWebDownloadRequestEvent extends OrvWebSendEvent {
  action: OrvWebDownloadAction;
  downloadId: number;
  filename: string;
  mimeType: string;
  tempFilename: string;
  url: string;
}
export interface OrvWebDownloadStartedEvent extends OrvWebEvent {
  downloadId: number;
  filename: string;
  url: string;
}
export interface OrvWebDownloadProgressEvent extends OrvWebEvent {
  downloadId: number;
  downloadedSize: number;
  totalSize: number;
}
export interface OrvWebDownloadErrorEvent extends OrvWebEvent {
  downloadError: OrvWebDownloadError;
  downloadId: number;
}
export interface OrvWebDownloadFinishedEvent extends OrvWebEvent {
  downloadId: number;
  downloadResult: OrvWebDownloadResult;
}
export interface OrvWebUpdateGeolocationFilterEvent extends OrvWebEvent {
  allow: boolean;
  mask: string;
}
export interface OrvWebSessionInfoEvent extends OrvWebEvent {
  data: string;
  version: string;
}
export interface OrvWebSelectionChangedEvent extends OrvWebEvent {
  endHeight: number;
  endWidth: number;
  endX: number;
  endY: number;
  startHeight: number;
  startWidth: number;
  startX: number;
  startY: number;
}
export interface OrvWebCaretChangedEvent extends OrvWebEvent {
  rectHeight: number;
  rectWidth: number;
  rectX: number;
  rectY: number;
  userTouch: boolean;
}
export interface OrvWebTextAttributeQueryEvent extends OrvWebEvent {
  queryResult: string;
  queryString: string;
}
export interface OrvWebInputNotificationEvent extends OrvWebEvent {
  eventType: OrvWebInputNotification;
  position: number;
  secondaryPosition: number;
}
export interface OrvWebInputNotificationFocusEvent extends OrvWebEvent {
  focused: boolean;
  styleMask: string;
}
export interface OrvWebInputNotificationKeyEvent extends OrvWebSendEvent {
  character: number;
  eventType: OrvWebInputKeyEvent;
  modifierMask: number;
}
export interface OrvWebInspectorMessageEvent extends OrvWebEvent {
  message: string;
}
export interface OrvWebContextMenuRequestEvent extends OrvWebSendEvent {
  menuItems: OrvWebContextMenuItem[];
  x: number;
  y: number;
}
export interface OrvWebCaptureContentsEvent extends OrvWebEvent {
  base64PNGImage: string;
  id: number;
}
export interface OrvWebContextMenuCancelEvent extends OrvWebSendEvent {
  reason: OrvWebContextMenuCancelReason;
}
export interface OrvWebInvokeRequestEvent extends OrvWebEvent {
  request: string;
  uri: string;
}
export interface OrvWebKeyboardRequestedEvent extends OrvWebSendEvent {}
export interface OrvWebFormAutofillRequestEvent extends OrvWebSendEvent {
  items: string[];
}
export interface OrvWebCloseWindowEvent extends OrvWebSendEvent {
  windowName: string;
}
export interface OrvWebDownloadContentTypeEvent extends OrvWebEvent {
  contentType: string;
  downloadId: number;
}
export interface OrvWebGeolocationPermissionRequestEvent extends OrvWebSendEvent {
  origin: string;
  showGlobalPermissionRequest: boolean;
}
export interface OrvWebSSLHandshakingFailedEvent extends OrvWebEvent {
  connectionInfo: SSLConnectionInfo;
  streamId: number;
  url: string;
}
export interface OrvWebRequestUpdateViewportEvent extends OrvWebEvent {
  height: number;
  width: number;
}
export interface OrvWebSyncProxyCredentialEvent extends OrvWebEvent {
  password: string;
  username: string;
}
export interface OrvWebProtocolHandlerEvent extends OrvWebSendEvent {
  baseURL: string;
  protocolHandlerType: OrvWebProtocolHandlerType;
  result: string;
  scheme: string;
  title: string;
  url: string;
}
export interface OrvWebJavaScriptFunctionResultEvent extends OrvWebEvent {
  result: string | number | boolean;
  resultId: string;
}
export interface OrvWebChooseFileEvent extends OrvWebSendEvent {
  acceptMIMETypes: string[];
  allowsMultipleFiles: boolean;
  capture: string;
  fileChosen: string;
  wait: boolean;
  waitHandle: number;
}
export interface OrvWebAutomationLogEvent extends OrvWebEvent {
  message: string;
}
export interface OrvWebUserMediaRequestEvent extends OrvWebSendEvent {
  cameras: string[];
  id: number;
  origin: string;
}
export interface OrvWebCookieResultEvent extends OrvWebEvent {
  cookies: string[];
  url: string;
}
export interface OrvWebFormControlEvent extends OrvWebEvent {
  isNextActive: boolean;
  isPreviousActive: boolean;
  isVisible: boolean;
}
export interface OrvWebAddSearchProviderRequestEvent extends OrvWebEvent {
  url: string;
}
export interface OrvWebIsSearchProviderInstalledEvent extends OrvWebSendEvent {
  result: number;
  url: string;
}
export interface OrvWebNotificationPermissionRequestEvent extends OrvWebEvent {
  id: string;
  origin: string;
}
export interface OrvWebNotificationPermissionCheckEvent extends OrvWebSendEvent {
  origin: string;
  result: string;
  wait: boolean;
  waitHandle: number;
}
export interface OrvWebNotificationShowEvent extends OrvWebEvent {
  body: string;
  iconUrl: string;
  id: string;
  origin: string;
  tag: string;
  title: string;
}
export interface OrvWebNotificationCancelEvent extends OrvWebEvent {
  id: string;
}
export interface OrvWebUnhandledKeyInputEvent extends OrvWebEvent {
  altActive: boolean;
  alternateCharacter: number;
  character: number;
  ctrlActive: boolean;
  keyDown: boolean;
  keycode: number;
  metaActive: boolean;
  modifierMask: number;
  shiftActive: boolean;
  sourceDevice: OrvWebSourceDevice;
}

// What their answers may bring. In an answer that is not empty, a text that is left out
// counts as the empty one.
export interface OrvWebSendEventAnswer {
  setModal?: boolean;
  setPreventDefault?: boolean;
}
export interface OrvWebLocationChangingEventAnswer extends OrvWebSendEventAnswer {}
export interface OrvWebNetworkErrorEventAnswer extends OrvWebSendEventAnswer {}
export interface OrvWebJavaScriptCallbackEventAnswer extends OrvWebSendEventAnswer {
  setResult?: string | null;
}
export interface OrvWebJavaScriptWindowObjectClearedEventAnswer extends OrvWebSendEventAnswer {
  setScript?: string | null;
}
export interface OrvWebOpenWindowEventAnswer extends OrvWebSendEventAnswer {
  setAction?: OrvWebOpenWindowAction;
  setIsPopup?: boolean;
  setView?: NumberText;
  setWait?: boolean;
}
export interface OrvWebUnknownProtocolEventAnswer extends OrvWebSendEventAnswer {
  setProtocolHandlerURL?: string | null;
  setScheme?: string | null;
}
export interface OrvWebDialogRequestedEventAnswer extends OrvWebSendEventAnswer {
  setAlertType?: number;
  setData?: string | null;
  setIsNew?: boolean;
  setIsProxy?: boolean;
  setPassword?: string | null;
  setResult?: string | null;
  setURL?: string | null;
  setUsername?: string | null;
  setWait?: boolean;
  setWaitHandle?: number;
}
export interface OrvWebNetworkResourceRequestedEventAnswer extends OrvWebSendEventAnswer {
  setAction?: OrvWebResourceAction;
  setBody?: string | null;
  setReferrer?: string | null;
  setSecurityOrigin?: string | null;
}
export interface OrvWebNetworkResourceOpenedEventAnswer extends OrvWebSendEventAnswer {
  setMessage?: string | null;
  setStatus?: number;
}
export interface OrvWebNetworkResourceHeaderReceivedEventAnswer extends OrvWebSendEventAnswer {
  setKey?: string | null;
  setValue?: string | null;
}
export interface OrvWebNetworkResourceDataReceivedEventAnswer extends OrvWebSendEventAnswer {}
export interface OrvWebNetworkResourceDoneEventAnswer extends OrvWebSendEventAnswer {}
export interface OrvWebFullScreenEnteringEventAnswer extends OrvWebSendEventAnswer {}
export interface OrvWebLockOrientationEventAnswer extends OrvWebSendEventAnswer {}
export interface OrvWebDownloadRequestEventAnswer extends OrvWebSendEventAnswer {
  setAction?: OrvWebDownloadAction;
  setFilename?: string | null;
  setMimeType?: string | null;
  setTempFile?: string | null;
}
export interface OrvWebInputNotificationKeyEventAnswer extends OrvWebSendEventAnswer {}
export interface OrvWebContextMenuRequestEventAnswer extends OrvWebSendEventAnswer {}
export interface OrvWebContextMenuCancelEventAnswer extends OrvWebSendEventAnswer {}
export interface OrvWebKeyboardRequestedEventAnswer extends OrvWebSendEventAnswer {}
export interface OrvWebFormAutofillRequestEventAnswer extends OrvWebSendEventAnswer {}
export interface OrvWebCloseWindowEventAnswer extends OrvWebSendEventAnswer {}
export interface OrvWebGeolocationPermissionRequestEventAnswer extends OrvWebSendEventAnswer {}
export interface OrvWebProtocolHandlerEventAnswer extends OrvWebSendEventAnswer {
  setResult?: string | null;
  setTitle?: string | null;
}
export interface OrvWebChooseFileEventAnswer extends OrvWebSendEventAnswer {
  setFileChosen?: string | null;
  setWait?: boolean;
  setWaitHandle?: number;
}
export interface OrvWebUserMediaRequestEventAnswer extends OrvWebSendEventAnswer {}
export interface OrvWebIsSearchProviderInstalledEventAnswer extends OrvWebSendEventAnswer {
  setResult?: number;
}
export interface OrvWebNotificationPermissionCheckEventAnswer extends OrvWebSendEventAnswer {
  setResult?: string | null;
  setWait?: boolean;
  setWaitHandle?: number;
}

/** Every event with what it brings; '' where it brings nothing. */
export interface ChromeEvents {
  Focus: OrvWebFocusEvent;
  LocationChange: OrvWebLocationChangeEvent;
  LocationChanging: OrvWebLocationChangingEvent;
  NetworkError: OrvWebNetworkErrorEvent;
  DocumentLoaded: OrvWebEvent;
  DocumentLoadCommitted: OrvWebEvent;
  DocumentLoadFinished: OrvWebEvent;
  DocumentLoadFailed: OrvWebEvent;
  ContentRendered: OrvWebContentRenderedEvent;
  Created: OrvWebEvent;
  Destroyed: OrvWebEvent;
  JavaScriptException: OrvWebJavaScriptExceptionEvent;
  JavaScriptResult: OrvWebJavaScriptResultEvent;
  JavaScriptCallback: OrvWebJavaScriptCallbackEvent;
  JavaScriptWindowObjectCleared: OrvWebJavaScriptWindowObjectClearedEvent;
  JavaScriptInterrupted: OrvWebEvent;
  OpenWindow: OrvWebOpenWindowEvent;
  UnknownProtocol: OrvWebUnknownProtocolEvent;
  DialogRequested: OrvWebDialogRequestedEvent;
  NetworkResourceRequested: OrvWebNetworkResourceRequestedEvent;
  NetworkResourceOpened: OrvWebNetworkResourceOpenedEvent;
  NetworkResourceHeaderReceived: OrvWebNetworkResourceHeaderReceivedEvent;
  NetworkResourceDataReceived: OrvWebNetworkResourceDataReceivedEvent;
  NetworkResourceDone: OrvWebNetworkResourceDoneEvent;
  PropertyChanged: OrvWebPropertyChangedEvent;
  FullScreenEnter: OrvWebEvent;
  FullScreenEntering: OrvWebFullScreenEnteringEvent;
  FullScreenExit: OrvWebEvent;
  FindString: OrvWebFindStringEvent;
  UnsupportedMimeType: OrvWebUnsupportedMimeTypeEvent;
  LockOrientation: OrvWebLockOrientationEvent;
  UnlockOrientation: OrvWebEvent;
  FullScreenVideoStarted: OrvWebFullScreenVideoStartedEvent;
  FullScreenVideoEnded: OrvWebEvent;
  FullScreenVideoWindowUpdated: OrvWebFullScreenVideoWindowUpdatedEvent;
  DownloadRequest: OrvWebDownloadRequestEvent;
  DownloadStarted: OrvWebDownloadStartedEvent;
  DownloadProgress: OrvWebDownloadProgressEvent;
  DownloadError: OrvWebDownloadErrorEvent;
  DownloadFinished: OrvWebDownloadFinishedEvent;
  UpdateGeolocationFilter: OrvWebUpdateGeolocationFilterEvent;
  SessionInfo: OrvWebSessionInfoEvent;
  SelectionChanged: OrvWebSelectionChangedEvent;
  CaretChanged: OrvWebCaretChangedEvent;
  TextAttributeQuery: OrvWebTextAttributeQueryEvent;
  ClipboardWrite: OrvWebEvent;
  ClipboardRead: OrvWebEvent;
  UpdateWebGLFilter: '';
  TouchEvent: '';
  TouchCancelEvent: '';
  MouseEvent: '';
  KeyEvent: '';
  InputNotificationEvent: OrvWebInputNotificationEvent;
  InputNotificationFocusEvent: OrvWebInputNotificationFocusEvent;
  InputNotificationKeyEvent: OrvWebInputNotificationKeyEvent;
  InspectorMessage: OrvWebInspectorMessageEvent;
  ContextMenuRequestEvent: OrvWebContextMenuRequestEvent;
  CaptureContents: OrvWebCaptureContentsEvent;
  ContextMenuCancelEvent: OrvWebContextMenuCancelEvent;
  InvokeRequestEvent: OrvWebInvokeRequestEvent;
  KeyboardRequestedEvent: OrvWebKeyboardRequestedEvent;
  FormAutofillRequestEvent: OrvWebFormAutofillRequestEvent;
  FormAutofillCancelEvent: OrvWebEvent;
  CloseWindow: OrvWebCloseWindowEvent;
  DownloadContentType: OrvWebDownloadContentTypeEvent;
  GeolocationPermissionRequest: OrvWebGeolocationPermissionRequestEvent;
  SSLHandshakingFailed: OrvWebSSLHandshakingFailedEvent;
  RequestUpdateViewport: OrvWebRequestUpdateViewportEvent;
  SyncProxyCredential: OrvWebSyncProxyCredentialEvent;
  ProtocolHandler: OrvWebProtocolHandlerEvent;
  JavaScriptFunctionResult: OrvWebJavaScriptFunctionResultEvent;
  ChooseFile: OrvWebChooseFileEvent;
  AutomationLog: OrvWebAutomationLogEvent;
  JavaScriptFunctionResultEvent: OrvWebJavaScriptFunctionResultEvent;
  UserMediaRequest: OrvWebUserMediaRequestEvent;
  CookieResult: OrvWebCookieResultEvent;
  FormControlEvent: OrvWebFormControlEvent;
  AddSearchProviderRequest: OrvWebAddSearchProviderRequestEvent;
  IsSearchProviderInstalled: OrvWebIsSearchProviderInstalledEvent;
  NotificationPermissionRequest: OrvWebNotificationPermissionRequestEvent;
  NotificationPermissionCheck: OrvWebNotificationPermissionCheckEvent;
  NotificationShow: OrvWebNotificationShowEvent;
  NotificationCancel: OrvWebNotificationCancelEvent;
  UnhandledKeyInput: OrvWebUnhandledKeyInputEvent;
  TypeMax: '';
  ProcessCrash: '';
  ReloadScheduled: OrvWebRetry;
  MemoryExceeded: OrvWebMemoryExcess;
  /** The child process of the web view has ended, and the web view is gone. Of a page's own
   * process that ends NetworkError tells: status -1 crashed, -2 took too much memory, -3 was
   * ended by somebody. */
  ProcessCrash: '';
}

/** The events that wait for an answer. */
export interface ChromeAnswers {
  LocationChanging: OrvWebLocationChangingEventAnswer;
  NetworkError: OrvWebNetworkErrorEventAnswer;
  JavaScriptCallback: OrvWebJavaScriptCallbackEventAnswer;
  JavaScriptWindowObjectCleared: OrvWebJavaScriptWindowObjectClearedEventAnswer;
  OpenWindow: OrvWebOpenWindowEventAnswer;
  UnknownProtocol: OrvWebUnknownProtocolEventAnswer;
  DialogRequested: OrvWebDialogRequestedEventAnswer;
  NetworkResourceRequested: OrvWebNetworkResourceRequestedEventAnswer;
  NetworkResourceOpened: OrvWebNetworkResourceOpenedEventAnswer;
  NetworkResourceHeaderReceived: OrvWebNetworkResourceHeaderReceivedEventAnswer;
  NetworkResourceDataReceived: OrvWebNetworkResourceDataReceivedEventAnswer;
  NetworkResourceDone: OrvWebNetworkResourceDoneEventAnswer;
  FullScreenEntering: OrvWebFullScreenEnteringEventAnswer;
  LockOrientation: OrvWebLockOrientationEventAnswer;
  DownloadRequest: OrvWebDownloadRequestEventAnswer;
  InputNotificationKeyEvent: OrvWebInputNotificationKeyEventAnswer;
  ContextMenuRequestEvent: OrvWebContextMenuRequestEventAnswer;
  ContextMenuCancelEvent: OrvWebContextMenuCancelEventAnswer;
  KeyboardRequestedEvent: OrvWebKeyboardRequestedEventAnswer;
  FormAutofillRequestEvent: OrvWebFormAutofillRequestEventAnswer;
  CloseWindow: OrvWebCloseWindowEventAnswer;
  GeolocationPermissionRequest: OrvWebGeolocationPermissionRequestEventAnswer;
  ProtocolHandler: OrvWebProtocolHandlerEventAnswer;
  ChooseFile: OrvWebChooseFileEventAnswer;
  UserMediaRequest: OrvWebUserMediaRequestEventAnswer;
  IsSearchProviderInstalled: OrvWebIsSearchProviderInstalledEventAnswer;
  NotificationPermissionCheck: OrvWebNotificationPermissionCheckEventAnswer;
}

/** The events of changed properties, with the text that they bring. */
export interface PropertyEvents {
  PropertyCanGoBackEvent: TruthText;
  PropertyCanGoForwardEvent: TruthText;
  PropertyLocationEvent: string;
  PropertyTitleEvent: string;
  PropertyViewportEvent: JsonText<OrvWebRect>;
  PropertyOriginalLocationEvent: string;
  PropertyContentRectangleEvent: JsonText<OrvWebRect>;
  PropertyHistoryLengthEvent: NumberText;
  PropertyHistoryPositionEvent: NumberText;
  PropertyHistoryListEvent: '';
  PropertyPrivateBrowsingEvent: TruthText;
  PropertyScrollPositionEvent: JsonText<OrvWebPoint>;
  PropertyTextEncodingEvent: string;
  PropertyDefaultTextEncodingEvent: string;
  PropertyForcedTextEncodingEvent: string;
  PropertyDefaultFontSizeEvent: NumberText;
  PropertyWindowUniqueIdEvent: string;
  PropertyUserAgentEvent: string;
  PropertyTextReflowModeEvent: OrvWebTextReflowMode;
  PropertyBlockPopupsEvent: TruthText;
  PropertyLoadImagesEvent: TruthText;
  PropertyEnableJavaScriptEvent: TruthText;
  PropertyEnablePluginsEvent: TruthText;
  PropertyEnableCookiesEvent: TruthText;
  PropertyEnableWebSocketsEvent: TruthText;
  PropertyEnableGeolocationEvent: TruthText;
  PropertyEnableCrossSiteXHREvent: TruthText;
  PropertyEnableNetworkResourceRequestedEventsEvent: TruthText;
  PropertyEnableDialogRequestedEventsEvent: TruthText;
  PropertyEnableLocalAccessToAllCookiesEvent: TruthText;
  PropertyEnableSoundOnAnchorElementTouchEventsEvent: TruthText;
  PropertyCustomHTTPHeadersEvent: '';
  PropertyJavaScriptInterruptTimeoutEvent: NumberText;
  PropertyLoadProgressEvent: NumberText;
  PropertyZOrderEvent: NumberText;
  PropertyVisibleEvent: TruthText;
  PropertyActiveEvent: TruthText;
  PropertyZoomToFitWidthOnLoadEvent: TruthText;
  PropertyTooltipEvent: string;
  PropertyStatusEvent: string;
  PropertyFaviconEvent: JsonText<OrvWebFavicon>;
  PropertyCurrentContextEvent: JsonText<OrvWebContext>;
  PropertyUserStyleSheetLocationEvent: string;
  PropertyPluginFullScreenEvent: TruthText;
  PropertySecureTypeEvent: OrvWebSecureType;
  PropertyCertificateInfoEvent: JsonText<OrvWebCertificateInfo>;
  PropertyEncryptionInfoEvent: string;
  PropertyEnableWebInspectorEvent: TruthText;
  PropertyOverScrollColorEvent: NumberText;
  PropertyBackgroundColorEvent: NumberText;
  PropertyEnableDownloadableBinaryFontsEvent: TruthText;
  PropertyWebInspectorPortEvent: NumberText;
  PropertyEnableSpatialNavigationEvent: TruthText;
  PropertyScaleEvent: NumberText;
  PropertySensitivityEvent: OrvWebSensitivity;
  PropertyMinimumFontSizeEvent: NumberText;
  PropertyAutoDeferNetworkingAndJavaScriptEvent: TruthText;
  PropertyDeferNetworkingAndJavaScriptEvent: TruthText;
  PropertyZoomFactorEvent: NumberText;
  PropertyEnableInputMethodSupportEvent: TruthText;
  PropertyEnableInputNotificationsEvent: TruthText;
  PropertyViewportWidthEvent: NumberText;
  PropertyViewportHeightEvent: NumberText;
  PropertyViewportInitialScaleEvent: NumberText;
  PropertyViewportMinimumScaleEvent: NumberText;
  PropertyViewportMaximumScaleEvent: NumberText;
  PropertyViewportTargetDensityDpiEvent: NumberText;
  PropertyViewportUserScalableEvent: NumberText;
  PropertyEnableDefaultOverScrollBackgroundEvent: TruthText;
  PropertyEnableFineCursorControlEvent: TruthText;
  PropertyEnableTextSelectionControlsEvent: TruthText;
  PropertyFullScreenVideoCapableEvent: TruthText;
  PropertySecurityInfoEvent: JsonText<OrvWebPageSecurityInfo>;
  PropertyFileSystemAPISandboxedEvent: TruthText;
  PropertyEnableCredentialAutofillEvent: TruthText;
  PropertyEnableFormAutofillEvent: TruthText;
  PropertyAlwaysShowKeyboardOnFocusEvent: TruthText;
  PropertyVideoFullScreenEvent: TruthText;
  PropertyDevicePixelRatioEvent: NumberText;
  PropertyMinimumScaleEvent: NumberText;
  PropertyMaximumScaleEvent: NumberText;
  PropertyEnableMediaRTSPEvent: TruthText;
  PropertyEnableDNSPrefetchEvent: TruthText;
  PropertyEnableConsoleLoggingEvent: TruthText;
  PropertyEnableWebContentCacheEvent: TruthText;
}

/** chrome.internal.application, which a chrome provides. */
export interface ApplicationListener {
  /** The application is to end: its window was asked to close. Every web view ends right after it. */
  onExit?(): void;
  /** The edge of the device was touched. */
  onDeviceEdge?(edge: string): void;
  /** The device was turned: top_up, left_up, bottom_up or right_up, with its degrees. application.notifyRotateComplete answers it. */
  onRotate?(orientation: string, degrees: string): void;
  /** The application has turned along. */
  onRotateDone?(orientation: string): void;
  /** A swipe from the edge has begun. */
  onSwipeStart?(): void;
  /** A swipe from the upper edge. */
  onSwipeDown?(): void;
  /** The window has the keyboard. */
  onWindowActive?(): void;
  /** The window has the keyboard no more. */
  onWindowInactive?(): void;
  /** How the window is shown: normal, maximized, fullscreen, minimized or covered. */
  onWindowState?(state: string): void;
  /** The keyboard on the screen is about to appear. */
  onKeyboardOpening?(): void;
  /** The keyboard on the screen is there. */
  onKeyboardOpened?(): void;
  /** The keyboard on the screen is about to go. */
  onKeyboardClosing?(): void;
  /** The keyboard on the screen is gone. */
  onKeyboardClosed?(): void;
  /** Where the keyboard on the screen begins, in pixels from the top. */
  onKeyboardPosition?(position: number): void;
  /** Memory is short: what can be had again should be given up. */
  onLowMemory?(): void;
  /** The application waits in the background to be used. */
  onPooled?(): void;
  /** The answer to application.isDeviceLocked: true, false, or unknown where nobody can tell. */
  onIsDeviceLocked?(locked: string): void;
  /** What the window shows while it is covered. */
  onWindowCover?(cover: string): void;
  /** The window cannot be seen: it is minimized or behind others. */
  onWindowCoverEnter?(): void;
  /** The window can be seen again. */
  onWindowCoverExit?(): void;
  /** The screen was locked. */
  onWindowLock?(): void;
  /** The screen was unlocked. */
  onWindowUnlock?(): void;
  /** The screen has gone dark. Raised after application.watchScreen, as the next three. */
  onScreenBlank?(): void;
  /** The screen shows pictures again. */
  onScreenWake?(): void;
  /** Nobody has used keyboard, pointer or touch screen for the time that was asked for. */
  onUserIdle?(): void;
  /** Somebody uses them again. */
  onUserActive?(): void;
  /** The window's close button was clicked, and the chrome has asked to decide by applicationWindow.setAsksBeforeClosing: application.requestExit ends the application. */
  onCloseRequest?(): void;
  /** A key was pressed that the chrome has reserved by applicationWindow.setReservedKeys; by the name that it has there. */
  onReservedKey?(key: string): void;
  /** The language of the user has changed, such as en_US. */
  onLanguageChange?(language: string): void;
  /** The region of the user has changed, such as en_US. */
  onRegionChange?(region: string): void;
  /** The system's font has changed. Its size is raised in points, and told to the chrome in pixels. */
  onFontInfoChange?(family: string, size: number): void;
}

/** chrome.internal.invocation, which a chrome provides. */
export interface InvocationListener {
  /** The answer to invocation.invoke. */
  onInvokeResponse?(id: string, result: string, error: string): void;
  /** This application was invoked. The request is JSON. */
  onInvoked?(request: string): void;
  /** The answer to invocation.invokeViewer. */
  onInvokeViewerResponse?(id: string, result: string): void;
  /** The answer to invocation.queryTargets. */
  onQueryTargetsResponse?(id: string, targets: string, error: string): void;
  /** A viewer was started. Its state is JSON with its uri. */
  onViewerCreate?(viewer: string, state: string): void;
  /** A message of the other side: of a viewer, or, in a viewer, of who opened it. */
  onViewerRelay?(viewer: string, message: string): void;
  /** Whether a message has reached the other side. */
  onViewerRelayResponse?(viewer: string, result: string): void;
  /** A viewer has ended. */
  onViewerStopped?(viewer: string): void;
  /** What lies behind a card is being looked at. */
  onCardStartPeek?(kind: string): void;
  /** What lies behind a card is not being looked at any more. */
  onCardEndPeek?(): void;
  /** The card that this application opened has closed. */
  onCardChildClosed?(reason: string): void;
  /** This application, a card, was closed. */
  onCardClosed?(reason: string): void;
  /** This application, a card, was resized. */
  onCardResize?(width: string, height: string): void;
  /** The answer to invocation.getInvokeTargetFilters. */
  onGetInvokeTargetFiltersResponse?(id: string, filters: string, error: string): void;
  /** The answer to invocation.setInvokeTargetFilters. */
  onSetInvokeTargetFiltersResponse?(id: string, filters: string, error: string): void;
}

/** Every native function. */
export interface NativeFunctions {
  /** Real, views. Makes a web view in a window group; Created follows, and until then it takes no commands. The result is its handle, a number that is never used again. The process is InProcess, OutProcess for a child process of its own or a number below 4294967295 for that child process; when there is none to be had the result is 0, with an error besides. Where there is no such window group it is never created, and an error says so. */
  'webview.create'(windowGroup: string, process?: string): NumberText;
  /** Real, views. Frees a web view and its window. With the last one of the application the program ends. A handle that names none is ignored. */
  'webview.delete'(view: Numeric): '';
  /** Real, views. The handles of all web views but the chrome's, as a JSON list, in order. After the chrome's process has ended they are those that its former document has made: a chrome that asks for them keeps them, and when its document has loaded without asking they are deleted. */
  'webview.list'(): string;
  /** Real, views. Says what origins may call in a web view with native functions: a JSON object of lists by origin, "self" for the one that the chrome loads there. In the lists are names, groups, prefixes such as pps.* or *. Without self that one may call everything, all others nothing. It counts from the next document on that is of another origin, and for every call at once; the result is 0, with an error, and nothing changes when the text is wrong. */
  'webview.setCapabilities'(view: Numeric, capabilities: string): BooleanText;
  /** Real, inspector. Starts the web inspector's server, or stops it for anything but true; the first argument does not count. See webInspector.setEnabled. */
  'webview.setEnabledOutOfProcessWebInspector'(any: string, enabled: Flag): '';
  /** Real, inspector. The same as webInspector.setEnabledForWebView; the first argument does not count. */
  'webview.setAllowWebInspection'(any: string, view: Numeric, allowed: Flag): '';
  /** Real, inspector. Whether the web inspector's server is running. */
  'webInspector.enabled'(): TruthText;
  /** Real, inspector. Starts the web inspector's server, at which a browser of this machine finds the pages, or stops it; only false stops it. Inspectors that are connected stay. */
  'webInspector.setEnabled'(enabled: Flag): '';
  /** Real, inspector. Whether a web view may be inspected. All may when they are made. */
  'webInspector.enabledForWebView'(view: Numeric): TruthText;
  /** Real, inspector. Allows a web view to be inspected, or not; only false takes it away and closes its inspector. A handle that names none is ignored. */
  'webInspector.setEnabledForWebView'(view: Numeric, enabled: Flag): '';
  /** Real, inspector. The port of the web inspector's server, at 127.0.0.1; 0 before it was first started. */
  'webInspector.port'(): NumberText;
  /** Real, registry. The names of all native functions, in order, each followed by a line break. */
  'bindingManager.listBindings'(): string;
  /** Real, desktop. Shows at once what was drawn in the application window. */
  'applicationWindow.flushContext'(): '';
  /** Real, desktop. With true, a click on the window's close button only calls chrome.internal.application.onCloseRequest, and the chrome decides; application.requestExit ends the application then. The third click within ten seconds ends it nevertheless, as do signals. It is off again when the chrome's process ends. */
  'applicationWindow.setAsksBeforeClosing'(asks: Flag): '';
  /** Real, desktop. Reserves keys for the chrome in place of those before: pages never get them, and chrome.internal.application.onReservedKey tells of each press but repeated ones, wherever the keyboard is and also while a page hangs. A key is named as documents name it, with modifiers before it, such as Ctrl+T, Ctrl+Shift+Tab, Alt+ArrowLeft or F6; for signs such as Ctrl++ shift does not count. The result is 0, and nothing changes, when one is no such name or they are more than 256. They are free again when the chrome's process ends. */
  'applicationWindow.setReservedKeys'(...keys: Numeric[]): BooleanText;
  /** Real, desktop. Resizes the application window, in pixels, and says how it is turned, in degrees. */
  'applicationWindow.setSize'(width: Numeric, height: Numeric, rotation: Numeric): '';
  /** Real, desktop. Shows the application window as normal, maximized, fullscreen or minimized; application.onWindowState tells when it is. Without a window manager maximized and fullscreen are the size of the screen, and minimized does nothing; a program that was started with --kiosk stays in full screen. The result is 0 for another word. */
  'applicationWindow.setState'(state: string): BooleanText;
  /** Real, desktop. Shows or hides the application window. */
  'applicationWindow.setVisible'(visible: Flag): '';
  /** Real, objects. Opens an object, which is a file below TESSEL_PPS_ROOT, under a number that the chrome chooses. Mode 0 has every NewData bring all attributes, 1 those that are different, null for one that is gone. The flags are the sum of 0 to read, 1 to write or 2 for both, 64 to make it if need be, with its folders, 128 if it must be new, and 512 to empty it. The permissions are those of a new file; 0 means 384, the user alone. The result is {"result":true,"data":{NAME:{ATTRIBUTES}}}, or {"result":false} when the number is in use or the object could not be opened; the log tells why. What happens to it is told by chrome.internal.pps.onEvent(id, event, text). */
  'pps.open'(id: Numeric, path: string, mode: Numeric, flags: Numeric, permissions: Numeric): string;
  /** Real, objects. Writes the members of a JSON object into an open object, in one step for whoever reads it; null takes an attribute away, the others stay. The result is "true", also when there is nothing to write, or "false"; WriteFailed tells why. */
  'pps.write'(id: Numeric, attributes: string): string;
  /** Real, objects. Closes an object. Its number is free again when Closed is told. */
  'pps.close'(id: Numeric): '';
  /** Real, analytics. Begins with analytics: what the functions below are told is written, with the application's name and version, as a line of JSON at the end of the file that TESSEL_CCL_FILE names, and nowhere if it names none. The result is 1, or 0 when the name is empty or one of the texts is longer than 256 bytes; a second call changes nothing. The results of the others: 0 done, -1 before ccl.init, -2 a missing or wrong argument, -3 no keys, -4 analytics are off, -5 the file could not be written, -6 a text is too long or the keys are too many. */
  'ccl.init'(application: string, version: string): NumberText;
  /** Real, analytics. Ends analytics, and deletes the keys. */
  'ccl.shutdown'(): NumberText;
  /** Real, analytics. Switches analytics on, which needs a file, or off. Here another text than true and false is a wrong argument. */
  'ccl.setCCLEnabled'(enabled: Flag): NumberText;
  /** Real, analytics. 1 when events are remembered, 0 when not. */
  'ccl.isCCLEnabled'(): NumberText;
  /** Real, analytics. Tells that the application has started, with the keys of the moment. The result is 0 when it was remembered; see ccl.init for the others. */
  'ccl.onApplicationStart'(): NumberText;
  /** Real, analytics. Tells that the application ends. The result is 0 when it was remembered; see ccl.init for the others. */
  'ccl.onApplicationEnd'(): NumberText;
  /** Real, analytics. Tells that the application has come to the front. The result is 0 when it was remembered; see ccl.init for the others. */
  'ccl.onApplicationForeground'(): NumberText;
  /** Real, analytics. Tells that the application has left the front. The result is 0 when it was remembered; see ccl.init for the others. */
  'ccl.onApplicationBackground'(): NumberText;
  /** Real, analytics. Tells of an error in the application. The result is 0 when it was remembered; see ccl.init for the others. */
  'ccl.onApplicationError'(): NumberText;
  /** Real, analytics. Tells that a button was clicked. The result is 0 when it was remembered; see ccl.init for the others. */
  'ccl.onButtonClick'(): NumberText;
  /** Real, analytics. Tells of a search. The result is 0 when it was remembered; see ccl.init for the others. */
  'ccl.onSearchEvent'(text?: string): NumberText;
  /** Real, analytics. Tells that something was looked at. The result is 0 when it was remembered; see ccl.init for the others. */
  'ccl.onContentView'(): NumberText;
  /** Real, analytics. Tells that an activity begins. The result is 0 when it was remembered; see ccl.init for the others. */
  'ccl.onActivityStart'(text?: string): NumberText;
  /** Real, analytics. Tells that an activity ends. The result is 0 when it was remembered; see ccl.init for the others. */
  'ccl.onActivityEnd'(text?: string): NumberText;
  /** Real, analytics. Tells that an activity pauses. The result is 0 when it was remembered; see ccl.init for the others. */
  'ccl.onActivityPause'(text?: string): NumberText;
  /** Real, analytics. Tells that an advertisement was clicked. The result is 0 when it was remembered; see ccl.init for the others. */
  'ccl.onAdClickEvent'(text?: string): NumberText;
  /** Real, analytics. Tells that somebody became what was hoped for, a customer for example. The result is 0 when it was remembered; see ccl.init for the others. */
  'ccl.onConversionEvent'(text?: string): NumberText;
  /** Real, analytics. Tells of an event of the application's own. The result is 0 when it was remembered; see ccl.init for the others. */
  'ccl.onCustomEvent'(name: string): NumberText;
  /** Real, analytics. Begins a set of keys, in place of the one before: pairs of a key and a value that go with every event from now on. */
  'ccl.eventKeysCreate'(): '';
  /** Real, analytics. Adds a key with its value to the set, or gives it a new value. Two flags stand beside it in the file, 1 for recorded and 2 for kept; what they mean is up to whoever reads it. Without recorded there is no kept. Only the text false is false here. At most 64 keys of 256 bytes each, with values of 4096. */
  'ccl.eventKeysAdd'(key: string, value: string, recorded?: Flag, kept?: Flag): NumberText;
  /** Real, analytics. Deletes the set of keys. */
  'ccl.eventKeysDelete'(): '';
  /** Real, analytics. Writes the keys into the log. */
  'ccl.eventKeysPrint'(): '';
  /** Kept, desktop. Offers an address to the device's home screen. A desktop has none to add to; whoever watches the control sees it. */
  'application.adduri'(type: string, uri: string, title: string, icon: string): '';
  /** Kept, desktop. Offers a picture as the wallpaper. Nothing here changes the user's; whoever watches the control sees it. */
  'application.newWallpaper'(path: string): '';
  /** Real, desktop. Turns the application: top_up, left_up, bottom_up or right_up. onRotate follows; notifyRotateComplete answers that. The window of a desktop stays as it is. */
  'application.rotate'(orientation: string): '';
  /** Real, desktop. The application turns no more with the device. With an orientation, it turns that way first. */
  'application.lockRotation'(orientation?: string): '';
  /** Real, desktop. The application turns with the device again, at once if that was turned meanwhile. */
  'application.unlockRotation'(): '';
  /** Real, desktop. Asks the window manager to take the window off the screen. onWindowState tells when it did. */
  'application.minimizeWindow'(): '';
  /** Real, desktop. Ends the application as the window's close button does: onExit, and every web view ends. */
  'application.requestExit'(): '';
  /** Real, environment. The value of a variable of the program's environment; empty when it is not set. */
  'application.getenv'(name: string): string;
  /** Real, desktop. The chrome has turned as onRotate told it to; onRotateDone follows. */
  'application.notifyRotateComplete'(): '';
  /** Real, environment. Sets a variable in this process only; 0, or -1 for a name that cannot be one. */
  'application.setenv'(name: string, value: string): NumberText;
  /** Real, environment. Removes a variable from this process; 0, or -1 for a name that cannot be one. */
  'application.unsetenv'(name: string): NumberText;
  /** Kept, desktop. Whether the keyboard on the screen is followed; a desktop has none. Whoever watches the control sees it. */
  'application.setKeyboardTracking'(on: Flag): '';
  /** Kept, desktop. Asks for onSwipeStart; nothing swipes in on a desktop. Whoever watches the control sees it. */
  'application.setSwipeStart'(): '';
  /** Real, desktop. The family of the desktop's font, as fontconfig resolves it. */
  'application.systemFontFamily'(): string;
  /** Real, desktop. The size of the desktop's font, in pixels. */
  'application.systemFontSize'(): NumberText;
  /** Real, desktop. The region of the user, such as en-US. */
  'application.systemRegion'(): string;
  /** Later, environment. Tells every child process, and those to come, the network device to use, in the variable SOCK_SO_BINDTODEVICE. The engine's connections do not heed it yet. */
  'application.bindToNetworkDevice'(device: string): '';
  /** Real, desktop. Asks the desktop's screen lock. onIsDeviceLocked answers with true, false or unknown. */
  'application.isDeviceLocked'(): '';
  /** Kept, desktop. What the window is to show while it is covered; desktops decide that. Whoever watches the control sees it. */
  'application.updateCover'(cover: string): '';
  /** Kept, desktop. Offers the application for later use. Whoever watches the control sees it, and answers with onPooled. */
  'application.setPooled'(): '';
  /** Real, desktop. Asks for more time before the end: the system (logind) waits, within its own limit, for the program before it ends. */
  'application.extendTerminate'(): '';
  /** Real, desktop. The size of what a covered window shows, as {"width":800,"height":600} in pixels: that of the window. */
  'application.coverSize'(): string;
  /** Real, desktop. Whether the window can be seen and has the keyboard. */
  'application.isForeground'(): BooleanText;
  /** Real, environment. The path of a file without links and dots; empty when there is no such file. */
  'application.realpath'(path: string): string;
  /** Real, desktop. Gives the application window the keyboard (1), or leaves it where it is (0). */
  'application.setKeyboardFocus'(value: Numeric): '';
  /** Real, desktop. The part of a host name that somebody has registered: example.co.uk for www.example.co.uk. Empty where there is none, as of an address in numbers. */
  'application.getRegisteredDomain'(host: string): string;
  /** Real, desktop. Switches the screen off by the display's power management, or else blanks it by the display's screen saver; input lights it again. The result is 0, with an error, where the display can do neither. */
  'application.blankScreen'(): BooleanText;
  /** Real, desktop. Lights the screen again, and starts the idle time anew. The result is 0, with an error, where the display cannot. */
  'application.wakeScreen'(): BooleanText;
  /** Real, desktop. Milliseconds since somebody has used keyboard, pointer or touch screen; -1, with an error, where the display does not tell. */
  'application.idleTime'(): NumberText;
  /** Real, desktop. Raises onScreenBlank and onScreenWake from now on, and onUserIdle when nobody has used the display for so many seconds, and onUserActive afterwards. 0 leaves the last two out, a negative number ends all four. The result is 0, with an error, where the display does not tell. */
  'application.watchScreen'(idleSeconds: Numeric): BooleanText;
  /** Real, desktop. What confines the processes of web pages: "bubblewrap", the engine's sandbox; "landlock", weaker, where the system has no namespaces for it; "none", when it was switched off or nothing works. */
  'application.sandbox'(): string;
  /** Real, programs. Ends a viewer as closing its window does; onViewerStopped follows. */
  'invocation.closeViewer'(viewer: string): '';
  /** Real, programs. Opens an address or a file with the application that is registered for it, or with the one of those that the request names. onInvokeResponse answers under the id; docs/platform.md describes the JSON. */
  'invocation.invoke'(id: string, request: string): '';
  /** Real, programs. What this program, a viewer, was asked to show, as JSON; empty in any other. */
  'invocation.invokeRequest'(): string;
  /** Real, programs. Opens a viewer of that name on the request's address or file: a window of its own, in a program of its own. onInvokeViewerResponse answers under the id. */
  'invocation.invokeViewer'(id: string, viewer: string, request: string): '';
  /** Real, programs. Asks which applications are registered for an address, a file or a type. onQueryTargetsResponse answers under the id. */
  'invocation.queryTargets'(id: string, request: string): '';
  /** Kept, programs. Where a viewer is to be; the window manager places its window. Whoever watches the control sees it. */
  'invocation.setViewerPosition'(viewer: string, x: Numeric, y: Numeric): '';
  /** Kept, programs. Whether a viewer is to be seen; its window is the user's to minimize. Whoever watches the control sees it. */
  'invocation.setViewerVisibility'(viewer: string, visible: Flag): '';
  /** Kept, programs. Where in the order of windows a viewer is to be; the window manager decides that. Whoever watches the control sees it. */
  'invocation.setViewerZOrder'(viewer: string, zOrder: Numeric): '';
  /** Real, programs. Sends a viewer a message; a viewer sends its opener one, under the name opener. The other side hears onViewerRelay, this one onViewerRelayResponse. */
  'invocation.viewerRelay'(viewer: string, message: string): '';
  /** Kept, programs. Lets the user look behind a card; there are no cards here. Whoever watches the control sees it. */
  'invocation.cardPeek'(kind: string): '';
  /** Kept, programs. Closes a card; there are no cards here. Whoever watches the control sees it. */
  'invocation.cardClose'(reason: string): '';
  /** Kept, programs. Closes the card that this application has opened; there are no cards here. Whoever watches the control sees it. */
  'invocation.cardChildClose'(): '';
  /** Kept, programs. Says that a card has been resized; there are no cards here. Whoever watches the control sees it. */
  'invocation.cardResize'(size: string): '';
  /** Kept, programs. Asks for the types that this application takes. onGetInvokeTargetFiltersResponse answers under the id. */
  'invocation.getInvokeTargetFilters'(id: string, target: string): '';
  /** Kept, programs. Says which types this application takes, as a list of texts in JSON, while it runs: the user's choice of applications stays as it is. onSetInvokeTargetFiltersResponse answers under the id. */
  'invocation.setInvokeTargetFilters'(id: string, filters: string): '';
  /** Real, motion. Prepares a window's way between two places, for windowAnimations.startAnimation; what was prepared like this before and not started is dropped. The window is named by its handle, 0 does nothing; the eased curves are those of style sheets; the duration is in milliseconds, an hour at most. The result is the animation's id, with which chrome.internal.windowAnimations.onWindowAnimationFinished(id) is called once when it has ended: when its time is over, when its window goes, or when a later animation of the same kind has the window. */
  'windowAnimations.animateWindowLocation'(window: Numeric, curve: WindowAnimationCurve, duration: Numeric, fromX: Numeric, fromY: Numeric, toX: Numeric, toY: Numeric): NumberText;
  /** Real, motion. Prepares a window's fading, with alphas of 0 to 255, as windowAnimations.animateWindowLocation does for its place. */
  'windowAnimations.animateGlobalAlpha'(window: Numeric, curve: WindowAnimationCurve, duration: Numeric, fromAlpha: Numeric, toAlpha: Numeric): NumberText;
  /** Real, motion. Prepares the ways of several windows that start together, each told by five numbers: window, from x, from y, to x, to y. What was prepared for several windows before and not started is dropped. Each has an id that is one more than that of the one before, and reports its end by it; the result is the last id, or 0 when all windows are 0. */
  'windowAnimations.animateWindowLocationMultiple'(curve: WindowAnimationCurve, duration: Numeric, ...windows: Numeric[]): NumberText;
  /** Real, motion. The same for fading, each window told by three numbers: window, from alpha, to alpha. */
  'windowAnimations.animateGlobalAlphaMultiple'(curve: WindowAnimationCurve, duration: Numeric, ...windows: Numeric[]): NumberText;
  /** Real, motion. Starts what was prepared last for one window, and what was prepared last for several. */
  'windowAnimations.startAnimation'(): '';
  /** Real, motion. Makes a group of windows, named by their handles, that can follow the first finger or the mouse while its first button is down. The result is the group's id. While there is any group, chrome.internal.windowAnimations.onDragTouchRelease() is called at the end of each drag. */
  'windowTouchTracking.createWindowTouchTrackingGroup'(...windows: Numeric[]): NumberText;
  /** Real, motion. Ends a group; its windows stay where they are. An id that names none is ignored, here and below. */
  'windowTouchTracking.destroyWindowTouchTrackingGroup'(group: Numeric): '';
  /** Real, motion. Lets the windows of a group follow a drag from left to right, from where they are now: by the distance to the start, which lies between the limits. Null switches it off, every other value switches it on. */
  'windowTouchTracking.setWindowGroupTrackX'(group: Numeric, enable: unknown, minX: Numeric, maxX: Numeric, startX: Numeric): '';
  /** Real, motion. The same from top to bottom. */
  'windowTouchTracking.setWindowGroupTrackY'(group: Numeric, enable: unknown, minY: Numeric, maxY: Numeric, startY: Numeric): '';
  /** Real, motion. Lets the windows of a group fade with a drag from left to right: their alpha is the base, and as much of the range as the distance is of the way between the limits. Limits and start are those of setWindowGroupTrackX, too. Null switches it off. */
  'windowTouchTracking.setWindowGroupTrackXToAlpha'(group: Numeric, enable: unknown, minX: Numeric, maxX: Numeric, alphaBase: Numeric, alphaRange: Numeric, startX: Numeric): '';
  /** Real, motion. The same from top to bottom; where both are on, left to right counts. */
  'windowTouchTracking.setWindowGroupTrackYToAlpha'(group: Numeric, enable: unknown, minY: Numeric, maxY: Numeric, alphaBase: Numeric, alphaRange: Numeric, startY: Numeric): '';
  /** Real, motion. How far a group has been dragged to the right, within its limits. */
  'windowTouchTracking.jsGetWindowTouchTrackingGroupCurrentDeltaX'(group: Numeric): NumberText;
  /** Real, motion. How far a group has been dragged down, within its limits. */
  'windowTouchTracking.jsGetWindowTouchTrackingGroupCurrentDeltaY'(group: Numeric): NumberText;
  /** Real, motion. Sets the parts of a window that need not be drawn, each told by four numbers: x, y, width, height, from the window's corner. What lies below shows there, and is clicked. Without any the window is whole again. */
  'window.setDiscardRects'(window: Numeric, ...rects: Numeric[]): '';
  /** Real, logins. The log-ins that are saved for the pages of all processes, a JSON array of {"place", "username"}, by place: an origin, for log-ins of HTTP with a space and the realm. Passwords are not told. See webview.setEnableCredentialAutofill. */
  'remembered.logins'(): string;
  /** Real, logins. Forgets one of the log-ins that remembered.logins names; the others stay. */
  'remembered.forgetLogin'(place: string, username: string): '';
  /** Real, views. Accepts a certificate for a host: pages of the host load with it and with no other. The certificate is its record, the record of a connection that failed, or PEM text; the result is 0 and nothing changes when it cannot be read. */
  'webview.addKnownSSLCertificate'(view: Numeric, host: string, certificate: CertificateText): BooleanText;
  /** Real, views. Accepts several certificates, an object of records by host. All of them or none: the result is 0 when one cannot be read. */
  'webview.addKnownSSLCertificates'(view: Numeric, certificates: JsonText<Record<string, SSLCertificateInfo>>): BooleanText;
  /** Real, views. Lets scripts of the page read answers of the destination, an origin, and of what is below its domain if wanted. The engine keeps the list per view and by host, so neither the source nor a port matters. */
  'webview.addOriginAccessWhitelistEntry'(view: Numeric, source: string, destination: string, subdomains: Flag): '';
  /** Real, views. Scrolls the document to a position in its own units, as a movement. */
  'webview.animateToDocumentScrollPosition'(view: Numeric, position: JsonText<OrvWebPoint>): '';
  /** Real, views. Sets the scale, kept between minimumScale and maximumScale, and scrolls to the position. It happens at once: the engine has no movement for it. */
  'webview.animateToScaleAndDocumentScrollPosition'(view: Numeric, scale: Numeric, position: JsonText<OrvWebPoint>): '';
  /** Real, views. Multiplies the scale, kept between minimumScale and maximumScale; what is at the center of the view stays there. */
  'webview.animateZoomBy'(view: Numeric, factor: Numeric, center: JsonText<OrvWebPoint>): '';
  /** Fixed, views. Always 0: nothing swipes in from the edge of a desktop screen. */
  'webview.applicationSwipeInEvent'(view: Numeric): BooleanText;
  /** Real, views. The name of the window group that the web view was created in. */
  'webview.applicationWindowGroup'(view: Numeric): string;
  /** Real, views. The command line of the program as a JSON array of texts, the program's name first; empty for web views that were not given any. */
  'webview.arguments'(view: Numeric): string;
  /** Real, views. Gives the page the keyboard and focuses its first control (FocusDirectionTop) or its last one (FocusDirectionBottom). */
  'webview.assignFocus'(view: Numeric, direction: OrvWebFocusDirection): '';
  /** Real, views. Puts a text into the field that FormAutofillRequestEvent was about, as if it were typed; it need not be one of those that were offered. Nothing happens when that field has lost the focus since. */
  'webview.autofillTextField'(view: Numeric, text: string): '';
  /** Real, views. Raises AutomationLog with the message. */
  'webview.automationLog'(view: Numeric, message: string): '';
  /** Real, views. The colour behind the page as a number, 0xAARRGGBB. */
  'webview.backgroundColor'(view: Numeric): NumberText;
  /** Real, views. Multiplies the scale, kept between minimumScale and maximumScale; what is at the first point of the view is at the second one afterwards. The page is laid out anew, not stretched. */
  'webview.bitmapZoom'(view: Numeric, factor: Numeric, from: JsonText<OrvWebPoint>, to: JsonText<OrvWebPoint>): '';
  /** Real, views. Whether there is an entry of the history before the one that is shown. */
  'webview.canGoBack'(view: Numeric): BooleanText;
  /** Real, views. Whether there is an entry of the history after the one that is shown. */
  'webview.canGoForward'(view: Numeric): BooleanText;
  /** Fixed, views. Nothing to stop: a desktop machine has no vibrator. */
  'webview.cancelVibration'(view: Numeric): '';
  /** Real, views. Takes a picture of a part of the document (all of it for an empty rectangle), scaled by the factor and to fit into the size unless that is empty. CaptureContents brings it as a PNG. */
  'webview.captureContents'(view: Numeric, scale: Numeric, part: JsonText<OrvWebRect>, size: JsonText<OrvWebSize>): '';
  /** Fixed, views. A record of zeros: the engine does not count the certificate files that it loads. */
  'webview.certificateInfo'(view: Numeric): JsonText<OrvWebCertificateInfo>;
  /** Real, views. Answers a ChooseFile event that was left open: paths, each in a line of its own; the empty text cancels. */
  'webview.chooseFileResponse'(view: Numeric, waitHandle: Numeric, files: string): '';
  /** Fixed, views. Nothing to free: getSSLCertificateDetails keeps nothing. */
  'webview.cleanupSSLCertificateDetails'(view: Numeric, details: JsonText<string[]>): '';
  /** Real, views. Forgets the texts that were typed into forms, for the pages of all processes. */
  'webview.clearAutofillData'(view: Numeric): '';
  /** Real, views. Empties the history; the entry that is shown stays in it if wanted. */
  'webview.clearBackForwardList'(view: Numeric, keepCurrent: Flag): '';
  /** Real, views. Deletes what the engine keeps of all sites: cookies, caches, storage, databases. It is shared by all web views of the process, those of private browsing apart. Accepted certificates and decisions about origins stay. */
  'webview.clearBrowsingData'(view: Numeric): '';
  /** Real, views. Empties the engine's caches in memory and on disk, for all web views of the process. */
  'webview.clearCache'(view: Numeric): '';
  /** Real, views. Deletes all cookies of the process, those of private browsing apart. */
  'webview.clearCookies'(view: Numeric): '';
  /** Real, views. Forgets the log-ins that are saved, for the pages of all processes, and the one that this process keeps for proxies. A server at which a page has logged in keeps it until the program ends, as the engine does. */
  'webview.clearCredentials'(view: Numeric): '';
  /** Real, views. Deletes the IndexedDB databases of all sites. */
  'webview.clearDatabases'(view: Numeric): '';
  /** Real, views. Takes the focus from the control that has it. */
  'webview.clearFocus'(view: Numeric): '';
  /** Real, views. Empties the history but for the entry that is shown. */
  'webview.clearHistory'(view: Numeric): '';
  /** Real, views. Deletes local and session storage of all sites. */
  'webview.clearLocalStorage'(view: Numeric): '';
  /** Fixed, views. Nothing to delete: the engine offers no file system to pages. */
  'webview.clearWebFileSystem'(view: Numeric): '';
  /** Real, views. The size of the document, at 0,0, in its own units. */
  'webview.contentRectangle'(view: Numeric): JsonText<OrvWebRect>;
  /** Real, views. Decides about a page that SSLHandshakingFailed was about: SSLActionTrust accepts its certificate and loads it again, SSLActionReject leaves it unloaded, SSLActionNone leaves it open. */
  'webview.continueSSLHandshaking'(view: Numeric, streamId: Numeric, action: OrvWebSSLCertificateAction): '';
  /** Real, views. The host name with its labels decoded, as far as a reader of the language can read them and cannot take them for others: a label of mixed scripts, of scripts that the language is not written in, or of letters that all look like Latin ones stays encoded. The empty language is the user's. */
  'webview.convertIDNtoReadableStringByLanguage'(view: Numeric, host: string, language?: string): string;
  /** Real, views. Puts a coloured window over the page, transparent at first, in pixels of the application window. The result is its platform handle, 0 when it cannot be made; one that is there already stays as it is. */
  'webview.createFadeColorWindow'(view: Numeric, x: Numeric, y: Numeric, width: Numeric, height: Numeric, zOrder: Numeric): NumberText;
  /** Real, views. What stands at the pointer: the element there and what can be done with it. */
  'webview.currentContext'(view: Numeric): JsonText<OrvWebContext>;
  /** Real, views. The size of text without a size of its own, in pixels. */
  'webview.defaultFontSize'(view: Numeric): NumberText;
  /** Real, views. The encoding of documents that do not say theirs. */
  'webview.defaultTextEncoding'(view: Numeric): string;
  /** Real, views. Ends the page; Destroyed follows. webview.delete frees the web view then. */
  'webview.destroy'(view: Numeric): '';
  /** Real, views. Removes the coloured window, if there is one. */
  'webview.destroyFadeColorWindow'(view: Numeric): '';
  /** Real, views. Asks the document whether it may be closed, and ends the page as destroy does if it agrees. A page that is deferred is not asked. */
  'webview.destroyIfNotRejectedByUser'(view: Numeric): '';
  /** Kept, views. The value that was set, 1 at first. It does not tell the scale of the display. */
  'webview.devicePixelRatio'(view: Numeric): NumberText;
  /** Real, views. Answers a DialogRequested event that was left open. The result is the text of a prompt, user name and password those of a log-in; what a dialog does not ask for may be empty. */
  'webview.dialogResponse'(view: Numeric, waitHandle: Numeric, accepted: Flag, result: string, username: string, password: string): '';
  /** Real, views. Ends a download; DownloadFinished tells ResultCancelled. */
  'webview.downloadCancel'(view: Numeric, downloadId: Numeric): '';
  /** Real, views. Stops a download until it is resumed. What has come is kept in a file with ".part" behind its name, if the server has given the file an entity tag or a time of change. */
  'webview.downloadPause'(view: Numeric, downloadId: Numeric): '';
  /** Real, views. Forgets a download. One that runs or is paused is ended (DownloadFinished tells ResultCancelled), and what has come of its file is deleted. */
  'webview.downloadRemove'(view: Numeric, downloadId: Numeric): '';
  /** Real, views. Goes on with a paused download: with the rest, where something is kept, the file is still the same and the server gives files in parts, else from the first byte. DownloadStarted tells of it again. */
  'webview.downloadResume'(view: Numeric, downloadId: Numeric): '';
  /** Real, views. Starts a download again that failed or was cancelled, under the same number: after a broken connection as downloadResume does, else from the first byte. */
  'webview.downloadRetry'(view: Numeric, downloadId: Numeric): '';
  /** Real, views. Decides about a download that DownloadRequest left pending: ActionSave saves it under the file name, ActionPending leaves it open, everything else discards it. */
  'webview.downloadUpdate'(view: Numeric, downloadId: Numeric, action: OrvWebDownloadAction, filename: string): '';
  /** Real, views. Downloads an address into a file; an empty file name leaves it to DownloadRequest. The size in bytes is what the caller expects and is not used. */
  'webview.downloadUrl'(view: Numeric, url: string, filename: string, size: Numeric): '';
  /** Real, views. Whether the page has the object to call native functions with, from its next document on. Its calls arrive as JavaScriptCallback. */
  'webview.enableOrvJavaScriptObject'(view: Numeric, enabled: Flag): '';
  /** Real, views. Who vouches for the page's server, in words; empty for a page without encryption. The engine does not tell the cipher. */
  'webview.encryptionInfo'(view: Numeric): string;
  /** Real, views. Ends the process of the page, and of the pages that share it, as if it had crashed; see setAutoReload. With a limit above 0, in bytes, it counts as having taken too much memory, with the bytes that it has taken, and MemoryExceeded tells so. */
  'webview.endProcess'(view: Numeric, limit?: Numeric, taken?: Numeric): '';
  /** Real, views. A JSON object with a member, true, for the name of every event and property event. */
  'webview.eventNames'(view: Numeric): string;
  /** Real, views. Runs a script in the page, or beside it in a world of its own (IsolatedWorld). The result is a number; JavaScriptResult brings the value under it. NoWorld runs nothing. */
  'webview.executeJavaScript'(view: Numeric, script: string, world?: OrvWebJavaScriptWorld): string;
  /** Real, views. Calls a function of the page by its path from the global object. The result is a number; JavaScriptFunctionResult brings the value under it. It is empty where that event is not enabled. */
  'webview.executeJavaScriptFunction'(view: Numeric, path: JsonText<string[]>, values: JsonText<(string | number | boolean)[]>): string;
  /** Real, views. The extra headers in force: an object with a text for each. */
  'webview.extraHttpHeaders'(view: Numeric): string;
  /** Real, views. The platform handle of the coloured window, 0 when there is none. */
  'webview.fadeColorWindowPlatformHandle'(view: Numeric): NumberText;
  /** Real, views. The icon of the page: a PNG in base64, with its address and size in pixels. */
  'webview.favicon'(view: Numeric): JsonText<OrvWebFavicon>;
  /** Kept, views. The value that was set, 1 at first. */
  'webview.fileSystemAPISandboxed'(view: Numeric): BooleanText;
  /** Real, views. Finds a text in the page, or the next match of the same text; FindString tells what was found. The empty text ends the search. */
  'webview.findString'(view: Numeric, text: string, forward?: Flag, caseSensitive?: Flag, wrap?: Flag, highlightAll?: Flag): '';
  /** Real, views. Focuses the next control in document order; after the last comes the first. */
  'webview.focusNextField'(view: Numeric): '';
  /** Real, views. Focuses the control before; before the first comes the last. */
  'webview.focusPreviousField'(view: Numeric): '';
  /** Real, views. The encoding that documents are read in whatever they say; empty when there is none. */
  'webview.forcedTextEncoding'(view: Numeric): string;
  /** Real, views. The value that was set, 0 at first. */
  'webview.fullScreenVideoCapable'(view: Numeric): BooleanText;
  /** Real, views. Makes the page leave full screen. The value does not matter. */
  'webview.fullScreenVideoExited'(view: Numeric, exited: Flag): '';
  /** Real, views. Asks for the cookies of an address; CookieResult brings them. */
  'webview.getCookies'(view: Numeric, url: string): '';
  /** Real, views. The history, oldest entry first. The engine does not tell whether an entry came from a form: isPost is false. */
  'webview.getHistoryList'(view: Numeric): JsonText<OrvWebHistoryItem[]>;
  /** Real, views. A certificate in words, a line for each thing that is to be said about it; empty when it cannot be read. */
  'webview.getSSLCertificateDetails'(view: Numeric, certificate: CertificateText): JsonText<string[]>;
  /** Real, views. Goes to the entry before in the history, if there is one. */
  'webview.goBack'(view: Numeric): '';
  /** Real, views. Goes to the next entry in the history, if there is one. */
  'webview.goForward'(view: Numeric): '';
  /** Real, views. Does in the page what an item of the last context menu says: cut, copy, paste, delete, select all, clear a field, open, save or copy a link or an image, inspect. Other items are for the chrome to do; nothing happens. */
  'webview.handleContextMenuResponse'(view: Numeric, item: OrvWebContextMenuItem): '';
  /** Real, views. Hands a message of an inspector's front end, JSON, to the page's inspector; InspectorMessage brings what that has to say. An empty message with 1 tells that a front end has come, with 0 that it has gone; with 2 the message is the new webInspectorPort. The web inspector's server does all this. */
  'webview.handleWebInspectorMessageToBackend'(view: Numeric, message: string, connected: Numeric): '';
  /** Real, views. How many entries the history has. */
  'webview.historyLength'(view: Numeric): NumberText;
  /** Real, views. Which entry of the history is shown, from 0. */
  'webview.historyPosition'(view: Numeric): NumberText;
  /** Real, views. Makes the page in a window group, with the screen's rotation in degrees. webview.create has done that already: the result is 0 for a web view that has a page, and where there is no such group. */
  'webview.initialize'(view: Numeric, windowGroup: string, rotation: Numeric): BooleanText;
  /** Real, views. Whether the web view was made the active one with setActive. */
  'webview.isActive'(view: Numeric): BooleanText;
  /** Real, views. Whether the changes of all properties are reported. */
  'webview.isAllPropertyChangedEventsEnabled'(view: Numeric): BooleanText;
  /** Real, views. Whether all kinds of events are raised. */
  'webview.isAllWebEventsEnabled'(view: Numeric): BooleanText;
  /** Kept, views. The value that was set, 0 at first. */
  'webview.isAlwaysShowKeyboardOnFocus'(view: Numeric): BooleanText;
  /** Real, views. Whether changes of any property are reported. */
  'webview.isAnyPropertyChangedEventsEnabled'(view: Numeric): BooleanText;
  /** Real, views. Whether any kind of event is raised. */
  'webview.isAnyWebEventsEnabled'(view: Numeric): BooleanText;
  /** Kept, views. The value that was set, 1 at first. */
  'webview.isAutoDeferNetworkingAndJavaScript'(view: Numeric): BooleanText;
  /** Real, views. Whether scripts may open windows only when the user has done something. */
  'webview.isBlockPopups'(view: Numeric): BooleanText;
  /** Real, views. The value that was set, 0 at first. */
  'webview.isDeferNetworkingAndJavaScript'(view: Numeric): BooleanText;
  /** Real, views. Whether what pages log is written to standard output. */
  'webview.isEnableConsoleLogging'(view: Numeric): BooleanText;
  /** Real, views. Whether the page has cookies. */
  'webview.isEnableCookies'(view: Numeric): BooleanText;
  /** Real, views. Whether log-ins are saved and filled in; 0 at first. */
  'webview.isEnableCredentialAutofill'(view: Numeric): BooleanText;
  /** Real, views. Whether scripts of the page may read answers of all origins. */
  'webview.isEnableCrossSiteXHR'(view: Numeric): BooleanText;
  /** Real, views. Whether names of links are looked up ahead. */
  'webview.isEnableDNSPrefetch'(view: Numeric): BooleanText;
  /** Kept, views. The value that was set, 1 at first. */
  'webview.isEnableDefaultOverScrollBackground'(view: Numeric): BooleanText;
  /** Real, views. Whether dialogs of pages are raised as DialogRequested. */
  'webview.isEnableDialogRequestedEvents'(view: Numeric): BooleanText;
  /** Kept, views. The value that was set, 0 at first. */
  'webview.isEnableDiskCache'(view: Numeric): BooleanText;
  /** Real, views. Whether pages may load fonts. */
  'webview.isEnableDownloadableBinaryFonts'(view: Numeric): BooleanText;
  /** Kept, views. The value that was set, 0 at first. */
  'webview.isEnableFineCursorControl'(view: Numeric): BooleanText;
  /** Real, views. Whether texts of forms are remembered and offered; 0 at first. */
  'webview.isEnableFormAutofill'(view: Numeric): BooleanText;
  /** Real, views. Whether pages may ask where they are. */
  'webview.isEnableGeolocation'(view: Numeric): BooleanText;
  /** Real, views. Whether the user's input method works in the page. */
  'webview.isEnableInputMethodSupport'(view: Numeric): BooleanText;
  /** Real, views. Whether the events of text input are raised, 0 at first. */
  'webview.isEnableInputNotifications'(view: Numeric): BooleanText;
  /** Real, views. Whether scripts of pages run. */
  'webview.isEnableJavaScript'(view: Numeric): BooleanText;
  /** Kept, views. The value that was set, 0 at first. */
  'webview.isEnableLocalAccessToAllCookies'(view: Numeric): BooleanText;
  /** Kept, views. The value that was set, 0 at first. */
  'webview.isEnableMediaRTSP'(view: Numeric): BooleanText;
  /** Real, views. The value that was set, 0 at first. */
  'webview.isEnableNetworkResourceRequestedEvents'(view: Numeric): BooleanText;
  /** Kept, views. The value that was set, 0 at first. */
  'webview.isEnablePlugins'(view: Numeric): BooleanText;
  /** Kept, views. The value that was set, 0 at first. */
  'webview.isEnableSoundOnAnchorElementTouchEvents'(view: Numeric): BooleanText;
  /** Real, views. Whether the arrow keys move between controls. */
  'webview.isEnableSpatialNavigation'(view: Numeric): BooleanText;
  /** Kept, views. The value that was set, 1 at first. */
  'webview.isEnableTextSelectionControls'(view: Numeric): BooleanText;
  /** Real, views. Whether pages are kept for going back and forward. */
  'webview.isEnableWebContentCache'(view: Numeric): BooleanText;
  /** Real, views. Whether the page can be inspected. */
  'webview.isEnableWebInspector'(view: Numeric): BooleanText;
  /** Real, views. Whether pages have web sockets. */
  'webview.isEnableWebSockets'(view: Numeric): BooleanText;
  /** Real, views. Whether images are loaded. */
  'webview.isLoadImages'(view: Numeric): BooleanText;
  /** Fixed, views. Always 0: there are no plug-ins. */
  'webview.isPluginFullScreen'(view: Numeric): BooleanText;
  /** Real, views. Whether the page leaves nothing behind. */
  'webview.isPrivateBrowsing'(view: Numeric): BooleanText;
  /** Real, views. Whether changes of the property are reported. */
  'webview.isPropertyChangedEventEnabled'(view: Numeric, property: PropertyName): BooleanText;
  /** Real, views. Whether a video of the page is in full screen. */
  'webview.isVideoFullScreen'(view: Numeric): BooleanText;
  /** Real, views. Whether the web view is shown. */
  'webview.isVisible'(view: Numeric): BooleanText;
  /** Real, views. Whether events of that kind are raised. */
  'webview.isWebEventEnabled'(view: Numeric, event: WebEventName): BooleanText;
  /** Real, views. The value that was set, 0 at first. */
  'webview.isZoomToFitWidthOnLoad'(view: Numeric): BooleanText;
  /** Real, views. The value that was set, 0 at first. */
  'webview.javaScriptInterruptTimeout'(view: Numeric): NumberText;
  /** Real, views. The number of the web view's window in the application window, 0 when it has none. */
  'webview.jsScreenWindowHandle'(view: Numeric): NumberText;
  /** Real, views. The certificate that was accepted for a host; an empty record when there is none. */
  'webview.knownSSLCertificate'(view: Numeric, host: string): JsonText<SSLCertificateInfo>;
  /** Real, views. All certificates that were accepted, by host. */
  'webview.knownSSLCertificates'(view: Numeric): JsonText<Record<string, SSLCertificateInfo>>;
  /** Real, views. Loads a file of this machine by its path. The second text is not used. */
  'webview.loadFile'(view: Numeric, path: string, unused?: string): '';
  /** Real, views. How much of the page is loaded, from 0 to 100. */
  'webview.loadProgress'(view: Numeric): NumberText;
  /** Real, views. Shows a text as a document of that type. */
  'webview.loadString'(view: Numeric, text: string, mimeType?: string): '';
  /** Real, views. Shows a text as a document of that type, whose relative addresses start at the base. */
  'webview.loadStringWithBase'(view: Numeric, text: string, baseURL: string, mimeType?: string): '';
  /** Real, views. Loads an address. What is no address shows a page that says so. */
  'webview.loadURL'(view: Numeric, url: string): '';
  /** Real, views. The address of the page. */
  'webview.location'(view: Numeric): string;
  /** Real, views. Holds back reports of property changes until unlockProperties was called as often. */
  'webview.lockProperties'(view: Numeric): '';
  /** Real, views. Writes a text to the program's log. */
  'webview.log'(view: Numeric, text: string): '';
  /** Fixed, views. The largest scale that the zoom commands go to: 5. */
  'webview.maximumScale'(view: Numeric): NumberText;
  /** Real, views. The smallest size of text in pages, in pixels; 0 for no limit. */
  'webview.minimumFontSize'(view: Numeric): NumberText;
  /** Fixed, views. The smallest scale that the zoom commands go to: 0.25. */
  'webview.minimumScale'(view: Numeric): NumberText;
  /** Real, views. Tells the page that its notification was clicked. */
  'webview.notificationClicked'(view: Numeric, id: string): '';
  /** Real, views. Tells the page that its notification is closed. */
  'webview.notificationClosed'(view: Numeric, id: string): '';
  /** Real, views. Closes a notification that could not be shown. The page hears of its end, not of an error. */
  'webview.notificationError'(view: Numeric, id: string): '';
  /** Real, views. Answers a NotificationPermissionCheck event that was left open: "granted", "denied" or, for anything else, that the user is to be asked. */
  'webview.notificationPermissionCheckResponse'(view: Numeric, waitHandle: Numeric, state: string): '';
  /** Fixed, views. Nothing to do: the engine itself tells the page that a notification is shown. */
  'webview.notificationShown'(view: Numeric, id: string): '';
  /** Fixed, views. Nothing to do: a desktop window does not rotate. */
  'webview.notifyApplicationOrientationDone'(view: Numeric): '';
  /** Fixed, views. Nothing to do: no menu is kept open for the chrome. */
  'webview.notifyContextMenuCancelled'(view: Numeric): '';
  /** Real, views. Hands the next part of a resource's content, so many bytes of the data, to the page. */
  'webview.notifyDataReceived'(view: Numeric, streamId: Numeric, data: string, length: Numeric): '';
  /** Real, views. Ends a resource that the chrome provides: all of its content has been handed over. */
  'webview.notifyDone'(view: Numeric, streamId: Numeric): '';
  /** Real, views. Adds a header to a resource that the chrome provides, before its content. Lengths and encodings of the transfer are left out. */
  'webview.notifyHeaderReceived'(view: Numeric, streamId: Numeric, key: string, value: string): '';
  /** Real, views. Opens a resource that the chrome provides, with its HTTP status. The stream is that of a NetworkResourceRequested event that was answered with SUBSTITUTE, or with FILTER for what the chrome adds or replaces. */
  'webview.notifyOpen'(view: Numeric, streamId: Numeric, status: Numeric, message: string): '';
  /** Real, views. Empties the engine's cache in memory. */
  'webview.notifySystemLowMemory'(view: Numeric): '';
  /** Real, views. Says that somebody else has moved the web view: Viewport is reported, with where its window is, and nothing is moved. */
  'webview.notifyViewportChanged'(view: Numeric, rectangle: JsonText<OrvWebRect>): '';
  /** Real, views. Answers an OpenWindow event that was left open: the web view with that handle shows the window. It must not have loaded anything; a handle that names none opens no window. */
  'webview.openWindowResponse'(view: Numeric, waitHandle: Numeric, popup: Numeric): '';
  /** Real, views. The address that was asked for, before it led elsewhere. */
  'webview.originalLocation'(view: Numeric): string;
  /** Kept, views. The value that was set, 0xFFFFFFFF at first. */
  'webview.overScrollColor'(view: Numeric): NumberText;
  /** Real, views. Writes a text to standard error, without a line break. */
  'webview.printToStderr'(view: Numeric, text: string): '';
  /** Real, views. Writes a text to standard output, without a line break. */
  'webview.printToStdout'(view: Numeric, text: string): '';
  /** Real, views. Loads the page again. */
  'webview.reload'(view: Numeric): '';
  /** Real, views. Forgets all accepted certificates. A page with one of them is refused the next time that it is loaded. */
  'webview.removeAllKnownSSLCertificates'(view: Numeric): '';
  /** Real, views. Forgets what was decided about an origin that wants to know where it is: the user is asked again. */
  'webview.removeGeolocationFilter'(view: Numeric, origin: string): '';
  /** Real, views. Forgets the certificate that was accepted for a host, if it is that one; an empty record means whichever it is. The result is 0 when it was not there. */
  'webview.removeKnownSSLCertificate'(view: Numeric, host: string, certificate: CertificateText): BooleanText;
  /** Real, views. Takes back what addOriginAccessWhitelistEntry allowed. The source does not matter. The page is loaded anew, with its history, as a web process never forgets what it was allowed; a chrome's page keeps it. */
  'webview.removeOriginAccessWhitelistEntry'(view: Numeric, source: string, destination: string, subdomains: Flag): '';
  /** Real, views. Looks again at what stands at the pointer; CurrentContext is reported even if it is the same. */
  'webview.requestCurrentContextUpdate'(view: Numeric): '';
  /** Real, views. Asks for the history as a text for restoreSession; SessionInfo brings it. */
  'webview.requestSession'(view: Numeric): '';
  /** Real, views. Brings back a history from SessionInfo's text and shows the entry at the position; a position that is not there shows the entry that was shown. */
  'webview.restoreSession'(view: Numeric, session: string, position: Numeric): '';
  /** Real, views. How many times its own size the page is shown, by zoom and pinch together. */
  'webview.scale'(view: Numeric): NumberText;
  /** Real, views. Scrolls the document by a distance in its own units, at once. */
  'webview.scrollBy'(view: Numeric, x: Numeric, y: Numeric): '';
  /** Real, views. How far the document is scrolled, in its own units. */
  'webview.scrollPosition'(view: Numeric): JsonText<OrvWebPoint>;
  /** Real, views. How secure the page is: SecureFull with a certificate that holds, SecureFailed with an accepted one that does not, SecureNone without encryption. SecurePartial does not occur. */
  'webview.secureType'(view: Numeric): OrvWebSecureType;
  /** Real, views. All that is known about the security of the document: its connection and the certificates of its server. */
  'webview.securityInfo'(view: Numeric): JsonText<OrvWebPageSecurityInfo>;
  /** Real, views. Which input the web view takes. */
  'webview.sensitivity'(view: Numeric): OrvWebSensitivity;
  /** Real, views. Gives the page the keyboard of its window; false only remembers that it is not the active one. */
  'webview.setActive'(view: Numeric, active: Flag): '';
  /** Real, views. Whether the changes of all properties are reported, as long as PropertyChanged is enabled besides. */
  'webview.setAllPropertyChangedEventsEnabled'(view: Numeric, enabled: Flag): '';
  /** Real, views. Whether all kinds of events are raised. */
  'webview.setAllWebEventsEnabled'(view: Numeric, enabled: Flag): '';
  /** Real, views. Answers the origin's open question whether it may know where it is. */
  'webview.setAllowGeolocation'(view: Numeric, origin: string, allowed: Flag): '';
  /** Real, views. Answers the origin's open question whether it may show notifications. */
  'webview.setAllowNotification'(view: Numeric, origin: string, allowed: Flag): '';
  /** Real, views. Answers a UserMediaRequest event that was left open. Any text grants, the empty one refuses; the engine picks the device. */
  'webview.setAllowUserMedia'(view: Numeric, id: Numeric, device: string): '';
  /** Kept, views. The value is kept; there is no keyboard on the screen. */
  'webview.setAlwaysShowKeyboardOnFocus'(view: Numeric, enabled: Flag): '';
  /** Kept, views. The value is kept; the engine looks at the window itself. */
  'webview.setApplicationActivationState'(view: Numeric, state: OrvWebApplicationActivationState): '';
  /** Kept, views. The value is kept; a desktop window does not rotate. */
  'webview.setApplicationOrientation'(view: Numeric, degrees: Numeric): '';
  /** Kept, views. The value is kept; the engine slows hidden pages down by itself. */
  'webview.setAutoDeferNetworkingAndJavaScript'(view: Numeric, enabled: Flag): '';
  /** Real, views. Whether a page is loaded again by itself when its load fails, a server's error status included, or its process ends: after a second, then after pauses that double up to a minute, a hidden page when it is shown. ReloadScheduled tells of each time. Every other load, webview.stop and the value 0 end it. Until this is called, only a page whose process has taken too much memory is loaded again. */
  'webview.setAutoReload'(view: Numeric, enabled: Flag): '';
  /** Real, views. The colour behind the page, 0xAARRGGBB as a decimal number. */
  'webview.setBackgroundColor'(view: Numeric, color: Numeric): '';
  /** Kept, views. The value is kept; the engine always lays zoomed pages out anew. */
  'webview.setBitmapZooming'(view: Numeric, enabled: Flag): '';
  /** Real, views. Whether scripts may open windows only when the user has done something. */
  'webview.setBlockPopups'(view: Numeric, enabled: Flag): '';
  /** Real, views. Adds cookies for an address, each in the form of a Set-Cookie header. Texts that are none are left out. */
  'webview.setCookies'(view: Numeric, url: string, cookies: JsonText<string[]>): '';
  /** Real, views. The size of text without a size of its own, in pixels. */
  'webview.setDefaultFontSize'(view: Numeric, pixels: Numeric): '';
  /** Real, views. The encoding of documents that do not say theirs. */
  'webview.setDefaultTextEncoding'(view: Numeric, encoding: string): '';
  /** Real, views. Lets the process of the page stand still: none of its scripts run and nothing is asked for, loaded or painted, until it is switched off. Functions that the chrome calls run. Pages that share the process, a page and the windows it opened, stand still with it. */
  'webview.setDeferNetworkingAndJavaScript'(view: Numeric, enabled: Flag): '';
  /** Kept, views. The value is kept and reported; the display decides how pages are drawn. */
  'webview.setDevicePixelRatio'(view: Numeric, ratio: Numeric): '';
  /** Real, views. Whether what pages log is written to standard output. */
  'webview.setEnableConsoleLogging'(view: Numeric, enabled: Flag): '';
  /** Real, views. Whether the page has cookies, and whether the process takes those that come with answers: the latter is one switch for all web views that share their data. */
  'webview.setEnableCookies'(view: Numeric, enabled: Flag): '';
  /** Real, views. Saves log-ins and fills them in. When a page sends a form with a password, or a log-in of HTTP is accepted, and it is not saved so already, DialogRequested of type SaveCredential asks, with the origin as url and the username but without the password; it is saved when dialogResponse accepts, a username there taking the place of the old one, or when the answer sets a result. Log-in forms of that origin are filled in, and HTTP's log-ins answered, before DialogRequested asks for one. Passwords with autocomplete=off, forms in frames and private browsing are left alone. The passwords lie unencrypted in a file that only the user can read. */
  'webview.setEnableCredentialAutofill'(view: Numeric, enabled: Flag): '';
  /** Real, views. Whether scripts of the page may read answers of all origins. Switched off, the page is loaded anew, with its history, as a web process never forgets what it was allowed; a chrome's page keeps it. */
  'webview.setEnableCrossSiteXHR'(view: Numeric, enabled: Flag): '';
  /** Real, views. Whether names of links are looked up ahead. */
  'webview.setEnableDNSPrefetch'(view: Numeric, enabled: Flag): '';
  /** Kept, views. The value is kept; nothing shows beyond the end of a page. */
  'webview.setEnableDefaultOverScrollBackground'(view: Numeric, enabled: Flag): '';
  /** Real, views. Whether dialogs of pages are raised as DialogRequested; the engine shows its own otherwise. */
  'webview.setEnableDialogRequestedEvents'(view: Numeric, enabled: Flag): '';
  /** Kept, views. The value is kept; the engine has one cache for all web views. */
  'webview.setEnableDiskCache'(view: Numeric, enabled: Flag): '';
  /** Real, views. Whether pages may load fonts; requests for them are stopped otherwise. */
  'webview.setEnableDownloadableBinaryFonts'(view: Numeric, enabled: Flag): '';
  /** Kept, views. The value is kept; it is about touch screens. */
  'webview.setEnableFineCursorControl'(view: Numeric, enabled: Flag): '';
  /** Real, views. Remembers what is typed into text fields of forms that are sent, by the fields' names, and offers it with FormAutofillRequestEvent. Passwords, fields with autocomplete=off, frames and private browsing are left alone. */
  'webview.setEnableFormAutofill'(view: Numeric, enabled: Flag): '';
  /** Real, views. Whether pages may ask where they are, from the next document on. */
  'webview.setEnableGeolocation'(view: Numeric, enabled: Flag): '';
  /** Real, views. Whether the user's input method works in the page. */
  'webview.setEnableInputMethodSupport'(view: Numeric, enabled: Flag): '';
  /** Real, views. Whether the events of text input are raised: InputNotificationEvent, InputNotificationFocusEvent and InputNotificationKeyEvent, each if it is enabled. */
  'webview.setEnableInputNotifications'(view: Numeric, enabled: Flag): '';
  /** Real, views. Whether scripts of pages run, from the next document on. The chrome's own scripts in the page run always. */
  'webview.setEnableJavaScript'(view: Numeric, enabled: Flag): '';
  /** Kept, views. The value is kept; the engine has no such switch. */
  'webview.setEnableLocalAccessToAllCookies'(view: Numeric, enabled: Flag): '';
  /** Kept, views. The value is kept; the engine has no such switch. */
  'webview.setEnableMediaRTSP'(view: Numeric, enabled: Flag): '';
  /** Real, views. Has NetworkResourceRequested raised for each request of the page, which waits for what the chrome decides. The chrome's own page is not asked about. */
  'webview.setEnableNetworkResourceRequestedEvents'(view: Numeric, enabled: Flag): '';
  /** Kept, views. The value is kept; there are no plug-ins. */
  'webview.setEnablePlugins'(view: Numeric, enabled: Flag): '';
  /** Kept, views. The value is kept; it is about touch screens. */
  'webview.setEnableSoundOnAnchorElementTouchEvents'(view: Numeric, enabled: Flag): '';
  /** Real, views. Whether the arrow keys move between controls. */
  'webview.setEnableSpatialNavigation'(view: Numeric, enabled: Flag): '';
  /** Kept, views. The value is kept; it is about touch screens. */
  'webview.setEnableTextSelectionControls'(view: Numeric, enabled: Flag): '';
  /** Real, views. Whether pages are kept for going back and forward. */
  'webview.setEnableWebContentCache'(view: Numeric, enabled: Flag): '';
  /** Real, views. Whether pages have web sockets, from the next document on. */
  'webview.setEnableWebSockets'(view: Numeric, enabled: Flag): '';
  /** Real, views. The members of a JSON object become extra headers of all requests of the page. Numbers, true, false and null count as their JSON; lists and objects, and names and values that no header can have, are left out; of names that differ by their case only, the last counts. The result is 0, with an error besides, for anything but a JSON object. */
  'webview.setExtraHttpHeaders'(view: Numeric, headers: string): BooleanText;
  /** Kept, views. The value is kept; there are no plug-ins. */
  'webview.setExtraPluginDirectory'(view: Numeric, directory: string): '';
  /** Real, views. Moves the coloured window, if there is one; in pixels of the application window. */
  'webview.setFadeColorWindowRect'(view: Numeric, x: Numeric, y: Numeric, width: Numeric, height: Numeric): '';
  /** Real, views. The colour of the next coloured window, each part from 0 to 255; one that is there keeps its colour. */
  'webview.setFadeWindowColor'(view: Numeric, red: Numeric, blue: Numeric, green: Numeric, alpha: Numeric): '';
  /** Kept, views. The value is kept; the engine offers no file system to pages. */
  'webview.setFileSystemAPISandboxed'(view: Numeric, sandboxed: Flag): '';
  /** Real, views. The encoding that documents are read in whatever they say; the empty text leaves it to them. The page is loaded again. */
  'webview.setForcedTextEncoding'(view: Numeric, encoding: string): '';
  /** Real, views. Raises FullScreenVideoStarted, FullScreenVideoWindowUpdated and FullScreenVideoEnded for videos that fill the screen. */
  'webview.setFullScreenVideoCapable'(view: Numeric, capable: Flag): '';
  /** Real, views. Places the web view in the application window, in pixels. */
  'webview.setGeometry'(view: Numeric, x: Numeric, y: Numeric, width: Numeric, height: Numeric): '';
  /** Real, views. Goes to an entry of the history, from 0; nothing happens for one that is not there. */
  'webview.setHistoryPosition'(view: Numeric, position: Numeric): '';
  /** Real, views. Whether native functions that the page calls run here, as the chrome's do, or arrive as JavaScriptCallback. Either way the page has the object to call them with from its next document on. */
  'webview.setJSWebViewBindings'(view: Numeric, enabled: Flag): '';
  /** Real, views. Raises JavaScriptInterrupted when a script of the page has run for that many milliseconds, and again after the same time while it goes on; 0 for never. From then on stop ends the process of the page, and a load goes to a new one. */
  'webview.setJavaScriptInterruptTimeout'(view: Numeric, timeout: Numeric): '';
  /** Kept, views. The value is kept; there is no keyboard on the screen. */
  'webview.setKeyboardVisibilityLocked'(view: Numeric, locked: Flag): '';
  /** Kept, views. The value is kept; there is no keyboard on the screen. */
  'webview.setKeyboardVisible'(view: Numeric, visible: Flag): '';
  /** Kept, views. The rectangle is kept, one for all web views; the engine decides itself what it draws ahead. */
  'webview.setLayerTilerPrefillRect'(view: Numeric, x: Numeric, y: Numeric, width: Numeric, height: Numeric): '';
  /** Real, views. Whether images are loaded. */
  'webview.setLoadImages'(view: Numeric, enabled: Flag): '';
  /** Real, views. The smallest size of text in pages, in pixels; 0 for no limit. */
  'webview.setMinimumFontSize'(view: Numeric, pixels: Numeric): '';
  /** Kept, views. The value is kept and reported; nothing shows beyond the end of a page. */
  'webview.setOverScrollColor'(view: Numeric, color: Numeric): '';
  /** Kept, views. The value is kept; the engine does not look for telephone numbers and the like. */
  'webview.setPatternMatchingEnabled'(view: Numeric, enabled: Flag): '';
  /** Real, views. The web view that shows the next window that the page opens, if nothing else is answered to OpenWindow. It must not have loaded anything; a handle that names none takes it back. */
  'webview.setPopupWebView'(view: Numeric, popup: Numeric): '';
  /** Real, views. Whether the page leaves nothing behind. The page starts anew at its address, without its history. */
  'webview.setPrivateBrowsing'(view: Numeric, enabled: Flag): '';
  /** Real, views. Whether changes of the property are reported, as long as PropertyChanged is enabled besides. */
  'webview.setPropertyChangedEventEnabled'(view: Numeric, property: PropertyName, enabled: Flag): '';
  /** Kept, views. The value is kept; the desktop decides about its screens. */
  'webview.setScreenPowerState'(view: Numeric, on: Flag): '';
  /** Real, views. Scrolls the document to a position in its own units, at once. */
  'webview.setScrollPosition'(view: Numeric, position: JsonText<OrvWebPoint>): '';
  /** Real, views. Whether the user can scroll the document. */
  'webview.setScrolling'(view: Numeric, enabled: Flag): '';
  /** Real, views. Which input the web view takes: SensitivityNever lets it go to what lies below, SensitivityNoFocus takes the pointer and not the keyboard. */
  'webview.setSensitivity'(view: Numeric, sensitivity: OrvWebSensitivity): '';
  /** Real, views. Whether navigator.standalone is true, from the next document on. */
  'webview.setStandalone'(view: Numeric, standalone: Flag): '';
  /** Kept, views. The value is kept; it is about screens that rotate. */
  'webview.setTemporaryViewportSize'(view: Numeric, size: JsonText<OrvWebSize>): '';
  /** Kept, views. The value is kept and reported; the engine does not reflow zoomed text. */
  'webview.setTextReflowMode'(view: Numeric, mode: OrvWebTextReflowMode): '';
  /** Real, views. How the engine names itself in requests and to scripts; the empty text brings its own name back. A text that cannot stand in a header is refused with an error, and the old one stays. */
  'webview.setUserAgent'(view: Numeric, userAgent: string): '';
  /** Real, views. A style sheet that is added to every page: a local:, file: or data: address or a path; the empty text takes it away. */
  'webview.setUserStyleSheetLocation'(view: Numeric, location: string): '';
  /** Real, views. Places the web view in the application window, in pixels. */
  'webview.setViewport'(view: Numeric, rectangle: JsonText<OrvWebRect>): '';
  /** Kept, views. The value is kept and reported; windows decide about the layout here, not pages' viewports. */
  'webview.setViewportHeight'(view: Numeric, height: Numeric): '';
  /** Kept, views. The value is kept and reported; see setViewportHeight. */
  'webview.setViewportInitialScale'(view: Numeric, scale: Numeric): '';
  /** Kept, views. The value is kept and reported, and does not limit the zoom commands; see setViewportHeight. */
  'webview.setViewportMaximumScale'(view: Numeric, scale: Numeric): '';
  /** Kept, views. The value is kept and reported, and does not limit the zoom commands; see setViewportHeight. */
  'webview.setViewportMinimumScale'(view: Numeric, scale: Numeric): '';
  /** Kept, views. The value is kept and reported; see setViewportHeight. */
  'webview.setViewportTargetDensityDpi'(view: Numeric, density: Numeric): '';
  /** Kept, views. The value is kept and reported; see setViewportHeight. */
  'webview.setViewportUserScalable'(view: Numeric, scalable: Numeric): '';
  /** Kept, views. The value is kept and reported; see setViewportHeight. */
  'webview.setViewportWidth'(view: Numeric, width: Numeric): '';
  /** Real, views. Whether the web view is shown. */
  'webview.setVisible'(view: Numeric, visible: Flag): '';
  /** Real, views. Whether events of that kind are raised. */
  'webview.setWebEventEnabled'(view: Numeric, event: WebEventName, enabled: Flag): '';
  /** Real, views. Whether the page can be inspected: by its context menu, by handleContextMenuResponse with InspectElement, or over the web inspector's server, which switches it on itself. */
  'webview.setWebInspectorEnabled'(view: Numeric, enabled: Flag): '';
  /** Real, views. The place of the web view in the stack of its window group; higher is nearer to the user. */
  'webview.setZOrder'(view: Numeric, zOrder: Numeric): '';
  /** Fixed, views. Nothing: the zoom of a page is its scale. */
  'webview.setZoomFactor'(view: Numeric, factor: Numeric): '';
  /** Real, views. Scales pages that are wider than the web view down to its width when they have loaded, not below minimumScale. */
  'webview.setZoomToFitWidthOnLoad'(view: Numeric, enabled: Flag): '';
  /** Real, views. Scrolls the document by a distance in its own units, as a movement. */
  'webview.startAnimatedScroll'(view: Numeric, distance: JsonText<OrvWebPoint>): '';
  /** Real, views. The address of the link at the pointer; empty when there is none. */
  'webview.status'(view: Numeric): string;
  /** Real, views. Ends loading. A page whose script does not end, as JavaScriptInterrupted told, loses its process and shows why. */
  'webview.stop'(view: Numeric): '';
  /** Real, views. Ends a movement where it is. */
  'webview.stopAnimatedScroll'(view: Numeric): '';
  /** Real, views. Sends the form of the control that has the focus, after the checks that it asks for. */
  'webview.submitForm'(view: Numeric): '';
  /** Real, views. Answers proxies that want a log-in with this one, in the process of the web view and as long as that runs; an empty username ends that. The event SyncProxyCredential tells of one that a proxy has accepted, to be passed on to other processes. */
  'webview.syncProxyCredential'(view: Numeric, username: string, password: string): '';
  /** Real, views. The encoding of the document. */
  'webview.textEncoding'(view: Numeric): string;
  /** Real, views. Asks whether text typed now would have an attribute: bold, italic, underline or strikethrough. TextAttributeQuery, raised within the call, brings "true" or "false". */
  'webview.textHasAttribute'(view: Numeric, name: string): '';
  /** Kept, views. The value that was set, TextReflowDisabled at first. */
  'webview.textReflowMode'(view: Numeric): OrvWebTextReflowMode;
  /** Real, views. The title of the page. */
  'webview.title'(view: Numeric): string;
  /** Real, views. The title of the element at the pointer, or of the nearest around it that has one. */
  'webview.tooltip'(view: Numeric): string;
  /** Real, views. Ends one lockProperties; with the last, each property that changed meanwhile is reported once. */
  'webview.unlockProperties'(view: Numeric): '';
  /** Fixed, views. Nothing: there are no plug-ins. */
  'webview.updateDisabledPluginFiles'(view: Numeric, file: string, disabled: Flag): '';
  /** Real, views. Remembers for the life of the web view whether an origin may know where it is, so that it is not asked about; UpdateGeolocationFilter is raised within the call. */
  'webview.updateGeolocationFilter'(view: Numeric, origin: string, allowed: Flag): '';
  /** Real, views. Remembers for the life of the web view whether an origin may show notifications, so that it is not asked about. */
  'webview.updateNotificationPermission'(view: Numeric, origin: string, allowed: Flag): '';
  /** Real, views. What setUserAgent has set; empty for the engine's own name. */
  'webview.userAgent'(view: Numeric): string;
  /** Real, views. What setUserStyleSheetLocation was given. */
  'webview.userStyleSheetLocation'(view: Numeric): string;
  /** Real, views. The place of the web view in the application window, in pixels; all of it for one that was never placed. */
  'webview.viewport'(view: Numeric): JsonText<OrvWebRect>;
  /** Kept, views. The value that was set, 0 at first. */
  'webview.viewportHeight'(view: Numeric): NumberText;
  /** Kept, views. The value that was set, 1 at first. */
  'webview.viewportInitialScale'(view: Numeric): NumberText;
  /** Kept, views. The value that was set, 5 at first. */
  'webview.viewportMaximumScale'(view: Numeric): NumberText;
  /** Kept, views. The value that was set, 0.25 at first. */
  'webview.viewportMinimumScale'(view: Numeric): NumberText;
  /** Kept, views. The value that was set, 0 at first. */
  'webview.viewportTargetDensityDpi'(view: Numeric): NumberText;
  /** Kept, views. The value that was set, 1 at first. */
  'webview.viewportUserScalable'(view: Numeric): NumberText;
  /** Kept, views. The value that was set, 0 at first. */
  'webview.viewportWidth'(view: Numeric): NumberText;
  /** Real, views. The port at which the page can be inspected: the web inspector's server's while it runs, 0 when it does not or when the web view may not be inspected. */
  'webview.webInspectorPort'(view: Numeric): NumberText;
  /** Real, views. A text that names the web view's window. */
  'webview.windowUniqueId'(view: Numeric): string;
  /** Real, views. The place of the web view in the stack of its window group. */
  'webview.zOrder'(view: Numeric): NumberText;
  /** Fixed, views. Always 1: the zoom of a page is its scale. */
  'webview.zoomFactor'(view: Numeric): NumberText;
}

export interface NativeCalls {
  /** Every value crosses as text. A call that fails returns '', whatever the type says. */
  callNative<Name extends keyof NativeFunctions>(
    name: Name, ...values: Parameters<NativeFunctions[Name]>): ReturnType<NativeFunctions[Name]>;
}

/** What an event brings: JSON of its body, or the text of a property's value. */
export type EventData<Name> =
  Name extends keyof ChromeEvents ? (ChromeEvents[Name] extends '' ? '' : JsonText<ChromeEvents[Name]>)
  : Name extends keyof PropertyEvents ? PropertyEvents[Name] : string;
/** What webEvent may return for an event: JSON of an answer, for those that are sent. */
export type EventAnswer<Name> =
  Name extends keyof ChromeAnswers ? JsonText<ChromeAnswers[Name]> | '' | void : void;

/** What happens to an object. FirstReadComplete and NewData bring {NAME: {ATTRIBUTES}} as JSON, what
 * has failed a sentence, the others nothing. After Closed and OpenFailed the object is no more. */
export type PPSEventName =
  | 'FirstReadComplete' | 'NewData' | 'Opened' | 'Closed' | 'OpenFailed' | 'ReadFailed' | 'WriteFailed';

/** The functions that a chrome has, for the program to call. */
export interface ChromeFunctions {
  internal: {
    webEvent(handle: number, name: string, data: string, integer: number): string | void;
    pps?: { onEvent(id: number, name: PPSEventName, text?: string): void };
    windowAnimations?: {
      onWindowAnimationFinished(id: number): void;
      onDragTouchRelease(): void;
    };
  };
  native: { error(text: string): void };
}

declare global {
  const orv: NativeCalls;
  interface Window { chrome?: ChromeFunctions }
}
