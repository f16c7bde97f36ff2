#include "lab/browser/site/Site.h"

#include <algorithm>
#include <exception>

#include "lab/browser/site/PageFiles.h"
#include "lab/browser/site/ShallowJson.h"

namespace korvan::lab {
namespace {

/// What a page sends may hold anything, and so may what is said of it.
std::string textOf(const nlohmann::json& value) {
  return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

WebAnswer jsonAnswer(const nlohmann::json& body) {
  return {.contentType = "application/json", .body = textOf(body)};
}

WebAnswer refusal(unsigned status, const std::string& reason) {
  return {.status = status, .contentType = "text/plain; charset=utf-8", .body = reason + "\n"};
}

WebAnswer pageFile(std::string_view name) {
  const auto files = pageFiles();
  const auto file = std::ranges::find(files, name, &PageFile::name);
  return file == files.end() ? refusal(404, "There is nothing here.")
                             : WebAnswer{.contentType = std::string(file->contentType),
                                         .body = std::string(file->contents)};
}

}  // namespace

Site::Site() : server_([this](const WebRequest& request) { return answer(request); }) {}

void Site::tell(const nlohmann::json& story) { server_.tell(textOf(story)); }

WebAnswer Site::answer(const WebRequest& request) noexcept {
  try {
    if (request.isPost) {
      return answerPost(request);
    }
    return request.path == "state" ? jsonAnswer({{"passkeys", ceremonies_.passkeys()},
                                                 {"embeddedUrl", server_.embeddedUrl()}})
                                   : pageFile(request.path);
  } catch (const std::exception& error) {
    return refusal(400, error.what());
  }
}

WebAnswer Site::answerPost(const WebRequest& request) {
  const auto body = shallowJson(request.body);
  if (request.path == "options") {
    return jsonAnswer(ceremonies_.begin(body));
  }
  if (request.path == "credentials") {
    const bool embedded = !server_.url().starts_with(request.origin + "/");
    return jsonAnswer(ceremonies_.finish(body, {.origin = request.origin, .embedded = embedded}));
  }
  if (request.path == "finished") {
    if (onFinished) {
      onFinished(body.at("well").get<bool>());
    }
    return jsonAnswer(nlohmann::json::object());
  }
  return refusal(404, "There is nothing to post to here.");
}

}  // namespace korvan::lab
