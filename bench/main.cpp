#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <fstream>

#include "bench/measure.h"
#include "bench/peer.h"
#include "bench/report.h"
#include "bench/subject.h"
#include "bench/workload.h"

// Measures the five methods against each other's peers: all contestants of a workload take turns in every
// round, so that drift of the machine touches all of them alike. Results are multiples of the yardstick.
namespace {

using namespace bench;

struct Options {
  std::string isa, filter, tsv, script = "bench/peer_python.py", sweep;
  std::string store = "console";
  int rounds = 7;
  bool list = false, peers = false, levels = false, stores = false, contents = false, gaps = false,
       memory = false, checksums = false;
};

std::vector<std::unique_ptr<Peer>> MakePeers(const Options& options) {
  std::vector<std::unique_ptr<Peer>> peers;
  if (!options.peers) return peers;
  const auto add = [&peers](const char* name, std::unique_ptr<Peer> peer) {
    if (peer)
      peers.push_back(std::move(peer));
    else
      std::fprintf(stderr, "bench: %s is not installed, going on without it\n", name);
  };
  const PeerLevel level = options.isa == "sse2"   ? PeerLevel::kSse2
                          : options.isa == "avx2" ? PeerLevel::kAvx2
                                                  : PeerLevel::kBest;
  LimitByEnvironment(level);
  add("memory", MakeMemoryFloor());
  add("pixman", MakePixman());
  add("gdk-pixbuf", MakeGdkPixbuf());
  add("libswscale", MakeSwscale(level));
  add("zimg", MakeZimg(level));
  add("stb_image_resize", MakeStb());
  add("Pillow", MakePython("pillow", options.script));
  add("OpenCV", MakePython("opencv", options.script));
  return peers;
}

std::vector<Contestant> Line(Subject& subject, const std::vector<std::unique_ptr<Peer>>& peers,
                             const Workload& workload) {
  std::vector<Contestant> line;
  line.push_back({"pixmorph", subject.Level(), subject.Prepare(workload)});
  for (const auto& peer : peers) {
    std::string what;
    if (TimedRun run = peer->Prepare(workload, &what)) line.push_back({peer->Name(), what, run});
  }
  return line;
}

// Those that the filter lets through; a whole name means that one alone.
std::vector<Workload> Chosen(const Options& options) {
  std::vector<Workload> chosen;
  for (const Workload& workload : StandardWorkloads()) {
    if (workload.name == options.filter) return {workload};
    if (workload.name.find(options.filter) != std::string::npos) chosen.push_back(workload);
  }
  return chosen;
}

void PrintList(const Options& options) {
  for (const Workload& w : Chosen(options))
    std::printf("%s\t%d\n", w.name.c_str(), std::max(w.sourceWidth * w.sourceHeight, w.width * w.height));
}

void RunTable(const Options& options, Subject& subject) {
  const auto peers = MakePeers(options);
  Yardstick yardstick;
  Report report(options.tsv);
  for (const Workload& workload : Chosen(options)) {
    auto line = Line(subject, peers, workload);
    const Summary copy = Play(line, yardstick, options.rounds);
    report.Add("table", 0, workload, line, copy.median);
  }
}

// The same work on every level that this processor has, in turns.
void RunLevels(const Options& options, Subject& subject) {
  Yardstick yardstick;
  Report report(options.tsv);
  for (const Workload& workload : Chosen(options)) {
    const TimedRun run = subject.Prepare(workload);
    std::vector<Contestant> line;
    for (const std::string& level : LevelsHere())
      line.push_back({level, "", [run, level] { return ForceLevelNamed(level), run(); }});
    const Summary copy = Play(line, yardstick, options.rounds);
    report.Add("levels", 0, workload, line, copy.median);
  }
}

// The same work in every kind of pixel memory, in turns.
void RunStores(const Options& options) {
  if (!Subject::MixesStores())
    throw std::runtime_error("--stores is for pixmorph_bench_plain and the rehearsal");
  Yardstick yardstick;
  Report report(options.tsv);
  for (const Workload& workload : Chosen(options)) {
    std::vector<Contestant> line;
    for (const char* store : {"console", "cairo", "gdk"}) {
      Subject subject(options.isa, store);
      line.push_back({store, subject.Level(), subject.Prepare(workload)});
    }
    const Summary copy = Play(line, yardstick, options.rounds);
    report.Add("stores", 0, workload, line, copy.median);
  }
}

// The same work on pictures that show different things, in turns.
void RunContents(const Options& options, Subject& subject) {
  Yardstick yardstick;
  Report report(options.tsv);
  for (Workload workload : Chosen(options)) {
    std::vector<Contestant> line;
    for (int n = 0; n < kContentCount; ++n) {
      workload.content = static_cast<Content>(n);
      line.push_back({NameOf(workload.content), subject.Level(), subject.Prepare(workload)});
    }
    const Summary copy = Play(line, yardstick, options.rounds);
    report.Add("contents", 0, workload, line, copy.median);
  }
}

void RunSweep(const Options& options, Subject& subject) {
  Yardstick yardstick;
  Report report(options.tsv);
  for (const Sweep& sweep : StandardSweeps()) {
    if (options.sweep == "all" ? sweep.name == "icons" : sweep.name != options.sweep) continue;
    std::printf("# %s: %s\n", sweep.name.c_str(), sweep.variable.c_str());
    for (const SweepPoint& point : sweep.points) {
      auto line = Line(subject, {}, point.workload);
      // Small work is timed with warm caches, which the yardstick has just emptied.
      if (sweep.name == "icons") line[0].run = [run = line[0].run] { return run(), run(), run(); };
      const Summary copy = Play(line, yardstick, options.rounds);
      report.Add(sweep.name, point.variable, point.workload, line, copy.median);
    }
  }
}

// The longest gap between two yields, the least of several runs: what other processes cost is not ours.
void RunGaps(const Options& options, Subject& subject) {
  std::printf("# longest gap between yields with interval -10, least of %d runs, ms\n", options.rounds);
  Report report(options.tsv);
  for (const Workload& workload : Chosen(options)) {
    Contestant contestant{"pixmorph", "longest gap", {}};
    double least = subject.LongestGap(workload);
    for (int round = 1; round < options.rounds; ++round)
      least = std::min(least, subject.LongestGap(workload));
    contestant.milliseconds = {least};
    report.Add("gaps", 0, workload, {contestant}, 1);
  }
}

// Plugin memory above source and result.
void RunMemory(const Options& options, Subject& subject) {
  std::printf("# most memory held by the plugin besides the pictures, bytes\n");
  std::ofstream tsv(options.tsv.empty() ? "/dev/null" : options.tsv);
  tsv << "series\tworkload\tbytes\n";
  for (const Workload& workload : Chosen(options)) {
    const long long bytes = subject.PeakBytes(workload);
    if (bytes < 0) throw std::runtime_error("memory is counted by the 32-bit program only");
    std::printf("%-22s %12lld\n", workload.name.c_str(), bytes);
    tsv << "memory\t" << workload.name << '\t' << bytes << '\n';
  }
}

// One line per small workload: whatever computes the methods must print the same.
void RunChecksums(Subject& subject) {
  for (const Workload& workload : ChecksumWorkloads())
    std::printf("%s\t%08x\n", workload.name.c_str(), subject.Checksum(workload));
}

Options Parse(int argc, char** argv, CLI::App& app) {
  Options o;
  app.add_option("--isa", o.isa, "Force a level: scalar, sse2, sse41, avx2, avx512 (default: the best)");
  app.add_option("--store", o.store, "Picture memory: console, cairo, cairo-alpha, gdk (default: console)")
      ->check(CLI::IsMember({"console", "cairo", "cairo-alpha", "gdk"}));
  app.add_option("--filter", o.filter, "Only workloads whose name contains this, or is this");
  app.add_flag("--list", o.list, "Print the workloads' names and the pixels of their larger side instead");
  app.add_option("--rounds", o.rounds, "Rounds per workload (default: 7)")->check(CLI::Range(1, 1000));
  app.add_flag(
      "--peers", o.peers,
      "Measure the other libraries in the same run; with --isa sse2 or avx2 they get no more either");
  app.add_option("--sweep", o.sweep, "Instead of the table: size, radius, taps, all three of these, or icons")
      ->check(CLI::IsMember({"size", "radius", "taps", "icons", "all"}));
  app.add_flag("--levels", o.levels, "Measure all levels in the same run instead");
  app.add_flag("--stores", o.stores, "Measure all kinds of picture memory in the same run instead");
  app.add_flag("--contents", o.contents,
               "Measure photographs, noise, flat pictures, screens and checks in the same run instead");
  app.add_flag("--gaps", o.gaps, "Measure the longest gap between two yields instead");
  app.add_flag("--checksums", o.checksums, "Print checksums of small results instead");
  app.add_flag("--memory", o.memory, "Count the plugin's own memory instead");
  app.add_option("--tsv", o.tsv, "Write the figures to this file too");
  app.add_option("--peer-script", o.script, "The Python side of Pillow and OpenCV");
  app.parse(argc, argv);
  return o;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Measures the picture methods, as multiples of one memcpy of a 4000x3000 picture");
  try {
    const Options options = Parse(argc, argv, app);
    if (options.list) return PrintList(options), 0;
    const int core = PinToOneCore();
    Subject subject(options.isa, options.store);
    if (options.checksums) return RunChecksums(subject), 0;
    std::printf("# %s, core %d, level %s, store %s, medians of %d interleaved rounds\n",
                ProcessorName().c_str(), core, subject.Level().c_str(), options.store.c_str(),
                options.rounds);
    if (options.gaps)
      RunGaps(options, subject);
    else if (options.memory)
      RunMemory(options, subject);
    else if (options.levels)
      RunLevels(options, subject);
    else if (options.stores)
      RunStores(options);
    else if (options.contents)
      RunContents(options, subject);
    else if (!options.sweep.empty())
      RunSweep(options, subject);
    else
      RunTable(options, subject);
    return 0;
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench: %s\n", error.what());
    return 1;
  }
}
