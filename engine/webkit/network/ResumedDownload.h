// Resumes a download. Main thread.
#pragma once

#include "engine/webkit/network/PartFile.h"
#include "engine/webkit/network/ResourceFetch.h"

#include <memory>
#include <optional>

// What is kept of a paused download to resume it.
struct DownloadBeginning {
  std::unique_ptr<PartFile> part;
  // The validator of this version of the file (entity tag or time); empty when there is no reliable
  // one.
  Tessel::Platform::String validator;
  std::uint64_t total = 0;  // of the whole file; 0 when the server does not say

  bool canGoOn() const { return part && !validator.isEmpty(); }
};

// The validator in these headers: a strong entity tag, else the time of the last change. Empty
// without one, and for an encoded body, whose bytes are not those of the file.
Tessel::Platform::String validatorOf(SoupMessageHeaders* headers);

// Asks for what is missing, if the file is still the same, and for the whole file otherwise: the
// server decides in one answer. The engine cannot do that, so this does it in its place. It goes on
// until its client hears of the end or it is destroyed.
class ResumedDownload final : public ResourceFetchClient {
 public:
  enum class End {
    Complete,   // the part is the whole file
    Broken,     // in the middle; it may go on once more
    DiskFails,  // the file cannot be written
    Refused,    // the response does not fit; nothing has been written
  };
  // Either may destroy the download, except inside start().
  class Client {
   public:
    virtual ~Client() = default;
    virtual void progressed(unsigned int number, std::uint64_t done) = 0;
    virtual void ended(unsigned int number, End end) = 0;
  };

  // Both outlive this.
  ResumedDownload(unsigned int number, DownloadBeginning& beginning, Client& client)
      : number_(number), beginning_(beginning), client_(client) {}

  // The cookies and the user agent are those of the view.
  void start(const Tessel::Platform::String& url, WebKitWebView* view);

 private:
  void opened(int status, const Tessel::Platform::String& message,
              SoupMessageHeaders* headers) override;
  void received(std::string_view bytes) override;
  void done() override;
  void failed(const char* reason) override;
  bool takesMore() const override { return true; }

  // The offset of the next bytes in the file; nothing when the response does not fit.
  std::optional<std::uint64_t> placeOf(int status, SoupMessageHeaders* headers);
  void end(End end);

  const unsigned int number_;
  DownloadBeginning& beginning_;
  Client& client_;
  std::unique_ptr<ResourceFetch> fetch_;
  bool isOpen_ = false;
  std::uint64_t offset_ = 0;
  gint64 lastReport_ = 0;
};
