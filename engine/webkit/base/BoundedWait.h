// Waits in which the main loop goes on. Main thread.
#pragma once

#include <glib.h>

#include <chrono>

// Runs the main loop until the condition holds, and no longer than the limit. Returns whether it
// holds. The condition is checked after every turn of the loop; what the loop dispatches may delete
// the caller's object, so the condition must only use what lives longer.
template <typename Condition>
bool waitInMainLoop(std::chrono::milliseconds limit, Condition holds) {
  bool isOver = false;
  const guint timer = g_timeout_add(
      static_cast<guint>(limit.count()),
      [](gpointer over) -> gboolean {
        *static_cast<bool*>(over) = true;
        return G_SOURCE_CONTINUE;
      },
      &isOver);
  while (!holds() && !isOver) g_main_context_iteration(nullptr, TRUE);
  g_source_remove(timer);
  return holds();
}
