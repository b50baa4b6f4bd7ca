// The members of every record that crosses to the chrome and back, in the order in which they are
// written. Any thread.
//
// member() is written and read, field() only written.
#pragma once

#include "engine/Records.h"
#include "webview/events/Fields.h"

namespace fields {

template <>
struct FieldsOf<OrvWebRect> {
  static constexpr std::tuple list{
      member("height", &OrvWebRect::height),
      member("width", &OrvWebRect::width),
      member("x", &OrvWebRect::x),
      member("y", &OrvWebRect::y),
  };
};

template <>
struct FieldsOf<OrvWebPoint> {
  static constexpr std::tuple list{member("x", &OrvWebPoint::x), member("y", &OrvWebPoint::y)};
};

template <>
struct FieldsOf<OrvWebSize> {
  static constexpr std::tuple list{member("height", &OrvWebSize::height),
                                   member("width", &OrvWebSize::width)};
};

// The chrome gives an icon without its size, and its data under a key of its own.
template <>
struct FieldsOf<OrvWebFavicon> {
  static constexpr std::tuple list{
      field("data", [](const OrvWebFavicon&) { return "Unsupported type: unsigned char*"; }),
      member("dataInBase64", &OrvWebFavicon::dataInBase64, "iconDataBase64Encoded"),
      field("height", &OrvWebFavicon::height),
      member("url", &OrvWebFavicon::url),
      field("width", &OrvWebFavicon::width),
  };
};

template <>
struct FieldsOf<OrvWebHistoryItem> {
  static constexpr std::tuple list{
      member("isPost", &OrvWebHistoryItem::isPost),
      member("originalURL", &OrvWebHistoryItem::originalURL),
      member("title", &OrvWebHistoryItem::title),
      member("url", &OrvWebHistoryItem::url),
  };
};

// The chrome never gives one of the following two.
template <>
struct FieldsOf<OrvWebContext> {
  static constexpr std::tuple list{
      field("alt", &OrvWebContext::alt),
      field("isAudio", &OrvWebContext::isAudio),
      field("isFocusable", &OrvWebContext::isFocusable),
      field("isImage", &OrvWebContext::isImage),
      field("isInput", &OrvWebContext::isInput),
      field("isPassword", &OrvWebContext::isPassword),
      field("isSelectable", &OrvWebContext::isSelectable),
      field("isSingleLine", &OrvWebContext::isSingleLine),
      field("isVideo", &OrvWebContext::isVideo),
      field("isLoomContext", &OrvWebContext::isLoomContext),
      field("mimeType", &OrvWebContext::mimeType),
      field("pattern", &OrvWebContext::pattern),
      field("src", &OrvWebContext::src),
      field("text", &OrvWebContext::text),
      field("url", &OrvWebContext::url),
      field("loomContext", &OrvWebContext::loomContext),
      field("invokeRequests",
            [](const OrvWebContext&) {
              return "Unsupported type: std::vector<OrvWebInvokeRequest*> const&";
            }),
  };
};

template <>
struct FieldsOf<OrvWebCertificateInfo> {
  static constexpr std::tuple list{
      field("error", &OrvWebCertificateInfo::error),
      field("fileCount", &OrvWebCertificateInfo::fileCount),
      field("fileNames", &OrvWebCertificateInfo::fileNames),
      field("rejected", &OrvWebCertificateInfo::rejected),
      field("trusted", &OrvWebCertificateInfo::trusted),
      field("filenames",
            [](const OrvWebCertificateInfo&) { return "Unsupported type: char const**"; }),
  };
};

}  // namespace fields
