// Which documents of a page the program itself has loaded: the right to native functions is theirs.
// Plain bookkeeping of an engine's load events; needs no engine. Main thread.
#pragma once

#include "platform/base/String.h"

#include <optional>
#include <string_view>
#include <vector>

// What an address belongs to: scheme, host and port; of a file its folder and all below; of
// everything else (about:, data:, blob:) nothing at all, which equals not even itself.
class Origin {
 public:
  using String = Tessel::Platform::String;

  Origin() = default;
  static Origin of(std::string_view url);

  bool isNone() const { return text_.isEmpty(); }
  // Whether a document of that address is of this origin.
  bool holds(std::string_view url) const;
  // "https://example.org:8443", "local://", "file:///opt/board/"; empty for none.
  const String& text() const { return text_; }

 private:
  explicit Origin(String text) : text_(std::move(text)) {}
  String text_;
};

// Follows the loads of one page. A load is the program's from the moment that the engine asks for
// exactly the address that the program has given it, to the document that it ends in, redirects
// included. From then on documents of the origin where it began, and of the one where it ended, are
// trusted, however they come; until a document of another origin takes their place.
//
// All addresses are as the engine writes them.
class TrustedLoads {
 public:
  using String = Tessel::Platform::String;

  // Documents of these origins are always trusted, however they are loaded.
  void setFurtherOrigins(std::vector<Origin> origins) { further_ = std::move(origins); }

  // The program loads that address next, or a text under it ("about:blank" for one without).
  void expect(const String& url, bool isText = false);
  // Cancels expect().
  void expectNothing() { expected_.reset(); }
  // Repeats the last load; it is the program's if that was.
  void expectAgain(const String& url);
  // The program shows a document of its own in place of that address, which has failed.
  void substitute(const String& url);

  // The engine's load events, in order. A load begins ...
  void started();
  // ... requests its document; false when that one is not trusted ...
  bool requested(const String& url);
  // ... receives the response, perhaps redirected; false likewise ...
  bool answered(const String& url);
  // ... and its document is committed, or the load has failed. The engine's address counts for a
  // document that was never requested.
  void committed(const String& shown);
  void ended();

  // Where the program's load goes that has no document yet; nothing when there is none.
  std::optional<String> destination() const { return expected_ || !loading_ ? expected_ : at_; }
  // The document that is shown may call native functions.
  bool isTrusted() const { return trusted_; }
  // Whether the document that is about to replace it is trusted; nothing when there is none.
  std::optional<bool> isTrustedNext() const { return comes_; }
  // Whether trust differs between the shown document and the next one: the caller of a native call
  // in between is ambiguous.
  bool changesCaller() const;
  // Whether a document of that address may be one of the above.
  bool admits(const String& url) const;
  // Whether the program has loaded its origin, which is not one of the further ones.
  bool isOwn() const { return own_; }
  // The address of the shown document as its load told it, and what that belongs to; empty for
  // nothing.
  const String& address() const { return address_; }
  const String& origin() const { return origin_; }
  // Where the program wanted the page to be, last; empty for nowhere yet.
  const String& home() const { return home_; }

 private:
  bool isKnown(const String& url) const;
  bool isOfProgram(const String& url) const;

  std::vector<Origin> further_;
  std::vector<Origin> known_;       // of the program's load that is shown
  std::optional<String> expected_;  // and the engine has not asked for it
  bool expectsText_ = false;
  std::optional<String> loading_;  // the program's load that goes on: where it began
  std::optional<String> last_;     // the same, also when it has ended
  std::optional<String> substitute_;
  String at_;  // where the load is that goes on or was the last
  std::optional<bool> comes_;
  bool trusted_ = false;
  bool own_ = false;
  String address_;
  String origin_;
  String home_;
};
