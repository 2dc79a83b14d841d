#include <gtest/gtest.h>

#include <string>

#include "tools/failure.h"
#include "tools/parsing/geometry.h"
#include "tools/parsing/kernel_names.h"
#include "tools/parsing/suggest.h"

namespace tool {
namespace {

// What a call throws, so that one table can hold results and failures.
template <class Call>
Exit CodeOf(Call call, std::string* sentence = nullptr) {
  try {
    call();
    return Exit::kOk;
  } catch (const Failure& failure) {
    if (sentence) *sentence = failure.what();
    return failure.Code();
  }
}

TEST(Geometry, GivesTheSizeThatPeopleMean) {
  struct Case {
    const char* text;
    Size source;
    Size expected;
  };
  const Case cases[] = {
      {"800x600", {100, 100}, {800, 600}},
      {" 800 x 600 ", {100, 100}, {800, 600}},
      {"800X600", {100, 100}, {800, 600}},
      {"800\xC3\x97"
       "600",
       {100, 100},
       {800, 600}},
      {"1x32767", {5, 5}, {1, 32767}},
      {"00800x0600", {100, 100}, {800, 600}},
      // The other side follows, to the nearest pixel, a half upwards, never below 1.
      {"800x", {400, 300}, {800, 600}},
      {"800", {400, 300}, {800, 600}},
      {"x600", {400, 300}, {800, 600}},
      {"3x", {2, 1}, {3, 2}},
      {"5x", {4, 1}, {5, 1}},
      {"1x", {1000, 3}, {1, 1}},
      {"x1", {3, 1000}, {1, 1}},
      {"50%", {3, 5}, {2, 3}},
      {"12.5%", {800, 400}, {100, 50}},
      {"0.001%", {800, 400}, {1, 1}},
      {"200 %", {10, 20}, {20, 40}},
      // Limits, side by side for exact sizes and both together otherwise.
      {"800x600>", {1000, 300}, {800, 300}},
      {"800x600<", {1000, 300}, {1000, 600}},
      {"800x>", {400, 300}, {400, 300}},
      {"800x>", {1600, 300}, {800, 150}},
      {"x600<", {10, 300}, {20, 600}},
      {"x600<", {10, 1200}, {10, 1200}},
      {"200%>", {20000, 20000}, {20000, 20000}},
      {"50%<", {7, 7}, {7, 7}},
  };
  for (const Case& c : cases)
    EXPECT_EQ(ToText(Geometry::Parse(c.text).For(c.source)), ToText(c.expected))
        << c.text << " of " << ToText(c.source);
}

TEST(Geometry, RefusesWhatItCannotRead) {
  for (const char* text :
       {"",       "x",     ">",    "%",         "axb",  "800x600x2", "-5x5", "5x-5",   "+5x5",    "5.5x5",
        "10x10y", "10x10y", "1e3x", "800x600>>", "50%%", "nan%",      "inf%", "1e999%", "800 600", "10,20"})
    EXPECT_EQ(CodeOf([&] { Geometry::Parse(text); }), Exit::kUsage) << text;
}

TEST(Geometry, RefusesSidesOutsideTheRange) {
  for (const char* text : {"0x5", "5x0", "32768x5", "5x32768", "99999999999999999999x1", "0%", "-1%"})
    EXPECT_EQ(CodeOf([&] { Geometry::Parse(text); }), Exit::kSize) << text;
  EXPECT_EQ(CodeOf([] { Geometry::Parse("200%").For({16384, 1}); }), Exit::kSize);
  EXPECT_EQ(CodeOf([] { Geometry::Parse("x32767").For({2, 1}); }), Exit::kSize);
  EXPECT_EQ(CodeOf([] { Geometry::Parse("1e300%").For({1, 1}); }), Exit::kSize);
  EXPECT_EQ(ToText(Geometry::Parse("200%").For({16383, 1})), "32766x2");
}

TEST(Position, TakesTwoNumbers) {
  const Position at = ParsePosition("-3.5, +0.25");
  EXPECT_EQ(at.x, -3.5);
  EXPECT_EQ(at.y, 0.25);
  for (const char* text : {"", "1", ",", "1,", ",1", "1,2,3", "a,b", "nan,1", "1,inf", "0x1,2"})
    EXPECT_EQ(CodeOf([&] { ParsePosition(text); }), Exit::kUsage) << text;
}

TEST(Kernels, AreFoundByNumberNameAndAlias) {
  for (const KernelRow& row : KernelRows()) {
    EXPECT_EQ(ParseKernel(row.name).mode, row.mode);
    EXPECT_EQ(ParseKernel(std::to_string(row.mode)).mode, row.mode);
  }
  EXPECT_EQ(ParseKernel("Lanczos-3").mode, 3);
  EXPECT_EQ(ParseKernel("BILINEAR").mode, 1);
  EXPECT_EQ(ParseKernel("Mitchell-Netravali").mode, 5);
}

TEST(Kernels, UnknownNamesGetTheNearestOrWhatToTakeInstead) {
  struct Case {
    const char* typed;
    const char* inSentence;
  };
  const Case cases[] = {{"lancos3", "\"lanczos3\"?"},
                        {"lancsoz8", "\"lanczos8\"?"},
                        {"michell", "\"mitchell\"?"},
                        {"triangel", "\"triangle\"?"},
                        {"catmull-rom", "poly3"},
                        {"bicubic", "poly3"},
                        {"nearest", "averages when shrinking"},
                        {"0", "from 1 to 7"},
                        {"8", "from 1 to 7"},
                        {"zzzzzzzz", "from 1 to 7"},
                        {"", "from 1 to 7"}};
  for (const Case& c : cases) {
    std::string sentence;
    EXPECT_EQ(CodeOf([&] { ParseKernel(c.typed); }, &sentence), Exit::kUsage) << c.typed;
    EXPECT_NE(sentence.find(c.inSentence), sentence.npos) << c.typed << ": " << sentence;
  }
}

TEST(Suggest, CountsSwapsAsOneStep) {
  EXPECT_EQ(EditDistance("scale", "scale"), 0);
  EXPECT_EQ(EditDistance("scael", "scale"), 1);
  EXPECT_EQ(EditDistance("", "blur"), 4);
  EXPECT_EQ(EditDistance("kitten", "sitting"), 3);
}

}  // namespace
}  // namespace tool
