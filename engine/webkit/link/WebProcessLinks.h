// The links to web processes, and which page of which process belongs to which page of ours. Main
// thread.
//
// The number of a page can be guessed, and it stays when its process is replaced by another one. So
// a process may only act for a page once the engine has confirmed, over its own channel, that the
// page lives there: by a message from the page that contains the token of its process.
#pragma once

#include "engine/webkit/link/LinkListener.h"
#include "engine/webkit/link/PageLink.h"

#include <map>
#include <memory>
#include <string>

class WebProcessLinks;

// A page that is reached over a link. Main thread.
class LinkedPage {
 public:
  virtual ~LinkedPage() = default;
  // The page exists in its web process now.
  virtual void linkReady(std::shared_ptr<PageLink> link) = 0;
  virtual link_protocol::PageSetup setup() const = 0;
  // Only called while the page's setup lets it call native functions.
  virtual Tessel::Platform::String nativeCall(const link_protocol::NativeArguments& arguments) = 0;
  virtual link_protocol::DialogAnswer dialog(const link_protocol::DialogQuestion& question) = 0;
  virtual Tessel::Platform::String report(const link_protocol::PageReport& report) = 0;
};

class WebProcessLinks final : private PageLinkDelegate {
 public:
  // Listens in a folder of its own below this one; throws nothing, isListening() tells.
  explicit WebProcessLinks(const std::string& folder);
  ~WebProcessLinks() override;

  bool isListening() const { return listener_.isListening(); }
  // What a web process must see, and be given, to connect.
  const std::string& folder() const { return listener_.folder(); }
  const std::string& address() const { return listener_.address(); }
  std::string issueToken() { return listener_.issueToken(); }

  // The page answers for the engine's page of that number until it is forgotten.
  void registerPage(std::uint64_t number, const std::shared_ptr<LinkedPage>& page);
  // The engine says that the page is in the web process with that token.
  void placePage(std::uint64_t number, const std::string& token);
  void forgetPage(std::uint64_t number);

 private:
  void welcome(Tessel::Platform::UniqueFd socket, pid_t peer, const std::string& token);
  void answerWhoAsked(std::uint64_t number);
  // The page of that number, if it lives in the web process of that link.
  std::shared_ptr<LinkedPage> pageBehind(const PageLink& link, std::uint64_t number) const;

  void pageCreated(const std::shared_ptr<PageLink>& link, std::uint64_t page) override;
  Tessel::Platform::String nativeCall(const PageLink& link, std::uint64_t page,
                                      const link_protocol::NativeArguments& arguments) override;
  link_protocol::DialogAnswer dialog(const PageLink& link, std::uint64_t page,
                                     const link_protocol::DialogQuestion& question) override;
  Tessel::Platform::String report(const PageLink& link, std::uint64_t page,
                                  const link_protocol::PageReport& report) override;
  void linkClosed(PageLink& link) override;

  struct Registered {
    std::weak_ptr<LinkedPage> page;
    // Of the process that the page is in, as the engine has said; empty while it has not.
    std::string token = {};
    const PageLink* link = nullptr;  // to that process, once it has asked for the page's setup
  };
  struct Connected {
    std::shared_ptr<PageLink> link;
    std::string token;
  };
  LinkListener listener_;
  std::map<std::uint64_t, Registered> pages_;
  std::map<const PageLink*, Connected> links_;
};
