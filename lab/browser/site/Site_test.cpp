#include "lab/browser/site/Site.h"

#include <array>
#include <atomic>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "lab/support/Descriptor.h"
#include "lab/support/SystemError.h"

namespace korvan::lab {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

Descriptor connectedTo(int port) {
  Descriptor connection(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  requireSystem(connection.get() >= 0, "making a socket");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<in_port_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  requireSystem(
      ::connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
      "connecting");
  return connection;
}

/// Reads until `end` has come, or the other side closes.
std::string readUntil(const Descriptor& connection, std::string_view end) {
  std::string all;
  std::array<char, 4096> part{};
  while (end.empty() || all.find(end) == std::string::npos) {
    const ssize_t size = ::recv(connection.get(), part.data(), part.size(), 0);
    if (size <= 0) {
      break;
    }
    all.append(part.data(), static_cast<std::size_t>(size));
  }
  return all;
}

void sendAll(const Descriptor& connection, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t size = ::send(connection.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (size <= 0) {
      return;  // The site may have closed: what it answered is what counts.
    }
    bytes.remove_prefix(static_cast<std::size_t>(size));
  }
}

/// Runs `client` on a thread, and the site's main context here until it is done.
template <typename Client>
auto served(Client client) {
  std::optional<decltype(client())> result;
  std::atomic<bool> done = false;
  std::thread thread([&] {
    result = client();
    done = true;
    g_main_context_wakeup(nullptr);
  });
  while (!done) {
    g_main_context_iteration(nullptr, TRUE);
  }
  thread.join();
  return std::move(*result);
}

class SiteTest : public testing::Test {
 protected:
  [[nodiscard]] std::string host() const {
    const std::string url = site_->url();
    const auto start = std::string_view("http://").size();
    return url.substr(start, url.find('/', start) - start);
  }
  [[nodiscard]] int port() const { return std::stoi(host().substr(host().find(':') + 1)); }
  /// Below the host, with the secret.
  [[nodiscard]] std::string path(std::string_view file = "") const {
    return site_->url().substr(std::string_view("http://").size() + host().size()) +
           std::string(file);
  }

  /// Sends these bytes, and returns what comes until the site closes the connection.
  [[nodiscard]] std::string exchange(std::string_view bytes) const {
    const int where = port();
    return served([&] {
      const Descriptor connection = connectedTo(where);
      sendAll(connection, bytes);
      return readUntil(connection, "");
    });
  }
  [[nodiscard]] std::string request(const std::string& method, const std::string& target,
                                    const std::string& headers,
                                    const std::string& body = "") const {
    return exchange(method + " " + target + " HTTP/1.1\r\nConnection: close\r\n" + headers +
                    "\r\n" + body);
  }
  [[nodiscard]] std::string get(const std::string& target) const {
    return request("GET", target, "Host: " + host() + "\r\n");
  }
  [[nodiscard]] std::string post(const std::string& file, const std::string& body) const {
    return request("POST", path(file),
                   "Host: " + host() + "\r\nOrigin: http://" + host() +
                       "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n",
                   body);
  }
  /// The site's answer as JSON.
  [[nodiscard]] nlohmann::json posted(const std::string& file, const nlohmann::json& body) const {
    const std::string answer = post(file, body.dump());
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 "));
    return nlohmann::json::parse(answer.substr(answer.find("\r\n\r\n")));
  }

  std::optional<Site> site_ = std::optional<Site>(std::in_place);
};

TEST_F(SiteTest, ServesThePageAndItsFiles) {
  EXPECT_THAT(get(path()), testing::AllOf(StartsWith("HTTP/1.1 200 "),
                                          HasSubstr("Content-Type: text/html; charset=utf-8"),
                                          HasSubstr("<h1>Passkeys in the lab</h1>")));
  EXPECT_THAT(get(path("?run")), StartsWith("HTTP/1.1 200 "));
  EXPECT_THAT(get(path("page.css")), HasSubstr("Content-Type: text/css"));
  EXPECT_THAT(get(path("page.js")), HasSubstr("Content-Type: text/javascript"));
  EXPECT_THAT(get(path("icon.svg")), HasSubstr("Content-Type: image/svg+xml"));
}

TEST_F(SiteTest, LetsThePageLoadNothingFromElsewhere) {
  EXPECT_THAT(get(path()),
              testing::AllOf(HasSubstr("Content-Security-Policy: default-src 'none'; script-src "
                                       "'self'; style-src 'self'; "),
                             HasSubstr("frame-ancestors http://" + host() + "\r\n"),
                             HasSubstr("Referrer-Policy: no-referrer"),
                             HasSubstr("X-Content-Type-Options: nosniff")));
}

TEST_F(SiteTest, HasAnotherSecretEachTime) {
  const Site other;
  EXPECT_NE(other.url().substr(other.url().rfind('/', other.url().size() - 2)),
            site_->url().substr(site_->url().rfind('/', site_->url().size() - 2)));
  EXPECT_EQ(path().size(), 45U);
}

TEST_F(SiteTest, ServesNothingWithoutTheSecret) {
  std::string wrong = path();
  wrong[1] = wrong[1] == 'A' ? 'B' : 'A';
  for (const std::string& target :
       {std::string("/"), std::string("/index.html"), wrong, path().substr(0, path().size() - 1),
        path("missing.html"), "/x" + path(), path("../")}) {
    EXPECT_THAT(get(target), StartsWith("HTTP/1.1 404 ")) << target;
  }
}

TEST_F(SiteTest, RefusesAnotherHostName) {
  const std::string bare = std::to_string(port());
  for (const std::string& name :
       {std::string("evil.example:") + bare, "127.0.0.1:" + bare, std::string("localhost"),
        std::string("localhost:1"), "localhost.evil.example:" + bare}) {
    EXPECT_THAT(request("GET", path(), "Host: " + name + "\r\n"), StartsWith("HTTP/1.1 403 "))
        << name;
  }
  EXPECT_THAT(exchange("GET " + path() + " HTTP/1.0\r\n\r\n"), HasSubstr(" 403 "));
}

TEST_F(SiteTest, RefusesPostsFromAnotherOrigin) {
  const std::string body = R"({"ceremony":"get","userVerification":"preferred"})";
  const std::string headers =
      "Host: " + host() + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
  for (const std::string& origin :
       {std::string("Origin: http://evil.example\r\n"), std::string("Origin: null\r\n"),
        "Origin: https://" + host() + "\r\n", std::string()}) {
    EXPECT_THAT(request("POST", path("options"), headers + origin, body),
                StartsWith("HTTP/1.1 403 "))
        << origin;
  }
  EXPECT_THAT(post("options", body), StartsWith("HTTP/1.1 200 "));
}

TEST_F(SiteTest, RefusesOtherMethods) {
  for (const char* const method : {"PUT", "DELETE", "OPTIONS", "HEAD", "MADE-UP"}) {
    EXPECT_THAT(request(method, path(), "Host: " + host() + "\r\nContent-Length: 0\r\n"),
                StartsWith("HTTP/1.1 405 "))
        << method;
  }
  EXPECT_THAT(post("page.js", "{}"), StartsWith("HTTP/1.1 404 "));
}

TEST_F(SiteTest, RefusesBodiesThatAreTooLargeOrOfUnknownSize) {
  EXPECT_THAT(post("options", std::string(LoopbackServer::GreatestBody + 1, ' ')),
              StartsWith("HTTP/1.1 413 "));
  EXPECT_THAT(request("POST", path("options"),
                      "Host: " + host() + "\r\nOrigin: http://" + host() +
                          "\r\nTransfer-Encoding: chunked\r\n",
                      "2\r\n{}\r\n0\r\n\r\n"),
              StartsWith("HTTP/1.1 411 "));
}

TEST_F(SiteTest, SaysWhatIsWrongWithABody) {
  EXPECT_THAT(post("options", "{"),
              testing::AllOf(StartsWith("HTTP/1.1 400 "), HasSubstr("parse error")));
  EXPECT_THAT(post("options", R"({"ceremony":"dance","userVerification":"preferred"})"),
              testing::AllOf(StartsWith("HTTP/1.1 400 "), EndsWith("ceremony is create or get\n")));
  EXPECT_THAT(post("credentials", R"({"challenge":"AAAA","credential":{}})"),
              StartsWith("HTTP/1.1 400 "));
  EXPECT_THAT(post("options", std::string(100'000, '[')),
              testing::AllOf(StartsWith("HTTP/1.1 400 "),
                             EndsWith("the JSON nests deeper than 16 levels\n")));
}

TEST_F(SiteTest, JudgesACredential) {
  const auto options = posted("options", {{"ceremony", "get"}, {"userVerification", "preferred"}});
  const auto review =
      posted("credentials",
             {{"challenge", options.at("challenge")},
              {"credential", {{"rawId", "AAAA"}, {"response", {{"clientDataJSON", "e30"}}}}}});
  EXPECT_FALSE(review.at("verified"));
  EXPECT_EQ(review.at("findings").at(0).at("words"), "the client data's type is another");
  EXPECT_EQ(review.at("findings").at(0).at("got"), "no such member");
}

TEST_F(SiteTest, TellsThePageWhatItKnows) {
  EXPECT_THAT(get(path("state")), testing::AllOf(HasSubstr(R"("passkeys":[])"),
                                                 HasSubstr(R"("embeddedUrl":"http://localhost:)")));
}

TEST_F(SiteTest, TellsStoriesToEveryOpenPage) {
  const int where = port();
  const std::string ask = "GET " + path("events") + " HTTP/1.1\r\nHost: " + host() + "\r\n\r\n";
  const Descriptor first = connectedTo(where);
  const Descriptor second = connectedTo(where);
  for (const Descriptor* page : {&first, &second}) {
    const std::string opening = served([&] {
      sendAll(*page, ask);
      return readUntil(*page, "follow\n\n\r\n");
    });
    EXPECT_THAT(opening, HasSubstr("Content-Type: text/event-stream"));
  }
  site_->tell({{"id", 1}, {"reason", "first\nline"}});
  site_->tell({{"id", 2}, {"reason", "not UTF-8: \xff"}});
  for (const Descriptor* page : {&first, &second}) {
    const std::string stories = served([&] { return readUntil(*page, "\"id\":2"); });
    EXPECT_THAT(stories, HasSubstr("data: {\"id\":1,\"reason\":\"first\\nline\"}\n\n"));
  }
}

TEST_F(SiteTest, GoesOnAfterAPageHasGone) {
  const int where = port();
  const std::string ask = "GET " + path("events") + " HTTP/1.1\r\nHost: " + host() + "\r\n\r\n";
  served([&] {
    const Descriptor page = connectedTo(where);
    sendAll(page, ask);
    return readUntil(page, "follow\n\n\r\n");
  });
  for (int count = 0; count < 3; ++count) {
    site_->tell({{"id", count}});
    EXPECT_THAT(get(path()), StartsWith("HTTP/1.1 200 "));
  }
}

TEST_F(SiteTest, CallsWhenAPageHasRunByItself) {
  std::vector<bool> calls;
  site_->onFinished = [&](bool well) { calls.push_back(well); };
  EXPECT_EQ(posted("finished", {{"well", true}}), nlohmann::json::object());
  EXPECT_EQ(posted("finished", {{"well", false}}), nlohmann::json::object());
  EXPECT_THAT(calls, testing::ElementsAre(true, false));
}

TEST_F(SiteTest, ServesTheSameInAnotherOrigin) {
  const std::string state = get(path("state"));
  const auto url = nlohmann::json::parse(state.substr(state.find("\r\n\r\n")))
                       .at("embeddedUrl")
                       .get<std::string>();
  const int other = std::stoi(url.substr(url.rfind(':') + 1));
  EXPECT_NE(other, port());
  const std::string page = served([&] {
    const Descriptor connection = connectedTo(other);
    sendAll(connection, "GET " + path("frame.html") + " HTTP/1.1\r\nConnection: close\r\nHost: " +
                            "localhost:" + std::to_string(other) + "\r\n\r\n");
    return readUntil(connection, "");
  });
  EXPECT_THAT(page, StartsWith("HTTP/1.1 200 "));
}

TEST_F(SiteTest, ListensNoLongerThanItLives) {
  const int where = port();
  const std::string ask = "GET " + path("events") + " HTTP/1.1\r\nHost: " + host() + "\r\n\r\n";
  const Descriptor page = connectedTo(where);
  served([&] {
    sendAll(page, ask);
    return readUntil(page, "follow\n\n\r\n");
  });
  site_.reset();
  EXPECT_EQ(served([&] { return readUntil(page, ""); }), "");
  EXPECT_THROW(connectedTo(where), std::system_error);
}

}  // namespace
}  // namespace korvan::lab
