// The loads of a page. Main thread.
#include "engine/webkit/PageLoad.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/PageParts.h"
#include "engine/webkit/base/BoundedWait.h"
#include "engine/webkit/base/EngineValues.h"
#include "engine/webkit/base/ObjectPointer.h"
#include "engine/webkit/link/Frame.h"
#include "engine/webkit/network/FailurePage.h"
#include "platform/base/Log.h"

#include <array>
#include <memory>
#include <string_view>
#include <utility>

using Tessel::Platform::concat;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::LogNotice;
using Tessel::Platform::String;
using Tessel::Platform::traceStart;

namespace {

// A view that is covered while it first paints can stay blank when the engine's shared buffers
// are off; these milliseconds after the load cover every case that was seen.
constexpr std::array<guint, 4> redrawTimes{50, 200, 600, 1200};

// The engine connects ahead of the load of a page. It gives that up after ten seconds, or when it
// does not know the server's certificate; and when the load has taken the connection over just
// then, the load is cancelled with it, although nobody wants that. What is asked for again gets a
// connection of its own, and by so many times also one that is not given up at the wrong moment.
constexpr unsigned int mostRepeats = 5;

// From a server's response to the committed document; only the engine's own work lies between.
constexpr std::chrono::seconds longestCommit{1};

std::string_view withoutFragment(const String& url) {
  return url.view().substr(0, url.view().find('#'));
}

// An address in the form in which the engine will ask for it.
String asRequested(const String& url) {
  const ObjectPointer<WebKitURIRequest> request(webkit_uri_request_new(url.utf8()));
  return String(webkit_uri_request_get_uri(request.get()));
}

}  // namespace

PageLoad::PageLoad(PageContext& page, const link_protocol::PageSetup& setup)
    : page_(page), setup_(setup) {}

void PageLoad::attach(WebKitWebView* view) {
  view_ = view;
  const auto connect = [&](const char* signal, auto handler) {
    g_signal_connect(view_, signal, G_CALLBACK(handler), this);
  };
  connect("notify::uri", onLocation);
  connect("notify::is-loading", onLoading);
  connect("load-changed", onLoadChanged);
  connect("load-failed", onLoadFailed);
}

void PageLoad::detach() {
  failureFollows_ = showingFailure_ = repeating_ = isOnItsWay_ = false;
  g_signal_handlers_disconnect_by_data(view_, this);
  parts_ = nullptr;
  view_ = nullptr;
}

void PageLoad::load(const String& url) {
  loadOfProgram([this, url] { loadUrl(url, true); });
}

// Repeated after a failure: the page has no say in what counts as the program's own, and neither
// has a server that it was redirected to.
void PageLoad::loadOfProgram(const std::function<void()>& load) {
  programLoad_ = load;
  load();
}

void PageLoad::loadAgain(const String& url) {
  loads_.expectAgain(url);
  loadUrl(url, false);
}

void PageLoad::loadUrl(const String& url, bool isOfProgram) {
  if (!page_.view()) return;
  GError* error = nullptr;
  if (!g_uri_is_valid(url.utf8(), G_URI_FLAGS_PARSE_RELAXED, &error)) {
    cancelRetry();
    showFailurePage(url, concat("This is no address: ", error->message));
    g_error_free(error);
    return;
  }
  if (isOfProgram) loads_.expect(asRequested(url));
  startLoad([this, url] { webkit_web_view_load_uri(view_, url.utf8()); });
}

void PageLoad::loadText(const String& text, const String& mimeType, const String& baseURL) {
  if (!page_.view()) return;
  loadOfProgram([this, text, mimeType, baseURL] {
    loads_.expect(baseURL.isEmpty() ? "about:blank" : asRequested(baseURL), true);
    loadContent(text, mimeType, "utf-8", baseURL);
  });
}

void PageLoad::loadContent(const String& content, const String& mimeType, const String& encoding,
                           const String& baseURL) {
  const auto orNull = [](const String& text) { return text.isEmpty() ? nullptr : text.utf8(); };
  if (!page_.view()) return;
  startLoad([=, this] {
    supplied_ = baseURL;
    // The engine rejects an empty document; a byte order mark does not count as text.
    constexpr std::string_view nothing = "\xEF\xBB\xBF";
    const std::string_view text = content.isEmpty() ? nothing : content.view();
    GBytes* bytes = g_bytes_new(text.data(), text.size());
    webkit_web_view_load_bytes(view_, bytes, mimeType.utf8(), orNull(encoding), orNull(baseURL));
    g_bytes_unref(bytes);
  });
}

void PageLoad::startLoad(std::function<void()> load) {
  repeats_ = 0;
  cancelRetry();
  unstartedLoad_ = std::move(load);
  if (parts_ && parts_->hangMonitor.isStuck()) return parts_->hangMonitor.endProcess();
  // The engine drops a load that is requested while it starts to show a failure page.
  if (!failureFollows_ && !showingFailure_ && !startsLater_) unstartedLoad_();
}

// From the main loop: inside a signal about one load the engine may drop the next one.
void PageLoad::later(guint pause, std::function<void()> call) {
  struct Call {
    std::weak_ptr<PageContext> page;
    std::function<void()> call;
  };
  g_timeout_add_full(
      G_PRIORITY_DEFAULT, pause,
      [](gpointer data) -> gboolean {
        const auto* const next = static_cast<Call*>(data);
        if (const auto page = next->page.lock()) next->call();
        return G_SOURCE_REMOVE;
      },
      new Call{page_.weak_from_this(), std::move(call)},
      [](gpointer data) { delete static_cast<Call*>(data); });
}

void PageLoad::startLater() {
  startsLater_ = true;
  later(0, [this] {
    startsLater_ = false;
    // Copied, because the call may replace it.
    const auto load = view_ ? unstartedLoad_ : nullptr;
    if (load) load();
  });
}

void PageLoad::reload() {
  if (parts_ && parts_->hangMonitor.isStuck()) {
    return loadUrl(page_.client()->pageState().location, loads_.isOwn());
  }
  if (view_) webkit_web_view_reload(view_);
}

void PageLoad::stop() {
  unstartedLoad_ = nullptr;
  cancelRetry();
  loads_.expectNothing();
  if (parts_ && parts_->hangMonitor.isStuck()) return parts_->hangMonitor.endProcess();
  // The failure page loads at once, and its load must finish before another one can start.
  if (view_ && !failureFollows_ && !showingFailure_) webkit_web_view_stop_loading(view_);
}

void PageLoad::onLocation(WebKitWebView* view, GParamSpec*, PageLoad* self) {
  const auto held = self->page_.shared_from_this();
  const char* uri = webkit_web_view_get_uri(view);
  // On the way to a document that the chrome provides.
  if (Resources::isStream(uri) || (!uri && self->repeating_)) return;
  self->updateLocation();
  if (self->parts_ && !self->isOnItsWay_) self->parts_->navigation.moved();
}

// The shown address, or the destination of the program's own load. Where a page navigates by
// itself is only reported once it is committed: it may fail, and the address would be wrong.
void PageLoad::updateLocation() {
  if (const auto destination = loads_.destination()) {
    return page_.update<&PageState::location>(*destination);
  }
  if (!view_ || isOnItsWay_) return;
  shownAddress_ = String(webkit_web_view_get_uri(view_));
  page_.update<&PageState::location>(shownAddress_);
}

void PageLoad::onLoading(WebKitWebView* view, GParamSpec*, PageLoad* self) {
  if (webkit_web_view_is_loading(view) || !self->loads_.destination()) return;
  // This may be the end of the previous load, reported while the next one is on its way to the web
  // process. The engine does not report a load that never starts, as for a blocked port.
  constexpr guint longestStart = 1000;  // milliseconds
  self->later(longestStart, [self] { self->forgetDestination(); });
}

// The program's load was only a move within the document, or never started.
void PageLoad::forgetDestination() {
  const bool waits = startsLater_ || failureFollows_ || showingFailure_ || isOnItsWay_;
  if (!view_ || webkit_web_view_is_loading(view_) || waits || !loads_.destination()) return;
  loads_.expectNothing();
  updateLocation();
}

void PageLoad::onLoadChanged(WebKitWebView*, WebKitLoadEvent event, PageLoad* self) {
  const auto held = self->page_.shared_from_this();
  switch (event) {
    case WEBKIT_LOAD_STARTED:
      traceStart("load started");
      return self->loadStarted();
    case WEBKIT_LOAD_COMMITTED:
      traceStart("document committed");
      return self->loadCommitted();
    case WEBKIT_LOAD_FINISHED:
      traceStart("load finished");
      return self->loadFinished();
    default:
      return;
  }
}

void PageLoad::loadStarted() {
  loads_.started();
  refused_ = hasWaited_ = isCommitted_ = false;
  isOnItsWay_ = true;
  showingFailure_ = std::exchange(failureFollows_, false);
  if (!showingFailure_) unstartedLoad_ = nullptr;
  // The document has refused to be closed.
  if (parts_) parts_->windows.closeRefused();
}

// Every event that is raised may close the page.
void PageLoad::loadCommitted() {
  repeats_ = 0;
  supplied_ = String();
  isOnItsWay_ = false;
  isCommitted_ = true;
  if (!showingFailure_) {
    cancelRetry();
    endedForMemory_ = false;
  }
  committed();
  updateLocation();
  if (!parts_) return;
  if (!showingFailure_ && !parts_->security.committed()) return;
  if (!parts_) return;
  parts_->fit.documentGone();
  if (parts_) parts_->fullScreen.documentGone();
  if (parts_) parts_->apis.documentGone();
  if (!parts_) return;
  parts_->find.committed();
  parts_->navigation.committed();
  page_.raise(OrvWebEvent::DocumentLoadCommitted);
}

void PageLoad::loadFinished() {
  isOnItsWay_ = false;
  if (!failureFollows_ && !unstartedLoad_) updateLocation();
  if (!parts_) return;
  redrawAfterLoad();
  parts_->prompts.loaded();
  if (!parts_) return;
  // Not the end: the load starts again.
  const bool repeating = std::exchange(repeating_, false);
  if (std::exchange(showingFailure_, false) || repeating) {
    if (unstartedLoad_) startLater();
    return;
  }
  // For a chrome that is "not found", the server's own page would not tell the user what to do: the
  // failure page with its hint does.
  const guint status = statusOf(view_);
  if (isFailedStatus(status)) {
    const String url(webkit_web_view_get_uri(view_));
    const String reason = concat("The answer was ", String::fromUnsignedInteger(status), ".");
    if (setup_.drivesApplication) {
      showFailurePage(url, reason);
    } else if (isCommitted_) {
      scheduleRetry(url, reason, [this, url, isOwn = loads_.isOwn()] { loadUrl(url, isOwn); });
      explainIfEmpty(status);
    }
  }
  const bool isChrome = setup_.drivesApplication && !failureFollows_;
  page_.raise(OrvWebEvent::DocumentLoadFinished);
  if (isChrome && page_.client()) {
    isApplicationLoaded_ = true;
    page_.client()->drivingDocumentLoaded();
  }
}

// Servers send some errors without a document: an empty page would say nothing.
void PageLoad::explainIfEmpty(guint status) {
  struct Asked {
    PageLoad* self;
    std::weak_ptr<const void> life;
    String url;
    guint status;
  };
  WebKitWebResource* resource = webkit_web_view_get_main_resource(view_);
  if (!resource) return;
  const auto answered = [](GObject* source, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<Asked> asked(static_cast<Asked*>(data));
    gsize length = 0;
    GError* error = nullptr;
    g_free(
        webkit_web_resource_get_data_finish(WEBKIT_WEB_RESOURCE(source), result, &length, &error));
    const bool isRead = error == nullptr;
    g_clear_error(&error);
    // Of an answer without a document the engine has one byte.
    if (asked->life.expired() || !isRead || length > 1) return;
    PageLoad* const self = asked->self;
    // Something else has come meanwhile, or will.
    if (self->unstartedLoad_ || self->failureFollows_ || self->showingFailure_ ||
        webkit_web_view_is_loading(self->view_) || statusOf(self->view_) != asked->status ||
        asked->url != String(webkit_web_view_get_uri(self->view_))) {
      return;
    }
    self->showInstead("This page is empty", asked->url,
                      concat("The server has answered with ",
                             String::fromUnsignedInteger(asked->status), " and nothing else."));
  };
  webkit_web_resource_get_data(
      resource, nullptr, answered,
      new Asked{this, page_.viewLife(), webkit_web_view_get_uri(view_), status});
}

void PageLoad::committed() {
  const bool wasTrusted = loads_.isTrusted();
  loads_.committed(webkit_web_view_get_uri(view_));
  const String url = loads_.address();
  shownAddress_ = url;
  if (!setup_.bound || loads_.isTrusted() || showingFailure_) return;
  if (wasTrusted) {
    logAlways(LogNotice, "%s is shown without native functions: the program has not loaded it.",
              url.utf8());
  }
  // An empty document is committed without a request that could have been refused.
  if (setup_.drivesApplication && !mayGo(url, false) && !loads_.home().isEmpty()) {
    unstartedLoad_ = [this, home = loads_.home()] { loadUrl(home, true); };
    startLater();
  }
}

bool PageLoad::mayGo(const String& url, bool isKnown) {
  // The link of the failure page.
  const bool isRetry =
      retry_ && retry_->linksToIt && withoutFragment(url) == withoutFragment(retry_->url);
  if (isRetry && !showingFailure_ && !failureFollows_) {
    later(0, [this, number = retryNumber_] {
      if (number == retryNumber_) retryNow();
    });
    return false;
  }
  if (isKnown || !setup_.bound || !setup_.drivesApplication || showingFailure_) return true;
  if (std::exchange(refused_, true)) return false;
  logAlways(LogError, "The page that drives the application does not go to %s.", url.utf8());
  if (page_.client()) page_.client()->navigationRefused(url);
  return false;
}

// Judged by the engine's last report of the shown document. A document may call before the report
// of its commit has arrived; that report is waited for.
bool PageLoad::isTrusted() {
  if (loads_.changesCaller() && loads_.isTrustedNext().value_or(false) && !hasWaited_) {
    // Holds this object as well.
    const auto page = page_.shared_from_this();
    waitInMainLoop(longestCommit, [&] { return !page->client() || !loads_.isTrustedNext(); });
    hasWaited_ = loads_.isTrustedNext().has_value();
  }
  return loads_.isTrusted() && !loads_.changesCaller();
}

// Whether the engine cancelled a load by itself, which will start again.
bool PageLoad::repeatLoad(const gchar* uri) {
  // Another load was requested meanwhile: that one follows instead.
  if (unstartedLoad_) return true;
  if (!parts_ || !parts_->navigation.isRepeatable() || repeats_ == mostRepeats) return false;
  ++repeats_;
  logAlways(LogNotice, "The engine has closed the connection to %s: loading it again.", uri);
  // No load starts inside the signal: the cancelled load must finish first.
  repeating_ = true;
  loads_.expectAgain(String(uri));
  unstartedLoad_ = [this, url = String(uri)] { webkit_web_view_load_uri(view_, url.utf8()); };
  return true;
}

gboolean PageLoad::onLoadFailed(WebKitWebView*, WebKitLoadEvent when, const gchar* uri,
                                GError* error, PageLoad* self) {
  const auto held = self->page_.shared_from_this();
  const bool isOfProgram = self->loads_.destination().has_value();
  self->loads_.ended();
  Resources::DocumentEnd provided;
  if (Resources::isStream(uri)) {
    provided = self->page_.services().resources.takeDocument(uri);
    if (provided.kind != Resources::DocumentEnd::Kind::Failed) {
      self->showProvided(provided);
      return TRUE;
    }
    uri = provided.url.utf8();
  }
  // A load that was stopped on request ends with another error.
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED) &&
      (when != WEBKIT_LOAD_STARTED || self->repeatLoad(uri))) {
    return TRUE;
  }
  // Stopped on request, or turned into a download: not a failure.
  if (g_error_matches(error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED) ||
      g_error_matches(error, WEBKIT_POLICY_ERROR,
                      WEBKIT_POLICY_ERROR_FRAME_LOAD_INTERRUPTED_BY_POLICY_CHANGE)) {
    return TRUE;
  }
  OrvWebNetworkErrorEvent event;
  event.message = String(error->message);
  event.status = error->code;
  event.url = String(uri);
  const unsigned int retryBefore = self->retryNumber_;
  self->page_.raise(event);
  // The chrome may have requested another load meanwhile.
  if (self->view_ && !self->unstartedLoad_ && retryBefore == self->retryNumber_) {
    std::function<void()> again = self->programLoad_;
    if (!isOfProgram) again = [self, url = String(uri)] { self->loadUrl(url, false); };
    // Of what drives the application the failure page does, with the pause that it shows.
    if (!self->setup_.drivesApplication) {
      self->scheduleRetry(uri, error->message, std::move(again));
    }
    // If prevented, the chrome shows its own page.
    if (!event.isPreventDefault()) self->showFailurePage(uri, error->message);
  }
  self->page_.raise(OrvWebEvent::DocumentLoadFailed);
  return TRUE;
}

namespace {

constexpr int exceededMemory = -2;

// What NetworkError tells of a process that has ended; the engine's own numbers are positive.
int statusOf(WebKitWebProcessTerminationReason reason) {
  switch (reason) {
    case WEBKIT_WEB_PROCESS_CRASHED:
      return -1;
    case WEBKIT_WEB_PROCESS_EXCEEDED_MEMORY_LIMIT:
      return exceededMemory;
    default:
      return -3;
  }
}

}  // namespace

void PageLoad::processEnded(WebKitWebProcessTerminationReason reason) {
  const char* why = "was ended";
  if (reason == WEBKIT_WEB_PROCESS_CRASHED) {
    why = "crashed";
  } else if (endedForMemory_) {
    why = "used too much memory";
  }
  const char* uri = webkit_web_view_get_uri(view_);
  logAlways(LogError,
            "The web process of %s %s. The program goes on; loading again starts a new one.%s%s",
            uri ? uri : "a page", why, failureHint_.isEmpty() ? "" : " ", failureHint_.utf8());
  failureFollows_ = showingFailure_ = repeating_ = isOnItsWay_ = isApplicationLoaded_ = false;
  loads_.ended();
  const String message = concat("The process of this page ", why, ".");
  const String url(uri);
  if (setup_.drivesApplication) {
    if (!retries_.processEnded(Retries::Clock::now())) return page_.client()->gaveUp();
    page_.client()->drivingProcessEnded();
    // A load that was sent to the dying process is repeated with the program's.
    const String home = loads_.home().isEmpty() ? url : loads_.home();
    unstartedLoad_ = [this, home, message] { showFailurePage(home, message); };
    return startLater();
  }
  // A load that was sent to the dying process is lost: repeat it.
  if (const auto load = std::exchange(unstartedLoad_, nullptr)) return load();
  OrvWebNetworkErrorEvent event;
  event.message = message;
  event.status = endedForMemory_ ? exceededMemory : statusOf(reason);
  event.url = url;
  const unsigned int retryBefore = retryNumber_;
  page_.raise(event);
  if (view_ && !unstartedLoad_ && retryBefore == retryNumber_) {
    std::function<void()> again = programLoad_;
    if (!again || url != loads_.home()) {
      again = [this, url, isOwn = loads_.isOwn()] { loadUrl(url, isOwn); };
    }
    scheduleRetry(url, message, std::move(again));
    // A hidden page needs no process until it is loaded again.
    if (!event.isPreventDefault() && !(retry_ && isHidden())) {
      unstartedLoad_ = [this, url, message] { showInstead("This page has ended", url, message); };
      startLater();
    }
  }
  page_.raise(OrvWebEvent::DocumentLoadFailed);
}

void PageLoad::showFailure(const String& uri, const String& reason) {
  std::function<void()> again = programLoad_;
  if (!loads_.destination()) again = [this, uri] { loadUrl(uri, false); };
  if (!setup_.drivesApplication) scheduleRetry(uri, reason, std::move(again));
  showFailurePage(uri, reason);
}

void PageLoad::showFailurePage(const String& uri, const String& reason) {
  if (!view_) return;
  logAlways(LogError, "%s could not be loaded: %s %s", uri.utf8(), reason.utf8(),
            failureHint_.utf8());
  showInstead("This page could not be loaded", uri, reason);
}

void PageLoad::showInstead(const char* title, const String& uri, const String& reason) {
  if (!view_) return;
  unstartedLoad_ = nullptr;
  loads_.substitute(uri.isEmpty() ? "about:blank" : uri);
  failureFollows_ = true;
  supplied_ = uri;
  if (setup_.drivesApplication) scheduleRetry(uri, reason, programLoad_);
  if (retry_) retry_->linksToIt = true;
  const unsigned int pause = retry_ ? retry_->pause : 0;
  webkit_web_view_load_alternate_html(view_,
                                      failurePage(title, uri, reason, failureHint_, pause).utf8(),
                                      uri.isEmpty() ? "about:blank" : uri.utf8(), nullptr);
}

void PageLoad::setAutoReload(bool enabled) {
  autoReload_ = enabled;
  if (!enabled && !setup_.drivesApplication) cancelRetry();
}

bool PageLoad::isTriedAgain() const {
  return setup_.drivesApplication || autoReload_.value_or(endedForMemory_);
}

bool PageLoad::isHidden() const {
  return !setup_.drivesApplication && !gtk_widget_get_mapped(GTK_WIDGET(view_));
}

void PageLoad::memoryExceeded(OrvWebMemoryExcess excess, int pid) {
  endedForMemory_ = true;
  excess.process = pid;
  if (page_.client()) page_.client()->memoryExceeded(excess);
}

// Not what is no address: it will be none later.
void PageLoad::scheduleRetry(const String& url, const String& reason, std::function<void()> load) {
  cancelRetry();
  if (!isTriedAgain() || !g_uri_is_valid(url.utf8(), G_URI_FLAGS_PARSE_RELAXED, nullptr)) return;
  const auto pause = retries_.pauseAfterFailure(Retries::Clock::now());
  retry_ = Retry{asRequested(url), std::move(load), static_cast<unsigned int>(pause.count())};
  const auto delay = static_cast<guint>(pause / std::chrono::milliseconds(1));
  later(delay, [this, number = retryNumber_] {
    if (number == retryNumber_) retryDue();
  });
  OrvWebRetry scheduled;
  scheduled.delay = static_cast<int>(delay);
  scheduled.reason = reason;
  scheduled.url = url;
  scheduled.whenShown = isHidden();
  if (!setup_.drivesApplication && page_.client()) page_.client()->retryScheduled(scheduled);
}

void PageLoad::cancelRetry() {
  ++retryNumber_;
  retry_.reset();
}

void PageLoad::retryDue() {
  if (!view_) return;
  if (isHidden()) {
    retry_->isDue = true;
  } else if (isOnItsWay_ && !showingFailure_) {
    // Another load, which may end without a document.
    constexpr guint lookAgain = 1000;  // milliseconds
    later(lookAgain, [this, number = retryNumber_] {
      if (number == retryNumber_) retryDue();
    });
  } else {
    retryNow();
  }
}

void PageLoad::shown() {
  if (retry_ && retry_->isDue) retryDue();
}

void PageLoad::retryNow() {
  // What drives the application is not what a server or its page has led to.
  const String url = setup_.drivesApplication ? loads_.home() : retry_->url;
  logAlways(LogNotice, "%s is tried again.", url.utf8());
  // Copied, because the call may replace it.
  const auto load = retry_->load;
  if (load) load();
}

// Called inside the failure of the load that waited for the document.
void PageLoad::showProvided(const Resources::DocumentEnd& document) {
  if (document.kind != Resources::DocumentEnd::Kind::Ready || !view_) return;
  // The end of that load is not reported.
  repeating_ = true;
  const String& url = document.url;
  if (document.isHtml) {
    loads_.substitute(url);
    // In this form, and here, the history goes on as if the load had not failed.
    supplied_ = url;
    webkit_web_view_load_alternate_html(view_, document.content.utf8(), url.utf8(), url.utf8());
    return;
  }
  unstartedLoad_ = [this, document] {
    loadContent(document.content, document.mimeType, document.charset, document.url);
  };
}

void PageLoad::redrawAfterLoad() {
  for (const guint time : redrawTimes) {
    later(time, [this] {
      if (view_) gtk_widget_queue_draw(GTK_WIDGET(view_));
    });
  }
}
