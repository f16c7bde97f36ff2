#include "lab/vectors/SamplePasskey.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include "lab/support/Base64Url.h"

namespace korvan::lab::vectors {
namespace {

Data countingFrom(std::uint8_t first, std::size_t size) {
  std::vector<std::uint8_t> bytes(size);
  for (std::uint8_t& byte : bytes) {
    byte = first++;
  }
  return Data::copyOf(bytes);
}

Data bytesOf(std::string_view base64Url) { return fromBase64Url(base64Url).value(); }

}  // namespace

Data credentialID() { return bytesOf("FhcIipRX-KMOe4NnBtzhpc4yT9sSJ0qV4Lvi8Ze5meA"); }

Data otherCredentialID() { return countingFrom(0xC0, 16); }

Data userHandle() { return countingFrom(0xA0, 16); }

Data registrationClientDataHash() { return countingFrom(0x00, 32); }

Data assertionClientDataHash() { return countingFrom(0x20, 32); }

Data attestationObject() {
  return bytesOf(
      "o2NmbXRkbm9uZWdhdHRTdG10oGhhdXRoRGF0YViko3mm9u6vuaVeN4wRgDTidR5oL6ufLTCrE9ISVYbOGUddAAAAAAAA"
      "AAAAAAAAAAAAAAAAAAAAIBYXCIqUV_ijDnuDZwbc4aXOMk_bEidKleC74vGXuZngpQECAyYgASFYINVXsr9NlcMmwAtf"
      "6ms3w4SjOtlSMp9kQmeuUfvnp3WJIlggfBPCYcEfDgDjb-gR5sfcOIuQ1ZT8_GHyqeomstkj9b0");
}

Data authenticatorData() { return bytesOf("o3mm9u6vuaVeN4wRgDTidR5oL6ufLTCrE9ISVYbOGUcdAAAAAQ"); }

Data signature() {
  return bytesOf(
      "MEUCID6ddt-MdPEqhgaBnK8N0KLEpVtxaqEggpZgo3_qbuUYAiEA2IGlmYIvh4xw4s7SZ6TvZinPbtfUQ_pVKYNOak1s"
      "rlQ");
}

}  // namespace korvan::lab::vectors
