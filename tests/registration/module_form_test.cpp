#include "registration/module_form.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "host/resolver.h"
#include "host/versions.h"
#include "registration/declarations.h"
#include "registration/plugin_identity.h"
#include "registration/register.h"
#include "standin/registrations.h"
#include "standin/runtime.h"
#include "tests/support/fresh_process.h"

namespace {

using namespace pixmorph;

std::string Text(char* allocated) {
  const std::string text = allocated ? allocated : "(null)";
  std::free(allocated);
  return text;
}

TEST(Declarations, FirstParameterIsTheExtendedObject) {
  const struct {
    const char* given;
    const char* extended;
    const char* assigned;
  } cases[] = {
      {"", "(extends ref as C)", "(extends ref as C, assigns value)"},
      {"Name", "Name(extends ref as C)", "Name(extends ref as C, assigns value)"},
      {"Name as T", "Name(extends ref as C) as T", "Name(extends ref as C, assigns value as T)"},
      {"Name(a as integer) as T", "Name(extends ref as C, a as integer) as T",
       "Name(extends ref as C, a as integer, assigns value as T)"},
      {"Name() as T", "Name(extends ref as C, ) as T", "Name(extends ref as C, , assigns value as T)"},
      {"Name as F(x)", "Name(extends ref as C) as F(x)", "Name(extends ref as C, assigns value as F(x))"},
      {"Name(a() as T", "Name(extends ref as C, a() as T", "Name(extends ref as C, a(, assigns value as T)"},
  };
  for (const auto& wanted : cases) {
    EXPECT_EQ(Text(AddClassParameter(wanted.given, "C")), wanted.extended);
    EXPECT_EQ(Text(AddClassParameterAssign(wanted.given, "C")), wanted.assigned);
  }
}

TEST(Declarations, AreCutAt999Characters) {
  for (std::size_t nameLength : {970u, 981u, 982u, 983u, 998u, 999u, 1000u, 2000u}) {
    const std::string name(nameLength, 'n');
    const std::string parameters(2000, 'p');
    EXPECT_EQ(Text(AddClassParameter((name + " as T").c_str(), "C")),
              (name + "(extends ref as C) as T").substr(0, 999));
    EXPECT_EQ(Text(AddClassParameter((name + "(" + parameters).c_str(), "C")),
              (name + "(extends ref as C, " + parameters).substr(0, 999));
  }
  // With the parenthesis cut off there is a space at best, and no place for a value without one.
  EXPECT_EQ(Text(AddClassParameterAssign((std::string(981, 'n')).c_str(), "C")),
            (std::string(981, 'n') + "(extends ref as C, assigns value)").substr(0, 999));
  EXPECT_EQ(Text(AddClassParameterAssign((std::string(985, 'n')).c_str(), "C")),
            (std::string(985, 'n') + "(extends(assigns value ref a)").substr(0, 999));
  EXPECT_EQ(AddClassParameterAssign((std::string(999, 'n')).c_str(), "C"), nullptr);
}

void Start(double version) {
  standin::Config config;
  config.version = version;
  standin::Start(config);
  gResolver = standin::Resolve;
  rbversion_rbversion = version;
  CurrentREALControlVersion = ControlVersionFor(version);
  MyPluginStart("Part", "stamp");
}

void* Function(std::uintptr_t address) { return reinterpret_cast<void*>(address); }

TEST(ModuleForm, GettersAndSettersBecomeMethodsOfTheirOwn) {
  const auto body = [] {
    Start(2013.0);
    int attributes = 0;
    REALmethodDefinition rows[] = {
        {Function(1), Function(2), "Both as T", 0x100, 7, &attributes},
        {nullptr, nullptr, "Neither as T", 0, 0, nullptr},
        {nullptr, Function(3), "Set as T", 0x10, 0, nullptr},
        {Function(4), nullptr, "Get(a as T)", 0, 0, nullptr},
    };
    REALclassDefinition extension{};
    extension.name = "Class";
    extension.methods = rows;
    extension.methodCount = 4;
    MyREALRegisterClassExtension(&extension);
    ASSERT_EQ(standin::Registrations().size(), 1u);
    const standin::Registration& module = standin::Registrations()[0];
    EXPECT_EQ(module.kind, standin::RegistrationKind::kModule);
    EXPECT_EQ(module.name, "ClassPartExtensionKTZ");
    EXPECT_EQ(module.version, 11);
    const struct {
      std::uintptr_t function;
      const char* declaration;
      std::uint32_t flags;
    } wanted[] = {
        {2, "Both(extends ref as Class, assigns value as T)", 0x110},
        {1, "Both(extends ref as Class) as T", 0x110},
        {3, "Set(extends ref as Class, assigns value as T)", 0x10},
        {4, "Get(extends ref as Class, a as T)", 0x10},
    };
    ASSERT_EQ(module.methods.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i) {
      EXPECT_EQ(module.methods[i].function, Function(wanted[i].function));
      EXPECT_EQ(module.methods[i].setter, nullptr);
      EXPECT_EQ(module.methods[i].declaration, wanted[i].declaration);
      EXPECT_EQ(module.methods[i].flags, wanted[i].flags);
      EXPECT_EQ(module.methods[i].attributes, i < 2 ? &attributes : nullptr);
      EXPECT_EQ(module.methods[i].attributeCount, i < 2 ? 7u : 0u);
    }
  };
  EXPECT_TRUE(test::PassesInChild(body));
}

TEST(ModuleForm, NothingToRegisterAndLongNames) {
  const auto body = [] {
    Start(2999.9);
    REALmethodDefinition row{Function(1), nullptr, "M", 0, 0, nullptr};
    REALclassDefinition extension{};
    const std::string name(200, 'c');
    extension.name = name.c_str();
    extension.methods = &row;
    for (const int count : {0, -1}) {
      extension.methodCount = count;
      MyREALRegisterClassExtension(&extension);
    }
    EXPECT_TRUE(standin::Registrations().empty());
    extension.methodCount = 1;
    MyREALRegisterClassExtension(&extension);
    ASSERT_EQ(standin::Registrations().size(), 1u);
    EXPECT_EQ(standin::Registrations()[0].name, name.substr(0, 99));
  };
  EXPECT_TRUE(test::PassesInChild(body));
}

TEST(ModuleForm, MethodArraysAreAModuleInTheSameRange) {
  for (const double version : {2012.0, 2013.0, 3000.0}) {
    const auto body = [version] {
      Start(version);
      REALmethodDefinition rows[] = {{Function(1), nullptr, "A", 1, 0, nullptr},
                                     {Function(2), nullptr, "B", 2, 0, nullptr}};
      MyREALRegisterMethodArray(rows, 2);
      const auto& records = standin::Registrations();
      if (version != 2013.0) {
        ASSERT_EQ(records.size(), 2u);
        EXPECT_EQ(records[1].kind, standin::RegistrationKind::kMethod);
        EXPECT_EQ(records[1].record, rows + 1);
        return;
      }
      ASSERT_EQ(records.size(), 1u);
      EXPECT_EQ(records[0].name, "PartGlobalsKTZ");
      ASSERT_EQ(records[0].methods.size(), 2u);
      EXPECT_EQ(records[0].methods[1].declaration, "B");
      EXPECT_EQ(records[0].methods[1].flags, 0x12u);
      EXPECT_EQ(rows[1].flags, 2u);
    };
    EXPECT_TRUE(test::PassesInChild(body)) << version;
  }
}

}  // namespace
