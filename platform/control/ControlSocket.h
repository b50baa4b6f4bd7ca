// The control socket in the user's run-time folder, by which a person or a test controls the
// program, raises any notification and sees what the chrome asks for. Main thread.
//
// Each line of a client is a list of texts as JSON, and each is answered by one line, in order:
//   ["status"], any row of Commands.def      {"ok":true}, with "value" for one that tells
//                                            something, or {"error":"..."}
//   ["raise", "onWindowState", "fullscreen"] {"ok":true} or {"error":"..."}
//   ["watch"]                                {"ok":true}, and from then on each request of the
//                                            chrome: {"request":"addURI","arguments":["..."]}
// A file comes with its answer, as a descriptor (SCM_RIGHTS). A line has 64 KiB at most, and there
// are 16 clients at most; who sends more, or does not read what it is sent, is cut off. Clients are
// processes of the same user or of root, by the kernel's word. For the program's own child
// processes there are no commands.
#pragma once

#include "platform/base/UniqueFd.h"
#include "platform/control/ControlCommands.h"
#include "platform/sockets/AcceptSource.h"
#include "platform/sockets/LocalSocket.h"

#include <memory>
#include <string>
#include <vector>

namespace Tessel::Platform {

class ControlSocket {
 public:
  // Where the control of that process is, in the run-time folder; empty, with errno set, when there
  // is no such folder.
  static std::string pathOf(int pid);
  static constexpr const char* namePrefix = "control-";

  // Listens at that path, which must not be there yet; null with errno set when that fails. The
  // handler outlives it; without one there are no commands.
  static std::unique_ptr<ControlSocket> open(const std::string& path,
                                             ControlHandler* handler = nullptr);
  // The path goes with it.
  ~ControlSocket();
  ControlSocket(const ControlSocket&) = delete;
  ControlSocket& operator=(const ControlSocket&) = delete;

 private:
  class Client;

  ControlSocket(LocalListener listener, ControlHandler* handler);
  void accept(UniqueFd socket);
  void remove(Client* client);
  // To all clients that watch.
  void tellWatchers(const std::string& line);

  LocalListener listener_;
  ControlHandler* const handler_;
  std::vector<std::shared_ptr<Client>> clients_;
  AcceptSource source_;
};

}  // namespace Tessel::Platform
