#include "bench/report.h"

#include <cstdio>

namespace bench {

Summary Play(std::vector<Contestant>& line, Yardstick& yardstick, int rounds) {
  std::vector<double> copies;
  for (int round = 0; round <= rounds; ++round) {
    const double copy = yardstick.Run();
    if (round > 0) copies.push_back(copy);
    // Whoever comes first finds the caches as the yardstick left them: everyone does in turn.
    for (std::size_t n = 0; n < line.size(); ++n) {
      Contestant& contestant = line[(n + static_cast<std::size_t>(round)) % line.size()];
      const double milliseconds = contestant.run();
      if (round > 0) contestant.milliseconds.push_back(milliseconds);
    }
  }
  return Summarize(copies);
}

Report::Report(const std::string& tsv) {
  if (tsv.empty()) return;
  tsv_.open(tsv);
  tsv_ << "series\tvariable\tworkload\tcontestant\twhat\tms\tspread_ms\tratio\tgoal\tstretch\n";
}

void Report::Add(const std::string& series, double variable, const Workload& workload,
                 const std::vector<Contestant>& line, double copy) {
  for (const Contestant& c : line) {
    const Summary s = Summarize(c.milliseconds);
    const double ratio = s.median / copy;
    const char* verdict = &c != &line[0] || workload.goal == 0 ? ""
                          : ratio <= workload.stretch          ? "stretch"
                          : ratio <= workload.goal             ? "goal"
                                                               : "behind";
    std::printf("%-22s %-18s %-28s %8.3f ms ±%6.3f  %6.3f × %s\n",
                &c == &line[0] ? workload.name.c_str() : "", c.name.c_str(), c.what.c_str(), s.median,
                s.spread, ratio, verdict);
    tsv_ << series << '\t' << variable << '\t' << workload.name << '\t' << c.name << '\t' << c.what << '\t'
         << s.median << '\t' << s.spread << '\t' << ratio << '\t' << workload.goal << '\t' << workload.stretch
         << '\n';
  }
  std::fflush(stdout);
}

}  // namespace bench
