#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "host/resolver.h"
#include "host/services.h"
#include "host/versions.h"
#include "tests/support/fresh_process.h"

// The wrappers that do more than look up and forward.
namespace {

using namespace pixmorph;
using Words = std::vector<std::uint32_t>;

std::map<std::string, void*> gServices;
std::vector<std::string> gLookups;
Words gGiven;

void* Resolver(const char* name) {
  gLookups.emplace_back(name);
  const auto found = gServices.find(name);
  return found == gServices.end() ? nullptr : found->second;
}

template <class Function>
void Offer(const char* name, Function* function) {
  gServices[name] = reinterpret_cast<void*>(function);
}

template <class T>
T* Fake(std::uintptr_t address) {
  return reinterpret_cast<T*>(address);
}

std::uint32_t Word(const void* address) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address));
}

void* TwoWords(std::uint32_t first, std::uint32_t second) {
  gGiven = {first, second};
  return Fake<void>(0x77);
}

int FourWords(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  gGiven = {a, b, c, d};
  return 5;
}

bool Passes(const std::function<void()>& body) {
  const auto started = [&body] {
    gResolver = Resolver;
    body();
  };
  return static_cast<bool>(test::PassesInChild(started));
}

TEST(ServiceRules, TextReferencesAreCountedInTheTextWhereTheRuntimeDoesNot) {
  const auto body = [] {
    std::int32_t words[] = {7, 7};
    auto* text = reinterpret_cast<RuntimeText>(words);
    REALLockText(text);
    REALLockText(text);
    REALUnlockText(text);
    EXPECT_EQ(words[0], 8);
    EXPECT_EQ(words[1], 7);
    Offer("PluginLockText", &TwoWords);
    Offer("PluginUnlockText", &TwoWords);
    REALLockText(text);
    REALUnlockText(text);
    EXPECT_EQ(words[0], 8);
  };
  EXPECT_TRUE(Passes(body));
}

TEST(ServiceRules, ArgumentsThatWrappersAddOrReplace) {
  const auto body = [] {
    Offer("REALLoadGlobalMethod", &TwoWords);
    const char* declaration = "Name() as T";
    EXPECT_EQ(REALLoadFrameworkMethod(declaration), Fake<void>(0x77));
    EXPECT_EQ(gGiven, (Words{0, Word(declaration)}));

    Offer("REALDrawPicturePrimitive", &FourWords);
    EXPECT_EQ(
        REALDrawPicturePrimitive(Fake<REALgraphicsStruct>(1), Fake<REALpictureStruct>(2), Fake<REALrect>(3)),
        5);
    EXPECT_EQ(gGiven, (Words{1, 2, 3, 0}));

    Offer("REALSetPropValueBoolean", &FourWords);
    EXPECT_EQ(REALSetPropValueBoolean(Fake<REALobjectStruct>(1), declaration, 200), 5);
    gGiven.resize(3);
    EXPECT_EQ(gGiven, (Words{1, Word(declaration), 200}));
  };
  EXPECT_TRUE(Passes(body));
}

TEST(ServiceRules, NullIsNotHandedToTheRuntime) {
  const auto body = [] {
    for (const char* name : {"CreateInstance", "memoryBlockGetSize", "memoryBlockGetPtr"})
      Offer(name, &TwoWords);
    EXPECT_EQ(REALnewInstanceWithClass(nullptr), nullptr);
    EXPECT_EQ(MyREALMemoryBlockGetSize(nullptr), 0);
    EXPECT_EQ(MyREALMemoryBlockGetPtr(nullptr), nullptr);
    EXPECT_TRUE(gGiven.empty());
    EXPECT_EQ(REALnewInstanceWithClass(Fake<REALclassRefStruct>(4)), Fake<REALobjectStruct>(0x77));
    EXPECT_EQ(MyREALMemoryBlockGetPtr(Fake<REALmemoryBlockStruct>(4)), Fake<void>(0x77));
    EXPECT_EQ(MyREALMemoryBlockGetSize(Fake<REALmemoryBlockStruct>(4)), 0x77);
  };
  EXPECT_TRUE(Passes(body));
}

TEST(ServiceRules, EventInstancesGoThroughTheOldCopyOnRecordLayout9) {
  const auto body = [] {
    Offer("GetEventInstance", &TwoWords);
    auto* instance = Fake<REALcontrolInstanceStruct>(1);
    REALeventDefinition old{"Open", Fake<void>(0x33), {}};
    REALeventDefinition event{"Open", &old, {}};
    CurrentREALControlVersion = 10;
    EXPECT_EQ(REALGetEventInstance(instance, &event), Fake<void>(0x77));
    EXPECT_EQ(gGiven, (Words{1, Word(&old)}));
    CurrentREALControlVersion = 9;
    REALGetEventInstance(instance, &event);
    EXPECT_EQ(gGiven, (Words{1, 0x33}));
  };
  EXPECT_TRUE(Passes(body));
}

REALpictureStruct* BuildNothing(long width, long height, RBPixelType type, void* buffer, long rowBytes) {
  gGiven = {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height),
            static_cast<std::uint32_t>(type), Word(buffer), static_cast<std::uint32_t>(rowBytes)};
  return nullptr;
}

TEST(ServiceRules, ABufferIsKnownToBeHandedOverOrNot) {
  const auto body = [] {
    char buffer[1];
    REALpictureStruct* picture = Fake<REALpictureStruct>(1);
    EXPECT_FALSE(REALBuildPictureFromBufferIfPresent(5, 4, kBufferRGB24, buffer, 15, &picture));
    EXPECT_EQ(picture, nullptr);
    EXPECT_EQ(gLookups, std::vector<std::string>{"REALBuildPictureFromBuffer"});
    Offer("REALBuildPictureFromBuffer", &BuildNothing);
    picture = Fake<REALpictureStruct>(1);
    EXPECT_TRUE(REALBuildPictureFromBufferIfPresent(5, 4, kBufferRGB24, buffer, 15, &picture));
    EXPECT_EQ(picture, nullptr);
    EXPECT_EQ(gGiven, (Words{5, 4, 1, Word(buffer), 15}));
    EXPECT_EQ(gLookups.size(), 2u);
  };
  EXPECT_TRUE(Passes(body));
}

// A runtime without a service for string data: a string is a C string here, converted ones are copies.
constexpr char kText[] = "text";
char gConverted[8];
int gUnlocked = 0;
unsigned long gOwnEncoding = kEncodingASCII;

const void* CString(const char* string) { return string; }
int LengthInBytes(const char* string) { return static_cast<int>(std::strlen(string)); }
void* FindGlobal(void*, const char* declaration) {
  return std::strcmp(declaration, "LenB( s as string ) as integer") == 0
             ? reinterpret_cast<void*>(&LengthInBytes)
             : nullptr;
}
unsigned long OwnEncoding(const void*) { return gOwnEncoding; }
void* Convert(const char* string, unsigned long encoding) {
  if (encoding == kEncodingUTF16) return nullptr;
  std::strcpy(gConverted, string);
  gConverted[0] = 'X';
  return gConverted;
}
void Unlock(const void* string) {
  EXPECT_EQ(string, gConverted);
  ++gUnlocked;
}

REALstringStruct* Text() { return reinterpret_cast<REALstringStruct*>(const_cast<char*>(kText)); }

struct StringDataCase {
  unsigned long encoding;
  const char* expected;  // null: refused
  int unlocked;
};

void CheckStringData(const StringDataCase& wanted) {
  SCOPED_TRACE(wanted.encoding);
  gUnlocked = 0;
  REALstringData data{&data, 99, 98};
  EXPECT_EQ(REALGetStringData(Text(), wanted.encoding, &data), wanted.expected ? 1 : 0);
  EXPECT_EQ(gUnlocked, wanted.unlocked);
  if (!wanted.expected) {
    EXPECT_EQ(data.data, &data);
    EXPECT_EQ(data.length, 99u);
    return;
  }
  EXPECT_EQ(data.length, 4u);
  EXPECT_EQ(data.encoding, wanted.encoding);
  EXPECT_EQ(std::memcmp(data.data, (std::string(wanted.expected) + std::string(4, '\0')).data(), 8), 0);
  REALDisposeStringData(&data);
}

TEST(ServiceRules, StringDataWithoutTheService) {
  const auto body = [] {
    const StringDataCase refused{kEncodingUnknown, nullptr, 0};
    CheckStringData(refused);
    Offer("StringGetCString", &CString);
    CheckStringData(refused);
    Offer("REALLoadGlobalMethod", &FindGlobal);
    Offer("REALGetStringEncoding", &OwnEncoding);
    Offer("REALConvertString", &Convert);
    Offer("REALUnlockString", &Unlock);
    CheckStringData({kEncodingUnknown, "text", 0});
    CheckStringData({kEncodingASCII, "text", 0});  // its own
    CheckStringData({kEncodingUTF8, "Xext", 1});
    CheckStringData({kEncodingUTF16, nullptr, 0});  // cannot be converted
    REALstringData data{};
    EXPECT_EQ(REALGetStringData(nullptr, kEncodingUnknown, &data), 0);
    Offer("PluginGetStringData", &FourWords);
    EXPECT_EQ(REALGetStringData(Text(), kEncodingUTF8, &data), 5);
  };
  EXPECT_TRUE(Passes(body));
}

}  // namespace
