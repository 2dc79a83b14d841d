#include "tools/parsing/kernel_names.h"

#include <sstream>
#include <vector>

#include "tools/failure.h"
#include "tools/parsing/suggest.h"

namespace tool {
namespace {

constexpr std::array<KernelRow, kKernelCount> kRows = {{
    {1, "triangle", "1", "linear interpolation", "quick, soft enlargements; smooth gradients",
     "linear bilinear tent"},
    {2, "box", "0.5", "nearest pixel when enlarging, plain average when shrinking",
     "pixel art enlarged, fast thumbnails", "average"},
    {3, "lanczos3", "3", "windowed sinc, three lobes", "photographs in both directions; the usual choice", "lanczos"},
    {4, "lanczos8", "8", "windowed sinc, eight lobes", "the finest detail, at the price of time and ringing",
     ""},
    {5, "mitchell", "2", "cubic, B = C = 1/3", "portraits and skies: no visible ringing, a little soft",
     "mitchell-netravali"},
    {6, "poly3", "2", "cubic convolution, a = -0.75", "crisp enlargements at little cost", ""},
    {7, "cubic", "3", "cubic convolution over six samples", "sharp enlargements with little overshoot", ""},
}};

struct NotOffered {
  const char* folded;
  const char* instead;
};

// Names that people will try and that would promise something else than they get.
constexpr NotOffered kNotOffered[] = {
    {"nearest", "\"box\" repeats the nearest pixel when enlarging, but averages when shrinking"},
    {"nearestneighbour", "\"box\" repeats the nearest pixel when enlarging, but averages when shrinking"},
    {"nearestneighbor", "\"box\" repeats the nearest pixel when enlarging, but averages when shrinking"},
    {"bicubic", "several cubics go by that name; take \"poly3\" (a = -0.75), \"mitchell\" or \"cubic\""},
    {"catmull", "\"poly3\" (a = -0.75 instead of -0.5) is the nearest to it"},
    {"catmullrom", "\"poly3\" (a = -0.75 instead of -0.5) is the nearest to it"},
    {"lanczos2", "\"lanczos3\" is the nearest to it"},
    {"lanczos4", "\"lanczos3\" is the nearest to it"},
    {"area", "\"pixmorph scale\" averages areas; among the kernels \"box\" is the nearest to it"},
};

// The row's own name first.
std::vector<std::string> NamesOf(const KernelRow& row) {
  std::vector<std::string> names = {row.name};
  std::istringstream aliases(row.aliases);
  for (std::string alias; aliases >> alias;) names.push_back(alias);
  return names;
}

const KernelRow* Named(const std::string& folded) {
  for (const KernelRow& row : kRows) {
    if (folded == std::to_string(row.mode)) return &row;
    for (const std::string& name : NamesOf(row)) {
      if (folded == FoldName(name)) return &row;
    }
  }
  return nullptr;
}

std::vector<std::string> AllNames() {
  std::vector<std::string> names;
  for (const KernelRow& row : kRows) {
    for (const std::string& name : NamesOf(row)) names.push_back(name);
  }
  return names;
}

std::string NamesText() {
  std::string text;
  for (const KernelRow& row : kRows) {
    if (row.mode > 1) text += row.mode == kKernelCount ? " or " : ", ";
    text += row.name;
  }
  return text;
}

}  // namespace

const std::array<KernelRow, kKernelCount>& KernelRows() { return kRows; }

const KernelRow& ParseKernel(std::string_view text) {
  const std::string folded = FoldName(text);
  if (const KernelRow* row = Named(folded)) return *row;
  const std::string quoted = "there is no kernel \"" + std::string(text) + "\": ";
  for (const NotOffered& other : kNotOffered) {
    if (folded == other.folded) throw Failure(Exit::kUsage, quoted + other.instead);
  }
  const std::string nearest = Nearest(text, AllNames());
  if (!nearest.empty()) throw Failure(Exit::kUsage, quoted + "did you mean \"" + nearest + "\"?");
  throw Failure(Exit::kUsage, quoted + "take " + NamesText() + ", or a mode from 1 to 7");
}

}  // namespace tool
