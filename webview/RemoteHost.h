// Interface to a process that hosts web views of this one, for the manager and the proxies of its
// web views. UI thread, except where stated.
#pragma once

#include "platform/base/String.h"
#include "platform/loop/GuardedPointer.h"
#include "webview/ViewQuestions.h"

#include <functional>
#include <vector>

class IPCSenderWebView;

class RemoteHost : public Tessel::Platform::GuardedPointerBase {
 public:
  using String = Tessel::Platform::String;
  // Starts a process for the group of that id and waits until it is ready or has failed:
  // isConnected() tells which, and a failure is reported to the chrome. Never null; the caller owns
  // the result and deletes it as a guarded object.
  using Factory = std::function<RemoteHost*(unsigned int groupId)>;

  // False before the process is ready, after it is gone, and after any error. Any thread.
  virtual bool isConnected() const = 0;
  // The connection for web view commands; -1 for none.
  virtual int connectionId() const = 0;
  // -1 for none.
  virtual int childPid() const = 0;
  // The web views hosted there, in order of creation.
  virtual const std::vector<IPCSenderWebView*>& webViews() const = 0;
  // A creation is in progress; the host must be kept although it may have no web view.
  virtual bool isCreating() const = 0;

  // Null if the process cannot be reached, or, with an error, if it could not create the web view.
  // The caller owns the result.
  virtual IPCSenderWebView* createRemoteWebView(unsigned int handle, const String& windowGroup,
                                                int rotation) = 0;
  // Called by the proxy's destructor.
  virtual void deleteRemoteWebView(IPCSenderWebView* webView) = 0;
  // Sets an environment variable of the process.
  virtual void setEnvironment(const String& name, const String& value) const = 0;
  // Sets the capabilities of origins in one of its web views, in the format of Capabilities::read.
  virtual void setCapabilities(unsigned int handle, const String& text) const = 0;
  // Asks one of its web views; see askView.
  virtual void ask(unsigned int handle, ViewQuestion question, const String& script,
                   const ViewAnswered& answered) = 0;
  // Stops sending. A non-empty text is reported to the chrome and logged. Any thread.
  virtual void setError(const String& error) = 0;
};
