// Encoding a request and decoding an answer, against libplist doing the same.
//
// Each side is timed for all that it takes: from the records to the bytes and from the bytes to the
// records, release included.

#include <array>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <plist/plist.h>

#include "bench/PairedRounds.h"
#include "platform/CredentialRequest.h"
#include "platform/Data.h"
#include "platform/PropertyList.h"
#include "platform/fake/FakePlatform.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"
#include "provider/CredentialProviderViewController.h"

namespace korvan::bench {
namespace {

/// The platform's side of an assertion, and the controller that turns it into a request.
struct AssertionRequest {
  std::shared_ptr<PasskeyCredentialRequest> credential =
      std::make_shared<PasskeyCredentialRequest>();
  std::shared_ptr<PasskeyCredentialRequestParameters> parameters =
      std::make_shared<PasskeyCredentialRequestParameters>();
  std::shared_ptr<CredentialProviderViewController> controller =
      std::make_shared<CredentialProviderViewController>(
          std::make_shared<FakePlatform>()->services());
};

struct AssertionAnswer {
  bool ok = false;
  Data userHandle;
  std::string relyingPartyIdentifier;
  Data signature;
  Data clientDataHash;
  Data authenticatorData;
  Data credentialId;
};

/// Bytes that differ from those of any other `seed`.
Data bytesOf(std::size_t size, std::uint64_t seed) {
  std::vector<std::uint8_t> data(size);
  for (std::uint8_t& byte : data) {
    seed = (seed * 6364136223846793005U) + 1442695040888963407U;
    byte = static_cast<std::uint8_t>(seed >> 56);
  }
  return data;
}

AssertionRequest requestWith(std::size_t allowedCredentials) {
  AssertionRequest request;
  request.credential->credentialIdentity =
      PasskeyCredentialIdentity{.recordIdentifier = "8F14E45F-CEEA-467F-A2D3-5C1B2E9D7A60",
                                .relyingPartyIdentifier = "example.com",
                                .userName = "alice",
                                .userHandle = bytesOf(16, 1'000'000'000),
                                .credentialID = bytesOf(32, 1'000'000'001)};
  request.parameters->relyingPartyIdentifier = "example.com";
  request.parameters->clientDataHash = bytesOf(32, 1'000'000'002);
  request.parameters->userVerificationPreference = "preferred";
  request.parameters->allowedCredentials.emplace();
  for (std::size_t index = 0; index < allowedCredentials; ++index) {
    request.parameters->allowedCredentials->emplace_back(bytesOf(32, index));
  }
  request.controller->setCredentialRequest(request.credential);
  request.controller->setRequestParameters(request.parameters);
  return request;
}

Data encodeWithProduct(const PropertyListSerialization& serialization,
                       const AssertionRequest& request) {
  const bool allowsUserInteraction = true;
  const bool interactive = true;
  return serialization
      .encodeBinary(
          request.controller->assertionRequestForRecord({}, allowsUserInteraction, interactive))
      .value_or(Data());
}

plist_t plistData(const Data& data) {
  return plist_new_data(reinterpret_cast<const char*>(data.bytes().data()), data.size());
}

std::size_t encodeWithLibplist(const AssertionRequest& request) {
  const PasskeyCredentialIdentity& identity = *request.credential->credentialIdentity;
  const PasskeyCredentialRequestParameters& parameters = *request.parameters;
  plist_t allowed = plist_new_array();
  for (const PropertyListValue& credential : *parameters.allowedCredentials) {
    plist_array_append_item(allowed, plistData(*credential.data()));
  }
  plist_t message = plist_new_dict();
  plist_dict_set_item(message, "type", plist_new_string("interactiveAssertion"));
  plist_dict_set_item(message, "recordIdentifier",
                      plist_new_string(identity.recordIdentifier->c_str()));
  plist_dict_set_item(message, "relyingPartyIdentifier",
                      plist_new_string(parameters.relyingPartyIdentifier->c_str()));
  plist_dict_set_item(message, "credentialID", plistData(*identity.credentialID));
  plist_dict_set_item(message, "allowedCredentials", allowed);
  plist_dict_set_item(message, "clientDataHash", plistData(*parameters.clientDataHash));
  plist_dict_set_item(message, "userVerificationPreference",
                      plist_new_string(parameters.userVerificationPreference->c_str()));
  plist_dict_set_item(message, "allowsUserInteraction", plist_new_bool(1));
  char* bytes = nullptr;
  std::uint32_t size = 0;
  plist_to_bin(message, &bytes, &size);
  plist_mem_free(bytes);
  plist_free(message);
  return size;
}

/// An answer's bytes, as a host that enumerates a hash table would order the keys.
Data encodedAnswer() {
  const std::string relyingParty = "example.com";
  plist_t answer = plist_new_dict();
  plist_dict_set_item(answer, "ok", plist_new_bool(1));
  plist_dict_set_item(answer, "userHandle", plistData(bytesOf(16, 1)));
  plist_dict_set_item(answer, "relyingPartyIdentifier", plist_new_string(relyingParty.c_str()));
  plist_dict_set_item(answer, "signature", plistData(bytesOf(71, 2)));
  plist_dict_set_item(answer, "clientDataHash", plistData(bytesOf(32, 3)));
  plist_dict_set_item(answer, "authenticatorData", plistData(bytesOf(37, 4)));
  plist_dict_set_item(answer, "credentialID", plistData(bytesOf(31, 5)));
  char* bytes = nullptr;
  std::uint32_t size = 0;
  plist_to_bin(answer, &bytes, &size);
  const Data copy = Data::copyOf({reinterpret_cast<const std::uint8_t*>(bytes), size});
  plist_mem_free(bytes);
  plist_free(answer);
  return copy;
}

Data dataFor(const PropertyListDictionary& dictionary, std::string_view key) {
  const auto* value = valueForKey(dictionary, key);
  return value != nullptr && value->data() != nullptr ? *value->data() : Data();
}

std::string textFor(const PropertyListDictionary& dictionary, std::string_view key) {
  const auto* value = valueForKey(dictionary, key);
  return value != nullptr && value->text() != nullptr ? std::string(value->text()->view()) : "";
}

AssertionAnswer decodeWithProduct(const PropertyListSerialization& serialization,
                                  const Data& bytes) {
  AssertionAnswer answer;
  const auto decoded = serialization.decode(bytes);
  const auto* dictionary = decoded ? decoded->dictionary() : nullptr;
  if (dictionary == nullptr) {
    return answer;
  }
  const auto* isOk = valueForKey(*dictionary, "ok");
  answer.ok = isOk != nullptr && isOk->truthValue();
  answer.userHandle = dataFor(*dictionary, "userHandle");
  answer.relyingPartyIdentifier = textFor(*dictionary, "relyingPartyIdentifier");
  answer.signature = dataFor(*dictionary, "signature");
  answer.clientDataHash = dataFor(*dictionary, "clientDataHash");
  answer.authenticatorData = dataFor(*dictionary, "authenticatorData");
  answer.credentialId = dataFor(*dictionary, "credentialID");
  return answer;
}

std::size_t takeData(plist_t dictionary, const char* key) {
  char* bytes = nullptr;
  std::uint64_t size = 0;
  plist_get_data_val(plist_dict_get_item(dictionary, key), &bytes, &size);
  benchmark::DoNotOptimize(bytes);
  std::free(bytes);
  return size;
}

/// Reads values that outlive the property list, as the product's do.
std::size_t decodeWithLibplist(const Data& bytes) {
  plist_t answer = nullptr;
  plist_from_bin(reinterpret_cast<const char*>(bytes.bytes().data()),
                 static_cast<std::uint32_t>(bytes.size()), &answer);
  std::uint8_t isOk = 0;
  plist_get_bool_val(plist_dict_get_item(answer, "ok"), &isOk);
  std::size_t total = isOk;
  total += takeData(answer, "userHandle");
  char* relyingParty = nullptr;
  plist_get_string_val(plist_dict_get_item(answer, "relyingPartyIdentifier"), &relyingParty);
  total += std::string_view(relyingParty).size();
  std::free(relyingParty);
  total += takeData(answer, "signature");
  total += takeData(answer, "clientDataHash");
  total += takeData(answer, "authenticatorData");
  total += takeData(answer, "credentialID");
  plist_free(answer);
  return total;
}

Data encodedList(const PropertyListValue::Array& items) {
  const PropertyListDictionary root{{"items", items}};
  return LinuxPropertyListSerialization().encodeBinary(root).value_or(Data());
}

void decodeWholeWithLibplist(const Data& bytes) {
  plist_t whole = nullptr;
  plist_from_bin(reinterpret_cast<const char*>(bytes.bytes().data()),
                 static_cast<std::uint32_t>(bytes.size()), &whole);
  plist_free(whole);
}

/// Whether both sides do the whole of what is timed.
bool doBothWork(const PropertyListSerialization& serialization) {
  const AssertionRequest request = requestWith(16);
  const Data bytes = encodedAnswer();
  const AssertionAnswer answer = decodeWithProduct(serialization, bytes);
  const bool isWhole = answer.ok && answer.userHandle.size() == 16 &&
                       answer.relyingPartyIdentifier == "example.com" &&
                       answer.signature.size() == 71 && answer.clientDataHash.size() == 32 &&
                       answer.authenticatorData.size() == 37 && answer.credentialId.size() == 31;
  return isWhole && decodeWithLibplist(bytes) == 1 + 16 + 11 + 71 + 32 + 37 + 31 &&
         !encodeWithProduct(serialization, request).empty() && encodeWithLibplist(request) != 0;
}

constexpr std::array<std::size_t, 5> ListSizes = {3'750, 7'500, 15'000, 30'000, 60'000};
/// In a row: several lists even of the longest, because the first one after the other side's turn
/// finds the caches full of what that left.
constexpr std::size_t ValuesPerRound = 480'000;

struct Shape {
  std::size_t count = 0;
  std::size_t callsPerRound = 0;
};

void compareEncoding(const PropertyListSerialization& serialization) {
  constexpr std::array<Shape, 4> Shapes = {
      Shape{.count = 0, .callsPerRound = 20'000}, Shape{.count = 16, .callsPerRound = 10'000},
      Shape{.count = 1'000, .callsPerRound = 200}, Shape{.count = 60'000, .callsPerRound = 2}};
  for (const auto& [count, calls] : Shapes) {
    const AssertionRequest request = requestWith(count);
    runPairedRounds(
        "encode request, " + std::to_string(count) + " allowed",
        {.rounds = 21, .callsPerRound = calls},
        [&] { benchmark::DoNotOptimize(encodeWithProduct(serialization, request)); },
        [&] { benchmark::DoNotOptimize(encodeWithLibplist(request)); });
  }
}

void compareDecoding(const PropertyListSerialization& serialization) {
  const Data answer = encodedAnswer();
  runPairedRounds(
      "decode answer, 7 keys", {.rounds = 21, .callsPerRound = 20'000},
      [&] { benchmark::DoNotOptimize(decodeWithProduct(serialization, answer)); },
      [&] { benchmark::DoNotOptimize(decodeWithLibplist(answer)); });
  for (const std::size_t count : ListSizes) {
    const Data list = encodedList(*requestWith(count).parameters->allowedCredentials);
    runPairedRounds(
        "decode " + std::to_string(count) + " values of 32 bytes",
        {.rounds = 15, .callsPerRound = ValuesPerRound / count},
        [&] { benchmark::DoNotOptimize(serialization.decode(list)); },
        [&] { decodeWholeWithLibplist(list); });
  }
}

}  // namespace
}  // namespace korvan::bench

int main() {
  // The extension has threads, and reference counts cost more once a process has had a second one.
  std::thread([] {}).join();
  const korvan::LinuxPropertyListSerialization serialization;
  if (!korvan::bench::doBothWork(serialization)) {
    std::cerr << "korvan-bench-propertylist: a request or an answer is not encoded or read whole\n";
    return EXIT_FAILURE;
  }
  std::cout << "shape, then the product's time, libplist's, and the median of their ratios\n";
  korvan::bench::compareEncoding(serialization);
  korvan::bench::compareDecoding(serialization);
  return EXIT_SUCCESS;
}
