// Where the modules of web processes connect: the listening socket, the links, and which page of
// which process belongs to which page of ours. Main thread.
#pragma once

#include "engine/webkit/PageLink.h"
#include "platform/UniqueFd.h"

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
  virtual Tessel::Platform::String report(const FunctionCall& report) = 0;
};

class WebProcessLinks final : private PageLinkDelegate {
 public:
  // Listens at a name in the folder; throws nothing, isListening() tells.
  explicit WebProcessLinks(const std::string& folder);
  ~WebProcessLinks() override;

  bool isListening() const { return listener_.get() >= 0; }
  // What a module must be given to connect.
  const std::string& address() const { return address_; }
  const std::string& token() const { return token_; }

  // The page answers for the engine's page of that number until it is forgotten.
  void registerPage(std::uint64_t number, const std::shared_ptr<LinkedPage>& page);
  void forgetPage(std::uint64_t number);

 private:
  static gboolean onConnection(gint fd, GIOCondition condition, gpointer self);
  // The page of that number, if it lives in the web process of that link.
  std::shared_ptr<LinkedPage> pageBehind(const PageLink& link, std::uint64_t number) const;

  bool pageCreated(const std::shared_ptr<PageLink>& link, std::uint64_t page,
                   link_protocol::PageSetup& setup) override;
  Tessel::Platform::String nativeCall(const PageLink& link, std::uint64_t page,
                                      const link_protocol::NativeArguments& arguments) override;
  link_protocol::DialogAnswer dialog(const PageLink& link, std::uint64_t page,
                                     const link_protocol::DialogQuestion& question) override;
  Tessel::Platform::String report(const PageLink& link, std::uint64_t page,
                                  const FunctionCall& report) override;
  void linkClosed(PageLink& link) override;

  Tessel::Platform::UniqueFd listener_;
  guint listenerSource_ = 0;
  std::string address_;
  std::string token_;
  struct Registered {
    std::weak_ptr<LinkedPage> page;
    const PageLink* link = nullptr;  // where the page lives; null while it does not
  };
  std::map<std::uint64_t, Registered> pages_;
  std::map<PageLink*, std::shared_ptr<PageLink>> links_;
};
