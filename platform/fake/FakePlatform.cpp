#include "platform/fake/FakePlatform.h"

#include <cerrno>
#include <span>
#include <utility>

namespace korvan {
namespace {

constexpr std::size_t PrefixSize = 4;

Data bodyOf(const FakePeer::Bytes& frame) {
  return Data::copyOf(std::span(frame).subspan(PrefixSize));
}

}  // namespace

FakePeer::Bytes framed(std::span<const std::uint8_t> body) {
  FakePeer::Bytes frame;
  for (const unsigned shift : {24U, 16U, 8U, 0U}) {
    frame.push_back(static_cast<std::uint8_t>(body.size() >> shift));
  }
  frame.insert(frame.end(), body.begin(), body.end());
  return frame;
}

std::shared_ptr<const Services> FakePlatform::services() {
  return {shared_from_this(), &services_};
}

FakePeer FakePlatform::answering(Host host) {
  FakePeer peer;
  peer.answer = [this, host = std::move(host)](const FakePeer::Bytes& frame) {
    const auto request = propertyLists.decode(bodyOf(frame));
    requests.push_back(*request.value().dictionary());
    return framed(propertyLists.bytesFor(host(requests.back())).bytes());
  };
  return peer;
}

FakePeer FakePlatform::answeringGarbage() {
  FakePeer peer;
  peer.answer = [](const FakePeer::Bytes&) { return framed(std::vector<std::uint8_t>{1, 2, 3}); };
  return peer;
}

FakePeer FakePlatform::refusing() {
  FakePeer peer;
  peer.connectErrno = ECONNREFUSED;
  return peer;
}

}  // namespace korvan
