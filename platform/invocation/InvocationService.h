// Carries out what the chrome invokes: applications of the desktop, and viewers. Main thread.
//
// Every answer comes on a later turn of the main loop; docs/platform.md describes the texts.
#pragma once

#include "platform/desktop/NavigatorHandler.h"
#include "platform/invocation/Viewers.h"

#include <deque>

namespace Tessel::Platform {

class InvocationService final : public NavigatorService {
 public:
  explicit InvocationService(NavigatorHandler& handler,
                             std::string viewerProgram = "/proc/self/exe");
  ~InvocationService() override;

  void invoke(const String& id, const String& request) override;
  void queryTargets(const String& id, const String& request) override;
  // What this process was asked to show, as JSON; empty unless it is a viewer.
  String invokeRequest() override;
  void invokeViewer(const String& id, const String& viewer, const String& request) override;
  void closeViewer(const String& viewer) override;
  void viewerRelay(const String& viewer, const String& message) override;
  void getInvokeTargetFilters(const String& id, const String& target) override;
  void setInvokeTargetFilters(const String& id, const String& filters) override;

 private:
  using Answer = std::function<void()>;
  // Not from within the request, whose caller waits for it to return.
  void later(Answer answer);
  void answerAll();

  NavigatorHandler& handler_;
  Viewers viewers_;
  String filters_ = "[]";
  std::deque<Answer> answers_;
  unsigned source_ = 0;
};

}  // namespace Tessel::Platform
