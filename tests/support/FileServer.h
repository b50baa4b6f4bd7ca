// A server on the loopback interface with slow, interrupted or partial downloads, selected by the
// address. It has its own threads.
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
// GET /page/NAME returns an added page, which may be cached; for an empty one, nothing is sent
// until the client disconnects.
// GET /log/NAME lists the range headers of the requests for a file: "RANGE IF-RANGE" each, as JSON.
// Alternatively a function computes every answer from the request, on a thread of the server.
class FileServer {
 public:
  using AnswerTo = std::function<std::string(const std::string& request)>;
  explicit FileServer(AnswerTo answerTo = {}) : answerTo_(std::move(answerTo)) {}

  std::string address() const { return "http://" + server_.address(); }
  void add(const std::string& name, const std::string& type, const std::string& content,
           const std::string& cookie = {});
  // A whole answer, its head included.
  void addAnswer(const std::string& name, const std::string& answer);
  // The number of requests for a page.
  int requestsFor(const std::string& name);
  // The content of the file, the same for every name.
  static std::string content(std::size_t size, int version = 1);

 private:
  void serve(GIOStream* client);
  // The range headers of the requests for a file so far, including this one.
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
