#include "host/services.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "host/resolver.h"
#include "tests/support/fresh_process.h"

// Every row of the table of services against a resolver that can be told to know nothing.
namespace {

using namespace pixmorph;

constexpr std::uint32_t kStubResult = 0x7A5A0100;  // as a boolean: false, for its low byte
constexpr std::size_t kMaxWords = 8;

std::vector<std::string> gLookups;
const void* gAnswer = nullptr;
int gStubCalls = 0;
std::uint32_t gWords[kMaxWords];

void* Resolver(const char* name) {
  gLookups.emplace_back(name);
  return const_cast<void*>(gAnswer);
}

// Takes whatever a wrapper passes on; the words beyond are the caller's stack.
std::uint32_t Stub(std::uint32_t w0, std::uint32_t w1, std::uint32_t w2, std::uint32_t w3, std::uint32_t w4) {
  const std::uint32_t words[] = {w0, w1, w2, w3, w4};
  std::copy(std::begin(words), std::end(words), gWords);
  ++gStubCalls;
  return kStubResult;
}

std::size_t LookupsOf(const char* name) {
  return static_cast<std::size_t>(std::count(gLookups.begin(), gLookups.end(), name));
}

// Zero memory that any pointer argument may point to.
std::uint32_t gScratch[16][64];

// An argument that shows how it travels: narrow types with their top bit set.
template <class T>
T Argument(std::size_t index) {
  if constexpr (std::is_pointer_v<T>) {
    return reinterpret_cast<T>(const_cast<std::uint32_t*>(gScratch[index]));
  } else if constexpr (std::is_enum_v<T>) {
    return static_cast<T>(1);
  } else if constexpr (std::is_floating_point_v<T>) {
    return static_cast<T>(-1.5) - static_cast<T>(index);
  } else {
    return static_cast<T>(-1 - static_cast<long long>(index));
  }
}

// The words of an argument on the stack: sign or zero extended to 32 bits, or the value's own bits.
template <class T>
void AppendWords(T value, std::vector<std::uint32_t>& words) {
  std::uint32_t bits[2] = {};
  if constexpr (std::is_integral_v<T> && sizeof(T) < 4) {
    bits[0] = std::is_signed_v<T> ? static_cast<std::uint32_t>(static_cast<std::int32_t>(value))
                                  : static_cast<std::uint32_t>(value);
  } else {
    std::memcpy(bits, &value, sizeof value);
  }
  words.insert(words.end(), bits, bits + (sizeof(T) > 4 ? 2 : 1));
}

template <class R>
std::uint32_t ToWord(R result) {
  std::uint32_t word;
  static_assert(sizeof word == sizeof result);
  std::memcpy(&word, &result, sizeof word);
  return word;
}

template <class R, class... A>
class Row {
 public:
  Row(const char* name, R (*wrapper)(A...)) : name_(name), wrapper_(wrapper) {}

  void CheckMissing(std::uint32_t expected) {
    gAnswer = nullptr;
    gLookups.clear();
    for (std::size_t round = 1; round <= 2; ++round) {
      EXPECT_EQ(Call().value_or(expected), expected) << name_;
      EXPECT_EQ(LookupsOf(name_), round) << name_ << ": asked again on every call";
    }
  }
  void CheckFound() {
    gAnswer = reinterpret_cast<const void*>(&Stub);
    gLookups.clear();
    gStubCalls = 0;
    EXPECT_EQ(Call().value_or(kStubResult), kStubResult) << name_;
    gAnswer = nullptr;
    Call();
    EXPECT_EQ(gStubCalls, 2) << name_;
    EXPECT_EQ(LookupsOf(name_), 1u) << name_ << ": kept once found";
  }
  void CheckArguments() {
    const std::vector<std::uint32_t> expected = Expected(std::index_sequence_for<A...>());
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), gWords)) << name_;
  }

 private:
  std::optional<std::uint32_t> Call() { return CallWith(std::index_sequence_for<A...>()); }
  template <std::size_t... kIndex>
  std::optional<std::uint32_t> CallWith(std::index_sequence<kIndex...>) {
    if constexpr (std::is_void_v<R>) {
      wrapper_(Argument<A>(kIndex)...);
      return std::nullopt;
    } else {
      return ToWord(wrapper_(Argument<A>(kIndex)...));
    }
  }
  template <std::size_t... kIndex>
  std::vector<std::uint32_t> Expected(std::index_sequence<kIndex...>) {
    std::vector<std::uint32_t> words;
    (AppendWords(Argument<A>(kIndex), words), ...);
    return words;
  }

  const char* name_;
  R (*wrapper_)(A...);
};

template <class R, class... A>
void CheckPlain(const char* name, R (*wrapper)(A...), std::uint32_t missing) {
  Row<R, A...> row(name, wrapper);
  row.CheckMissing(missing);
  row.CheckFound();
  row.CheckArguments();
}

template <class R, class... A>
void CheckRule(const char* name, R (*wrapper)(A...)) {
  Row<R, A...> row(name, wrapper);
  row.CheckMissing(0);
  row.CheckFound();
}

// The table is included here: a macro's argument could not hold it.
void CheckEveryWrapper() {
  gResolver = Resolver;
  int rows = 0;
#define PIXMORPH_SERVICE(result, function, name, parameters, arguments)        \
  CheckPlain(name, static_cast<result(*) parameters>(&pixmorph::function), 0); \
  ++rows;
#define PIXMORPH_SERVICE_ELSE(result, function, name, parameters, arguments, value) \
  CheckPlain(name, static_cast<result(*) parameters>(&pixmorph::function),          \
             static_cast<std::uint32_t>(value));                                    \
  ++rows;
#define PIXMORPH_SERVICE_RULE(result, function, name, parameters, hostParameters) \
  CheckRule(name, static_cast<result(*) parameters>(&pixmorph::function));        \
  ++rows;
#include "host/services.def"
  EXPECT_GT(rows, 90);
}

TEST(Services, EveryWrapperAsksWhileMissingKeepsWhatItFoundAndForwards) {
  EXPECT_TRUE(test::PassesInChild(CheckEveryWrapper));
}

TEST(Services, StatedDefaults) {
  const auto body = [] {
    EXPECT_EQ(REALGetSystemTextEncoding(), 0x08000100u);
    EXPECT_EQ(REALRegisterBackgroundTask(nullptr, 1, nullptr), -1);
    EXPECT_TRUE(HostTrue(0x100 + 1));
    EXPECT_FALSE(HostTrue(0x100));
  };
  EXPECT_TRUE(test::PassesInChild(body));
}

// One element type of the array wrappers: typed accessors that remember what they were given.
template <class T>
struct ArrayProbe {
  static inline REALarrayStruct* array;
  static inline int index;
  static inline T value;
  static inline void* accessor;
  static inline int factoryCalls;

  static void* Factory(REALarrayStruct* given) {
    array = given;
    ++factoryCalls;
    return accessor;
  }
  static void Insert(REALarrayStruct*, int i, Widened<T> v) { index = i, value = static_cast<T>(v); }
  static void Set(REALarrayStruct*, Widened<T> v, int i) { index = i, value = static_cast<T>(v); }
  static T Get(REALarrayStruct*, int i) { return index = i, Argument<T>(3); }

  template <class Function>
  static void Use(Function* function) {
    accessor = reinterpret_cast<void*>(function);
    value = T{};
    index = factoryCalls = 0;
  }
};

template <class T>
void CheckArray(int (*insert)(REALarrayStruct*, int, T), int (*get)(REALarrayStruct*, int, T*),
                int (*set)(REALarrayStruct*, int, T)) {
  using Probe = ArrayProbe<T>;
  auto* array = reinterpret_cast<REALarrayStruct*>(gScratch[0]);
  const T wanted = Argument<T>(2);
  T read{};

  gAnswer = nullptr;
  EXPECT_EQ(insert(array, 5, wanted) + get(array, 5, &read) + set(array, 5, wanted), 0);
  EXPECT_EQ(read, T{});
  gAnswer = reinterpret_cast<const void*>(&Probe::Factory);
  Probe::Use(static_cast<void (*)()>(nullptr));
  EXPECT_EQ(insert(array, 5, wanted) + get(array, 5, &read) + set(array, 5, wanted), 0);
  EXPECT_EQ(Probe::factoryCalls, 3);
  EXPECT_EQ(Probe::array, array);
  EXPECT_EQ(read, T{});

  gAnswer = nullptr;  // the factories have been found, each wrapper's own
  Probe::Use(&Probe::Insert);
  EXPECT_EQ(insert(array, 6, wanted), 1);
  EXPECT_EQ(std::make_pair(Probe::index, Probe::value), std::make_pair(6, wanted));
  Probe::Use(&Probe::Set);
  EXPECT_EQ(set(array, 7, wanted), 1);
  EXPECT_EQ(std::make_pair(Probe::index, Probe::value), std::make_pair(7, wanted));
  Probe::Use(&Probe::Get);
  get(array, 8, nullptr);
  EXPECT_EQ(Probe::factoryCalls, 1);
  EXPECT_EQ(get(array, 9, &read), 1);
  EXPECT_EQ(std::make_pair(Probe::index, read), std::make_pair(9, Argument<T>(3)));
}

void CheckEveryArrayType() {
  gResolver = Resolver;
  std::size_t types = 0;
#define PIXMORPH_ARRAY_ELEMENT(suffix, type)                                                            \
  CheckArray<type>(REALInsertArrayValue##suffix, REALGetArrayValue##suffix, REALSetArrayValue##suffix); \
  ++types;
#include "host/services.def"
  EXPECT_EQ(types, 13u);
  // Each wrapper has asked once in vain and once with success.
  EXPECT_EQ(LookupsOf("RuntimeArrayDirectGetInsertProc"), 2 * types);
  EXPECT_EQ(LookupsOf("RuntimeArrayDirectGetGetProc"), 2 * types);
  EXPECT_EQ(LookupsOf("RuntimeArrayDirectGetSetProc"), 2 * types);
}

TEST(Services, ArrayElementsOfEveryType) { EXPECT_TRUE(test::PassesInChild(CheckEveryArrayType)); }

}  // namespace
