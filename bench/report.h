#ifndef PIXMORPH_BENCH_REPORT_H_
#define PIXMORPH_BENCH_REPORT_H_

#include <fstream>
#include <string>
#include <vector>

#include "bench/measure.h"
#include "bench/peer.h"

namespace bench {

// One that takes its turn in every round of a workload.
struct Contestant {
  std::string name, what;
  TimedRun run;
  std::vector<double> milliseconds{};
};

// Plays all rounds; the first of each contestant is a warm-up and not counted. The yardstick's summary.
Summary Play(std::vector<Contestant>& line, Yardstick& yardstick, int rounds);

// Prints what was measured, and writes it to a file where one is named.
class Report {
 public:
  explicit Report(const std::string& tsv);
  // `copy` is the yardstick's time in the same rounds. [ms]
  void Add(const std::string& series, double variable, const Workload& workload,
           const std::vector<Contestant>& line, double copy);

 private:
  std::ofstream tsv_;
};

}  // namespace bench

#endif  // PIXMORPH_BENCH_REPORT_H_
