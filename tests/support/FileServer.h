// A server on the loopback interface whose files come slowly, break off, or can be asked for in
// part, as their address says. Its threads are its own.
#pragma once

#include "tests/support/LoopbackServer.h"

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace test_support {

// GET /file/NAME?size=N with any of
//   stop=N         the first answer stops after so many bytes of its body ...
//   then=hold      ... and waits until the client goes; then=break closes the connection
//   breaks=N       so many answers stop, each after as many bytes; 1 if not given
//   range=no       requests for a part are answered with the whole
//   tag=no         there is no entity tag
//   changes=yes    each request finds another version of the file
//   pace=N         milliseconds between pieces of 16 KiB
// GET /page/NAME is what was added, and may be kept in caches; nothing, until the client goes, for
// an answer that is empty.
// GET /log/NAME tells what the requests for a file asked: "RANGE IF-RANGE" each, as a JSON list.
// Or every answer is what a function makes of the request, on a thread of the server.
class FileServer {
 public:
  using AnswerTo = std::function<std::string(const std::string& request)>;
  explicit FileServer(AnswerTo answerTo = {}) : answerTo_(std::move(answerTo)) {}

  std::string address() const { return "http://" + server_.address(); }
  void add(const std::string& name, const std::string& type, const std::string& content,
           const std::string& cookie = {});
  // A whole answer, its head included.
  void addAnswer(const std::string& name, const std::string& answer);
  // How often a page was asked for.
  int requestsFor(const std::string& name);
  // The file that the server has under every name.
  static std::string content(std::size_t size, int version = 1);

 private:
  void serve(GIOStream* client);
  // What the requests for a file have asked so far, this one's included.
  std::vector<std::string> remember(const std::string& name, const std::string& asked);
  std::string log(const std::string& name);
  std::string page(const std::string& name);
  std::mutex lock_;
  std::map<std::string, std::vector<std::string>> asked_;  // under the lock
  std::map<std::string, std::string> pages_;               // whole answers, under the lock
  std::map<std::string, int> requests_;                    // of pages, under the lock
  const AnswerTo answerTo_;
  LoopbackServer server_{[this](GIOStream* client) { serve(client); }};
};

}  // namespace test_support
