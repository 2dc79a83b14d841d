#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/commands/commands.h"
#include "tools/parsing/kernel_names.h"

namespace tool {
namespace {

void PrintTable() {
  std::printf("%-5s %-9s %-8s %-59s %s\n", "MODE", "NAME", "SUPPORT", "SHAPE", "BEST FOR");
  for (const KernelRow& row : KernelRows())
    std::printf("%-5d %-9s %-8s %-59s %s\n", row.mode, row.name, row.support, row.shape, row.bestFor);
}

void PrintJson() {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const KernelRow& row : KernelRows()) {
    list.push_back({{"mode", row.mode},
                    {"name", row.name},
                    {"support", std::stod(row.support)},
                    {"shape", row.shape},
                    {"bestFor", row.bestFor}});
  }
  std::printf("%s\n", list.dump().c_str());
}

}  // namespace

std::function<void()> DefineKernels(Arguments&, Options& options) {
  return [&options] { options.json ? PrintJson() : PrintTable(); };
}

}  // namespace tool
