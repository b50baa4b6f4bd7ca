// Waiting for conditions in tests, with a deadline that is only reached on failure. Main thread.
#pragma once

#include <glib.h>

#include <chrono>

namespace Tessel::Platform::Testing {

inline constexpr std::chrono::seconds Deadline{20};

// Runs the default main context until the condition holds; false at the time limit.
template <typename Condition>
bool iterateUntil(Condition condition, std::chrono::milliseconds limit = Deadline) {
  const auto end = std::chrono::steady_clock::now() + limit;
  // The context sleeps until an event; the tick is for conditions set by other threads.
  GSource* const tick = g_timeout_source_new(5);
  g_source_set_callback(
      tick, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
  g_source_attach(tick, nullptr);
  bool holds = condition();
  while (!holds && std::chrono::steady_clock::now() < end) {
    g_main_context_iteration(nullptr, TRUE);
    holds = condition();
  }
  g_source_destroy(tick);
  g_source_unref(tick);
  return holds;
}

}  // namespace Tessel::Platform::Testing

namespace test_support {

// Runs the main loop until no work is pending.
inline void turnLoop() {
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
}

}  // namespace test_support
