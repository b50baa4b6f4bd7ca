// The user's input method for one engine view. Main thread.
#include "engine/webkit/features/InputMethod.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace {

struct State {
  GtkIMContext* method = gtk_im_multicontext_new();
  GtkWidget* view = nullptr;  // its place on the screen; null once it is gone
  InputMethodClient* client = nullptr;
  std::string surrounding;
  std::size_t caret = 0;  // in bytes
};

}  // namespace

struct InputMethod {
  WebKitInputMethodContext parent;
  State* state;
};

struct InputMethodClass {
  WebKitInputMethodContextClass parent;
};

G_DEFINE_TYPE(InputMethod, input_method, WEBKIT_TYPE_INPUT_METHOD_CONTEXT)

namespace {

State& stateOf(gpointer object) {
  return *G_TYPE_CHECK_INSTANCE_CAST(object, input_method_get_type(), InputMethod)->state;
}

// What the toolkit's input method says, to the engine.

void onCommit(GtkIMContext*, const char* text, gpointer self) {
  g_signal_emit_by_name(self, "committed", text);
  if (InputMethodClient* client = stateOf(self).client) {
    client->textCommitted(static_cast<int>(g_utf8_strlen(text, -1)));
  }
}

void onPreeditStart(GtkIMContext*, gpointer self) {
  g_signal_emit_by_name(self, "preedit-started");
}

void onPreeditChanged(GtkIMContext*, gpointer self) {
  g_signal_emit_by_name(self, "preedit-changed");
}

void onPreeditEnd(GtkIMContext*, gpointer self) {
  g_signal_emit_by_name(self, "preedit-finished");
  if (InputMethodClient* client = stateOf(self).client) client->compositionEnded();
}

gboolean onRetrieveSurrounding(GtkIMContext* method, gpointer self) {
  const State& state = stateOf(self);
  gtk_im_context_set_surrounding(method, state.surrounding.c_str(),
                                 static_cast<gint>(state.surrounding.size()),
                                 static_cast<gint>(state.caret));
  return TRUE;
}

gboolean onDeleteSurrounding(GtkIMContext*, gint offset, gint count, gpointer self) {
  g_signal_emit_by_name(self, "delete-surrounding", offset, static_cast<guint>(std::max(count, 0)));
  return TRUE;
}

// What the engine says, to the toolkit's input method.

void setEnablePreedit(WebKitInputMethodContext* self, gboolean enabled) {
  gtk_im_context_set_use_preedit(stateOf(self).method, enabled);
}

// The underlined parts of a text, in characters.
GList* underlinesOf(const char* text, PangoAttrList* attributes) {
  GList* list = nullptr;
  const gint length = static_cast<gint>(std::char_traits<char>::length(text));
  PangoAttrIterator* at = pango_attr_list_get_iterator(attributes);
  do {
    if (!pango_attr_iterator_get(at, PANGO_ATTR_UNDERLINE)) continue;
    gint start = 0;
    gint end = 0;
    pango_attr_iterator_range(at, &start, &end);
    const auto offset = [&](gint byte) {
      return static_cast<guint>(g_utf8_pointer_to_offset(text, text + std::clamp(byte, 0, length)));
    };
    if (offset(start) == offset(end)) continue;
    list = g_list_prepend(list, webkit_input_method_underline_new(offset(start), offset(end)));
  } while (pango_attr_iterator_next(at));
  pango_attr_iterator_destroy(at);
  return g_list_reverse(list);
}

void getPreedit(WebKitInputMethodContext* self, gchar** text, GList** underlines, guint* caret) {
  gchar* preedit = nullptr;
  PangoAttrList* attributes = nullptr;
  gint place = 0;
  gtk_im_context_get_preedit_string(stateOf(self).method, &preedit, &attributes, &place);
  if (underlines) *underlines = underlinesOf(preedit, attributes);
  if (caret) *caret = static_cast<guint>(std::max(place, 0));
  pango_attr_list_unref(attributes);
  if (text) {
    *text = preedit;
  } else {
    g_free(preedit);
  }
}

gboolean filterKeyEvent(WebKitInputMethodContext* self, GdkEventKey* event) {
  return gtk_im_context_filter_keypress(stateOf(self).method, event);
}

// The client may delete the view, which goes on after it has told of this.
void keepForNow(GtkWidget* view) {
  if (!view) return;
  g_object_ref(view);
  g_idle_add(
      [](gpointer kept) -> gboolean {
        g_object_unref(kept);
        return G_SOURCE_REMOVE;
      },
      view);
}

void notifyFocusIn(WebKitInputMethodContext* self) {
  const State& state = stateOf(self);
  bool comes = true;
  if (state.client) {
    keepForNow(state.view);
    comes = state.client->textFocused();
  }
  if (comes) gtk_im_context_focus_in(state.method);
}

void notifyFocusOut(WebKitInputMethodContext* self) {
  const State& state = stateOf(self);
  gtk_im_context_focus_out(state.method);
  if (state.client) state.client->textUnfocused();
}

void notifyCursorArea(WebKitInputMethodContext* self, int x, int y, int width, int height) {
  const GdkRectangle area{x, y, width, height};
  gtk_im_context_set_cursor_location(stateOf(self).method, &area);
}

void notifySurrounding(WebKitInputMethodContext* self, const gchar* text, guint length, guint caret,
                       guint anchor) {
  State& state = stateOf(self);
  state.surrounding.assign(text, length);
  state.caret = std::min<std::size_t>(caret, length);
  if (!state.client) return;
  const char* start = state.surrounding.c_str();
  const auto characters = [&](std::size_t bytes) {
    return static_cast<int>(
        g_utf8_pointer_to_offset(start, start + std::min<std::size_t>(bytes, length)));
  };
  state.client->caretMoved(characters(caret), characters(anchor));
}

void reset(WebKitInputMethodContext* self) {
  gtk_im_context_reset(stateOf(self).method);
}

// What the field is for, in the toolkit's words.

constexpr std::array<std::pair<WebKitInputPurpose, GtkInputPurpose>, 7> purposes{{
    {WEBKIT_INPUT_PURPOSE_FREE_FORM, GTK_INPUT_PURPOSE_FREE_FORM},
    {WEBKIT_INPUT_PURPOSE_DIGITS, GTK_INPUT_PURPOSE_DIGITS},
    {WEBKIT_INPUT_PURPOSE_NUMBER, GTK_INPUT_PURPOSE_NUMBER},
    {WEBKIT_INPUT_PURPOSE_PHONE, GTK_INPUT_PURPOSE_PHONE},
    {WEBKIT_INPUT_PURPOSE_URL, GTK_INPUT_PURPOSE_URL},
    {WEBKIT_INPUT_PURPOSE_EMAIL, GTK_INPUT_PURPOSE_EMAIL},
    {WEBKIT_INPUT_PURPOSE_PASSWORD, GTK_INPUT_PURPOSE_PASSWORD},
}};

constexpr std::array<std::pair<WebKitInputHints, GtkInputHints>, 6> hints{{
    {WEBKIT_INPUT_HINT_SPELLCHECK, GTK_INPUT_HINT_SPELLCHECK},
    {WEBKIT_INPUT_HINT_LOWERCASE, GTK_INPUT_HINT_LOWERCASE},
    {WEBKIT_INPUT_HINT_UPPERCASE_CHARS, GTK_INPUT_HINT_UPPERCASE_CHARS},
    {WEBKIT_INPUT_HINT_UPPERCASE_WORDS, GTK_INPUT_HINT_UPPERCASE_WORDS},
    {WEBKIT_INPUT_HINT_UPPERCASE_SENTENCES, GTK_INPUT_HINT_UPPERCASE_SENTENCES},
    {WEBKIT_INPUT_HINT_INHIBIT_OSK, GTK_INPUT_HINT_INHIBIT_OSK},
}};

void onFieldChanged(WebKitInputMethodContext* self, GParamSpec*, gpointer) {
  const WebKitInputPurpose purpose = webkit_input_method_context_get_input_purpose(self);
  GtkInputPurpose itsPurpose = GTK_INPUT_PURPOSE_FREE_FORM;
  for (const auto& [engines, toolkits] : purposes) {
    if (engines == purpose) itsPurpose = toolkits;
  }
  const WebKitInputHints given = webkit_input_method_context_get_input_hints(self);
  unsigned int itsHints = GTK_INPUT_HINT_NONE;
  for (const auto& [engines, toolkits] : hints) {
    if ((given & engines) != 0) itsHints |= toolkits;
  }
  g_object_set(stateOf(self).method, "input-purpose", itsPurpose, "input-hints", itsHints, nullptr);
}

void onViewRealized(GtkWidget* view, gpointer self) {
  gtk_im_context_set_client_window(stateOf(self).method, gtk_widget_get_window(view));
}

void onViewUnrealized(GtkWidget*, gpointer self) {
  gtk_im_context_set_client_window(stateOf(self).method, nullptr);
}

void onViewDestroyed(GtkWidget* view, gpointer self) {
  gtk_im_context_set_client_window(stateOf(self).method, nullptr);
  g_signal_handlers_disconnect_by_data(view, self);
  stateOf(self).view = nullptr;
}

void finalize(GObject* object) {
  const State* state = &stateOf(object);
  if (state->view) g_signal_handlers_disconnect_by_data(state->view, object);
  g_signal_handlers_disconnect_by_data(state->method, object);
  gtk_im_context_set_client_window(state->method, nullptr);
  g_object_unref(state->method);
  delete state;
  G_OBJECT_CLASS(input_method_parent_class)->finalize(object);
}

}  // namespace

static void input_method_init(InputMethod* self) {
  self->state = new State;
  const auto connect = [&](const char* signal, auto handler) {
    g_signal_connect(self->state->method, signal, G_CALLBACK(handler), self);
  };
  connect("commit", onCommit);
  connect("preedit-start", onPreeditStart);
  connect("preedit-changed", onPreeditChanged);
  connect("preedit-end", onPreeditEnd);
  connect("retrieve-surrounding", onRetrieveSurrounding);
  connect("delete-surrounding", onDeleteSurrounding);
  g_signal_connect(self, "notify::input-purpose", G_CALLBACK(onFieldChanged), nullptr);
  g_signal_connect(self, "notify::input-hints", G_CALLBACK(onFieldChanged), nullptr);
}

static void input_method_class_init(InputMethodClass* methodClass) {
  auto* context = WEBKIT_INPUT_METHOD_CONTEXT_CLASS(methodClass);
  context->set_enable_preedit = setEnablePreedit;
  context->get_preedit = getPreedit;
  context->filter_key_event = filterKeyEvent;
  context->notify_focus_in = notifyFocusIn;
  context->notify_focus_out = notifyFocusOut;
  context->notify_cursor_area = notifyCursorArea;
  context->notify_surrounding = notifySurrounding;
  context->reset = reset;
  G_OBJECT_CLASS(methodClass)->finalize = finalize;
}

WebKitInputMethodContext* inputMethodNew(GtkWidget* view) {
  auto* self = WEBKIT_INPUT_METHOD_CONTEXT(g_object_new(input_method_get_type(), nullptr));
  stateOf(self).view = view;
  g_signal_connect_after(view, "realize", G_CALLBACK(onViewRealized), self);
  g_signal_connect(view, "unrealize", G_CALLBACK(onViewUnrealized), self);
  g_signal_connect(view, "destroy", G_CALLBACK(onViewDestroyed), self);
  if (gtk_widget_get_realized(view)) onViewRealized(view, self);
  return self;
}

void inputMethodSetClient(WebKitInputMethodContext* method, InputMethodClient* client) {
  stateOf(method).client = client;
}
