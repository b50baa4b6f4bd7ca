// The downloads of the process. Main thread.
#include "engine/webkit/network/Downloads.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/PageContext.h"

#include <glib/gstdio.h>

#include <algorithm>
#include <filesystem>

using Tessel::Platform::String;

namespace {

OrvWebDownloadResult resultOf(const GError* error) {
  if (g_error_matches(error, WEBKIT_DOWNLOAD_ERROR, WEBKIT_DOWNLOAD_ERROR_CANCELLED_BY_USER)) {
    return OrvWebDownloadResult::ResultCancelled;
  }
  if (g_error_matches(error, WEBKIT_DOWNLOAD_ERROR, WEBKIT_DOWNLOAD_ERROR_DESTINATION)) {
    return OrvWebDownloadResult::ResultFileIOError;
  }
  return OrvWebDownloadResult::ResultNetworkError;
}

// The user's folder for downloads, made if need be. Never the home folder itself, where a page's
// file could be one that a shell or another program reads at its start: users without a folder for
// downloads name that one.
std::string downloadFolder() {
  const std::string home = g_get_home_dir();
  const char* const configured = g_get_user_special_dir(G_USER_DIRECTORY_DOWNLOAD);
  const auto plain = [](const std::string& path) {
    // Without a trailing slash.
    return (std::filesystem::path(path) / "").lexically_normal();
  };
  const bool isUsable = configured && plain(configured) != plain(home);
  std::string folder = isUsable ? configured : home + "/Downloads";
  if (g_mkdir_with_parents(folder.c_str(), 0700) != 0) {
    folder = std::string(g_get_user_data_dir()) + "/pagehost/downloads";
    g_mkdir_with_parents(folder.c_str(), 0700);
  }
  return folder;
}

// An absolute path is used as it is. A file name goes into the user's download folder, with a
// number before its extension when there is such a file already.
std::string placeFor(const String& filename) {
  if (g_path_is_absolute(filename.utf8())) return filename.toStdString();
  gchar* base = g_path_get_basename(filename.utf8());
  const std::string last = base;
  g_free(base);
  const std::string name = last == "." || last == ".." || last == "/" ? "download" : last;
  const auto dot = name.rfind('.');
  const std::string stem = name.substr(0, dot == 0 ? std::string::npos : dot);
  const std::string ending = name.substr(stem.size());
  std::string place = downloadFolder() + "/" + name;
  for (int number = 2; g_file_test(place.c_str(), G_FILE_TEST_EXISTS); ++number) {
    place = downloadFolder();
    place.append("/").append(stem).append(" (").append(std::to_string(number)).append(")");
    place.append(ending);
  }
  return place;
}

// The file that the engine writes to during the transfer, and deletes when that fails.
std::string placeOfEngine(const String& filename) {
  return filename.toStdString() + ".wkdownload";
}

// The version of the file that is downloaded; empty when the download cannot be resumed.
String versionOf(WebKitDownload* download) {
  WebKitURIRequest* request = webkit_download_get_request(download);
  WebKitURIResponse* response = webkit_download_get_response(download);
  if (!request || !response) return {};
  const char* method = webkit_uri_request_get_http_method(request);
  if (method && g_strcmp0(method, "GET") != 0) return {};
  if (webkit_uri_response_get_status_code(response) != SOUP_STATUS_OK) return {};
  return validatorOf(webkit_uri_response_get_http_headers(response));
}

// The engine takes a connection that closes early for the end of the file.
bool isCutOff(WebKitDownload* download) {
  WebKitURIResponse* response = webkit_download_get_response(download);
  if (!response) return false;
  SoupMessageHeaders* headers = webkit_uri_response_get_http_headers(response);
  // The length of an encoded body differs on the wire.
  if (!headers || soup_message_headers_get_one(headers, "Content-Encoding")) return false;
  return webkit_download_get_received_data_length(download) <
         webkit_uri_response_get_content_length(response);
}

}  // namespace

void Downloads::listenTo(WebKitWebContext* context) {
  contexts_.push_back(context);
  g_signal_connect(context, "download-started", G_CALLBACK(onStarted), this);
}

Downloads::~Downloads() {
  for (WebKitWebContext* context : contexts_) g_signal_handlers_disconnect_by_data(context, this);
  for (auto& [number, entry] : entries_) {
    if (entry.download) g_signal_handlers_disconnect_by_data(entry.download.get(), this);
  }
}

void Downloads::registerPage(WebKitWebView* view, std::weak_ptr<PageContext> page) {
  pages_[view] = std::move(page);
}

void Downloads::forgetPage(WebKitWebView* view) {
  pages_.erase(view);
}

void Downloads::start(WebKitWebView* view, const String& url, const String& filename,
                      unsigned int number) {
  if (number == 0) number = ++lastNumber_;
  Entry& entry = entries_[number];
  entry.url = url;
  entry.filename = filename;
  entry.paused = false;
  entry.beginning = {};
  entry.result = OrvWebDownloadResult::ResultSuccess;
  // The context's signal comes inside this call or later; the entry exists by then.
  WebKitDownload* download = webkit_web_view_download_uri(view, url.utf8());
  adopt(download, number);
  g_object_unref(download);
}

void Downloads::onStarted(WebKitWebContext*, WebKitDownload* download, Downloads* self) {
  if (!self->find(download)) self->adopt(download, ++self->lastNumber_);
}

void Downloads::adopt(WebKitDownload* download, unsigned int number) {
  // The context may have reported it already, as one that a page has started.
  if (auto* known = find(download); known && known->first != number) {
    entries_.erase(known->first);
    g_signal_handlers_disconnect_by_data(download, this);
  }
  Entry& entry = entries_[number];
  entry.download.reset(WEBKIT_DOWNLOAD(g_object_ref(download)));
  const auto page = pages_.find(webkit_download_get_web_view(download));
  if (page != pages_.end()) entry.page = page->second;
  const auto connect = [&](const char* signal, auto handler) {
    g_signal_connect(download, signal, G_CALLBACK(handler), this);
  };
  connect("decide-destination", onDecide);
  connect("created-destination", onCreated);
  connect("received-data", onReceived);
  connect("notify::response", onResponse);
  connect("failed", onFailed);
  connect("finished", onFinished);
}

std::pair<const unsigned int, Downloads::Entry>* Downloads::find(WebKitDownload* download) {
  const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const auto& entry) {
    return entry.second.download.get() == download;
  });
  return found == entries_.end() ? nullptr : &*found;
}

void Downloads::raise(const Entry& entry, OrvWebEvent& event) const {
  if (const auto page = entry.page.lock()) page->raise(event);
}

void Downloads::saveAs(Entry& entry, const String& filename) {
  entry.filename = placeFor(filename);
  // A leftover of a killed program would be taken for the beginning of this file.
  g_unlink(placeOfEngine(entry.filename).c_str());
  webkit_download_set_allow_overwrite(entry.download.get(), TRUE);
  webkit_download_set_destination(entry.download.get(), entry.filename.utf8());
}

gboolean Downloads::onDecide(WebKitDownload* download, const gchar* suggested, Downloads* self) {
  auto* found = self->find(download);
  if (!found) return FALSE;
  auto& [number, entry] = *found;
  if (!entry.filename.isEmpty()) {
    self->saveAs(entry, entry.filename);
    return TRUE;
  }
  const auto page = entry.page.lock();
  if (!page || !page->wants(OrvWebEvent::DownloadRequest)) {
    self->saveAs(entry, String(suggested));
    return TRUE;
  }
  const unsigned int id = number;
  OrvWebDownloadRequestEvent event;
  event.downloadId = id;
  event.filename = String(suggested);
  WebKitURIRequest* request = webkit_download_get_request(download);
  event.url = String(request ? webkit_uri_request_get_uri(request) : nullptr);
  WebKitURIResponse* response = webkit_download_get_response(download);
  event.mimeType = String(response ? webkit_uri_response_get_mime_type(response) : nullptr);
  entry.url = event.url();
  page->raise(event);
  found = self->find(download);
  if (!found) return TRUE;
  Entry& asked = found->second;
  if (event.isPreventDefault() || event.action() == OrvWebDownloadAction::ActionDiscard) {
    webkit_download_cancel(download);
  } else if (event.action() == OrvWebDownloadAction::ActionSave) {
    self->saveAs(asked, event.filename().isEmpty() ? String(suggested) : event.filename());
  } else if (event.action() == OrvWebDownloadAction::ActionNone) {
    self->saveAs(asked, String(suggested));
  }
  // Pending: without a destination the engine waits for one.
  return TRUE;
}

void Downloads::decide(unsigned int number, bool save, const String& filename) {
  const auto found = entries_.find(number);
  if (found == entries_.end() || !found->second.download) return;
  if (save) {
    saveAs(found->second, filename);
  } else {
    webkit_download_cancel(found->second.download.get());
  }
}

void Downloads::raiseStarted(unsigned int number, const Entry& entry) const {
  OrvWebDownloadStartedEvent event;
  event.downloadId = number;
  event.filename = entry.filename;
  event.url = entry.url;
  raise(entry, event);
}

void Downloads::raiseFinished(unsigned int number, const Entry& entry) const {
  OrvWebDownloadFinishedEvent event;
  event.downloadId = number;
  event.downloadResult = entry.result;
  raise(entry, event);
}

void Downloads::raiseFileError(unsigned int number, const Entry& entry) const {
  OrvWebDownloadErrorEvent event;
  event.downloadId = number;
  event.downloadError = OrvWebDownloadError::ErrorInvalidFilename;
  raise(entry, event);
}

void Downloads::onCreated(WebKitDownload* download, const gchar*, Downloads* self) {
  auto* found = self->find(download);
  if (!found) return;
  auto& [number, entry] = *found;
  entry.beginning.validator = versionOf(download);
  // Without an identifier of the file's version the download could not be resumed.
  if (!entry.beginning.validator.isEmpty()) {
    entry.beginning.part =
        PartFile::sharedWith(placeOfEngine(entry.filename), entry.filename.toStdString());
  }
  WebKitURIRequest* request = webkit_download_get_request(download);
  if (entry.url.isEmpty() && request) entry.url = String(webkit_uri_request_get_uri(request));
  self->raiseStarted(number, entry);
}

void Downloads::onResponse(WebKitDownload* download, GParamSpec*, Downloads* self) {
  auto* found = self->find(download);
  WebKitURIResponse* response = webkit_download_get_response(download);
  if (!found || !response) return;
  OrvWebDownloadContentTypeEvent event;
  event.downloadId = found->first;
  event.contentType = String(webkit_uri_response_get_mime_type(response));
  self->raise(found->second, event);
}

void Downloads::onReceived(WebKitDownload* download, guint64, Downloads* self) {
  auto* found = self->find(download);
  if (!found) return;
  OrvWebDownloadProgressEvent event;
  event.downloadId = found->first;
  event.downloadedSize = webkit_download_get_received_data_length(download);
  WebKitURIResponse* response = webkit_download_get_response(download);
  event.totalSize = response ? webkit_uri_response_get_content_length(response) : 0;
  found->second.beginning.total = event.totalSize();
  self->raise(found->second, event);
}

void Downloads::onFailed(WebKitDownload* download, GError* error, Downloads* self) {
  auto* found = self->find(download);
  if (!found) return;
  found->second.result = resultOf(error);
  if (found->second.result == OrvWebDownloadResult::ResultFileIOError) {
    self->raiseFileError(found->first, found->second);
  }
}

void Downloads::onFinished(WebKitDownload* download, Downloads* self) {
  auto* found = self->find(download);
  if (!found) return;
  const unsigned int number = found->first;
  Entry& entry = found->second;
  g_signal_handlers_disconnect_by_data(download, self);
  if (entry.result == OrvWebDownloadResult::ResultSuccess && isCutOff(download)) {
    entry.result = OrvWebDownloadResult::ResultNetworkError;
    g_unlink(entry.filename.utf8());
  }
  entry.download.reset();
  const bool isComplete = entry.result == OrvWebDownloadResult::ResultSuccess;
  if (isComplete) entry.paused = false;
  const bool mayGoOn = entry.paused || entry.result == OrvWebDownloadResult::ResultNetworkError;
  if (!mayGoOn || entry.removed) entry.beginning = {};
  // A pause is not reported as an end.
  if (entry.paused && !entry.removed) {
    if (std::exchange(entry.goesOn, false)) self->goOn(number, entry);
    return;
  }
  if (entry.removed) {
    const auto node = self->entries_.extract(number);
    if (!isComplete) g_unlink(node.mapped().filename.utf8());
    self->raiseFinished(number, node.mapped());
  } else {
    self->raiseFinished(number, entry);
  }
}

void Downloads::progressed(unsigned int number, std::uint64_t done) {
  const auto found = entries_.find(number);
  if (found == entries_.end()) return;
  OrvWebDownloadProgressEvent event;
  event.downloadId = number;
  event.downloadedSize = done;
  event.totalSize = found->second.beginning.total;
  raise(found->second, event);
}

void Downloads::ended(unsigned int number, ResumedDownload::End end) {
  using End = ResumedDownload::End;
  const auto found = entries_.find(number);
  if (found == entries_.end()) return;
  Entry& entry = found->second;
  entry.rest.reset();
  if (end == End::Refused) {
    entry.beginning = {};
    return goOn(number, entry);
  }
  if (end == End::Complete) {
    const std::uint64_t size = entry.beginning.part->size();
    if (!entry.beginning.part->finish(entry.filename.toStdString())) end = End::DiskFails;
    if (end == End::Complete) progressed(number, size);
  }
  // The chrome may have removed it meanwhile.
  const auto still = entries_.find(number);
  if (still == entries_.end()) return;
  Entry& over = still->second;
  using Result = OrvWebDownloadResult;
  over.result = end == End::Complete ? Result::ResultSuccess
                : end == End::Broken ? Result::ResultNetworkError
                                     : Result::ResultFileIOError;
  if (end != End::Broken) over.beginning = {};
  if (end == End::DiskFails) raiseFileError(number, over);
  if (const auto left = entries_.find(number); left != entries_.end()) {
    raiseFinished(number, left->second);
  }
}

void Downloads::pause(unsigned int number, Entry& entry) {
  if (!entry.isRunning()) return;
  entry.paused = true;
  entry.goesOn = false;
  // The engine cannot pause a transfer: it is cancelled, and the received part is kept.
  if (entry.download) webkit_download_cancel(entry.download.get());
  if (entry.rest) progressed(number, entry.beginning.part->size());
  entry.rest.reset();
}

void Downloads::cancel(unsigned int number, Entry& entry) {
  const bool wasPaused = std::exchange(entry.paused, false);
  if (entry.download) return webkit_download_cancel(entry.download.get());
  if (!entry.rest && !wasPaused) return;
  entry.rest.reset();
  entry.beginning = {};
  entry.result = OrvWebDownloadResult::ResultCancelled;
  raiseFinished(number, entry);
}

void Downloads::remove(unsigned int number, Entry& entry) {
  if (entry.download) {
    entry.removed = true;
    return webkit_download_cancel(entry.download.get());
  }
  const bool wasUnderWay = entry.rest || entry.paused;
  const auto node = entries_.extract(number);
  node.mapped().rest.reset();
  node.mapped().beginning = {};
  if (!wasUnderWay) return;
  node.mapped().result = OrvWebDownloadResult::ResultCancelled;
  raiseFinished(number, node.mapped());
}

void Downloads::goOn(unsigned int number, Entry& entry) {
  const auto page = entry.page.lock();
  if (!page || !page->view()) return;
  if (!entry.beginning.canGoOn()) return start(page->view(), entry.url, entry.filename, number);
  entry.paused = false;
  entry.result = OrvWebDownloadResult::ResultSuccess;
  entry.rest = std::make_unique<ResumedDownload>(number, entry.beginning, *this);
  entry.rest->start(entry.url, page->view());
  raiseStarted(number, entry);
}

void Downloads::step(unsigned int number, DownloadStep step) {
  const auto found = entries_.find(number);
  if (found == entries_.end()) return;
  Entry& entry = found->second;
  switch (step) {
    case DownloadStep::Pause:
      return pause(number, entry);
    case DownloadStep::Cancel:
      return cancel(number, entry);
    case DownloadStep::Remove:
      return remove(number, entry);
    case DownloadStep::Resume:
      if (entry.paused && entry.download) {
        entry.goesOn = true;
      } else if (entry.paused) {
        goOn(number, entry);
      }
      return;
    case DownloadStep::Retry: {
      const bool hasFailed = entry.result != OrvWebDownloadResult::ResultSuccess;
      if (!entry.isRunning() && !entry.paused && hasFailed) goOn(number, entry);
      return;
    }
  }
}
