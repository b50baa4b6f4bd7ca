// The engine's own inspector server, made private to this process. Main thread.
#include "engine/webkit/inspector/EngineInspector.h"

#include "platform/base/Log.h"
#include "platform/base/RandomKey.h"
#include "platform/base/UniqueFd.h"
#include "platform/os/Folders.h"
#include "platform/sockets/LocalSocket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gio/gunixsocketaddress.h>
#include <libsoup/soup.h>
#include <linux/filter.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <utility>

using Tessel::Platform::LocalListener;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::randomKey;
using Tessel::Platform::UniqueFd;

namespace {

constexpr const char* variable = "WEBKIT_INSPECTOR_HTTP_SERVER";
// The number of connections that the engine makes to itself, the last with its first page, and the
// interval in milliseconds at which they are looked for.
constexpr int innerConnections = 2;
constexpr guint expectInterval = 50;
constexpr int mostExpectations = 200;
constexpr guint answerLimit = 10;        // seconds
constexpr gsize longestList = 4u << 20;  // bytes
constexpr std::size_t mostTargets = 4096;
constexpr const char* socketPrefix = "inspector-";

// The address given to the engine; the port in host byte order.
struct Place {
  in_addr_t address = 0;  // in network byte order
  std::uint16_t port = 0;

  sockaddr_in socketAddress(std::uint16_t itsPort) const {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_addr.s_addr = address;
    result.sin_port = htons(itsPort);
    return result;
  }
  std::string text() const {
    std::array<char, INET_ADDRSTRLEN> text{};
    const in_addr binary{address};
    ::inet_ntop(AF_INET, &binary, text.data(), text.size());
    return std::string(text.data()) + ":" + std::to_string(port);
  }
};

Place& place() {
  static Place theOne;
  return theOne;
}

// A free port of that address.
std::uint16_t freePort() {
  const UniqueFd probe(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address = place().socketAddress(0);
  socklen_t size = sizeof address;
  if (::bind(probe.get(), reinterpret_cast<sockaddr*>(&address), size) != 0 ||
      ::getsockname(probe.get(), reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    return 0;
  }
  return ntohs(address.sin_port);
}

using NameOf = int (*)(int, sockaddr*, socklen_t*);

// The port of that address that a socket is bound to (getsockname) or connected to (getpeername); 0
// for any other descriptor.
std::uint16_t portOf(int fd, NameOf nameOf) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  const bool isOurs = nameOf(fd, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
                      address.sin_family == AF_INET && address.sin_addr.s_addr == place().address;
  return isOurs ? ntohs(address.sin_port) : 0;
}

bool isListening(int fd) {
  int listens = 0;
  socklen_t size = sizeof listens;
  return ::getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) == 0 && listens != 0;
}

// Calls a function with every descriptor of the process.
template <typename Function>
void forEachDescriptor(Function function) {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
    const std::string name = entry.path().filename();
    int fd = -1;
    std::from_chars(name.data(), name.data() + name.size(), fd);
    if (fd >= 0) function(fd);
  }
}

bool attach(int fd, std::vector<sock_filter> program) {
  const sock_fprog whole{static_cast<unsigned short>(program.size()), program.data()};
  return ::setsockopt(fd, SOL_SOCKET, SO_ATTACH_FILTER, &whole, sizeof whole) == 0;
}

// Replaces a network listener by a local socket under the same descriptor, on which its owner keeps
// accepting. The socket has no name in the file system: the returned descriptor is the only access
// to it; empty, with errno set, if the listener cannot be created.
UniqueFd takeOver(int fd) {
  const std::string name =
      Tessel::Platform::runtimeFolder() + "/" + socketPrefix + std::to_string(::getpid());
  const LocalListener listener(name, SOCK_STREAM, {.replaces = true});
  UniqueFd door(listener ? ::open(name.c_str(), O_PATH | O_CLOEXEC) : -1);
  // The network listener is replaced in any case, on failure by an unreachable one.
  const UniqueFd mute(listener ? -1 : ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (::dup3(listener ? listener.fd() : mute.get(), fd, O_CLOEXEC) != fd) door.reset();
  return door;
}

// Whether a listener has a pending connection.
bool hasWaiting(int fd) {
  pollfd ready{fd, POLLIN, 0};
  return ::poll(&ready, 1, 0) == 1;
}

// The port of a socket that tries to connect to a loopback address; 0 for all others.
std::uint16_t connectingPortOf(int fd) {
  tcp_info info{};
  socklen_t size = sizeof info;
  if (::getsockopt(fd, IPPROTO_TCP, TCP_INFO, &info, &size) != 0 ||
      info.tcpi_state != TCP_SYN_SENT) {
    return 0;
  }
  sockaddr_in address{};
  size = sizeof address;
  const bool isLocal = ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
                       address.sin_family == AF_INET &&
                       address.sin_addr.s_addr == htonl(INADDR_LOOPBACK);
  return isLocal ? ntohs(address.sin_port) : 0;
}

// A filter for packets from these ports of an address, which is in network byte order.
std::vector<sock_filter> admitting(in_addr_t address, const std::set<std::uint16_t>& ports) {
  constexpr std::uint32_t sourceAddress = 12;  // offset in the IP header
  constexpr std::uint32_t sourcePort = 0;      // offset in the TCP header
  std::vector<sock_filter> program;
  const auto add = [&program](std::uint16_t code, std::uint32_t value, std::size_t yes,
                              std::size_t no) {
    program.push_back({code, static_cast<std::uint8_t>(yes), static_cast<std::uint8_t>(no), value});
  };
  std::size_t left = ports.size();
  add(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(SKF_NET_OFF) + sourceAddress, 0, 0);
  add(BPF_JMP | BPF_JEQ | BPF_K, ntohl(address), 0, left + 1);
  add(BPF_LD | BPF_H | BPF_ABS, sourcePort, 0, 0);
  // To the end that lets it in.
  for (const std::uint16_t port : ports) add(BPF_JMP | BPF_JEQ | BPF_K, port, left--, 0);
  add(BPF_RET | BPF_K, 0, 0, 0);
  add(BPF_RET | BPF_K, 0xFFFFFFFF, 0, 0);
  return program;
}

// The path "/socket/1/2/WebPage" at the start of a text; empty if there is none.
std::string_view socketPathAt(std::string_view text) {
  constexpr std::string_view prefix = "/socket/";
  constexpr std::string_view kind = "/WebPage";
  std::size_t end = prefix.size();
  const auto number = [&] {
    const std::size_t start = end;
    while (end < text.size() && text[end] >= '0' && text[end] <= '9') ++end;
    return end > start && end - start < 20;
  };
  if (!text.starts_with(prefix) || !number() || end == text.size() || text[end++] != '/' ||
      !number() || !text.substr(end).starts_with(kind)) {
    return {};
  }
  return text.substr(0, end + kind.size());
}

}  // namespace

bool EngineInspector::announce() {
  ::unsetenv(variable);
  std::uint64_t random = 0;
  if (!randomKey(&random)) return false;
  // 127.x.y.z: of the 24 bits, the last byte is that of an ordinary host.
  const auto host = static_cast<std::uint32_t>(random) & 0xFFFF00;
  place().address =
      htonl(0x7F000000u | host | (1 + static_cast<std::uint32_t>(random >> 32) % 254));
  place().port = freePort();
  if (place().port == 0) return false;
  return ::setenv(variable, place().text().c_str(), 1) == 0;
}

void EngineInspector::renounce() {
  ::unsetenv(variable);
}

bool EngineInspector::listensAt(const std::string& address) {
  bool listens = false;
  forEachDescriptor([&](int fd) {
    sockaddr_storage own{};
    socklen_t size = sizeof own;
    if (!isListening(fd) || ::getsockname(fd, reinterpret_cast<sockaddr*>(&own), &size) != 0)
      return;
    GSocketAddress* place = g_socket_address_new_from_native(&own, size);
    gchar* const text =
        place ? g_socket_connectable_to_string(G_SOCKET_CONNECTABLE(place)) : nullptr;
    listens = listens || address == (text ? text : "");
    g_free(text);
    g_clear_object(&place);
  });
  return listens;
}

EngineInspector::~EngineInspector() {
  if (expecting_ != 0) g_source_remove(expecting_);
}

void EngineInspector::shut() {
  if (!std::getenv(variable)) return;
  ::unsetenv(variable);
  int listener = -1;
  forEachDescriptor([&](int fd) {
    const std::uint16_t port = portOf(fd, ::getsockname);
    if (port == 0 || !isListening(fd)) return;
    port == place().port ? void(listener = fd) : innerListeners_.push_back(fd);
  });
  Tessel::Platform::removeStaleFiles(Tessel::Platform::runtimeFolder(), socketPrefix);
  if (listener < 0) {
    logAlways(LogError, "Pages of this process cannot be inspected: the engine does not listen.");
  } else if (door_ = takeOver(listener); !door_) {
    logAlways(LogError, "Pages of this process cannot be inspected: %s", std::strerror(errno));
  }
  // Where only the administrator may attach filters, they stay open until they are connected.
  for (const int fd : innerListeners_) {
    isFiltered_ = attach(fd, admitting(htonl(INADDR_LOOPBACK), {})) && isFiltered_;
  }
}

void EngineInspector::expectConnections() {
  if (innerListeners_.empty() || isConnected_) return;
  expectations_ = mostExpectations;
  if (expecting_ != 0) return;
  expecting_ = g_timeout_add(
      expectInterval,
      [](gpointer data) -> gboolean {
        auto* const self = static_cast<EngineInspector*>(data);
        if (!self->admitOwn() && --self->expectations_ > 0) return G_SOURCE_CONTINUE;
        if (!self->isFiltered_) {
          // The loop may already have polled a connection; accepting would block forever if it was
          // closed since.
          if (std::ranges::any_of(self->innerListeners_, hasWaiting)) return G_SOURCE_CONTINUE;
          for (const int fd : std::exchange(self->innerListeners_, {})) takeOver(fd);
        }
        self->expecting_ = 0;
        return G_SOURCE_REMOVE;
      },
      this);
}

// Admits connection attempts of this process, which the kernel repeats by itself. True when all are
// established.
bool EngineInspector::admitOwn() {
  std::set<std::uint16_t> trying;
  int connected = 0;
  forEachDescriptor([&](int fd) {
    connected += portOf(fd, ::getpeername) != 0 ? 1 : 0;
    if (const std::uint16_t port = connectingPortOf(fd); port != 0) trying.insert(port);
  });
  isConnected_ = connected >= innerConnections;
  if (isConnected_) trying.clear();
  if (trying != admitted_) {
    for (const int fd : innerListeners_) attach(fd, admitting(htonl(INADDR_LOOPBACK), trying));
    admitted_ = std::move(trying);
  }
  return isConnected_;
}

EngineInspector::Passage::Passage(EngineInspector& inspector) {
  if (!inspector.isThere()) return;
  // By way of the descriptor: the socket has no name.
  const std::string path = "/proc/self/fd/" + std::to_string(inspector.door_.get());
  GSocketAddress* const socket = g_unix_socket_address_new(path.c_str());
  session_ =
      soup_session_new_with_options("remote-connectable", socket, "timeout", answerLimit, nullptr);
  g_object_unref(socket);
}

EngineInspector::Passage::~Passage() {
  if (!session_) return;
  soup_session_abort(session_);
  g_object_unref(session_);
}

std::string EngineInspector::Passage::address(const char* scheme, const std::string& path) const {
  return std::string(scheme) + "://" + place().text() + path;
}

std::vector<std::string> EngineInspector::pathsFrom(std::string_view page) {
  std::vector<std::string> paths;
  for (std::size_t at = page.find("/socket/");
       at != std::string_view::npos && paths.size() < mostTargets;
       at = page.find("/socket/", at + 1)) {
    std::string path(socketPathAt(page.substr(at)));
    // Titles are listed as the pages wrote them.
    if (!path.empty() && std::find(paths.begin(), paths.end(), path) == paths.end()) {
      paths.push_back(std::move(path));
    }
  }
  return paths;
}

namespace {

struct Listing {
  std::unique_ptr<EngineInspector::Passage> passage;
  EngineInspector::Listed listed;
  GCancellable* cancellable = nullptr;
  GInputStream* stream = nullptr;
  std::vector<char> text = std::vector<char>(longestList);

  ~Listing() {
    g_clear_object(&stream);
    g_clear_object(&cancellable);
  }
  // What the engine has said so far.
  void finish(std::size_t size) const {
    if (g_cancellable_is_cancelled(cancellable)) return;
    listed(EngineInspector::pathsFrom({text.data(), size}));
  }
};

void onListRead(GObject* stream, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<Listing> listing(static_cast<Listing*>(data));
  gsize size = 0;
  g_input_stream_read_all_finish(G_INPUT_STREAM(stream), result, &size, nullptr);
  listing->finish(size);
}

void onListAnswered(GObject* session, GAsyncResult* result, gpointer data) {
  std::unique_ptr<Listing> listing(static_cast<Listing*>(data));
  listing->stream = soup_session_send_finish(SOUP_SESSION(session), result, nullptr);
  if (!listing->stream) return listing->finish(0);
  Listing& reading = *listing.release();
  g_input_stream_read_all_async(reading.stream, reading.text.data(), reading.text.size(),
                                G_PRIORITY_DEFAULT, reading.cancellable, onListRead, &reading);
}

}  // namespace

void EngineInspector::list(GCancellable* cancellable, Listed listed) {
  auto listing = std::make_unique<Listing>();
  listing->passage = std::make_unique<Passage>(*this);
  listing->listed = std::move(listed);
  listing->cancellable = static_cast<GCancellable*>(g_object_ref(cancellable));
  SoupSession* const session = listing->passage->session();
  if (!session) return listing->finish(0);
  SoupMessage* const message =
      soup_message_new("GET", listing->passage->address("http", "/").c_str());
  soup_session_send_async(session, message, G_PRIORITY_DEFAULT, cancellable, onListAnswered,
                          listing.release());
  g_object_unref(message);
}

bool EngineInspector::isForeign(const std::string& path, const void* owner) const {
  const auto found = owners_.find(path);
  return found != owners_.end() && found->second != owner;
}

std::string EngineInspector::pathOf(const void* owner) const {
  const auto found = std::find_if(owners_.begin(), owners_.end(),
                                  [owner](const auto& entry) { return entry.second == owner; });
  return found == owners_.end() ? std::string() : found->first;
}

void EngineInspector::release(const void* owner) {
  std::erase_if(owners_, [owner](const auto& entry) { return entry.second == owner; });
}
