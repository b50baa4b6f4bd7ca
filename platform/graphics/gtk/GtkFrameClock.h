// Frame clock of a top-level window. UI thread.
#pragma once

#include "platform/graphics/FrameClock.h"

typedef struct _GtkWidget GtkWidget;

namespace Tessel::Platform::Graphics {

class GtkFrameClock final : public FrameClock {
 public:
  ~GtkFrameClock() override;

  // The top-level window whose frames count; null if there is none or it is gone. While it is not
  // painted, a timer takes over.
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
  long long last_ = 0;  // microseconds
};

}  // namespace Tessel::Platform::Graphics
