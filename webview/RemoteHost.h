// Another process that holds web views of this one, as the manager and the proxies of its web views
// see it. UI thread, but for what any thread may ask.
#pragma once

#include "platform/base/String.h"
#include "platform/loop/GuardedPointer.h"

#include <functional>
#include <vector>

class IPCSenderWebView;

class RemoteHost : public Tessel::Platform::GuardedPointerBase {
 public:
  using String = Tessel::Platform::String;
  // Starts a process for the group of that id and waits until it is there, or has come to nothing:
  // isConnected() tells, and the chrome has been told why. Never null; the caller owns the result
  // and deletes it as guarded pointers are deleted.
  using Factory = std::function<RemoteHost*(unsigned int groupId)>;

  // False before the process is there, once it is gone, and after every error. Any thread.
  virtual bool isConnected() const = 0;
  // The number of the connection that web view commands go over; -1 for none.
  virtual int connectionId() const = 0;
  // -1 for none.
  virtual int childPid() const = 0;
  // The web views that live there, in the order of their creation.
  virtual const std::vector<IPCSenderWebView*>& webViews() const = 0;
  // A creation is under way; the host must not be dropped although it may have no web view.
  virtual bool isCreating() const = 0;

  // Null when the process cannot be reached, or, with an error, when it could not make the web
  // view. The caller owns the result.
  virtual IPCSenderWebView* createRemoteWebView(unsigned int handle, const String& windowGroup,
                                                int rotation) = 0;
  // Called by the proxy's destructor.
  virtual void deleteRemoteWebView(IPCSenderWebView* webView) = 0;
  // Sets an environment variable of the process.
  virtual void setEnvironment(const String& name, const String& value) const = 0;
  // What origins may call in one of its web views, in the form of Capabilities::read.
  virtual void setCapabilities(unsigned int handle, const String& text) const = 0;
  // Nothing is sent from now on. A text is told to the chrome and logged; "" is not. Any thread.
  virtual void setError(const String& error) = 0;
};
