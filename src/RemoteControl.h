// Carries out what the program is told to do from outside: pagehost-ctl, the session bus, a second
// start. Main thread.
#pragma once

#include "platform/control/ControlBus.h"
#include "platform/control/ControlSocket.h"

#include <chrono>
#include <deque>
#include <memory>

class ApplicationWindow;

class RemoteControl final : public Tessel::Platform::ControlHandler {
 public:
  // The window must outlive it. Opens the control socket, and looks for the bus.
  explicit RemoteControl(ApplicationWindow& window);
  ~RemoteControl() override;
  RemoteControl(const RemoteControl&) = delete;
  RemoteControl& operator=(const RemoteControl&) = delete;

  // Requests of other applications that wait for a chrome that hears them; with more, the newest
  // are refused.
  static constexpr std::size_t mostInvocations = 64;

 private:
  using String = Tessel::Platform::String;
  using ControlReply = Tessel::Platform::ControlReply;
  using ControlView = Tessel::Platform::ControlView;

#define CONTROL_COMMAND(name, result, parameters, arguments, text) void name parameters override;
#include "platform/control/Commands.def"

  void openSocket();
  void invoke(const String& request);
  // Tells the chrome, once it has a function for that.
  void deliverInvocations();
  void deliverTo(bool listening);

  ApplicationWindow& window_;
  const bool allowsEval_;
  const std::chrono::steady_clock::time_point started_ = std::chrono::steady_clock::now();
  std::deque<String> invocations_;
  bool asksChrome_ = false;  // whether it has that function
  int timesAsked_ = 0;       // since it has loaded
  unsigned askingAgain_ = 0;
  unsigned closing_ = 0;
  const std::shared_ptr<RemoteControl*> self_ = std::make_shared<RemoteControl*>(this);
  std::unique_ptr<Tessel::Platform::ControlSocket> socket_;
  std::unique_ptr<Tessel::Platform::ControlBus> bus_;
};
