// A server on the loopback interface with slow, interrupted or partial downloads.
#include "tests/support/FileServer.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <string_view>

namespace test_support {

namespace {

constexpr std::size_t pieceSize = std::size_t{16} << 10;
constexpr std::size_t longestRequest = std::size_t{16} << 10;

std::size_t numberOf(std::string_view text) {
  std::size_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

std::string between(const std::string& text, const std::string& before, std::string_view after) {
  const auto start = text.find(before);
  if (start == std::string::npos) return {};
  const auto first = start + before.size();
  return text.substr(first, text.find_first_of(after, first) - first);
}

// Reads the body as well: closing a connection with unread data may lose the answer.
bool isWhole(const std::string& request) {
  const auto end = request.find("\r\n\r\n");
  return end != std::string::npos &&
         request.size() - end - 4 >= numberOf(between(request, "\r\nContent-Length: ", "\r"));
}

struct Request {
  explicit Request(const std::string& head)
      : kind(between(head, "GET /", "/ ")),
        name(between(head, "GET /" + kind + "/", "? ")),
        range(between(head, "\r\nRange: ", "\r")),
        ifRange(between(head, "\r\nIf-Range: ", "\r")),
        query("&" + between(head, "?", " ") + "&") {}

  std::string option(const std::string& option) const {
    return between(query, "&" + option + "=", "&");
  }

  std::string kind;
  std::string name;
  std::string range;
  std::string ifRange;
  std::string query;
};

struct Answer {
  std::string head;
  std::size_t first = 0;  // of the file
};

Answer answerTo(const Request& request, std::size_t size, const std::string& tag) {
  const bool inParts = request.option("range") != "no";
  const bool isSame = request.ifRange.empty() || request.ifRange == tag;
  Answer answer;
  if (inParts && isSame && request.range.starts_with("bytes=")) {
    answer.first = std::min(size, numberOf(std::string_view(request.range).substr(6)));
  }
  answer.head = answer.first > 0
                    ? "HTTP/1.1 206 Partial Content\r\nContent-Range: bytes " +
                          std::to_string(answer.first) + "-" + std::to_string(size - 1) + "/" +
                          std::to_string(size) + "\r\n"
                    : "HTTP/1.1 200 OK\r\n";
  if (!tag.empty()) answer.head += "ETag: " + tag + "\r\n";
  answer.head +=
      "Content-Type: application/octet-stream\r\nContent-Disposition: attachment\r\n"
      "Cache-Control: no-store\r\nConnection: close\r\nContent-Length: " +
      std::to_string(size - answer.first) + "\r\n\r\n";
  return answer;
}

}  // namespace

std::string FileServer::content(std::size_t size, int version) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<char>((i * 31 + i / 251 + static_cast<std::size_t>(version) * 97) % 256);
  }
  return bytes;
}

std::vector<std::string> FileServer::remember(const std::string& name, const std::string& asked) {
  const std::lock_guard guard(lock_);
  asked_[name].push_back(asked);
  return asked_[name];
}

std::string FileServer::log(const std::string& name) {
  const std::lock_guard guard(lock_);
  std::string text;
  for (std::string asked : asked_[name]) {
    std::replace(asked.begin(), asked.end(), '"', '\'');
    text += (text.empty() ? "[\"" : "\",\"") + asked;
  }
  return text.empty() ? "[]" : text + "\"]";
}

void FileServer::add(const std::string& name, const std::string& type, const std::string& content,
                     const std::string& cookie) {
  const std::lock_guard guard(lock_);
  pages_[name] =
      httpAnswer(type, content,
                 "Cache-Control: max-age=3600\r\n" +
                     (cookie.empty() ? std::string() : "Set-Cookie: " + cookie + "\r\n"));
}

void FileServer::addAnswer(const std::string& name, const std::string& answer) {
  const std::lock_guard guard(lock_);
  pages_[name] = answer;
}

int FileServer::requestsFor(const std::string& name) {
  const std::lock_guard guard(lock_);
  return requests_[name];
}

std::string FileServer::page(const std::string& name) {
  const std::lock_guard guard(lock_);
  ++requests_[name];
  const auto found = pages_.find(name);
  return found != pages_.end()
             ? found->second
             : "HTTP/1.1 404 Not Found\r\nConnection: close\r\nContent-Length: 0\r\n\r\n";
}

void FileServer::serve(GIOStream* client) {
  std::string head;
  while (!isWhole(head)) {
    const std::string piece = server_.read(client);
    if (piece.empty() || head.size() > longestRequest) return;
    head += piece;
  }
  if (answerTo_) {
    server_.send(client, answerTo_(head));
    return;
  }
  const Request request(head);
  if (request.kind == "log") {
    server_.send(client, httpAnswer("application/json", log(request.name),
                                    "Access-Control-Allow-Origin: *\r\n"));
    return;
  }
  if (request.kind != "file") {
    const std::string answer = page(request.name);
    answer.empty() ? server_.hold(client) : static_cast<void>(server_.send(client, answer));
    return;
  }
  const std::size_t count = remember(request.name, request.range + " " + request.ifRange).size();
  const int version = request.option("changes") == "yes" ? static_cast<int>(count) : 1;
  const std::string tag =
      request.option("tag") == "no" ? "" : "\"v" + std::to_string(version) + "\"";
  const std::string file = content(numberOf(request.option("size")), version);
  const Answer answer = answerTo(request, file.size(), tag);
  std::string_view body = std::string_view(file).substr(answer.first);
  const std::size_t breaks = std::max<std::size_t>(1, numberOf(request.option("breaks")));
  const bool stops = !request.option("stop").empty() && count <= breaks;
  if (stops) body = body.substr(0, numberOf(request.option("stop")));
  if (!server_.send(client, answer.head)) return;
  const auto pace = std::chrono::milliseconds(numberOf(request.option("pace")));
  for (; !body.empty(); body.remove_prefix(std::min(pieceSize, body.size()))) {
    if (!server_.send(client, body.substr(0, pieceSize))) return;
    std::this_thread::sleep_for(pace);
  }
  if (stops && request.option("then") == "hold") server_.hold(client);
}

}  // namespace test_support
