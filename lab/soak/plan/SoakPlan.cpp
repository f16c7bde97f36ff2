#include "lab/soak/plan/SoakPlan.h"

#include <cstring>
#include <fstream>
#include <stdexcept>

namespace korvan::lab::soak {
namespace {

enum Purpose : std::uint8_t { chooseAsk, chooseBehaviour, firstFree };

constexpr std::size_t FieldSize = 32;

/// SplitMix64's output function: every bit of the result depends on every bit of the input.
/// https://doi.org/10.1145/2714064.2660195
constexpr std::uint64_t mixed(std::uint64_t value) {
  value += 0x9E3779B97F4A7C15U;
  value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
  value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
  return value ^ (value >> 31U);
}

constexpr std::uint64_t chosen(std::uint64_t seed, std::uint64_t number, std::uint64_t purpose) {
  return mixed(mixed(mixed(seed) ^ number) ^ purpose);
}

constexpr unsigned sumOfWeights() {
  unsigned sum = 0;
  for (const BehaviourTraits& traits : Behaviours) {
    sum += traits.weight;
  }
  return sum;
}

constexpr unsigned SumOfWeights = sumOfWeights();

Behaviour behaviourAt(std::uint64_t weight) {
  for (const BehaviourTraits& traits : Behaviours) {
    if (weight < traits.weight) {
      return traits.behaviour;
    }
    weight -= traits.weight;
  }
  return Behaviour::answer;
}

}  // namespace

SoakPlan SoakPlan::readFrom(const std::filesystem::path& file) {
  std::ifstream stream(file);
  std::uint64_t seed = 0;
  if (!(stream >> seed)) {
    throw std::runtime_error(file.string() + " cannot be read or does not start with a seed.");
  }
  std::string name;
  if (!(stream >> name)) {
    return SoakPlan(seed);
  }
  const auto always = behaviourNamed(name);
  if (!always) {
    throw std::runtime_error(file.string() + " names the behaviour \"" + name +
                             "\", which is unknown.");
  }
  return SoakPlan(seed, always);
}

void SoakPlan::writeTo(const std::filesystem::path& file) const {
  std::ofstream stream(file);
  stream << seed_;
  if (always_) {
    stream << ' ' << nameOf(*always_);
  }
  stream.close();
  if (!stream) {
    throw std::runtime_error(file.string() + " cannot be written.");
  }
}

Ask SoakPlan::askOf(std::uint64_t number) const {
  return Asks[chosen(seed_, number, chooseAsk) % Asks.size()].ask;
}

Behaviour SoakPlan::behaviourOf(std::uint64_t number) const {
  return always_.value_or(behaviourAt(chosen(seed_, number, chooseBehaviour) % SumOfWeights));
}

std::uint64_t SoakPlan::choiceFor(std::uint64_t number, std::uint64_t purpose) const {
  return chosen(seed_, number, firstFree + purpose);
}

std::string SoakPlan::relyingPartyOf(std::uint64_t number) {
  return "n" + std::to_string(number) + ".example";
}

Data SoakPlan::dataOf(std::uint64_t number, std::string_view field) const {
  std::uint64_t word = chosen(seed_, number, firstFree);
  for (const char character : field) {
    word = mixed(word ^ static_cast<unsigned char>(character));
  }
  MutableData data = MutableData::uninitialized(FieldSize);
  for (std::size_t at = 0; at < FieldSize; at += sizeof word) {
    word = mixed(word);
    std::memcpy(data.bytes().data() + at, &word, sizeof word);
  }
  return std::move(data).freeze();
}

}  // namespace korvan::lab::soak
