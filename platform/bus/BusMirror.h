// The properties of a D-Bus service's objects, read once and kept up to date by the service's own
// signals: nothing is polled, and a service that is not running is only waited for. The thread
// whose default main context it was created in.
#pragma once

#include <compare>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

typedef struct _GDBusConnection GDBusConnection;
typedef struct _GVariant GVariant;

namespace Tessel::Platform {

class BusMirror {
 public:
  enum class Reading {
    ByChanges,    // as PropertiesChanged of that object says
    AtAnySignal,  // anew at any signal of that interface, whichever object sends it: for objects
                  // that are asked for by an alias, and for properties whose changes are told
                  // otherwise
  };
  struct Followed {
    std::string path;
    std::string interface;
    Reading reading = Reading::ByChanges;

    // NOLINTNEXTLINE(modernize-use-nullptr): about the zero in what the compiler makes of it
    friend auto operator<=>(const Followed&, const Followed&) = default;
  };
  using Changed = std::function<void()>;

  // Larger sets of objects are cut off.
  static constexpr std::size_t mostObjects = 512;
  // The time limit of each call of the service.
  static constexpr int patienceMilliseconds = 3000;

  enum class Start {
    Once,   // if the bus can start the service, and it is not running
    Never,  // it is only waited for
  };

  // The bus is referenced. The function is called once for all that has changed in a turn of the
  // main loop, also when the service comes or goes; it may not destroy the mirror.
  BusMirror(GDBusConnection* bus, std::string name, Changed changed, Start start = Start::Once);
  ~BusMirror();
  BusMirror(const BusMirror&) = delete;
  BusMirror& operator=(const BusMirror&) = delete;

  // Follows these objects, in place of those before.
  void follow(std::vector<Followed> wanted);
  // Also follows every object below a manager (org.freedesktop.DBus.ObjectManager at that path)
  // that has one of the interfaces. Once, right after the construction.
  void followManager(std::string path, std::vector<std::string> interfaces);
  // Calls the function with the arguments of a signal, whichever object of the service sends it.
  using SignalHandler = std::function<void(const std::string& path, GVariant* arguments)>;
  void listen(std::string interface, std::string signal, SignalHandler handler);

  // Whether the service is running.
  bool isThere() const;
  // Whether it is known if the service is running, and all followed objects have answered or will
  // not.
  bool isComplete() const;

  // The value of a property. Empty if it is not known or has another type than expected.
  std::optional<double> number(const std::string& path, const char* interface,
                               const char* property) const;  // of any numeric type; finite
  std::optional<bool> truth(const std::string& path, const char* interface,
                            const char* property) const;
  // A text: a string, an object path, or bytes, made valid UTF-8.
  std::optional<std::string> text(const std::string& path, const char* interface,
                                  const char* property) const;
  // The first member of a structure, if it is a text.
  std::optional<std::string> firstText(const std::string& path, const char* interface,
                                       const char* property) const;
  // The texts of an array.
  std::vector<std::string> texts(const std::string& path, const char* interface,
                                 const char* property) const;
  // The paths of the followed objects with that interface that have answered, in order.
  std::vector<std::string> objectsWith(const char* interface) const;

  // Sets a property, and calls a method, of a running service. The values' floating references are
  // taken. The function gets the answer, of that type, or null; without one failures are logged, as
  // notices. It is not called once the service or the mirror has gone.
  using Answer = std::function<void(GVariant* answer)>;
  void set(const std::string& path, const char* interface, const char* property, GVariant* value);
  void call(const std::string& path, const char* interface, const char* method, GVariant* arguments,
            const char* answerType = nullptr, Answer answer = {});

 private:
  struct State;
  const std::unique_ptr<State> state_;
};

}  // namespace Tessel::Platform
