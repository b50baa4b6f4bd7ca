// Pictures of windows. UI thread.
#pragma once

#include "platform/graphics/WindowSystem.h"

typedef struct _GtkWidget GtkWidget;

namespace Tessel::Platform::Graphics {

// Has a top-level widget paint itself into a picture. Painting happens at once; the PNG is made on
// another thread, and told on this one.
void takePictureOf(GtkWidget* window, PictureTaken taken);

}  // namespace Tessel::Platform::Graphics
