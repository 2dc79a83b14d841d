#include "support/exceptions.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "host/encodings.h"
#include "host/resolver.h"
#include "standin/faults.h"
#include "standin/ledger.h"
#include "standin/objects.h"
#include "standin/runtime.h"
#include "tests/support/fresh_process.h"

extern "C" void REALPluginMain(pixmorph::REALResolver resolver);

namespace {

using namespace pixmorph;
using standin::Ref;

testing::AssertionResult Passes(const standin::Config& config, const std::function<void()>& body) {
  return test::PassesInChild([&] {
    standin::Start(config);
    standin::AttachPluginEntry(&REALPluginMain);
    body();
    EXPECT_EQ(standin::CheckLedger(), "");
  });
}

struct Raised {
  std::string className;
  std::string message;
  std::uint32_t encoding;
  int errorNumber;
};

Raised Take() {
  const Ref raised = standin::TakeRaised();
  if (!raised) return {"", "", 0, 0};
  return {standin::ClassOf(raised.Get()), standin::ExceptionMessage(raised.Get()),
          standin::ExceptionEncoding(raised.Get()), standin::ExceptionErrorNumber(raised.Get())};
}

void Expect(const Raised& wanted) {
  const Raised raised = Take();
  EXPECT_EQ(raised.className, wanted.className);
  EXPECT_EQ(raised.message, wanted.message);
  EXPECT_EQ(raised.encoding, wanted.encoding);
  EXPECT_EQ(raised.errorNumber, wanted.errorNumber);
}

TEST(Exceptions, EveryFormOfTheMessage) {
  const auto body = [] {
    const Ref parts[] = {standin::NewString("a", kEncodingUTF8), standin::NewString("b", kEncodingUTF8),
                         standin::NewString("c", kEncodingUTF8)};
    auto* a = parts[0].As<REALstringStruct>();
    RaiseException(kNilObjectException, a, 7);
    Expect({"NilObjectException", "a", kEncodingUTF8, 7});
    RaiseException(kNilObjectException, a);
    Expect({"NilObjectException", "a", kEncodingUTF8, 0});
    RaiseException(kNilObjectException, a, parts[1].As<REALstringStruct>(), parts[2].As<REALstringStruct>());
    Expect({"NilObjectException", "abc", kEncodingUTF8, 0});
    RaiseException(kOutOfBoundsException, "text", kEncodingASCII, -3);
    Expect({"OutOfBoundsException", "text", kEncodingASCII, -3});
    RaiseException(kOutOfBoundsException, "t\xE9", kEncodingMacRoman);
    Expect({"OutOfBoundsException", "t\xE9", kEncodingMacRoman, 0});
    RaiseException(kRuntimeException, "x", "y", "z", kEncodingUTF8);
    Expect({"RuntimeException", "xyz", kEncodingUTF8, 0});
    RaiseException(kRuntimeException, "x", nullptr, "z", kEncodingUTF8);
    Expect({"RuntimeException", "xz", kEncodingUTF8, 0});
    for (const char* none : {static_cast<const char*>(nullptr), ""}) {
      RaiseException(kRuntimeException, none, kEncodingASCII);
      Expect({"RuntimeException", "", kEncodingUnknown, 0});
    }
    RaiseQuickTimeException();
    Expect({"UnsupportedOperationException", "QuickTime not available on Linux.", kEncodingASCII, 0});
  };
  EXPECT_TRUE(Passes({}, body));
}

TEST(Exceptions, ValuesOutOfBounds) {
  const auto body = [] {
    constexpr long long kMin = std::numeric_limits<long long>::min();
    constexpr long long kMax = std::numeric_limits<long long>::max();
    const std::string name(500, 'n');
    const struct {
      long long value, lower, upper;
      const char* parameter;
      const char* method;
      std::string message;
    } cases[] = {
        {5, 0, 5, "index", "", "Parameter index  is too big. Range is 0 to 4, but value is 5."},
        {-1, 0, 5, "index", "Foo",
         "Parameter index to method Foo is too small. Range is 0 to 4, but value is -1."},
        {5, 0, 5, nullptr, nullptr, "Parameter ?  is too big. Range is 0 to 4, but value is 5."},
        {kMin, kMin + 1, kMin, name.c_str(), name.c_str(),
         "Parameter " + name + " to method " + name +
             " is too small. Range is -9223372036854775807 to 9223372036854775807, but value is "
             "-9223372036854775808."},
        {kMax, kMin, kMax, "p", "",
         "Parameter p  is too big. Range is -9223372036854775808 to "
         "9223372036854775806, but value is 9223372036854775807."},
    };
    for (const auto& wanted : cases) {
      RaiseOutOfBoundsException(wanted.value, wanted.lower, wanted.upper, wanted.parameter, wanted.method);
      Expect({"OutOfBoundsException", wanted.message, kEncodingASCII, 0});
    }
  };
  EXPECT_TRUE(Passes({}, body));
}

TEST(Exceptions, ClassesThatTheRuntimeLacks) {
  standin::Config config;
  config.missingClasses = {"NilObjectException"};
  const auto fallback = [] {
    RaiseException(kNilObjectException, "text", kEncodingASCII, 9);
    Expect({"RuntimeException", "text", kEncodingASCII, 9});
  };
  EXPECT_TRUE(Passes(config, fallback));
  config.missingClasses.insert("RuntimeException");
  const auto nothing = [] {
    RaiseException(kNilObjectException, "text", kEncodingASCII, 9);
    EXPECT_EQ(Take().className, "");
  };
  EXPECT_TRUE(Passes(config, nothing));
}

TEST(Exceptions, WithoutAnyOfTheServicesNothingIsLost) {
  for (const char* service :
       {"PluginNewInstance", "REALSetPropValueString", "REALSetPropValueInt", "RuntimeRaiseException",
        "REALBuildString", "REALSetStringEncoding", "RuntimeAddString"}) {
    standin::Config config;
    config.missingServices = {service};
    const auto body = [] {
      RaiseException(kNilObjectException, "x", "y", "z", kEncodingASCII);
      RaiseOutOfBoundsException(1, 2, 3, "p", "m");
      Take();
    };
    EXPECT_TRUE(Passes(config, body)) << service;
  }
}

// What the runtime throws while an exception is being raised passes through, and everything is given back.
TEST(Exceptions, ThrowingServicesPassThrough) {
  for (const char* service : {"PluginNewInstance", "REALSetPropValueString", "REALSetPropValueInt",
                              "RuntimeRaiseException", "REALBuildString", "RuntimeAddString"}) {
    const auto body = [service] {
      standin::Faults faults;
      faults.throwingService = service;
      faults.throwAt = 1;
      standin::SetFaults(faults);
      EXPECT_THROW(RaiseException(kNilObjectException, "x", "y", "z", kEncodingASCII),
                   standin::ServiceException);
    };
    EXPECT_TRUE(Passes({}, body)) << service;
  }
}

}  // namespace
