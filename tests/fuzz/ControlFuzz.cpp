// Lines from clients of the control socket.
#include "platform/control/ControlSocket.h"
#include "platform/desktop/NavigatorJson.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/Waiting.h"

using namespace Tessel::Platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto* const path = new std::string(fuzz::folder() / "control");
  static const auto* const control = ControlSocket::open(*path).release();
  fuzz::require(control);
  const UniqueFd socket = test_support::socketAt(*path);
  fuzz::require(bool(socket));
  ::send(socket.get(), data, size, MSG_NOSIGNAL);
  ::shutdown(socket.get(), SHUT_WR);
  test_support::turnLoop();
  // A reply for each line, and then the end of the stream: the client is disconnected.
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
