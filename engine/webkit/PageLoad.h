// The loads of a page: from the request over the engine's load events to the document that is
// shown, or the failure page; and which documents the program itself has loaded. Main thread.
#pragma once

#include "engine/Retries.h"
#include "engine/TrustedLoads.h"
#include "engine/webkit/base/PageContext.h"
#include "engine/webkit/network/Resources.h"

#include <webkit2/webkit2.h>

#include <functional>
#include <optional>

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
  // See Page::setAutoReload.
  void setAutoReload(bool enabled);
  // The view can be seen again: what waits for that is loaded.
  void shown();
  // The page's process is about to end for that, or has ended. The page may be closed afterwards.
  void memoryExceeded(OrvWebMemoryExcess excess, int pid);
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
  bool isApplicationLoaded() const override { return isApplicationLoaded_; }

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
  // What is loaded again after a failure, and when; nothing for a page that is not.
  struct Retry {
    String url;
    std::function<void()> load;
    unsigned int pause = 0;  // in seconds
    bool isDue = false;      // and waits until the page is shown
    bool linksToIt = false;  // the failure page does
  };
  void showFailurePage(const String& url, const String& reason);
  bool isTriedAgain() const;
  bool isHidden() const;
  void scheduleRetry(const String& url, const String& reason, std::function<void()> load);
  void retryDue();
  void retryNow();
  void cancelRetry();

  PageContext& page_;
  const link_protocol::PageSetup& setup_;
  WebKitWebView* view_ = nullptr;
  PageParts* parts_ = nullptr;  // null without a view
  String failureHint_;
  bool isApplicationLoaded_ = false;
  String supplied_;              // the address of a text that is loaded; empty for none
  bool failureFollows_ = false;  // the next load to start is that of a failure page
  bool showingFailure_ = false;  // the load that goes on is
  bool startsLater_ = false;     // the next load is scheduled in the main loop
  bool repeating_ = false;       // the load that ends is followed by its repetition
  unsigned int repeats_ = 0;     // of one load, in a row
  TrustedLoads loads_;
  String shownAddress_;
  bool isOnItsWay_ = false;            // a load has started and is not committed
  bool refused_ = false;               // the load in progress was
  bool hasWaited_ = false;             // isTrusted() timed out during this load
  bool isCommitted_ = false;           // the load that goes on or was the last
  std::function<void()> programLoad_;  // the program's own load, the last one
  std::optional<bool> autoReload_;     // what the chrome has said
  bool endedForMemory_ = false;        // and was not loaded since
  std::optional<Retry> retry_;
  unsigned int retryNumber_ = 0;  // counts what was to be tried again, and what came in between
  Retries retries_;
  std::function<void()> unstartedLoad_;  // requested, not yet confirmed by the web process
};
