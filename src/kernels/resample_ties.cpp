#include "kernels/resample_ties.h"

#include <string.h>

#include "support/numeric.h"

namespace pixmorph::kernels {

namespace {

bool PowerOfTwo(float x) {
  std::uint32_t bits;
  memcpy(&bits, &x, sizeof bits);
  return (bits & 0x7FFFFFu) == 0 && x > 0.0f;
}

constexpr std::int32_t kFinestStep = 1 << 22;  // as a divisor of 1

// With a sum that is a power of two and weights that are multiples of sum / kFinestStep, every partial sum of
// the plain evaluation is a small multiple of that, so nothing in it is ever rounded. 0: that is not so.
double ExactStep(const float* weights, std::int32_t count, float sum) {
  if (!PowerOfTwo(sum)) return 0.0;
  std::uint32_t bits = kFinestStep / 2;
  for (std::int32_t t = 0; t < count; ++t) {
    const double x = static_cast<double>(weights[t]) / static_cast<double>(sum) * kFinestStep;
    const std::int32_t whole = TruncateToInt32(x);
    if (x != whole) return 0.0;
    bits |= static_cast<std::uint32_t>(whole);
  }
  return static_cast<double>(bits & (~bits + 1)) / kFinestStep;
}

constexpr std::int32_t kLargestDenominator = 512;

double Nearest(double x) { return TruncateToInt32(x < 0.0 ? x - 0.5 : x + 0.5); }

// The least d up to `most` of the convergents n / d of x that meets x but for a float's rounding; 0 for none.
std::int32_t Denominator(double x, std::int32_t most) {
  const double blur = (Magnitude(x) + 1.0) / 4194304.0;  // two roundings to float, and as much again
  double before = 0.0, d = 1.0, rest = x;
  while (d <= most) {
    if (Magnitude(x * d - Nearest(x * d)) <= d * blur) return TruncateToInt32(d);
    rest = rest - TruncateToInt32(rest);
    if (Magnitude(rest) < blur) return 0;
    rest = 1.0 / rest;
    const double next = Magnitude(TruncateToInt32(rest)) * d + before;
    before = d;
    d = next;
  }
  return 0;
}

// Weights that are float neighbours of fractions with a small common denominator M: w = (sum x n + p) / M
// with whole numbers n and small p. A channel value is then N / M + P / (M x sum), N and P being the n and p
// weighted with the samples, and the sign of P decides ties.
class NearFractions {
 public:
  NearFractions(const float* weights, std::int32_t count, float sum)
      : weights_(weights), count_(count), sum_(static_cast<double>(sum)) {
    if (!(sum_ > 0.0) || !FindDenominator()) return;
    usable_ = sum_ * denominator_ <= 1024.0;
    for (std::int32_t t = 0; t < count_ && usable_; ++t) AddTap(static_cast<double>(weights_[t]));
  }

  TieRule Rule() const {
    // Partial sums that are multiples of 2^-40 below 2^12 are exact, so that a quotient beside a tie stays on
    // its side: it is 2^-33 / 1024 away from it at least, and doubles below 256 lie 2^-45 apart at most.
    if (!usable_ || total_ * 255.0 >= 4096.0 || (above_ > 0.0 && below_ > 0.0)) return {};
    const bool up = below_ == 0.0;
    if (!up && !sureDown_) return {};
    // Halves are met by even denominators only; steps count from 1/2.
    const double step = denominator_ % 2 == 0 ? 1.0 / denominator_ : 0.5 / denominator_;
    return {step, (above_ + below_) * 255.0 / (denominator_ * sum_), up};
  }

 private:
  bool FindDenominator() {
    for (std::int32_t t = 0; t < count_; ++t) {
      const double x = static_cast<double>(weights_[t]) / sum_ * denominator_;
      denominator_ *= Denominator(x, kLargestDenominator / denominator_);
      if (denominator_ == 0) return false;
    }
    return true;
  }

  void AddTap(double weight) {
    const double n = Nearest(weight / sum_ * denominator_);
    const double p = weight * denominator_ - sum_ * n;
    const double grains = weight * 1099511627776.0;  // 2^40
    if (grains != static_cast<double>(TruncateToInt64(grains))) usable_ = false;
    if (p != 0.0 && Magnitude(p) < 1.0 / 8589934592.0) usable_ = false;  // 2^-33
    if (n > 0.0 && p == 0.0) sureDown_ = false;
    (p > 0.0 ? above_ : below_) += Magnitude(p);
    total_ += Magnitude(weight);
  }

  const float* const weights_;
  const std::int32_t count_;
  const double sum_;
  std::int32_t denominator_ = 1;
  bool usable_ = false;
  bool sureDown_ = true;  // P is below 0 wherever N is above 0
  double above_ = 0.0, below_ = 0.0, total_ = 0.0;
};

}  // namespace

TieRule FindTieRule(const float* weights, std::int32_t count, float sum, bool closely) {
  const double step = ExactStep(weights, count, sum);
  if (step != 0.0) return {step, 0.0, true};
  return closely ? NearFractions(weights, count, sum).Rule() : TieRule{};
}

}  // namespace pixmorph::kernels
