#include <cmath>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "tools/commands/commands.h"
#include "tools/failure.h"
#include "tools/parsing/kernel_names.h"
#include "tools/run/curves.h"

namespace tool {
namespace {

void PrintTable() {
  std::printf("%-5s %-9s %-21s %-8s %-59s %s\n", "MODE", "NAME", "ALSO", "SUPPORT", "SHAPE", "BEST FOR");
  for (const KernelRow& row : KernelRows())
    std::printf("%-5d %-9s %-21s %-8s %-59s %s\n", row.mode, row.name, row.aliases, row.support, row.shape,
                row.bestFor);
}

void PrintJson() {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const KernelRow& row : KernelRows()) {
    list.push_back({{"mode", row.mode},
                    {"name", row.name},
                    {"aliases", row.aliases},
                    {"support", std::stod(row.support)},
                    {"shape", row.shape},
                    {"bestFor", row.bestFor}});
  }
  std::printf("%s\n", list.dump().c_str());
}

// Each curve from its left end to its right end.
void PrintCurvesJson(const std::vector<Curve>& curves) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const Curve& curve : curves) {
    nlohmann::ordered_json weights = nlohmann::ordered_json::array();
    for (const double weight : curve.weights) weights.push_back(std::round(weight * 1e4) / 1e4);
    list.push_back({{"mode", curve.mode},
                    {"name", KernelRows()[static_cast<std::size_t>(curve.mode - 1)].name},
                    {"from", -curve.reach},
                    {"step", 1.0 / kCurveSteps},
                    {"weights", weights}});
  }
  std::printf("%s\n", list.dump().c_str());
}

void PrintCurves(const std::string& form, const Options& options) {
  if (form != "svg" && form != "text")
    throw Failure(Exit::kUsage,
                  "can't give the curves as \"" + form + "\": take --curves svg or --curves text");
  const Session session(options);
  const std::vector<Curve> curves = SampleCurves(session);
  if (options.json)
    PrintCurvesJson(curves);
  else
    std::printf("%s", (form == "svg" ? CurvesSvg(curves) : CurvesTable(curves)).c_str());
}

void RunKernels(const std::string& curves, const Options& options) {
  if (!curves.empty()) return PrintCurves(curves, options);
  options.json ? PrintJson() : PrintTable();
}

}  // namespace

std::function<void()> DefineKernels(Arguments& list, Options& options) {
  auto curves = std::make_shared<std::string>();
  list.Text("--curves", "svg|text", curves.get(), Arguments::Need::kOptional,
            "how much pixels weigh by distance, sampled from the library");
  return [curves, &options] { RunKernels(*curves, options); };
}

}  // namespace tool
