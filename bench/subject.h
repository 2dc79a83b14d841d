#ifndef PIXMORPH_BENCH_SUBJECT_H_
#define PIXMORPH_BENCH_SUBJECT_H_

#include <string>

#include "bench/peer.h"

namespace bench {

// The plugin itself, linked in as its core so that a level can be forced, running in the stand-in runtime.
class Subject {
 public:
  // `isa` names a level, or is empty for the best one; `store` is console, cairo, cairo-alpha or gdk. Throws
  // std::runtime_error for a level that this processor lacks.
  Subject(const std::string& isa, const std::string& store);

  // Whether subjects with other stores can be there at the same time: not in a runtime, of which there is one.
  static bool MixesStores();

  std::string Level() const { return level_; }
  // The result picture is made and dropped within the timed run, as an application would.
  // `interval` is the method's yield argument.
  TimedRun Prepare(const Workload& workload, int interval = 0);
  // Checksum of the result's colours.
  std::uint32_t Checksum(const Workload& workload);
  // The longest time without a yield, from the call to its end, with an interval of 10 milliseconds. [ms]
  double LongestGap(const Workload& workload);
  // The most memory that the plugin itself held at once, pictures left out; -1 where it can't be counted.
  // [bytes]
  long long PeakBytes(const Workload& workload);

 private:
  std::string store_;
  std::string level_;
  bool alpha_ = false;
};

}  // namespace bench

#endif  // PIXMORPH_BENCH_SUBJECT_H_
