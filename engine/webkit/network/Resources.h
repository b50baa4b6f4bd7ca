// The resources of pages that the chrome is asked about: what becomes of each request, and the
// streams of those that the chrome provides or looks at on their way. Main thread.
#pragma once

#include "engine/Page.h"
#include "engine/webkit/network/ResourceStream.h"

#include <webkit2/webkit2.h>

#include <map>
#include <memory>
#include <string>

class PageContext;

// A request of a page, as the module in its web process sees it before it is made.
struct ResourceQuestion {
  using String = Tessel::Platform::String;

  String url;
  String destination;  // as the header Sec-Fetch-Dest has it
  String referrer;
  String origin;  // of the document
};

class Resources {
 public:
  using String = Tessel::Platform::String;

  Resources();
  ~Resources();
  Resources(const Resources&) = delete;
  Resources& operator=(const Resources&) = delete;

  // Serves the streams to the pages of a context.
  void serve(WebKitWebContext* context);

  // Asks the chrome. Returns the decision for the module, the encoded call of one of these:
  // accept(referrer), deny(), redirect(url, referrer).
  String decide(const std::shared_ptr<PageContext>& page, const ResourceQuestion& question);
  // Whether it is the address of a stream, also one that becomes a page.
  static bool isStream(const char* url);
  // How the load of a document from a stream has ended: each ends in a failure of that load.
  struct DocumentEnd {
    enum class Kind { GivenUp, Failed, Ready } kind = Kind::GivenUp;
    String url;  // its own
    String content;
    String mimeType;
    String charset;
    bool isHtml = false;  // and its content is UTF-8
  };
  DocumentEnd takeDocument(const char* streamUrl);
  // The chrome's next step for the stream of that number; ignored when there is none.
  void step(unsigned int number, const ResourceStep& step);

 private:
  class Entry;
  using Entries = std::map<unsigned int, std::shared_ptr<Entry>>;

  static void onRequest(WebKitURISchemeRequest* request, gpointer self);
  static gboolean onTick(gpointer self);
  void sweep();

  Entries entries_;
  unsigned int lastNumber_ = 0;
  guint tick_ = 0;  // while there are streams
};
