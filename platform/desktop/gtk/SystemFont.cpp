// The font configured by the desktop. Main thread.
#include "platform/desktop/gtk/SystemFont.h"

#include "platform/desktop/FontInfo.h"
#include "platform/graphics/Screen.h"

#include <gtk/gtk.h>

namespace Tessel::Platform {

using Graphics::Screen;

namespace {

constexpr float usualPoints = 10;
constexpr double usualResolution = 96;

void takeResolution() {
  const double resolution = gdk_screen_get_resolution(gdk_screen_get_default());
  const auto pixels = static_cast<float>(resolution > 0 ? resolution : usualResolution);
  Screen::primaryScreen().setPixelsPerInch({pixels, pixels});
}

void takeFont() {
  char* name = nullptr;
  g_object_get(gtk_settings_get_default(), "gtk-font-name", &name, nullptr);
  if (!name) return;
  PangoFontDescription* font = pango_font_description_from_string(name);
  g_free(name);
  const char* family = pango_font_description_get_family(font);
  const float size =
      static_cast<float>(pango_font_description_get_size(font)) / static_cast<float>(PANGO_SCALE);
  FontInfo::instance().setWish(family ? family : "sans-serif", size > 0 ? size : usualPoints);
  pango_font_description_free(font);
}

}  // namespace

void followSystemFont() {
  takeResolution();
  takeFont();
  g_signal_connect(gtk_settings_get_default(), "notify::gtk-font-name",
                   G_CALLBACK(+[] { takeFont(); }), nullptr);
  g_signal_connect(gtk_settings_get_default(), "notify::gtk-xft-dpi",
                   G_CALLBACK(+[] { takeResolution(); }), nullptr);
}

}  // namespace Tessel::Platform
