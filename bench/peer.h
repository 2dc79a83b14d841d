#ifndef PIXMORPH_BENCH_PEER_H_
#define PIXMORPH_BENCH_PEER_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "bench/content.h"
#include "bench/workload.h"

namespace bench {

// CRC-32 of the colours of `count` pixels; the top bytes don't count.
std::uint32_t ColourChecksum(const std::uint32_t* pixels, std::size_t count);

// One timed run of a prepared workload; returns milliseconds.
using TimedRun = std::function<double()>;

// A library to measure against. What it computes is the nearest it has to the workload's method, named by
// `Label`.
class Peer {
 public:
  virtual ~Peer() = default;
  virtual std::string Name() const = 0;
  // An empty function where the library has nothing comparable. `what` receives the call it makes.
  virtual TimedRun Prepare(const Workload& workload, std::string* what) = 0;
};

// Milliseconds that `work` takes.
double TimeOf(const std::function<void()>& work);

// Not a library: reads the source once and writes the result once, which nobody can do without.
std::unique_ptr<Peer> MakeMemoryFloor();

// Which instructions the libraries may use: all that the processor has, or none beyond these. Those that
// can't be told go on with what they have.
enum class PeerLevel { kBest, kAvx2, kSse2 };

// For the libraries that read it from the environment; before the first of them is made.
void LimitByEnvironment(PeerLevel level);

// Each gives null when the library isn't installed.
std::unique_ptr<Peer> MakePixman();
std::unique_ptr<Peer> MakeGdkPixbuf();
std::unique_ptr<Peer> MakeSwscale(PeerLevel level);
std::unique_ptr<Peer> MakeZimg(PeerLevel level);
std::unique_ptr<Peer> MakeStb();
// A Python process that runs Pillow and OpenCV in 64 bits, pinned like this one. `module` is "pillow" or
// "opencv".
std::unique_ptr<Peer> MakePython(const std::string& module, const std::string& script);

}  // namespace bench

#endif  // PIXMORPH_BENCH_PEER_H_
