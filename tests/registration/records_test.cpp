#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "host/resolver.h"
#include "host/versions.h"
#include "registration/flags.h"
#include "registration/plugin_identity.h"
#include "registration/register.h"
#include "standin/registrations.h"
#include "standin/runtime.h"
#include "tests/support/fresh_process.h"

// The registration family with records that the plugin itself does not have: every list filled, every byte of
// it random, and poison behind whatever the old layouts leave out.
namespace {

using namespace pixmorph;
using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint32_t>;

constexpr std::uint8_t kPoison = 0xC5;
constexpr int kRows = 3;

struct List {
  std::size_t word;
  std::size_t bytes;
  std::size_t oldBytes;
  bool linked;  // source rows end up pointing to their copies
};

struct Layout {
  const char* name;
  void (*registerRecord)(void*);
  std::size_t words;
  std::size_t oldWords;
  std::vector<List> lists;
  std::vector<std::size_t> cleared;
  int sizeWord;  // rounded up to 16; -1: none
};

template <class Record, void (*kRegister)(Record*)>
void RegisterAs(void* record) {
  kRegister(static_cast<Record*>(record));
}

const List kClassMethods{9, 24, 16, false};
const Layout kLayouts[] = {
    {"class extension",
     &RegisterAs<REALclassDefinition, MyREALRegisterClassExtension>,
     32,
     25,
     {{7, 48, 40, false},
      kClassMethods,
      {11, 16, 8, true},
      {18, 20, 12, false},
      {21, 48, 40, false},
      {23, 24, 16, false}},
     {16, 17},
     -1},
    {"class",
     &RegisterAs<REALclassDefinition, MyREALRegisterClass>,
     32,
     25,
     {{7, 48, 40, false},
      kClassMethods,
      {11, 16, 8, true},
      {18, 20, 12, false},
      {21, 48, 40, false},
      {23, 24, 16, false}},
     {16, 17},
     3},
    {"module",
     &RegisterAs<REALmoduleDefinition, MyREALRegisterModule>,
     24,
     12,
     {{2, 24, 16, false}, {4, 20, 12, false}, {6, 48, 40, false}, {8, 24, 16, false}, {10, 28, 20, false}},
     {},
     -1},
    {"interface",
     &RegisterAs<REALinterfaceDefinition, MyREALRegisterInterface>,
     4,
     4,
     {{2, 24, 16, false}},
     {},
     -1},
    {"control",
     &RegisterAs<REALcontrol, MyREALRegisterControl>,
     23,
     23,
     {{8, 48, 40, false}, {10, 24, 16, false}, {12, 16, 8, true}, {21, 20, 12, false}},
     {},
     2},
};

void Start(double version) {
  standin::Config config;
  config.version = version;
  standin::Start(config);
  gResolver = standin::Resolve;
  rbversion_rbversion = version;
  CurrentREALControlVersion = ControlVersionFor(version);
}

// A record with poison behind it and lists of random rows, and what it looked like before registration.
struct Sample {
  explicit Sample(const Layout& layout) : record(layout.words + 8) {
    std::memset(record.data(), kPoison, record.size() * 4);
    for (std::size_t i = 0; i < layout.words; ++i)
      record[i] = 0x01010101u * static_cast<std::uint32_t>(i + 1);
    record[1] = Address("Name");
    for (const List& list : layout.lists) {
      rows.push_back(Bytes(list.bytes * kRows));
      for (std::size_t i = 0; i < rows.back().size(); ++i)
        rows.back()[i] = static_cast<std::uint8_t>(37 * i + list.word);
      if (list.bytes == 24)  // the declaration is read by the runtime
        for (std::size_t row = 0; row < kRows; ++row) SetWord(rows.back(), row * 24 + 8, Address("Method()"));
      record[list.word] = Address(rows.back().data());
      record[list.word + 1] = kRows;
    }
    if (layout.sizeWord >= 0) record[static_cast<std::size_t>(layout.sizeWord)] = 33;
    before = record;
    rowsBefore = rows;
  }
  static std::uint32_t Address(const void* pointer) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(pointer));
  }
  static void SetWord(Bytes& bytes, std::size_t offset, std::uint32_t word) {
    std::memcpy(&bytes[offset], &word, 4);
  }

  Words record;
  std::vector<Bytes> rows;
  Words before;
  std::vector<Bytes> rowsBefore;
};

void CheckOldList(const List& list, const Sample& sample, std::size_t index) {
  SCOPED_TRACE(list.word);
  const auto* copy = reinterpret_cast<const std::uint8_t*>(sample.record[list.word]);
  ASSERT_NE(copy, nullptr);
  EXPECT_NE(copy, sample.rows[index].data());
  EXPECT_EQ(sample.record[list.word + 1], std::uint32_t{kRows});
  Bytes source = sample.rowsBefore[index];
  for (std::size_t row = 0; row < kRows; ++row) {
    EXPECT_EQ(std::memcmp(copy + row * list.oldBytes, &source[row * list.bytes], list.oldBytes), 0) << row;
    if (list.linked)
      Sample::SetWord(source, row * list.bytes + 4, Sample::Address(copy + row * list.oldBytes));
  }
  EXPECT_EQ(sample.rows[index], source) << "the rows themselves";
}

// The words of the record that registration should leave, lists apart.
Words ExpectedWords(const Layout& layout, const Sample& sample, bool old, std::uint32_t version) {
  Words expected = sample.before;
  expected[0] = version;
  if (layout.sizeWord >= 0) expected[static_cast<std::size_t>(layout.sizeWord)] = 48;
  if (!old) return expected;
  for (const std::size_t word : layout.cleared) expected[word] = 0;
  for (const List& list : layout.lists) expected[list.word] = sample.record[list.word];
  return expected;
}

TEST(Records, OldLayoutsByteForByte) {
  for (const Layout& layout : kLayouts) {
    const auto body = [&layout] {
      Start(2011.0);
      Sample sample(layout);
      layout.registerRecord(sample.record.data());
      for (std::size_t i = 0; i < layout.lists.size(); ++i) CheckOldList(layout.lists[i], sample, i);
      EXPECT_EQ(sample.record, ExpectedWords(layout, sample, true, 9));
      ASSERT_EQ(standin::Registrations().size(), 1u);
      EXPECT_EQ(standin::Registrations()[0].record, sample.record.data());
      EXPECT_EQ(
          standin::Registrations()[0].words,
          Words(sample.record.begin(), sample.record.begin() + static_cast<std::ptrdiff_t>(layout.oldWords)));
    };
    EXPECT_TRUE(test::PassesInChild(body)) << layout.name;
  }
}

TEST(Records, CurrentLayoutsGetTheirVersionAndNothingElse) {
  for (const Layout& layout : kLayouts) {
    const auto body = [&layout] {
      Start(2012.0);
      Sample sample(layout);
      layout.registerRecord(sample.record.data());
      EXPECT_EQ(sample.record, ExpectedWords(layout, sample, false, 10));
      EXPECT_EQ(sample.rows, sample.rowsBefore);
      EXPECT_EQ(standin::Registrations().size(), 1u);
    };
    EXPECT_TRUE(test::PassesInChild(body)) << layout.name;
  }
}

TEST(Records, EmptyListsBecomeNullAndKeepTheirCount) {
  const auto body = [] {
    Start(2011.0);
    REALmethodDefinition method{};
    REALclassDefinition record{};
    record.name = "Name";
    record.dataSize = 32;
    record.methods = &method;  // address without count, count without address, negative count
    record.propertyCount = 2;
    record.sharedMethods = &method;
    record.sharedMethodCount = -1;
    MyREALRegisterClass(&record);
    EXPECT_EQ(record.methods, nullptr);
    EXPECT_EQ(record.properties, nullptr);
    EXPECT_EQ(record.propertyCount, 2);
    EXPECT_EQ(record.sharedMethods, nullptr);
    EXPECT_EQ(record.sharedMethodCount, -1);
    EXPECT_EQ(record.dataSize, 32);
  };
  EXPECT_TRUE(test::PassesInChild(body));
}

// Settings of both kinds of console flags, and a bit that has to stay.
std::uint32_t ExpectedFlags(std::uint32_t flags, bool translated) {
  std::uint32_t host = flags & 0x1u;
  if (translated && (flags & 0x40000)) host |= 0x4;
  if (translated && (flags & 0x80000)) host |= 0x8;
  return host;
}

TEST(Records, ConsoleFlagsOfEveryRow) {
  for (const double version : {2010.0, 2010.029}) {
    for (std::uint32_t flags = 0; flags <= 0x1C0000; flags += 0x40000) {
      rbversion_rbversion = version;
      const std::uint32_t given = flags | 1;
      const std::uint32_t wanted = ExpectedFlags(given, version > 2010.0);
      REALmethodDefinition methods[2] = {{nullptr, nullptr, "", given, 0, nullptr},
                                         {nullptr, nullptr, "", given, 0, nullptr}};
      REALmethodDefinition shared = methods[0];
      REALpropertyDefinition property{nullptr, nullptr, nullptr, given, {}};
      REALpropertyDefinition sharedProperty = property;
      REALclassDefinition record{};
      record.flags = given;
      record.methods = methods;
      record.methodCount = 2;
      record.sharedMethods = &shared;
      record.sharedMethodCount = 1;
      record.properties = &property;
      record.propertyCount = 1;
      record.sharedProperties = &sharedProperty;
      record.sharedPropertyCount = 1;
      FixConsoleFlags(&record);
      for (const std::uint32_t fixed : {record.flags, methods[0].flags, methods[1].flags, shared.flags,
                                        property.flags, sharedProperty.flags})
        EXPECT_EQ(fixed, wanted) << version << " " << flags;

      REALmethodDefinition method{nullptr, nullptr, "", given, 0, nullptr};
      property.flags = given;
      REALmoduleDefinition module{};
      module.methods = &method;
      module.methodCount = 1;
      module.properties = &property;
      module.propertyCount = 1;
      FixConsoleFlags(&module);
      EXPECT_EQ(method.flags, wanted);
      EXPECT_EQ(property.flags, wanted);
    }
  }
  rbversion_rbversion = 0.0;
}

}  // namespace
