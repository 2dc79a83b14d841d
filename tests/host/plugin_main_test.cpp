#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "host/resolver.h"
#include "host/versions.h"
#include "standin/registrations.h"
#include "standin/runtime.h"
#include "tests/support/fresh_process.h"

extern "C" void REALPluginMain(pixmorph::REALResolver resolver);

// Start-up: what is read from the runtime, what is told to it, and in which order.
namespace {

struct VersionCase {
  std::optional<double> version;
  int controlVersion;
  double seen;
};

const double kBelow2012 = std::nextafter(2012.0, 0.0);

TEST(PluginMain, RecordLayoutFollowsTheVersion) {
  const VersionCase cases[] = {
      {std::nullopt, 9, 0.0},
      {std::nan(""), 9, 0.0},
      {-std::numeric_limits<double>::infinity(), 9, -HUGE_VAL},
      {2011.99, 9, 2011.99},
      {kBelow2012, 9, kBelow2012},
      {2012.0, 10, 2012.0},
      {2012.99, 10, 2012.99},
      {2013.0, 11, 2013.0},
      {2013.029, 11, 2013.029},
      {2013.03, 12, 2013.03},
      {2013.04, 13, 2013.04},
      {3000.0, 13, 3000.0},
  };
  for (const VersionCase& wanted : cases) {
    const auto body = [&wanted] {
      standin::Config config;
      config.version = wanted.version;
      if (!wanted.version) config.missingServices.insert("REALGetRBVersion");
      standin::Start(config);
      standin::AttachPluginEntry(&REALPluginMain);
      EXPECT_EQ(pixmorph::rbversion_rbversion, wanted.seen);
      EXPECT_EQ(pixmorph::CurrentREALControlVersion, wanted.controlVersion);
      EXPECT_EQ(standin::ReportedVersions(), std::vector<int>{wanted.controlVersion});
      const auto& lookups = standin::Lookups();
      ASSERT_GE(lookups.size(), 3u);
      EXPECT_EQ(lookups[0], "REALGetRBVersion");
      EXPECT_EQ(lookups[1], "RegisterPluginVersion");
    };
    EXPECT_TRUE(test::PassesInChild(body)) << "version " << wanted.version.value_or(0);
  }
}

std::vector<std::string> gAsked;
void* KnowsNothing(const char* name) {
  gAsked.emplace_back(name);
  return nullptr;
}

TEST(PluginMain, RuntimeThatHasNothing) {
  const auto body = [] {
    REALPluginMain(&KnowsNothing);
    EXPECT_EQ(pixmorph::rbversion_rbversion, 0.0);
    EXPECT_EQ(pixmorph::CurrentREALControlVersion, 9);
    EXPECT_EQ(gAsked, (std::vector<std::string>{"REALGetRBVersion", "RegisterPluginVersion",
                                                "PluginRegisterClassExtension"}));
  };
  EXPECT_TRUE(test::PassesInChild(body));
}

// Whatever the first runtime offered, the second one is asked again, and where it can't tell its version the
// one known stays.
TEST(PluginMain, ASecondStartAsksAgain) {
  const auto body = [] {
    standin::Config config;
    config.version = 3000.0;
    standin::Start(config);
    standin::AttachPluginEntry(&REALPluginMain);
    REALPluginMain(&KnowsNothing);
    EXPECT_EQ(pixmorph::rbversion_rbversion, 3000.0);
    EXPECT_EQ(standin::ReportedVersions(), std::vector<int>{13});
    EXPECT_EQ(gAsked, (std::vector<std::string>{"REALGetRBVersion", "RegisterPluginVersion"}));
    EXPECT_EQ(standin::Registrations().size(), 2u);
  };
  EXPECT_TRUE(test::PassesInChild(body));
}

}  // namespace
