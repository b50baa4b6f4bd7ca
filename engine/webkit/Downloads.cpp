// The downloads of the process. Main thread.
#include "engine/webkit/Downloads.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/WebKitPage.h"

#include <glib/gstdio.h>

#include <algorithm>

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

std::string downloadFolder() {
  if (const char* configured = g_get_user_special_dir(G_USER_DIRECTORY_DOWNLOAD)) return configured;
  const std::string usual = std::string(g_get_home_dir()) + "/Downloads";
  return g_file_test(usual.c_str(), G_FILE_TEST_IS_DIR) ? usual : g_get_home_dir();
}

// A whole path is taken as it is. A name goes where the user keeps downloads, with a number before
// its ending when there is a file of that name already.
std::string placeFor(const String& filename) {
  if (g_path_is_absolute(filename.utf8())) return filename.toStdString();
  gchar* base = g_path_get_basename(filename.utf8());
  const std::string name = base;
  g_free(base);
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

// The engine tells destinations encoded as in an address.
String decoded(const char* destination) {
  gchar* text = g_uri_unescape_string(destination, nullptr);
  String result(text ? text : destination);
  g_free(text);
  return result;
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

void Downloads::registerPage(WebKitWebView* view, std::weak_ptr<WebKitPage> page) {
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
  entry.result = 0;
  // The signal of the context comes inside this call or later; either way it is ours by then.
  WebKitDownload* download = webkit_web_view_download_uri(view, url.utf8());
  adopt(download, number);
  g_object_unref(download);
}

void Downloads::onStarted(WebKitWebContext*, WebKitDownload* download, Downloads* self) {
  if (!self->find(download)) self->adopt(download, ++self->lastNumber_);
}

void Downloads::adopt(WebKitDownload* download, unsigned int number) {
  // The context may have told of it already, as of one that a page has started.
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
  // Nobody wants to be asked: the engine saves it where downloads go.
  if (!page || !page->wants(OrvWebEvent::DownloadRequest)) return FALSE;
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
    return FALSE;
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

void Downloads::onCreated(WebKitDownload* download, const gchar* destination, Downloads* self) {
  auto* found = self->find(download);
  if (!found) return;
  if (found->second.filename.isEmpty()) found->second.filename = decoded(destination);
  OrvWebDownloadStartedEvent event;
  event.downloadId = found->first;
  event.filename = found->second.filename;
  event.url = found->second.url;
  self->raise(found->second, event);
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
  self->raise(found->second, event);
}

void Downloads::onFailed(WebKitDownload* download, GError* error, Downloads* self) {
  auto* found = self->find(download);
  if (!found) return;
  const OrvWebDownloadResult result = resultOf(error);
  found->second.result = static_cast<int>(result);
  if (result != OrvWebDownloadResult::ResultFileIOError) return;
  OrvWebDownloadErrorEvent event;
  event.downloadId = found->first;
  event.downloadError = OrvWebDownloadError::ErrorInvalidFilename;
  self->raise(found->second, event);
}

void Downloads::onFinished(WebKitDownload* download, Downloads* self) {
  auto* found = self->find(download);
  if (!found) return;
  Entry& entry = found->second;
  g_signal_handlers_disconnect_by_data(download, self);
  entry.download.reset();
  if (entry.removed && entry.result != 0) g_unlink(entry.filename.utf8());
  OrvWebDownloadFinishedEvent event;
  event.downloadId = found->first;
  event.downloadResult = static_cast<OrvWebDownloadResult>(entry.result);
  const bool paused = entry.paused;
  const auto page = entry.page;
  if (entry.removed) self->entries_.erase(found->first);
  // A pause is no end.
  if (paused) return;
  if (const auto alive = page.lock()) alive->raise(event);
}

void Downloads::step(unsigned int number, DownloadStep step) {
  const auto found = entries_.find(number);
  if (found == entries_.end()) return;
  Entry& entry = found->second;
  switch (step) {
    case DownloadStep::Pause:
      // The engine cannot hold a transfer: it is ended, and begun again at the beginning.
      entry.paused = entry.download != nullptr;
      [[fallthrough]];
    case DownloadStep::Cancel:
      if (entry.download) webkit_download_cancel(entry.download.get());
      break;
    case DownloadStep::Remove:
      entry.removed = true;
      if (entry.download) {
        webkit_download_cancel(entry.download.get());
      } else {
        entries_.erase(found);
      }
      break;
    case DownloadStep::Resume:
    case DownloadStep::Retry:
      if (entry.download) break;
      if (const auto page = entry.page.lock(); page && page->view()) {
        start(page->view(), entry.url, entry.filename, number);
      }
      break;
  }
}
