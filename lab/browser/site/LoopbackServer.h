#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace korvan::lab {

/// A request that the server has accepted.
struct WebRequest {
  /// The page's own origin, such as "http://localhost:40123".
  std::string origin;
  /// What follows the secret part of the URL, such as "page.css".
  std::string path;
  bool isPost = false;
  /// Of a POST request, at most LoopbackServer::GreatestBody bytes.
  std::string body;
};

struct WebAnswer {
  unsigned status = 200;
  std::string contentType;
  std::string body;
};

/// An HTTP server for browsers on this machine, under one URL that nobody can guess. It listens on
/// the loopback interface only, refuses requests for another host name (as after DNS rebinding) and
/// POST requests from other origins, and bounds what it reads. It has two ports, so that a page can
/// embed a document of another origin.
///
/// It serves in GLib's default main context, on the thread that runs it. All members belong to that
/// thread.
class LoopbackServer {
 public:
  static constexpr std::size_t GreatestBody = 262'144;

  /// Must not throw.
  using Handler = std::function<WebAnswer(const WebRequest&)>;

  /// Listens, and has `handler` answer every request but the streams'. Throws std::runtime_error
  /// when it cannot listen.
  explicit LoopbackServer(Handler handler);
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;
  /// Closes every connection.
  ~LoopbackServer();

  /// Such as "http://localhost:40123/SECRET/".
  [[nodiscard]] std::string url() const;

  /// The same documents in another origin.
  [[nodiscard]] std::string embeddedUrl() const;

  /// Sends a line to every page that listens to the stream at "events".
  /// https://html.spec.whatwg.org/multipage/server-sent-events.html
  void tell(std::string_view line);

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace korvan::lab
