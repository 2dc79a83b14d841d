#include <emmintrin.h>

#include <cstdlib>
#include <cstring>

#include "bench/peer.h"

namespace bench {
namespace {

// Something that depends on every 64 bytes.
int Read(const void* memory, std::size_t bytes) {
  const auto* at = static_cast<const __m128i*>(memory);
  __m128i a = _mm_setzero_si128(), b = a, c = a, d = a;
  for (std::size_t n = bytes / 64; n > 0; --n, at += 4) {
    a = _mm_or_si128(a, _mm_loadu_si128(at)), b = _mm_or_si128(b, _mm_loadu_si128(at + 1));
    c = _mm_or_si128(c, _mm_loadu_si128(at + 2)), d = _mm_or_si128(d, _mm_loadu_si128(at + 3));
  }
  return _mm_cvtsi128_si32(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d)));
}

class MemoryFloor : public Peer {
 public:
  std::string Name() const override { return "memory"; }

  TimedRun Prepare(const Workload& w, std::string* what) override {
    *what = "read source, write result";
    auto from = std::make_shared<Bitmap>(w.sourceWidth, w.sourceHeight, 1);
    auto to = std::make_shared<Bitmap>(w.width, w.height, 2);
    return [from, to] {
      return TimeOf([&] {
        const int bits = Read(from->pixels.data(), from->pixels.size() * 4);
        std::memset(to->pixels.data(), bits, to->pixels.size() * 4);
        asm volatile("" : : "r"(to->pixels.data()) : "memory");
      });
    };
  }
};

}  // namespace

std::unique_ptr<Peer> MakeMemoryFloor() { return std::make_unique<MemoryFloor>(); }

void LimitByEnvironment(PeerLevel level) {
  if (level == PeerLevel::kAvx2) setenv("OPENCV_CPU_DISABLE", "AVX512-SKX", 1);
  if (level != PeerLevel::kSse2) return;
  setenv("PIXMAN_DISABLE", "ssse3", 1);
  setenv("OPENCV_CPU_DISABLE", "SSSE3,SSE4.1,POPCNT,SSE4.2,AVX,FP16,AVX2,FMA3,AVX512-SKX", 1);
}

}  // namespace bench
