// The lines of the control's clients.
#include "platform/control/ControlSocket.h"
#include "platform/desktop/NavigatorJson.h"
#include "tests/fuzz/Fuzz.h"

#include <glib.h>
#include <sys/socket.h>
#include <sys/un.h>

using namespace Tessel::Platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto* const path = new std::string(fuzz::folder() / "control");
  static const auto* const control = ControlSocket::open(*path).release();
  fuzz::require(control);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path->copy(address.sun_path, sizeof address.sun_path - 1);
  const UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  fuzz::require(::connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) ==
                0);
  ::send(socket.get(), data, size, MSG_NOSIGNAL);
  ::shutdown(socket.get(), SHUT_WR);
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
  // A line for each, and then the end: it is not left connected.
  std::string answers;
  char piece[4096];
  for (ssize_t count = 0; (count = ::recv(socket.get(), piece, sizeof piece, MSG_DONTWAIT)) != 0;) {
    if (count < 0) {
      fuzz::require(errno == ECONNRESET);
      break;
    }
    answers.append(piece, static_cast<std::size_t>(count));
  }
  std::size_t start = 0;
  for (std::size_t end = 0; (end = answers.find('\n', start)) != answers.npos; start = end + 1) {
    rapidjson::Document answer;
    fuzz::require(
        NavigatorJson::parse(std::string_view(answers).substr(start, end - start), answer));
  }
  return 0;
}
