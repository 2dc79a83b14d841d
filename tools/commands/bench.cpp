#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "standin/methods.h"
#include "tools/commands/commands.h"
#include "tools/failure.h"
#include "tools/images/generated.h"
#include "tools/images/image_file.h"
#include "tools/images/regions.h"
#include "tools/run/call.h"
#include "tools/run/emulator.h"
#include "tools/run/level_names.h"
#include "tools/run/session.h"

namespace tool {
namespace {

constexpr std::int32_t kBadgeSide = 256;
constexpr int kMostRounds = 1000;

struct BenchArguments {
  std::string picture;
  std::string size = "1200x800";
  double rounds = 5;
};

// One line of the table.
struct Timing {
  std::string method;
  std::string what;
  std::function<void(int)> run;
  std::vector<double> times;  // ms, one per round
  std::string failure;        // of the first run; empty: none
};

struct Pictures {
  Size size;
  standin::Ref plain, masked, target, badge;
};

int CheckedRounds(double rounds) {
  if (rounds >= 1 && rounds <= kMostRounds && std::floor(rounds) == rounds) return static_cast<int>(rounds);
  throw Failure(Exit::kUsage, "--rounds must be a whole number from 1 to " + std::to_string(kMostRounds));
}

Image PictureFor(const BenchArguments& arguments) {
  if (!arguments.picture.empty()) return ReadImage(arguments.picture);
  const Size size = Geometry::Parse(arguments.size).For(Size{1200, 800});
  CheckMemory("a picture of " + ToText(size), std::uint64_t{PixelCountOf(size)} * 64);
  return GeneratedPhoto(size);
}

Pictures MakePictures(const Image& image, const Session& session) {
  const Image badge = GeneratedBadge(std::min({kBadgeSide, image.size.width, image.size.height}));
  return {image.size, session.MakePicture(image, Session::Alpha::kDropped),
          session.MakePicture(Faded(image), Session::Alpha::kMask),
          session.MakePicture(image, Session::Alpha::kDropped),
          session.MakePicture(badge, Session::Alpha::kMask)};
}

Size Halved(const Size& size) { return {std::max(1, size.width / 2), std::max(1, size.height / 2)}; }

// Nil and false are what the methods answer when they fail.
void Expect(bool worked) {
  if (!worked) throw std::runtime_error("it gave nothing");
}
void Expect(const standin::Ref& picture) { Expect(static_cast<bool>(picture)); }

std::vector<Timing> AllTimings(const Pictures& pictures) {
  const Size half = Halved(pictures.size);
  const Size twice{std::min(kLargestSide, pictures.size.width * 2),
                   std::min(kLargestSide, pictures.size.height * 2)};
  const auto resample = [&](int mode, const Size& to) {
    return [&pictures, mode, to](int interval) {
      Expect(standin::Scaling(pictures.plain, mode, to.width, to.height, interval));
    };
  };
  const auto scale = [&](const Size& to, bool smooth) {
    return [&pictures, to, smooth](int interval) {
      Expect(standin::Scale(pictures.plain, to.width, to.height, smooth, interval));
    };
  };
  return {{"ScaleKTZ", "to half", scale(half, false), {}, ""},
          {"ScaleKTZ", "to double, smoothly", scale(twice, true), {}, ""},
          {"ScaleImageAndMaskKTZ",
           "to half",
           [&pictures, half](int interval) {
             Expect(standin::ScaleImageAndMask(pictures.masked, half.width, half.height, false, interval));
           },
           {},
           ""},
          {"ScalingKTZ", "lanczos3 to half", resample(3, half), {}, ""},
          {"ScalingKTZ", "lanczos3 to double", resample(3, twice), {}, ""},
          {"BlurKTZ",
           "radius 10",
           [&pictures](int interval) { Expect(standin::Blur(pictures.plain, 10, interval)); },
           {},
           ""},
          {"DrawPictureFKTZ",
           "a badge at 10.5, 20.25",
           [&pictures](int interval) {
             Expect(standin::DrawPictureF(pictures.target, pictures.badge, 10.5, 20.25, 0.7, interval));
           },
           {},
           ""}};
}

// The methods take turns, so that whatever disturbs the machine for a while disturbs all of them.
void RunRounds(std::vector<Timing>* timings, int rounds, const Options& options) {
  for (int round = -1; round < rounds; ++round) {
    for (Timing& timing : *timings) {
      if (!timing.failure.empty()) continue;
      try {
        const double took = Measure({timing.method, 0, timing.run}, options).methodMs;
        // The first turn only warms up.
        if (round >= 0) timing.times.push_back(took);
      } catch (const Failure& failure) {
        timing.failure = failure.what();
      }
    }
  }
  for (Timing& timing : *timings) std::sort(timing.times.begin(), timing.times.end());
}

double Median(const std::vector<double>& sorted) {
  const std::size_t middle = sorted.size() / 2;
  return sorted.size() % 2 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
}

double Rounded(double milliseconds) { return std::round(milliseconds * 1000) / 1000; }

nlohmann::ordered_json ToJson(const Timing& timing, double megapixels) {
  nlohmann::ordered_json row = {{"method", timing.method}, {"what", timing.what}};
  if (!timing.failure.empty()) {
    row["error"] = timing.failure;
    return row;
  }
  const double median = Median(timing.times);
  row["medianMs"] = Rounded(median);
  row["fastestMs"] = Rounded(timing.times.front());
  row["slowestMs"] = Rounded(timing.times.back());
  row["sourceMegapixelsPerSecond"] = Rounded(megapixels / std::max(median, 1e-6) * 1000);
  return row;
}

void PrintTable(const nlohmann::ordered_json& report) {
  std::printf("picture %s, %s mode, %s kernels, median of %d\n", report["picture"].get<std::string>().c_str(),
              report["mode"].get<std::string>().c_str(), report["cpuLevel"].get<std::string>().c_str(),
              report["rounds"].get<int>());
  if (report["emulated"].get<bool>())
    std::printf("this processor is emulated in software: the times say nothing about a real one\n");
  std::printf("%-21s %-23s %10s %10s %10s %8s\n", "METHOD", "WHAT", "MEDIAN ms", "FASTEST", "SLOWEST",
              "MP/s");
  for (const nlohmann::ordered_json& row : report["methods"]) {
    std::printf("%-21s %-23s ", row["method"].get<std::string>().c_str(),
                row["what"].get<std::string>().c_str());
    if (row.contains("error"))
      std::printf("%s\n", row["error"].get<std::string>().c_str());
    else
      std::printf("%10.2f %10.2f %10.2f %8.1f\n", row["medianMs"].get<double>(),
                  row["fastestMs"].get<double>(), row["slowestMs"].get<double>(),
                  row["sourceMegapixelsPerSecond"].get<double>());
  }
}

void RunBench(const BenchArguments& arguments, const Options& options) {
  const int rounds = CheckedRounds(arguments.rounds);
  const Session session(options);
  const Pictures pictures = MakePictures(PictureFor(arguments), session);
  std::vector<Timing> timings = AllTimings(pictures);
  Options silent = options;
  silent.quiet = true;
  silent.yieldInterval = 0;
  RunRounds(&timings, rounds, silent);
  nlohmann::ordered_json report = {{"command", "bench"},
                                   {"library", session.LibraryPath()},
                                   {"picture", (arguments.picture.empty() ? "generated" : arguments.picture) +
                                                   " " + ToText(pictures.size)},
                                   {"mode", NameOf(options.mode)},
                                   {"cpuLevel", CpuLevelName()},
                                   {"emulated", RunsOnEmulator()},
                                   {"rounds", rounds},
                                   {"methods", nlohmann::ordered_json::array()}};
  const double megapixels = static_cast<double>(PixelCountOf(pictures.size)) / 1e6;
  for (const Timing& timing : timings) report["methods"].push_back(ToJson(timing, megapixels));
  if (options.json)
    std::printf("%s\n", report.dump().c_str());
  else
    PrintTable(report);
}

}  // namespace

std::function<void()> DefineBench(Arguments& list, Options& options) {
  auto arguments = std::make_shared<BenchArguments>();
  list.OptionalPositional("PICTURE", &arguments->picture, "a PNG or JPEG file (default: one made up here)");
  list.Text("--size", "GEOM", &arguments->size, Arguments::Need::kOptional,
            "of the made-up picture (default: 1200x800)");
  list.Number("--rounds", "N", &arguments->rounds, Arguments::Need::kOptional,
              "turns of each method, after one to warm up (default: 5)");
  return [arguments, &options] { RunBench(*arguments, options); };
}

}  // namespace tool
