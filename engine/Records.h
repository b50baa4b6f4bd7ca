// The plain records that web views take and give. Any thread: plain values.
#pragma once

#include "engine/ValueField.h"
#include "platform/base/Geometry.h"
#include "platform/base/String.h"

#include <cstdint>
#include <vector>

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
struct OrvWebFavicon {
  using String = Tessel::Platform::String;

  OrvWebFavicon() = default;
  OrvWebFavicon(String iconData, String iconURL, int iconWidth = 0, int iconHeight = 0)
      : dataInBase64(std::move(iconData)),
        url(std::move(iconURL)),
        width(iconWidth),
        height(iconHeight) {}

  ValueField<String> dataInBase64;  // a PNG
  ValueField<String> url;
  ValueField<int> width;
  ValueField<int> height;

  friend bool operator==(const OrvWebFavicon&, const OrvWebFavicon&) = default;
};

// One entry of a web view's history.
struct OrvWebHistoryItem {
  using String = Tessel::Platform::String;

  OrvWebHistoryItem() = default;
  OrvWebHistoryItem(String itemURL, String itemOriginalURL, String itemTitle, bool itemIsPost)
      : url(std::move(itemURL)),
        originalURL(std::move(itemOriginalURL)),
        title(std::move(itemTitle)),
        isPost(itemIsPost) {}

  ValueField<String> url;
  ValueField<String> originalURL;
  ValueField<String> title;
  ValueField<bool> isPost;

  friend bool operator==(const OrvWebHistoryItem&, const OrvWebHistoryItem&) = default;
};

// What stands at a place of a page: the element there and what can be done with it.
struct OrvWebContext {
  using String = Tessel::Platform::String;

  ValueField<String> alt;
  ValueField<bool> isAudio;
  ValueField<bool> isFocusable;
  ValueField<bool> isImage;
  ValueField<bool> isInput;
  ValueField<bool> isLoomContext;
  ValueField<bool> isPassword;
  ValueField<bool> isSelectable;
  ValueField<bool> isSingleLine;
  ValueField<bool> isVideo;
  ValueField<String> loomContext;
  ValueField<String> mimeType;
  ValueField<String> pattern;
  ValueField<String> src;
  ValueField<String> text;
  ValueField<String> url;

  friend bool operator==(const OrvWebContext&, const OrvWebContext&) = default;
};

// A page that is loaded again without anybody asking for it.
struct OrvWebRetry {
  using String = Tessel::Platform::String;

  ValueField<int> delay;  // until it is, in milliseconds
  ValueField<String> reason;
  ValueField<String> url;
  ValueField<bool> whenShown;  // later, if it is hidden then: when it is shown

  friend bool operator==(const OrvWebRetry&, const OrvWebRetry&) = default;
};

// A process that has taken more memory than it may, and is ended.
struct OrvWebMemoryExcess {
  using String = Tessel::Platform::String;

  ValueField<std::uint64_t> bytes;  // that it had taken at least
  ValueField<std::uint64_t> limit;  // in bytes
  ValueField<int> process;          // 0 for one that is not known
  ValueField<String> reason;        // "process", its own limit; "program", that of all processes

  friend bool operator==(const OrvWebMemoryExcess&, const OrvWebMemoryExcess&) = default;
};

// What is known about the certificates of a page, and what the user decided about them.
struct OrvWebCertificateInfo {
  using String = Tessel::Platform::String;

  ValueField<std::uint64_t> error;
  ValueField<std::vector<String>> fileNames;
  ValueField<std::uint64_t> rejected;
  ValueField<std::uint64_t> trusted;
  int fileCount() const { return static_cast<int>(fileNames().size()); }

  friend bool operator==(const OrvWebCertificateInfo&, const OrvWebCertificateInfo&) = default;
};
