#pragma once

#include <cstdint>
#include <vector>

// Reproducible random numbers for tests. A failing expectation within the life of a Random prints its seed.
namespace test {

class Random {
 public:
  // The seed of the run (PIXMORPH_SEED in the environment, else fixed), varied by `stream`.
  explicit Random(std::uint64_t stream = 0);
  ~Random();
  Random(const Random&) = delete;
  Random& operator=(const Random&) = delete;

  std::uint64_t Seed() const { return seed_; }
  std::uint32_t Next();            // all 32 bits
  int Between(int low, int high);  // both included
  double Real(double low, double high);
  bool OneIn(int n) { return Between(1, n) == 1; }
  std::uint8_t Byte() { return static_cast<std::uint8_t>(Next()); }
  template <class T>
  const T& Pick(const std::vector<T>& from) {
    return from[static_cast<std::size_t>(Between(0, static_cast<int>(from.size()) - 1))];
  }
  // Pixels with plain noise, flat runs, and extremes (0 and 255) mixed, top byte random.
  std::vector<std::uint32_t> Pixels(int count);
  std::vector<std::uint8_t> Bytes(int count);

 private:
  std::uint64_t seed_;
  std::uint64_t state_;
  void* trace_;
};

}  // namespace test
