// The socket that the modules of web processes connect to, and its authentication. Main thread.
//
// Every process of this user can connect, a compromised web process included. A connection becomes
// a link by presenting a token that was issued for one web process; each is valid once.
#pragma once

#include "platform/base/UniqueFd.h"
#include "platform/sockets/AcceptSource.h"
#include "platform/sockets/LocalSocket.h"

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <vector>

class LinkListener {
 public:
  // A connection that has presented a token, which is void from now on, and its process as reported
  // by the kernel.
  using Welcome =
      std::function<void(Tessel::Platform::UniqueFd socket, pid_t peer, const std::string& token)>;

  // The limit of connections without a token; beyond it the oldest is closed.
  static constexpr std::size_t mostUnidentified = 32;
  // The limit of unused tokens; beyond it the oldest is void. Web processes that end before they
  // connect leave theirs.
  static constexpr std::size_t mostTokens = 256;

  // Listens in a folder of its own below the given one, which holds nothing else. Throws nothing,
  // isListening() tells; errno is set when it does not.
  LinkListener(const std::string& parent, Welcome welcome,
               std::chrono::milliseconds greetingLimit = std::chrono::seconds(10));
  ~LinkListener();
  LinkListener(const LinkListener&) = delete;
  LinkListener& operator=(const LinkListener&) = delete;

  bool isListening() const { return bool(listener_); }
  // What a web process must see to connect.
  const std::string& folder() const { return folder_; }
  const std::string& address() const { return address_; }
  // For one web process that starts now; "", which is never valid, without random numbers.
  std::string issueToken();

 private:
  struct Unidentified;

  void accept(Tessel::Platform::UniqueFd socket);
  void readGreeting(Unidentified& stranger);
  void forget(const Unidentified& stranger);
  void complain(pid_t peer, const char* why);

  const Welcome welcome_;
  const std::chrono::milliseconds greetingLimit_;
  std::string folder_;
  std::string address_;
  Tessel::Platform::LocalListener listener_;
  std::optional<Tessel::Platform::AcceptSource> accepting_;
  std::list<Unidentified> unidentified_;
  std::vector<std::string> tokens_;
  std::int64_t complained_ = 0;  // when, in microseconds of the monotonic clock
};
