// The engine's own inspector server, made private to this process. Main thread.
//
// The engine listens for inspectors on the address in its environment, lists every page of the
// process there and accepts every connection, and none of that is configurable. So its listening
// socket is replaced, once there is one, by one without an address, which only this process can
// connect to.
#pragma once

#include "platform/base/UniqueFd.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

using GCancellable = struct _GCancellable;
using SoupSession = struct _SoupSession;

class EngineInspector {
 public:
  // Where the engine keeps its front end, among the resources of every process that it is in.
  static constexpr const char* frontEndResources = "/org/webkit/inspector/UserInterface/";

  // The paths of the sockets of the pages that the engine lists, in its order.
  using Listed = std::function<void(const std::vector<std::string>& paths)>;

  // A way to the engine's server.
  class Passage {
   public:
    explicit Passage(EngineInspector& inspector);
    ~Passage();
    Passage(const Passage&) = delete;
    Passage& operator=(const Passage&) = delete;

    // Null when there is no way.
    SoupSession* session() const { return session_; }
    // The address of a path, for http: or ws:.
    std::string address(const char* scheme, const std::string& path) const;

   private:
    SoupSession* session_ = nullptr;
  };

  // Chooses the address and puts it into the environment; before the toolkit starts. False, and
  // there will be no inspector, without random numbers.
  static bool announce();

  // No inspector in this process: not even one that the environment asks for. Before the toolkit
  // starts.
  static void renounce();
  // Whether this process listens at that address, HOST:PORT.
  static bool listensAt(const std::string& address);

  EngineInspector() = default;
  ~EngineInspector();
  EngineInspector(const EngineInspector&) = delete;
  EngineInspector& operator=(const EngineInspector&) = delete;

  // Takes the address out of the environment again, which web processes would get it from, and
  // moves the engine's server off the network. Once the engine has started.
  void shut();
  // The engine connects its pages to its server over another port, when it starts and with its
  // first page: these are let in, while web processes, which try as well, go without where the
  // system has filters for this user; then the port is closed. Called when a view was made.
  void expectConnections();
  bool isThere() const { return bool(door_); }

  // Asks the engine for its list; there are no paths in it when there is no answer. Not called
  // after the cancelling.
  void list(GCancellable* cancellable, Listed listed);
  // The paths in the text of the engine's list.
  static std::vector<std::string> pathsFrom(std::string_view page);

  // A socket is a page's as long as its view lives. Which one it is has to be tried once, and must
  // not be tried with one that another page is inspected over: that would end its session.
  void claim(const std::string& path, const void* owner) { owners_[path] = owner; }
  bool isForeign(const std::string& path, const void* owner) const;
  // "" while it is not known.
  std::string pathOf(const void* owner) const;
  void release(const void* owner);

 private:
  bool admitOwn();

  Tessel::Platform::UniqueFd door_;  // to the socket of the engine's server
  std::vector<int> innerListeners_;  // sockets for its own processes, and the ports let in there
  std::set<std::uint16_t> admitted_;
  bool isFiltered_ = true;  // by the system, for as long as they are there
  bool isConnected_ = false;
  unsigned int expecting_ = 0;  // the source that looks for the engine's connections; 0 for none
  int expectations_ = 0;
  std::map<std::string, const void*> owners_;
};
