// The default output of the sound server. Main thread.
#include "device/Audio.h"

#include "device/DeviceObjects.h"
#include "device/FileWatch.h"

#include <glib.h>
#include <pulse/glib-mainloop.h>
#include <pulse/pulseaudio.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <utility>

namespace Device {

using Tessel::Platform::String;

namespace {

// A server that has ended may leave its socket and take it over when it is back, and one that
// starts may not listen at once: tried after 1, 2, 4 seconds and so on. After that a new socket is
// waited for.
constexpr int mostTries = 5;

}  // namespace

struct Audio::State {
  explicit State(Changed itsChanged) : changed(std::move(itsChanged)) {}

  void connect();
  void disconnect();
  void contextChanged();
  void ask();
  void takeOutput(const pa_sink_info& output);
  void watchFolders();
  void placeChanged();
  static void ignore(pa_operation* operation) {
    if (operation) pa_operation_unref(operation);
  }

  const Changed changed;
  pa_glib_mainloop* const loop = pa_glib_mainloop_new(nullptr);
  pa_context* context = nullptr;
  unsigned retry = 0;
  int tries = mostTries;  // none before the server was there
  std::string output;     // the server's name of it
  pa_cvolume volume{};
  std::optional<FileWatch> folderWatch;
  std::optional<FileWatch> socketWatch;
};

void Audio::State::connect() {
  disconnect();
  context = pa_context_new(pa_glib_mainloop_get_api(loop), "pagehost-device");
  if (!context) return;
  pa_context_set_state_callback(
      context, [](pa_context*, void* self) { static_cast<State*>(self)->contextChanged(); }, this);
  pa_context_set_subscribe_callback(
      context,
      [](pa_context*, pa_subscription_event_type_t, std::uint32_t, void* self) {
        static_cast<State*>(self)->ask();
      },
      this);
  pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
}

void Audio::State::disconnect() {
  if (retry) g_source_remove(std::exchange(retry, 0));
  if (!context) return;
  pa_context_set_state_callback(context, nullptr, nullptr);
  pa_context_set_subscribe_callback(context, nullptr, nullptr);
  pa_context_disconnect(context);
  pa_context_unref(std::exchange(context, nullptr));
}

void Audio::State::contextChanged() {
  const auto state = pa_context_get_state(context);
  if (state == PA_CONTEXT_READY) {
    tries = 0;
    const auto kinds = static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SINK |
                                                           PA_SUBSCRIPTION_MASK_SERVER);
    ignore(pa_context_subscribe(context, kinds, nullptr, nullptr));
    ask();
  }
  if (PA_CONTEXT_IS_GOOD(state)) return;
  output.clear();
  changed({});
  if (tries == mostTries || retry) return;
  retry = g_timeout_add_seconds(
      1u << tries++,
      [](gpointer data) -> gboolean {
        auto* const self = static_cast<State*>(data);
        self->retry = 0;
        self->connect();
        return G_SOURCE_REMOVE;
      },
      this);
}

void Audio::State::ask() {
  ignore(pa_context_get_server_info(
      context,
      [](pa_context* asked, const pa_server_info* server, void* self) {
        if (!server || !server->default_sink_name) return;
        static_cast<State*>(self)->output = server->default_sink_name;
        ignore(pa_context_get_sink_info_by_name(
            asked, server->default_sink_name,
            [](pa_context*, const pa_sink_info* info, int, void* state) {
              if (info) static_cast<State*>(state)->takeOutput(*info);
            },
            self));
      },
      this));
}

void Audio::State::takeOutput(const pa_sink_info& info) {
  volume = info.volume;
  Values values;
  const double share = static_cast<double>(pa_cvolume_max(&volume)) / PA_VOLUME_NORM;
  values[Member::AudioVolume] = numberText(std::round(100 * share));
  values[Member::AudioMuted] = truthText(info.mute != 0);
  values[Member::AudioOutput] = plainText(info.description ? info.description : "");
  changed(std::move(values));
}

// The socket, and the folder that it is in.
void Audio::State::watchFolders() {
  const std::string runtime = g_get_user_runtime_dir();
  const auto changed = [this] { placeChanged(); };
  folderWatch.emplace(runtime, "pulse", changed);
  socketWatch.emplace(runtime + "/pulse", "native", changed);
}

void Audio::State::placeChanged() {
  watchFolders();
  const bool isGood = context && PA_CONTEXT_IS_GOOD(pa_context_get_state(context));
  // A new socket may not be listened on yet.
  tries = 0;
  if (!isGood) connect();
}

Audio::Audio(Changed changed) : state_(std::make_unique<State>(std::move(changed))) {
  state_->watchFolders();
  state_->connect();
}

Audio::~Audio() {
  state_->disconnect();
  pa_glib_mainloop_free(state_->loop);
}

void Audio::set(Member member, const String& value) {
  if (!state_->context || state_->output.empty()) return;
  if (member == Member::AudioMuted) {
    return State::ignore(pa_context_set_sink_mute_by_name(
        state_->context, state_->output.c_str(), truthOf(value).value_or(false), nullptr, nullptr));
  }
  const double share = percentageOf(value).value_or(0) / 100;
  const auto loudest = static_cast<pa_volume_t>(std::lround(share * PA_VOLUME_NORM));
  pa_cvolume volume = state_->volume;
  // Keeps the balance between the channels.
  if (!pa_cvolume_scale(&volume, loudest)) return;
  State::ignore(pa_context_set_sink_volume_by_name(state_->context, state_->output.c_str(), &volume,
                                                   nullptr, nullptr));
}

}  // namespace Device
