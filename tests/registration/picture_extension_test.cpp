#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "standin/faults.h"
#include "standin/registrations.h"
#include "standin/runtime.h"
#include "tests/support/fresh_process.h"

// What the built library registers on every version of the runtime, as the runtime sees it.
namespace {

using standin::Registration;
using standin::RegistrationKind;

struct Expected {
  std::optional<double> version;
  RegistrationKind kind;
  int recordVersion;
  std::uint32_t methodFlags;
};

constexpr RegistrationKind kExtension = RegistrationKind::kClassExtension;
constexpr RegistrationKind kModule = RegistrationKind::kModule;

const Expected kVersions[] = {
    {std::nullopt, kExtension, 9, 0},
    {std::nan(""), kExtension, 9, 0},
    {2010.0, kExtension, 9, 0},
    {std::nextafter(2010.029, 0.0), kExtension, 9, 0},
    {2010.029, kExtension, 9, 0x4},
    {2011.99, kExtension, 9, 0x4},
    {2012.0, kExtension, 10, 0x4},
    {2012.5, kExtension, 10, 0x4},
    {std::nextafter(2013.0, 0.0), kExtension, 10, 0x4},
    {2013.0, kModule, 11, 0x14},
    {2013.03, kModule, 12, 0x14},
    {2013.04, kModule, 13, 0x14},
    {2999.9, kModule, 13, 0x14},
    {std::nextafter(3000.0, 0.0), kModule, 13, 0x14},
    {3000.0, kExtension, 13, 0x4},
};

// Name, parameters and result apart, so that the module's declarations need no second copy.
struct Declared {
  const char* name;
  const char* rest;
};
const Declared kMethods[] = {
    {"DrawPictureFKTZ",
     "pic as picture, x as double, y as double, alpha as double = 1.0, yield as integer = 0) as boolean"},
    {"ScaleKTZ",
     "width as integer, height as integer, AntiAlias as boolean=false, YieldTicks as integer=0) as picture"},
    {"ScaleImageAndMaskKTZ",
     "width as integer, height as integer, AntiAlias as boolean=false, YieldTicks as integer=0) as picture"},
    {"ScalingKTZ", "mode as integer, width as integer, height as integer, yield as integer = 0) as picture"},
    {"BlurKTZ", "Radius as double, yield as integer = 0) as picture"},
};

std::string DeclarationOf(const Declared& method, RegistrationKind kind) {
  return std::string(method.name) + (kind == kModule ? "(extends ref as Picture, " : "(") + method.rest;
}

void Load(const std::optional<double>& version) {
  standin::Config config;
  config.version = version;
  if (!version) config.missingServices.insert("REALGetRBVersion");
  standin::Start(config);
  standin::LoadPlugin(PIXMORPH_LIBRARY);
}

// Word 0 version, 1 name; everything but the method list and a class's flags is 0.
void CheckWords(const Registration& record, const Expected& expected) {
  std::vector<std::uint32_t> words = record.words;
  const bool module = expected.kind == kModule;
  const std::size_t rows = module ? 2 : 9;
  ASSERT_EQ(words.size(), module ? 24u : expected.recordVersion == 9 ? 25u : 32u);
  EXPECT_EQ(words[0], static_cast<std::uint32_t>(expected.recordVersion));
  EXPECT_EQ(words[rows + 1], 5u);
  if (!module) {
    EXPECT_EQ(words[20], expected.methodFlags);
    words[20] = 0;
  }
  words[0] = words[1] = words[rows] = words[rows + 1] = 0;
  EXPECT_EQ(words, std::vector<std::uint32_t>(words.size()));
}

void CheckRecord(const Registration& record, const Expected& expected) {
  EXPECT_EQ(record.kind, expected.kind);
  EXPECT_EQ(record.name, expected.kind == kModule ? "PicturePixmorphExtensionKTZ" : "Picture");
  CheckWords(record, expected);
  ASSERT_EQ(record.methods.size(), 5u);
  for (std::size_t i = 0; i < 5; ++i) {
    const standin::MethodRecord& method = record.methods[i];
    EXPECT_EQ(method.declaration, DeclarationOf(kMethods[i], expected.kind));
    EXPECT_EQ(method.flags, expected.methodFlags) << kMethods[i].name;
    EXPECT_NE(method.function, nullptr);
    EXPECT_EQ(method.setter, nullptr);
    EXPECT_EQ(method.attributeCount, 0u);
    EXPECT_EQ(method.attributes, nullptr);
    for (std::size_t j = 0; j < i; ++j) EXPECT_NE(method.function, record.methods[j].function);
  }
}

TEST(PictureExtension, RegisteredOnceInTheFormOfEveryVersion) {
  for (const Expected& expected : kVersions) {
    const auto body = [&expected] {
      Load(expected.version);
      ASSERT_EQ(standin::Registrations().size(), 1u);
      CheckRecord(standin::Registrations()[0], expected);
    };
    EXPECT_TRUE(test::PassesInChild(body)) << "version " << expected.version.value_or(0);
  }
}

TEST(PictureExtension, SecondStartRegistersTheSameAgain) {
  for (const Expected& expected : {kVersions[0], kVersions[4], kVersions[7], kVersions[9], kVersions[14]}) {
    const auto body = [&expected] {
      Load(expected.version);
      standin::LoadPlugin(PIXMORPH_LIBRARY);
      ASSERT_EQ(standin::Registrations().size(), 2u);
      for (const Registration& record : standin::Registrations()) CheckRecord(record, expected);
      const auto& records = standin::Registrations();
      for (std::size_t i = 0; i < 5; ++i)
        EXPECT_EQ(records[0].methods[i].function, records[1].methods[i].function);
    };
    EXPECT_TRUE(test::PassesInChild(body)) << "version " << expected.version.value_or(0);
  }
}

TEST(PictureExtension, RuntimeWithoutRegistrationGetsNothing) {
  for (const double version : {2011.0, 2013.0}) {
    const auto body = [version] {
      standin::Config config;
      config.version = version;
      config.missingServices = {"PluginRegisterClassExtension", "PluginRegisterModule"};
      standin::Start(config);
      standin::LoadPlugin(PIXMORPH_LIBRARY);
      EXPECT_TRUE(standin::Registrations().empty());
    };
    EXPECT_TRUE(test::PassesInChild(body));
  }
}

TEST(PictureExtension, NothingIsRegisteredWhenMemoryIsShort) {
  if (!standin::AllocatorInterposed()) GTEST_SKIP() << "allocations cannot be refused here";
  for (const double version : {2011.0, 2013.0}) {
    const auto body = [version] {
      standin::Config config;
      config.version = version;
      bool refused = true;
      for (int n = 1; refused; ++n) {
        standin::Start(config);
        standin::Faults faults;
        faults.allocation = n;
        standin::SetFaults(faults);
        standin::LoadPlugin(PIXMORPH_LIBRARY);
        refused = standin::CountedForFaults().struck > 0;
        EXPECT_EQ(standin::Registrations().size(), refused ? 0u : 1u) << "allocation " << n;
        ASSERT_TRUE(refused || n == 3) << "the record and its rows are two";
      }
    };
    EXPECT_TRUE(test::PassesInChild(body)) << version;
  }
}

}  // namespace
