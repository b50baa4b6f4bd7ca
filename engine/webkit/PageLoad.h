// The loads of a page: from the request over the engine's load events to the document that is
// shown, or the failure page; and which documents the program itself has loaded. Main thread.
#pragma once

#include "engine/Retries.h"
#include "engine/TrustedLoads.h"
#include "engine/webkit/base/PageContext.h"
#include "engine/webkit/network/Resources.h"

#include <webkit2/webkit2.h>

#include <functional>

struct PageParts;
namespace link_protocol {
struct PageSetup;
}

// Owned by the page; outlives its views.
class PageLoad final : public LoadControl {
 public:
  PageLoad(PageContext& page, const link_protocol::PageSetup& setup);

  // A view was made. Its parts, which hear of loads after this does, are set when they are there.
  void attach(WebKitWebView* view);
  void setParts(PageParts* parts) { parts_ = parts; }
  // The view and its parts are about to go.
  void detach();

  // See Page::load and the operations that follow it there.
  void load(const String& url);
  void loadText(const String& text, const String& mimeType, const String& baseURL);
  void reload();
  void stop();
  void loadUrl(const String& url, bool isOfProgram);
  // Plain text that is shown with a failed load; see Page::setDrivesApplication.
  void setFailureHint(const String& hint) { failureHint_ = hint; }
  // There must be a view. The page may be closed afterwards.
  void processEnded(WebKitWebProcessTerminationReason reason);
  // Whether the content of that address is already here, so that the chrome is not asked for it.
  bool isSupplied(const String& url) const { return !supplied_.isEmpty() && url == supplied_; }
  // Whether the document that calls may call native functions. Waits up to a second for what the
  // engine tells; the page may be closed afterwards.
  bool isTrusted();

  void loadAgain(const String& url) override;
  void showFailure(const String& url, const String& reason) override;
  TrustedLoads& trustedLoads() override { return loads_; }
  bool mayGo(const String& url, bool isKnown) override;
  const String& shownAddress() const override { return shownAddress_; }

 private:
  static void onLocation(WebKitWebView*, GParamSpec*, PageLoad* self);
  static void onLoading(WebKitWebView*, GParamSpec*, PageLoad* self);
  static void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, PageLoad* self);
  static gboolean onLoadFailed(WebKitWebView*, WebKitLoadEvent, const gchar* uri, GError* error,
                               PageLoad* self);
  void loadStarted();
  void loadCommitted();
  void loadFinished();
  void explainIfEmpty(guint status);
  void committed();
  void showInstead(const char* title, const String& uri, const String& reason);

  // The encoding may be empty: it is found out then.
  void loadContent(const String& content, const String& mimeType, const String& encoding,
                   const String& baseURL);
  void showProvided(const Resources::DocumentEnd& document);
  void startLoad(std::function<void()> load);
  void startLater();
  // Calls it after so many milliseconds if the page is there then.
  void later(guint pause, std::function<void()> call);
  void updateLocation();
  void forgetDestination();
  bool repeatLoad(const gchar* uri);
  void loadOfProgram(const std::function<void()>& load);
  void redrawAfterLoad();
  unsigned int retryLater(const String& url);
  void retryNow();
  void cancelRetry();

  PageContext& page_;
  const link_protocol::PageSetup& setup_;
  WebKitWebView* view_ = nullptr;
  PageParts* parts_ = nullptr;  // null without a view
  String failureHint_;
  String supplied_;              // the address of a text that is loaded; empty for none
  bool failureFollows_ = false;  // the next load to start is that of a failure page
  bool showingFailure_ = false;  // the load that goes on is
  bool startsLater_ = false;     // the next load is scheduled in the main loop
  bool repeating_ = false;       // the load that ends is followed by its repetition
  unsigned int repeats_ = 0;     // of one load, in a row
  TrustedLoads loads_;
  String shownAddress_;
  bool isOnItsWay_ = false;  // a load has started and is not committed
  bool refused_ = false;     // the load in progress was
  bool hasWaited_ = false;   // isTrusted() timed out during this load
  // Of the page that drives the application: the program's own load, the last one; and the address
  // that the failure page links to while that is to be tried again, else empty.
  std::function<void()> programLoad_;
  String retryUrl_;
  unsigned int retry_ = 0;  // counts what was to be tried again, and what came in between
  Retries retries_;
  std::function<void()> unstartedLoad_;  // requested, not yet confirmed by the web process
};
