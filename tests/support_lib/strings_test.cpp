#include "support/strings.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>

#include "host/encodings.h"
#include "host/resolver.h"
#include "host/services.h"
#include "standin/faults.h"
#include "standin/ledger.h"
#include "standin/objects.h"
#include "standin/runtime.h"
#include "support/objects.h"
#include "tests/support/fresh_process.h"

extern "C" void REALPluginMain(pixmorph::REALResolver resolver);

// Runtime strings and memory blocks, made through the stand-in runtime; every case leaves the ledger
// balanced.
namespace {

using namespace pixmorph;
using standin::Ref;

testing::AssertionResult Passes(double version, const std::function<void()>& body,
                                const standin::Config& base = {}) {
  return test::PassesInChild([&] {
    standin::Config config = base;
    config.version = version;
    standin::Start(config);
    standin::AttachPluginEntry(&REALPluginMain);
    body();
    EXPECT_EQ(standin::CheckLedger(), "");
  });
}

// Bytes and encoding of a string that the caller owns; "(nil)" for none.
std::string Describe(REALstringStruct* built) {
  if (!built) return "(nil)";
  const Ref string = Ref::Adopt(built);
  char encoding[16];
  std::snprintf(encoding, sizeof encoding, " %X",
                static_cast<unsigned>(standin::StringEncoding(string.Get())));
  return standin::StringBytes(string.Get()) + encoding;
}

std::string Built(const std::string& bytes, unsigned long encoding) {
  return Describe(REALBuildUnicodeString(bytes.data(), static_cast<long long>(bytes.size()), encoding));
}

TEST(Strings, OneByteTextIsLabelledAsciiWhereItIs) {
  const auto body = [] {
    for (const unsigned long encoding : {kEncodingMacRoman, kEncodingWindowsLatin1, kEncodingUnknown})
      EXPECT_EQ(Built("abc", encoding), "abc 600") << encoding;
    EXPECT_EQ(Built("a\xE9", kEncodingMacRoman), "a\xE9 0");
    EXPECT_EQ(Built("\x80z", kEncodingWindowsLatin1), "\x80z 500");
    EXPECT_EQ(Built("z\xFF", kEncodingUnknown), "z\xFF FFFF");
    EXPECT_EQ(Built("abc", kEncodingUTF8), "abc 8000100");
    EXPECT_EQ(Built("abc", 0x0201), "abc 201");
    EXPECT_EQ(Built("", kEncodingASCII), "(nil)");
    EXPECT_EQ(Describe(REALBuildUnicodeString(nullptr, 3, kEncodingASCII)), "(nil)");
    for (const long long length : {-1LL, 0x80000000LL, 0x100000001LL})
      EXPECT_EQ(Describe(REALBuildUnicodeString("abc", length, kEncodingASCII)), "(nil)") << length;
  };
  EXPECT_TRUE(Passes(2015.0, body));
}

std::string Utf16(const std::u16string& text) {
  return std::string(reinterpret_cast<const char*>(text.data()), 2 * text.size());
}
std::string Utf32(const std::u32string& text) {
  return std::string(reinterpret_cast<const char*>(text.data()), 4 * text.size());
}

TEST(Strings, WideTextBecomesUtf8WhereTheRuntimeCan) {
  const auto body = [] {
    EXPECT_EQ(Built(Utf16(u"a\u00E9\U0001F600"), kEncodingUTF16), "a\u00E9\U0001F600 8000100");
    EXPECT_EQ(Built(Utf32(U"a\u00E9\U0001F600"), kEncodingUTF32), "a\u00E9\U0001F600 8000100");
  };
  EXPECT_TRUE(Passes(2012.0, body));
}

TEST(Strings, WideTextIsUtf16OnOlderRuntimes) {
  const auto body = [] {
    EXPECT_EQ(Built(Utf16(u"a\u00E9"), kEncodingUTF16), Utf16(u"a\u00E9") + " 100");
    EXPECT_EQ(Built(Utf32(U"a\U00012345"), kEncodingUTF32), Utf16(u"a\u2345") + " 100");
    // A rest below a whole unit is left out. Around the end of the fixed buffer, and far beyond it.
    for (const std::size_t count : {1u, 199u, 200u, 201u, 5000u})
      EXPECT_EQ(Built(Utf32(std::u32string(count, U'x')) + "abc", kEncodingUTF32),
                Utf16(std::u16string(count, u'x')) + " 100")
          << count;
  };
  EXPECT_TRUE(Passes(2011.99, body));
}

TEST(Strings, TerminatedTextAndCodes) {
  const auto body = [] {
    EXPECT_EQ(Describe(CString2RBmax("abcdef", kEncodingASCII, 3)), "abc 600");
    EXPECT_EQ(Describe(CString2RBmax("abcdef", kEncodingASCII, 9)), "abcdef 600");
    EXPECT_EQ(Describe(CString2RBmax("abcdef", kEncodingUTF8, 0)), "abcdef 8000100");
    EXPECT_EQ(Describe(CString2RBmax("abcdef", kEncodingUTF8, -1)), "abcdef 8000100");
    const char unterminated[] = {'a', 'b'};
    EXPECT_EQ(Describe(CString2RBmax(unterminated, kEncodingUTF8, 2)), "ab 8000100");
    EXPECT_EQ(Describe(CString2RBmax(nullptr, kEncodingUTF8, 2)), "(nil)");
    const unsigned short units[] = {'a', 0x100, 0, 'b'};
    EXPECT_EQ(Describe(UnicodeCString2RB(units)), "a\u0100 8000100");
    EXPECT_EQ(Describe(UnicodeCString2RB(L"a\U0001F600")), "a\U0001F600 8000100");
    EXPECT_EQ(Describe(UnicodeCString2RB(static_cast<const wchar_t*>(nullptr))), "(nil)");
    EXPECT_EQ(Describe(REALBuildOSTypeString(0x54455854)), "TEXT 600");
    EXPECT_EQ(Describe(REALBuildOSTypeString(0x414243A9)), "ABC\xA9 0");
  };
  EXPECT_TRUE(Passes(2015.0, body));
}

void OrderThrow(const char* service, standin::Thrown thrown, bool persistent) {
  standin::Faults faults;
  faults.throwingService = service;
  faults.throwAt = 1;
  faults.thrown = thrown;
  faults.persistent = persistent;
  standin::SetFaults(faults);
}

void ExpectRaised(const std::string& className, const std::string& message) {
  const Ref raised = standin::TakeRaised();
  ASSERT_TRUE(raised);
  EXPECT_EQ(standin::ClassOf(raised.Get()), className);
  EXPECT_EQ(standin::ExceptionMessage(raised.Get()), message);
  EXPECT_EQ(standin::ExceptionErrorNumber(raised.Get()), 0);
}

TEST(Strings, LackOfMemoryIsRaisedOnceAndNothingElseIsCaught) {
  const auto body = [] {
    for (const char* service : {"REALBuildString", "REALSetStringEncoding"}) {
      OrderThrow(service, standin::Thrown::kBadAlloc, false);
      EXPECT_EQ(Built("abc", kEncodingASCII), "(nil)");
      ExpectRaised("OutOfMemoryException", "Failed to allocate memory for a string.");
      OrderThrow(service, standin::Thrown::kBadAlloc, true);  // not even for the message
      EXPECT_EQ(Built("abc", kEncodingASCII), "(nil)");
      ExpectRaised("OutOfMemoryException", "");
      OrderThrow(service, standin::Thrown::kForeign, false);
      EXPECT_THROW(Built("abc", kEncodingASCII), standin::ServiceException);
      EXPECT_FALSE(standin::TakeRaised());
    }
    OrderThrow("REALConvertString", standin::Thrown::kBadAlloc, false);
    EXPECT_EQ(Built(Utf16(u"abc"), kEncodingUTF16), "(nil)");
    ExpectRaised("OutOfMemoryException", "Failed to allocate memory for a string.");
  };
  EXPECT_TRUE(Passes(2015.0, body));
}

TEST(MemoryBlocks, CopyTheirBytesOrRaise) {
  const auto body = [] {
    const Ref block = Ref::Adopt(REALBuildMemoryblock("abc", 3));
    EXPECT_EQ(standin::MemoryBlockBytes(block.Get()), (std::vector<std::uint8_t>{'a', 'b', 'c'}));
    EXPECT_EQ(REALBuildMemoryblock(nullptr, 3), nullptr);
    EXPECT_EQ(REALBuildMemoryblock("abc", 0), nullptr);
    for (const long long size : {-1LL, 0x7FFFFFFFLL, 0x100000001LL})
      EXPECT_EQ(REALNewMemoryBlock(size), nullptr);
    EXPECT_FALSE(standin::TakeRaised());
    for (const char* service : {"newMemoryBlock", "memoryBlockGetPtr"}) {
      OrderThrow(service, standin::Thrown::kBadAlloc, false);
      EXPECT_EQ(REALBuildMemoryblock("abc", 3), nullptr);
      ExpectRaised("OutOfMemoryException", "Failed to allocate a memoryblock with 3 bytes in size.");
      OrderThrow(service, standin::Thrown::kForeign, false);
      EXPECT_THROW((void)REALBuildMemoryblock("abc", 3), standin::ServiceException);
    }
  };
  EXPECT_TRUE(Passes(2015.0, body));
  standin::Config config;
  config.missingServices = {"memoryBlockGetPtr"};
  const auto unreachable = [] {
    EXPECT_EQ(REALBuildMemoryblock("abc", 3), nullptr);
    ExpectRaised("OutOfMemoryException", "Failed to allocate a memoryblock with 3 bytes in size.");
  };
  EXPECT_TRUE(Passes(2015.0, unreachable, config));
}

TEST(Objects, ClassTestsAndPaths) {
  standin::Config config;
  config.missingClasses = {"Gone"};
  const auto body = [] {
    const Ref block = standin::NewMemoryBlock({1, 2});
    const Ref item = standin::NewFolderItem("/a/b");
    const Ref pathless = standin::NewFolderItem("");
    EXPECT_TRUE(IsMemoryBlock(block.As<REALobjectStruct>()));
    EXPECT_FALSE(IsMemoryBlock(item.As<REALobjectStruct>()));
    EXPECT_FALSE(IsMemoryBlock(nullptr));
    EXPECT_FALSE(REALObjectIsA(block.As<REALobjectStruct>(), "Gone"));
    EXPECT_TRUE(IsFolderItem(item.As<REALobjectStruct>()));
    EXPECT_FALSE(IsFolderItem(block.As<REALobjectStruct>()));
    EXPECT_EQ(Describe(GetFolderItemPathWithSystemEncoding(item.As<REALfolderItemStruct>())), "/a/b 8000100");
    EXPECT_EQ(Describe(GetFolderItemPathWithSystemEncoding(pathless.As<REALfolderItemStruct>())), "(nil)");
    EXPECT_EQ(Describe(GetFolderItemPathWithSystemEncoding(nullptr)), "(nil)");
  };
  EXPECT_TRUE(Passes(2015.0, body, config));
}

}  // namespace
