// A stream that counts its traffic. Main thread.
#include "platform/inspector_server/MeteredStream.h"

#include <gio/gio.h>

using Tessel::Platform::StreamMeter;

namespace {

// After so many bytes the stream reports once that it would block: the library reads until then,
// and must process what it has read before it reads on.
constexpr std::uint64_t mostWithoutRest = 256u << 10;

struct MeteredInput {
  GFilterInputStream parent;
  StreamMeter* meter;
};
struct MeteredInputClass {
  GFilterInputStreamClass parent;
};
struct MeteredOutput {
  GFilterOutputStream parent;
  StreamMeter* meter;
};
struct MeteredOutputClass {
  GFilterOutputStreamClass parent;
};

GPollableInputStream* baseOf(GPollableInputStream* stream) {
  return G_POLLABLE_INPUT_STREAM(
      g_filter_input_stream_get_base_stream(G_FILTER_INPUT_STREAM(stream)));
}

GPollableOutputStream* baseOf(GPollableOutputStream* stream) {
  return G_POLLABLE_OUTPUT_STREAM(
      g_filter_output_stream_get_base_stream(G_FILTER_OUTPUT_STREAM(stream)));
}

gssize readMetered(GPollableInputStream* stream, void* buffer, gsize count, GError** error) {
  StreamMeter& meter = *reinterpret_cast<MeteredInput*>(stream)->meter;
  if (meter.sinceRest >= mostWithoutRest) {
    meter.sinceRest = 0;
    g_set_error_literal(error, G_IO_ERROR, G_IO_ERROR_WOULD_BLOCK, "look first");
    return -1;
  }
  if (meter.unfinished >= meter.mostUnfinished) {
    g_set_error_literal(error, G_IO_ERROR, G_IO_ERROR_MESSAGE_TOO_LARGE, "message too large");
    return -1;
  }
  const gssize taken =
      g_pollable_input_stream_read_nonblocking(baseOf(stream), buffer, count, nullptr, error);
  if (taken > 0) {
    meter.unfinished += static_cast<std::uint64_t>(taken);
    meter.sinceRest += static_cast<std::uint64_t>(taken);
  } else {
    meter.sinceRest = 0;
  }
  return taken;
}

gssize writeMetered(GPollableOutputStream* stream, const void* buffer, gsize count,
                    GError** error) {
  StreamMeter& meter = *reinterpret_cast<MeteredOutput*>(stream)->meter;
  const gssize written =
      g_pollable_output_stream_write_nonblocking(baseOf(stream), buffer, count, nullptr, error);
  if (written > 0) meter.written += static_cast<std::uint64_t>(written);
  return written;
}

void fillInput(gpointer iface, gpointer) {
  auto* const operations = static_cast<GPollableInputStreamInterface*>(iface);
  operations->is_readable = [](GPollableInputStream* stream) {
    return g_pollable_input_stream_is_readable(baseOf(stream));
  };
  operations->create_source = [](GPollableInputStream* stream, GCancellable* cancellable) {
    GSource* const base = g_pollable_input_stream_create_source(baseOf(stream), cancellable);
    GSource* const source = g_pollable_source_new_full(stream, base, nullptr);
    g_source_unref(base);
    return source;
  };
  operations->read_nonblocking = readMetered;
}

void fillOutput(gpointer iface, gpointer) {
  auto* const operations = static_cast<GPollableOutputStreamInterface*>(iface);
  operations->is_writable = [](GPollableOutputStream* stream) {
    return g_pollable_output_stream_is_writable(baseOf(stream));
  };
  operations->create_source = [](GPollableOutputStream* stream, GCancellable* cancellable) {
    GSource* const base = g_pollable_output_stream_create_source(baseOf(stream), cancellable);
    GSource* const source = g_pollable_source_new_full(stream, base, nullptr);
    g_source_unref(base);
    return source;
  };
  operations->write_nonblocking = writeMetered;
}

template <typename Object, typename Class>
GType makeType(GType parent, const char* name, GType interface, GInterfaceInitFunc fill) {
  const GType type = g_type_register_static_simple(
      parent, name, sizeof(Class), nullptr, sizeof(Object), nullptr, static_cast<GTypeFlags>(0));
  const GInterfaceInfo info{fill, nullptr, nullptr};
  g_type_add_interface_static(type, interface, &info);
  return type;
}

GType inputType() {
  static const GType type = makeType<MeteredInput, MeteredInputClass>(
      G_TYPE_FILTER_INPUT_STREAM, "PagehostMeteredInput", G_TYPE_POLLABLE_INPUT_STREAM, fillInput);
  return type;
}

GType outputType() {
  static const GType type = makeType<MeteredOutput, MeteredOutputClass>(
      G_TYPE_FILTER_OUTPUT_STREAM, "PagehostMeteredOutput", G_TYPE_POLLABLE_OUTPUT_STREAM,
      fillOutput);
  return type;
}

}  // namespace

namespace Tessel::Platform {

GIOStream* meteredStream(GIOStream* stream, const std::shared_ptr<StreamMeter>& meter) {
  const auto share = [&meter](auto* object) {
    object->meter = meter.get();
    g_object_set_data_full(
        G_OBJECT(object), "meter", new std::shared_ptr<StreamMeter>(meter),
        [](gpointer data) { delete static_cast<std::shared_ptr<StreamMeter>*>(data); });
  };
  auto* const input = static_cast<GInputStream*>(
      g_object_new(inputType(), "base-stream", g_io_stream_get_input_stream(stream), nullptr));
  share(reinterpret_cast<MeteredInput*>(input));
  auto* const output = static_cast<GOutputStream*>(
      g_object_new(outputType(), "base-stream", g_io_stream_get_output_stream(stream), nullptr));
  share(reinterpret_cast<MeteredOutput*>(output));
  GIOStream* const metered = g_simple_io_stream_new(input, output);
  // The socket is closed with the last reference to the wrapped stream.
  g_object_set_data_full(G_OBJECT(metered), "stream", g_object_ref(stream), g_object_unref);
  g_object_unref(input);
  g_object_unref(output);
  return metered;
}

}  // namespace Tessel::Platform
