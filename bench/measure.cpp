#include "bench/measure.h"

#include <sched.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include "bench/peer.h"
#include "kernels/levels.h"
#include "support/wide_registers.h"

namespace bench {

namespace kernels = pixmorph::kernels;

double TimeOf(const std::function<void()>& work) {
  // Another contestant's AVX code may have slowed the thread's SSE code for good.
  static const std::uint32_t states = kernels::TableOf(kernels::BestLevel()).wideStates;
  { const pixmorph::WideRegisters fresh(states); }
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

std::uint32_t ColourChecksum(const std::uint32_t* pixels, std::size_t count) {
  std::uint32_t crc = 0xFFFFFFFFu;
  for (std::size_t i = 0; i < count; ++i)
    for (int shift = 0; shift < 24; shift += 8) {
      crc ^= pixels[i] >> shift & 255u;
      for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0);
    }
  return ~crc;
}

Summary Summarize(std::vector<double> samples) {
  if (samples.empty()) return {};
  std::sort(samples.begin(), samples.end());
  const std::size_t n = samples.size();
  const double median = n % 2 ? samples[n / 2] : (samples[n / 2 - 1] + samples[n / 2]) / 2;
  return {median, samples[n * 3 / 4] - samples[n / 4]};
}

Yardstick::Yardstick() : from_(4000u * 3000u * 4u, 1), to_(from_.size(), 2) {}

double Yardstick::Run() {
  return TimeOf([this] {
    std::memcpy(to_.data(), from_.data(), to_.size());
    asm volatile("" : : "r"(to_.data()) : "memory");
  });
}

namespace {

double NowMilliseconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double, std::milli>(now).count();
}

}  // namespace

void GapWatch::Start() { last_ = NowMilliseconds(); }

void GapWatch::Mark() {
  const double now = NowMilliseconds();
  longest_ = std::max(longest_, now - last_);
  last_ = now;
}

std::vector<std::string> LevelsHere() {
  std::vector<std::string> names;
  for (int i = static_cast<int>(kernels::BestLevel()); i >= 0; --i)
    names.emplace_back(kernels::TableOf(static_cast<kernels::Level>(i)).name);
  return names;
}

void ForceLevelNamed(const std::string& name) {
  for (int i = 0; i < kernels::kLevelCount; ++i) {
    const auto level = static_cast<kernels::Level>(i);
    if (name != kernels::TableOf(level).name) continue;
    if (kernels::ForceLevel(level)) return;
    throw std::runtime_error("this processor can't run level " + name);
  }
  throw std::runtime_error("unknown level '" + name + "'; levels are scalar, sse2, sse41, avx2, avx512");
}

int PinToOneCore() {
  cpu_set_t allowed;
  if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) return -1;
  for (int core = CPU_SETSIZE - 1; core >= 0; --core)
    if (CPU_ISSET(core, &allowed)) {
      CPU_ZERO(&allowed);
      CPU_SET(core, &allowed);
      return sched_setaffinity(0, sizeof allowed, &allowed) == 0 ? core : -1;
    }
  return -1;
}

std::string ProcessorName() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);)
    if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
  return "unknown processor";
}

}  // namespace bench
