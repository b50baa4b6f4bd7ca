// The links to web processes, and the mapping of pages to them. Main thread.
#include "engine/webkit/link/WebProcessLinks.h"

#include <utility>
#include <vector>

using Tessel::Platform::String;
using Tessel::Platform::UniqueFd;

WebProcessLinks::WebProcessLinks(const std::string& folder)
    : listener_(folder, [this](UniqueFd socket, pid_t peer, const std::string& token) {
        welcome(std::move(socket), peer, token);
      }) {}

WebProcessLinks::~WebProcessLinks() {
  while (!links_.empty()) {
    const auto link = links_.begin()->second.link;
    link->close();
  }
}

void WebProcessLinks::welcome(UniqueFd socket, pid_t peer, const std::string& token) {
  auto link = PageLink::open(std::move(socket), peer, *this);
  links_.emplace(link.get(), Connected{link, token});
}

void WebProcessLinks::registerPage(std::uint64_t number, const std::shared_ptr<LinkedPage>& page) {
  pages_[number] = {page};
}

void WebProcessLinks::forgetPage(std::uint64_t number) {
  pages_.erase(number);
  answerWhoAsked(number);
}

void WebProcessLinks::placePage(std::uint64_t number, const std::string& token) {
  const auto found = pages_.find(number);
  if (found == pages_.end()) return;
  Registered& registered = found->second;
  if (registered.token != token) registered.link = nullptr;
  registered.token = token;
  answerWhoAsked(number);
}

std::shared_ptr<LinkedPage> WebProcessLinks::pageBehind(const PageLink& link,
                                                        std::uint64_t number) const {
  const auto found = pages_.find(number);
  const bool there = found != pages_.end() && found->second.link == &link;
  return there ? found->second.page.lock() : nullptr;
}

void WebProcessLinks::pageCreated(const std::shared_ptr<PageLink>&, std::uint64_t page) {
  answerWhoAsked(page);
}

// Only the page's process gets the setup; others that ask for its number get an empty one. All of
// them wait until the engine has reported which process it is.
void WebProcessLinks::answerWhoAsked(std::uint64_t number) {
  const auto found = pages_.find(number);
  const auto ours = found == pages_.end() ? nullptr : found->second.page.lock();
  if (ours && found->second.token.empty()) return;
  std::vector<std::shared_ptr<PageLink>> others;
  std::shared_ptr<PageLink> owner;
  for (const auto& [key, connected] : links_) {
    if (!connected.link->hasAskedFor(number)) continue;
    if (ours && connected.token == found->second.token) {
      owner = connected.link;
    } else {
      others.push_back(connected.link);
    }
  }
  for (const auto& link : others) link->answerPageCreated(number, {});
  if (!owner) return;
  found->second.link = owner.get();
  ours->linkReady(owner);
  owner->answerPageCreated(number, ours->setup());
}

String WebProcessLinks::nativeCall(const PageLink& link, std::uint64_t page,
                                   const link_protocol::NativeArguments& arguments) {
  const auto ours = pageBehind(link, page);
  // The module only offers the call where it is allowed; this check is for a compromised web
  // process.
  if (!ours || !ours->setup().callbackObject) return String();
  return ours->nativeCall(arguments);
}

link_protocol::DialogAnswer WebProcessLinks::dialog(const PageLink& link, std::uint64_t page,
                                                    const link_protocol::DialogQuestion& question) {
  const auto ours = pageBehind(link, page);
  return ours && ours->setup().drivesApplication ? ours->dialog(question)
                                                 : link_protocol::DialogAnswer();
}

String WebProcessLinks::report(const PageLink& link, std::uint64_t page,
                               const link_protocol::PageReport& report) {
  const auto ours = pageBehind(link, page);
  return ours ? ours->report(report) : String();
}

void WebProcessLinks::linkClosed(PageLink& link) {
  const auto closed = links_.extract(&link);
  if (closed.empty()) return;
  for (auto& [number, registered] : pages_) {
    // The number is unassigned until the engine reports where the page is now.
    if (registered.token == closed.mapped().token) registered = {registered.page};
  }
}
