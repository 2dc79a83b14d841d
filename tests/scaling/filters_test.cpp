#include "scaling/filters.h"

#include <gtest/gtest.h>

#include <cmath>

namespace pixmorph {
namespace {

struct Property {
  int mode;
  const char* name;
  double support;  // where the weights end
  double atZero;
  double atOneAndHalf;
};

const double kPi = 3.141592653589793;
const Property kProperties[] = {
    {1, "triangle", 1, 1, 0},
    {2, "box", 0.5, 1, 0},
    {3, "lanczos3", 3, 1, -4 / (3 * kPi * kPi)},
    {4, "lanczos8", 8, 1, -2 / (3 * kPi) * std::sin(kPi * 0.1875) / (kPi * 0.1875)},
    {5, "mitchell", 2, 8.0 / 9, -5.0 / 144},
    {6, "poly3", 2, 1, -0.09375},
    {7, "cubic", 3, 1, -3.0 / 32},
};

double Weight(int mode, double t) { return FilterOfMode(mode).weight(t); }

TEST(Filters, HaveTheirShape) {
  for (const Property& p : kProperties) {
    EXPECT_NEAR(p.atZero, Weight(p.mode, 0), 1e-15) << p.name;
    EXPECT_NEAR(p.atOneAndHalf, Weight(p.mode, 1.5), 1e-15) << p.name;
    EXPECT_EQ(0.0, Weight(p.mode, std::nextafter(p.support, 100))) << p.name;
    EXPECT_NE(0.0, Weight(p.mode, p.support * 0.99)) << p.name;
    EXPECT_GE(FilterOfMode(p.mode).support, p.support) << p.name;
    for (int whole = 1; whole <= 8 && p.mode != 5; ++whole)
      EXPECT_NEAR(0.0, Weight(p.mode, whole), 1e-15) << p.name << " at " << whole;
  }
  EXPECT_NEAR(1.0 / 18, Weight(5, 1), 1e-15);
  EXPECT_EQ(0.59375, Weight(6, 0.5));
  EXPECT_EQ(0.0, Weight(6, 1.0));
  EXPECT_NEAR(7.0 / 12, Weight(7, 0.5), 1e-15);
  EXPECT_NEAR(1.0 / 96, Weight(7, 2.5), 1e-15);
  EXPECT_EQ(1.0, Weight(2, 0.5));
  EXPECT_EQ(1.0, Weight(4, 0.0));
}

// Wherever the output sample lies, its weights add up to 1: exactly for the polynomials, nearly for windowed
// sincs. Steps between the pieces show here too.
TEST(Filters, AddUpToOne) {
  for (const Property& p : kProperties) {
    for (int n = 1; n < 64; ++n) {
      if (p.mode == 2 && n == 32) continue;  // both neighbours count
      double sum = 0;
      for (int tap = -9; tap <= 9; ++tap) sum += Weight(p.mode, std::fabs(tap + n / 64.0));
      EXPECT_NEAR(1.0, sum, p.mode == 3 || p.mode == 4 ? 0.02 : 1e-14) << p.name << " at " << n;
    }
    for (int n = 1; n < 8 * 64 && p.mode != 2; ++n)
      EXPECT_NEAR(Weight(p.mode, n / 64.0 - 1e-9), Weight(p.mode, n / 64.0 + 1e-9), 1e-8)
          << p.name << " at " << n;
  }
}

}  // namespace
}  // namespace pixmorph
