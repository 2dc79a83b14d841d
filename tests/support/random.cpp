#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace test {
namespace {

std::uint64_t SeedOfRun() {
  const char* text = std::getenv("PIXMORPH_SEED");
  return text == nullptr ? 20151u : std::strtoull(text, nullptr, 0);
}

}  // namespace

Random::Random(std::uint64_t stream)
    : seed_(SeedOfRun()),
      state_(seed_ ^ (stream * 0x9E3779B97F4A7C15u)),
      trace_(new testing::ScopedTrace(__FILE__, __LINE__, "PIXMORPH_SEED=" + std::to_string(seed_))) {}

Random::~Random() { delete static_cast<testing::ScopedTrace*>(trace_); }

std::uint32_t Random::Next() {
  state_ += 0x9E3779B97F4A7C15u;
  std::uint64_t z = state_;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
  return static_cast<std::uint32_t>((z ^ (z >> 31)) >> 32);
}

int Random::Between(int low, int high) {
  const std::uint64_t range = static_cast<std::uint64_t>(std::int64_t{high} - low) + 1;
  return static_cast<int>(low + static_cast<std::int64_t>((Next() * range) >> 32));
}

double Random::Real(double low, double high) { return low + (high - low) * (Next() / 4294967296.0); }

std::vector<std::uint32_t> Random::Pixels(int count) {
  std::vector<std::uint32_t> pixels;
  pixels.reserve(static_cast<std::size_t>(count));
  while (static_cast<int>(pixels.size()) < count) {
    const int kind = Between(0, 3);
    const std::uint32_t flat = kind == 1 ? 0xFFFFFFFFu : kind == 2 ? 0u : Next();
    for (int run = Between(1, 9); run > 0 && static_cast<int>(pixels.size()) < count; --run) {
      pixels.push_back(kind == 0 ? Next() : flat);
    }
  }
  return pixels;
}

std::vector<std::uint8_t> Random::Bytes(int count) {
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(count));
  for (auto& byte : bytes) byte = Byte();
  return bytes;
}

}  // namespace test
