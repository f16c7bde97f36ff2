#include "lab/browser/site/LoopbackServer.h"

#include <algorithm>
#include <array>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>

#include <libsoup/soup.h>

#include "lab/support/Base64Url.h"
#include "lab/support/RandomData.h"

namespace korvan::lab {
namespace {

constexpr std::size_t SecretSize = 32;

struct ReleaseObject {
  void operator()(gpointer object) const noexcept { g_object_unref(object); }
};
using Server = std::unique_ptr<SoupServer, ReleaseObject>;

/// Binds a port that the system chooses, and returns it. Browsers try ::1 before 127.0.0.1, so that
/// both are taken: nobody else can then answer for this server.
int listenOnLoopback(SoupServer* server, std::span<const int> taken) {
  GError* error = nullptr;
  if (soup_server_listen_local(server, 0, SoupServerListenOptions{}, &error) == FALSE) {
    const std::string reason = error->message;
    g_error_free(error);
    throw std::runtime_error("The lab's web site cannot listen on the loopback: " + reason);
  }
  GSList* const uris = soup_server_get_uris(server);
  int port = 0;
  for (const GSList* each = uris; each != nullptr; each = each->next) {
    const int bound = g_uri_get_port(static_cast<GUri*>(each->data));
    if (std::ranges::find(taken, bound) == taken.end()) {
      port = bound;
    }
  }
  g_slist_free_full(uris, [](gpointer uri) { g_uri_unref(static_cast<GUri*>(uri)); });
  return port;
}

std::string_view header(SoupServerMessage* message, const char* name) {
  const char* const value =
      soup_message_headers_get_one(soup_server_message_get_request_headers(message), name);
  return value != nullptr ? value : "";
}

void answer(SoupServerMessage* message, const WebAnswer& answer) {
  soup_server_message_set_status(message, answer.status, nullptr);
  soup_server_message_set_response(message, answer.contentType.c_str(), SOUP_MEMORY_COPY,
                                   answer.body.data(), answer.body.size());
}

void refuse(SoupServerMessage* message, unsigned status, const char* reason) {
  // What it still sends is not kept.
  soup_message_body_set_accumulate(soup_server_message_get_request_body(message), FALSE);
  soup_message_headers_replace(soup_server_message_get_response_headers(message), "Connection",
                               "close");
  answer(message,
         {.status = status, .contentType = "text/plain", .body = std::string(reason) + "\n"});
}

}  // namespace

class LoopbackServer::Implementation {
 public:
  explicit Implementation(Handler handler)
      : handler_(std::move(handler)),
        secret_(base64Url(randomData(SecretSize).bytes())),
        server_(soup_server_new("server-header", "korvan-lab", nullptr)) {
    for (std::string& host : hosts_) {
      ports_.push_back(listenOnLoopback(server_.get(), ports_));
      host = "localhost:" + std::to_string(ports_.back());
    }
    soup_server_add_early_handler(server_.get(), nullptr, &onHeaders, this, nullptr);
    soup_server_add_handler(server_.get(), nullptr, &onRequest, this, nullptr);
  }
  Implementation(const Implementation&) = delete;
  Implementation& operator=(const Implementation&) = delete;
  ~Implementation() {
    for (SoupServerMessage* stream : std::exchange(streams_, {})) {
      g_signal_handlers_disconnect_by_data(stream, this);
      g_object_unref(stream);
    }
    soup_server_remove_handler(server_.get(), nullptr);
    soup_server_disconnect(server_.get());
  }

  [[nodiscard]] std::string url(std::size_t index) const {
    return "http://" + hosts_.at(index) + "/" + secret_ + "/";
  }

  void tell(std::string_view line) {
    const std::string event = "data: " + std::string(line) + "\n\n";
    for (SoupServerMessage* stream : streams_) {
      soup_message_body_append(soup_server_message_get_response_body(stream), SOUP_MEMORY_COPY,
                               event.data(), event.size());
      soup_server_message_unpause(stream);
    }
  }

 private:
  static void onHeaders(SoupServer* /*server*/, SoupServerMessage* message, const char* path,
                        GHashTable* /*query*/, gpointer self) {
    static_cast<Implementation*>(self)->screen(message, path);
  }
  static void onRequest(SoupServer* /*server*/, SoupServerMessage* message, const char* path,
                        GHashTable* /*query*/, gpointer self) {
    static_cast<Implementation*>(self)->serve(message, path);
  }
  static void onStreamEnd(SoupServerMessage* message, gpointer self) {
    std::erase(static_cast<Implementation*>(self)->streams_, message);
    g_object_unref(message);
  }

  /// Refuses what is not for this server, before its body is read.
  void screen(SoupServerMessage* message, std::string_view path) {
    addPolicies(message);
    const std::string_view host = header(message, "Host");
    const std::string_view method = soup_server_message_get_method(message);
    const bool isPost = method == "POST";
    if (std::ranges::find(hosts_, host) == hosts_.end()) {
      refuse(message, SOUP_STATUS_FORBIDDEN, "This server has another name.");
    } else if (!path.starts_with("/" + secret_ + "/")) {
      refuse(message, SOUP_STATUS_NOT_FOUND, "There is nothing here.");
    } else if (!isPost && method != "GET") {
      refuse(message, SOUP_STATUS_METHOD_NOT_ALLOWED, "Only GET and POST are served.");
    } else if (isPost && header(message, "Origin") != "http://" + std::string(host)) {
      refuse(message, SOUP_STATUS_FORBIDDEN, "Only this server's own pages may post.");
    } else {
      screenBody(message, isPost);
    }
  }

  static void screenBody(SoupServerMessage* message, bool isPost) {
    SoupMessageHeaders* const headers = soup_server_message_get_request_headers(message);
    const SoupEncoding encoding = soup_message_headers_get_encoding(headers);
    const bool hasLength = encoding == SOUP_ENCODING_CONTENT_LENGTH;
    if (isPost ? !hasLength : !hasLength && encoding != SOUP_ENCODING_NONE) {
      refuse(message, SOUP_STATUS_LENGTH_REQUIRED, "A body needs a Content-Length.");
    } else if (hasLength && static_cast<guint64>(soup_message_headers_get_content_length(headers)) >
                                GreatestBody) {
      refuse(message, SOUP_STATUS_REQUEST_ENTITY_TOO_LARGE, "The body is too large.");
    }
  }

  void addPolicies(SoupServerMessage* message) const {
    SoupMessageHeaders* const headers = soup_server_message_get_response_headers(message);
    const std::string policy =
        "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
        "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-src http://" +
        hosts_[1] + "; frame-ancestors http://" + hosts_[0];
    soup_message_headers_append(headers, "Content-Security-Policy", policy.c_str());
    soup_message_headers_append(headers, "X-Content-Type-Options", "nosniff");
    soup_message_headers_append(headers, "Referrer-Policy", "no-referrer");
    soup_message_headers_append(headers, "Cache-Control", "no-store");
  }

  void serve(SoupServerMessage* message, const std::string& path) {
    WebRequest request{
        .origin = "http://" + std::string(header(message, "Host")),
        .path = path.substr(secret_.size() + 2),
        .isPost = std::string_view(soup_server_message_get_method(message)) == "POST",
        .body = {}};
    if (!request.isPost && request.path == "events") {
      stream(message);
      return;
    }
    const SoupMessageBody* const body = soup_server_message_get_request_body(message);
    if (body->length > 0) {
      request.body.assign(body->data, static_cast<std::size_t>(body->length));
    }
    answer(message, handler_(request));
  }

  void stream(SoupServerMessage* message) {
    constexpr std::string_view Comment = ": the stories follow\n\n";
    SoupMessageHeaders* const headers = soup_server_message_get_response_headers(message);
    soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
    soup_message_headers_set_content_type(headers, "text/event-stream", nullptr);
    soup_message_headers_set_encoding(headers, SOUP_ENCODING_CHUNKED);
    SoupMessageBody* const body = soup_server_message_get_response_body(message);
    soup_message_body_set_accumulate(body, FALSE);
    soup_message_body_append(body, SOUP_MEMORY_STATIC, Comment.data(), Comment.size());
    streams_.push_back(static_cast<SoupServerMessage*>(g_object_ref(message)));
    g_signal_connect(message, "finished", G_CALLBACK(&onStreamEnd), this);
  }

  const Handler handler_;
  const std::string secret_;
  const Server server_;
  std::vector<int> ports_;
  std::array<std::string, 2> hosts_;
  /// Each with a reference.
  std::vector<SoupServerMessage*> streams_;
};

LoopbackServer::LoopbackServer(Handler handler)
    : implementation_(std::make_unique<Implementation>(std::move(handler))) {}

LoopbackServer::~LoopbackServer() = default;

std::string LoopbackServer::url() const { return implementation_->url(0); }

std::string LoopbackServer::embeddedUrl() const { return implementation_->url(1); }

void LoopbackServer::tell(std::string_view line) { implementation_->tell(line); }

}  // namespace korvan::lab
