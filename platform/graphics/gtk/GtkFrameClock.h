// The frames of a top-level window as the toolkit paints them. UI thread.
#pragma once

#include "platform/graphics/FrameClock.h"

typedef struct _GtkWidget GtkWidget;

namespace Tessel::Platform::Graphics {

class GtkFrameClock final : public FrameClock {
 public:
  ~GtkFrameClock() override;

  // The top-level window whose frames count; null when there is none, or none any more. While it is
  // not painted, a timer makes up for it.
  void follow(GtkWidget* topLevel);
  GtkWidget* followed() const { return topLevel_; }

  void start(FrameListener& listener) override;
  void stop() override;

 private:
  void beginTicks();
  void endTicks();
  void frame(long long time);

  GtkWidget* topLevel_ = nullptr;
  FrameListener* listener_ = nullptr;
  unsigned tick_ = 0;
  unsigned timer_ = 0;
  long long last_ = 0;  // microseconds, as all times here
};

}  // namespace Tessel::Platform::Graphics
