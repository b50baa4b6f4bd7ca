// The downloads of the process: from the request over the transfer to the end, each under a number
// of its own. Main thread.
#pragma once

#include "engine/Page.h"
#include "engine/webkit/base/ObjectPointer.h"
#include "engine/webkit/network/ResumedDownload.h"

#include <webkit2/webkit2.h>

#include <map>
#include <memory>

class PageContext;

class Downloads final : public ResumedDownload::Client {
 public:
  using String = Tessel::Platform::String;

  Downloads() = default;
  ~Downloads() override;
  // Adopts the downloads that are started in a context.
  void listenTo(WebKitWebContext* context);
  Downloads(const Downloads&) = delete;
  Downloads& operator=(const Downloads&) = delete;

  // Pages hear about the downloads that they start.
  void registerPage(WebKitWebView* view, std::weak_ptr<PageContext> page);
  void forgetPage(WebKitWebView* view);

  // Under that number; a new one for 0. The file is asked for when it is empty.
  void start(WebKitWebView* view, const String& url, const String& filename,
             unsigned int number = 0);
  void step(unsigned int number, DownloadStep step);
  void decide(unsigned int number, bool save, const String& filename);

 private:
  struct Entry {
    ObjectPointer<WebKitDownload> download;  // null once it has ended
    DownloadBeginning beginning;             // while it runs, and when it can go on
    std::unique_ptr<ResumedDownload> rest;   // replaces the engine's download
    std::weak_ptr<PageContext> page;
    String url;
    String filename;      // as requested; empty while undecided
    bool paused = false;  // ended by us, to be started again
    bool goesOn = false;  // resume as soon as the engine has completed the pause
    bool removed = false;
    OrvWebDownloadResult result = OrvWebDownloadResult::ResultSuccess;  // the last end's

    bool isRunning() const { return download || rest; }
  };

  static void onStarted(WebKitWebContext*, WebKitDownload* download, Downloads* self);
  static gboolean onDecide(WebKitDownload* download, const gchar* suggested, Downloads* self);
  static void onCreated(WebKitDownload* download, const gchar* destination, Downloads* self);
  static void onReceived(WebKitDownload* download, guint64 length, Downloads* self);
  static void onResponse(WebKitDownload* download, GParamSpec*, Downloads* self);
  static void onFailed(WebKitDownload* download, GError* error, Downloads* self);
  static void onFinished(WebKitDownload* download, Downloads* self);

  void adopt(WebKitDownload* download, unsigned int number);
  // The entry of a download and its number; null for one that is not ours.
  std::pair<const unsigned int, Entry>* find(WebKitDownload* download);
  void saveAs(Entry& entry, const String& filename);
  void raise(const Entry& entry, OrvWebEvent& event) const;
  void raiseStarted(unsigned int number, const Entry& entry) const;
  void raiseFinished(unsigned int number, const Entry& entry) const;
  void raiseFileError(unsigned int number, const Entry& entry) const;

  void pause(unsigned int number, Entry& entry);
  void cancel(unsigned int number, Entry& entry);
  void remove(unsigned int number, Entry& entry);
  // From where it stands, or from the beginning. An entry without a page stays as it is.
  void goOn(unsigned int number, Entry& entry);
  void progressed(unsigned int number, std::uint64_t done) override;
  void ended(unsigned int number, ResumedDownload::End end) override;

  std::vector<WebKitWebContext*> contexts_;  // outlive this
  unsigned int lastNumber_ = 0;
  std::map<unsigned int, Entry> entries_;
  std::map<WebKitWebView*, std::weak_ptr<PageContext>> pages_;
};
