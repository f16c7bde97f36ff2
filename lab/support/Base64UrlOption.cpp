#include "lab/support/Base64UrlOption.h"

#include "lab/support/Base64Url.h"

namespace korvan::lab {

CLI::Validator isBase64Url() {
  return {[](const std::string& text) {
            return !text.empty() && fromBase64Url(text)
                       ? std::string()
                       : "\"" + text + "\" is not base64url without padding, such as AQID";
          },
          ""};
}

Data bytesOf(const std::string& text) { return fromBase64Url(text).value(); }

std::vector<Data> bytesOf(const std::vector<std::string>& texts) {
  std::vector<Data> all;
  all.reserve(texts.size());
  for (const std::string& text : texts) {
    all.push_back(bytesOf(text));
  }
  return all;
}

}  // namespace korvan::lab
