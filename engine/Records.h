// The plain records that web views take and give. Any thread: plain values.
#pragma once

#include "platform/Geometry.h"
#include "platform/String.h"

using OrvWebPoint = Tessel::Platform::IntPoint;
using OrvWebSize = Tessel::Platform::IntSize;
using OrvWebRect = Tessel::Platform::IntRect;

// One extra header of a page's requests.
class OrvWebHeader {
 public:
  using String = Tessel::Platform::String;

  const String& key() const { return key_; }
  const String& value() const { return value_; }
  void setKey(const String& key) { key_ = key; }
  void setValue(const String& value) { value_ = value; }

  friend bool operator==(const OrvWebHeader&, const OrvWebHeader&) = default;

 private:
  String key_;
  String value_;
};

// The icon of a page.
class OrvWebFavicon {
 public:
  using String = Tessel::Platform::String;

  OrvWebFavicon() = default;
  OrvWebFavicon(String dataInBase64, String url, int width = 0, int height = 0)
      : dataInBase64_(std::move(dataInBase64)),
        url_(std::move(url)),
        width_(width),
        height_(height) {}

  const String& dataInBase64() const { return dataInBase64_; }  // a PNG
  const String& url() const { return url_; }
  int width() const { return width_; }
  int height() const { return height_; }

  friend bool operator==(const OrvWebFavicon&, const OrvWebFavicon&) = default;

 private:
  String dataInBase64_;
  String url_;
  int width_ = 0;
  int height_ = 0;
};

// One entry of a web view's history.
class OrvWebHistoryItem {
 public:
  using String = Tessel::Platform::String;

  OrvWebHistoryItem() = default;
  OrvWebHistoryItem(String url, String originalURL, String title, bool isPost)
      : url_(std::move(url)),
        originalURL_(std::move(originalURL)),
        title_(std::move(title)),
        isPost_(isPost) {}

  const String& url() const { return url_; }
  const String& originalURL() const { return originalURL_; }
  const String& title() const { return title_; }
  bool isPost() const { return isPost_; }

 private:
  String url_;
  String originalURL_;
  String title_;
  bool isPost_ = false;
};
