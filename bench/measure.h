#ifndef PIXMORPH_BENCH_MEASURE_H_
#define PIXMORPH_BENCH_MEASURE_H_

#include <string>
#include <vector>

namespace bench {

// The middle of the samples and the width of their middle half, in the samples' unit.
struct Summary {
  double median = 0;
  double spread = 0;
};
Summary Summarize(std::vector<double> samples);

// Milliseconds of one memcpy of a 4000x3000 picture of 4 bytes a pixel between mapped buffers: the yardstick.
class Yardstick {
 public:
  Yardstick();
  double Run();

 private:
  std::vector<unsigned char> from_, to_;
};

// Yield argument of the measurement of gaps: at most every 10 milliseconds.
constexpr int kGapInterval = -10;

// The longest stretch between two marks.
class GapWatch {
 public:
  void Start();
  void Mark();
  double Longest() const { return longest_; }  // milliseconds

 private:
  double last_ = 0, longest_ = 0;
};

// The names of the levels that this processor has, the best first.
std::vector<std::string> LevelsHere();

// From now on kernels are those of this level. Throws std::runtime_error for a level that is none, or that
// this processor lacks.
void ForceLevelNamed(const std::string& name);

// Keeps this process on one core, the last one that it may use. Returns its number, or -1.
int PinToOneCore();

std::string ProcessorName();

}  // namespace bench

#endif  // PIXMORPH_BENCH_MEASURE_H_
