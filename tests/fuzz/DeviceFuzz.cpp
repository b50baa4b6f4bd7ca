// Packets to a served path, such as the launcher server's, and the launch requests in them.
#include "platform/os/ResourceManager.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/launcher/RawRequest.h"

#include <fcntl.h>

using namespace Tessel::Platform;

namespace {

constexpr std::size_t largest = 4096;
constexpr std::uint32_t lastCommand = 0x7e57;
bool wasLast = false;

int control(const DeviceMessage& message, OpenContext& open) {
  fuzz::require(open.open && message.offset + message.arrivedSize <= largest);
  // The handler may read all bytes that have arrived.
  std::uint64_t sum = 0;
  for (std::size_t i = 0; i < message.arrivedSize; ++i)
    sum += static_cast<std::uint64_t>(message.data[i]);
  if (message.command == lastCommand && message.arrivedSize == 0) wasLast = true;
  const int status = iofunc_devctl_default(message, open);
  return sum == ~0u ? EINVAL : status;
}

struct Served {
  Served() {
    ::setenv("TESSEL_RESMGR_ROOT", fuzz::folder().c_str(), 1);
    ConnectFunctions connect{};
    IoFunctions io{};
    iofunc_func_init(connect, io);
    io.devctl = control;
    PathAttributes attributes;
    iofunc_attr_init(attributes, S_IFNAM | 0666, ::geteuid(), ::getegid());
    fuzz::require(resmgr_attach(*dispatch, "/dev/fuzz", connect, io, attributes, largest) == 0);
    context = std::make_unique<DispatchContext>(*dispatch);
    last = std::make_unique<test_support::RawClient>(devicePath("/dev/fuzz"));
  }
  std::unique_ptr<Dispatch> dispatch = dispatch_create();
  std::unique_ptr<DispatchContext> context;
  std::unique_ptr<test_support::RawClient> last;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static auto* const served = new Served;
  fuzz::Input input(data, size);
  test_support::RawClient client(devicePath("/dev/fuzz"));
  for (int packets = 0; packets < 8 && input.remaining_bytes() > 0; ++packets) {
    std::string packet;
    if (input.ConsumeBool()) packet = test_support::rawMessage(1, O_RDWR, "");
    if (input.ConsumeBool()) {
      const auto data = input.ConsumeRandomLengthString();
      packet += test_support::rawMessage(
          2, input.PickValueInArray({devctlGetFlags, devctlSetFlags, lastCommand}), data,
          input.ConsumeIntegral<std::uint32_t>());
    }
    packet += input.ConsumeRandomLengthString();
    if (!packet.empty()) client.send(packet);
  }
  wasLast = false;
  served->last->send(test_support::rawMessage(1, O_RDWR, ""));
  served->last->send(test_support::rawMessage(2, lastCommand, ""));
  // Other clients are answered, whatever this one has sent.
  while (!wasLast && dispatch_block(*served->context)) dispatch_handler(*served->context);
  served->last->drain();
  return 0;
}
