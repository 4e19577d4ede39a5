#include "platform/system/Registry.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "common/Conversions.h"
#include "platform/system/System.h"
#include "platform/system/win32/Win32.h"

namespace ods {
namespace {

/// A key of the test's own, removed with the object.
class WindowsRegistry : public ::testing::Test {
 protected:
  WindowsRegistry() { EXPECT_TRUE(RegWrite("HKCU\\" + key_ + "\\", Value())); }
  ~WindowsRegistry() override { RegDeleteTreeW(HKEY_CURRENT_USER, ToWide(key_).c_str()); }
  WindowsRegistry(const WindowsRegistry&) = delete;
  WindowsRegistry& operator=(const WindowsRegistry&) = delete;
  WindowsRegistry(WindowsRegistry&&) = delete;
  WindowsRegistry& operator=(WindowsRegistry&&) = delete;

  [[nodiscard]] std::string At(const std::string& name) const { return "hkey_current_user\\" + key_ + "\\" + name; }
  void Set(const wchar_t* name, DWORD type, const std::wstring& data) const {
    RegSetKeyValueW(HKEY_CURRENT_USER, ToWide(key_).c_str(), name, type, data.data(),
                    static_cast<DWORD>(data.size() * sizeof(wchar_t)));
  }

  ComponentRegistry components_;
  std::string key_ = "Software\\ods-test-" + NewGuidText();
};

TEST_F(WindowsRegistry, ValuesComeBackByTheirTypes) {
  EXPECT_TRUE(RegWrite(At("text"), "a b \xC3\xA4"));
  EXPECT_TRUE(RegWrite(At("number"), std::int32_t{-5}));
  EXPECT_TRUE(RegWrite(At("bytes"), Bytes{0, 1, 255}));
  EXPECT_TRUE(RegWrite(At("truth"), true));
  EXPECT_EQ(RegRead(At("TEXT")), Value("a b \xC3\xA4"));
  EXPECT_EQ(RegRead(At("number")), Value(std::int32_t{-5}));
  EXPECT_EQ(RegRead(At("bytes")), Value(Bytes{0, 1, 255}));
  EXPECT_EQ(RegRead(At("truth")), Value(SafeStr(true)));
  EXPECT_TRUE(RegRead(At("missing")).Is<Null>());
  EXPECT_TRUE(RegRead(At("no key\\value")).Is<Null>());
  EXPECT_TRUE(RegRead("HKU\\" + key_).Is<Null>()) << "no root of that name";
}

TEST_F(WindowsRegistry, AValueNeedsItsKey) {
  EXPECT_FALSE(RegWrite(At("sub\\value"), "x"));
  EXPECT_TRUE(RegWrite(At("sub\\"), Value()));
  EXPECT_TRUE(RegWrite(At("sub\\value"), "x"));
  EXPECT_EQ(RegRead(At("sub\\value")), Value("x"));
}

TEST_F(WindowsRegistry, AKeyIsReadWithItsSubKeysBeforeItsValues) {
  RegWrite(At("value"), "of the key");
  RegWrite(At("sub\\"), Value());
  RegWrite(At("sub\\inner"), std::int32_t{7});
  const auto key = RegReadKey(components_, "HKCU\\" + key_ + "\\");
  ASSERT_NE(key, nullptr);
  EXPECT_EQ(key->Keys(), (std::vector<std::string>{"sub", "value"}));
  const auto* sub = key->Item("sub").GetIf<std::shared_ptr<Object>>();
  ASSERT_NE(sub, nullptr);
  EXPECT_EQ(dynamic_cast<const Dictionary&>(**sub).Item("inner"), Value(std::int32_t{7}));
  EXPECT_EQ(RegReadKey(components_, At("none")), nullptr);
}

TEST_F(WindowsRegistry, WhatIsTooLongIsLeftOut) {
  RegWrite(At("long"), std::string(3000, 'x'));
  RegWrite(At("short"), "x");
  EXPECT_EQ(RegReadKey(components_, "HKCU\\" + key_)->Keys(), std::vector<std::string>{"short"});
  EXPECT_EQ(RegRead(At("long")), Value(std::string(3000, 'x')));
}

TEST_F(WindowsRegistry, OddDataIsReadAsFarAsItGoes) {
  Set(L"no end", REG_SZ, L"abc");
  Set(L"expanded", REG_EXPAND_SZ, std::wstring(L"%PATH%\0", 7));
  Set(L"nothing", REG_SZ, L"");
  Set(L"half", REG_DWORD, L"\x0102");
  EXPECT_EQ(RegRead(At("no end")), Value("abc"));
  EXPECT_EQ(RegRead(At("expanded")), Value("%PATH%"));
  EXPECT_EQ(RegRead(At("nothing")), Value(""));
  EXPECT_EQ(RegRead(At("half")), Value(std::int32_t{0x0102}));
}

}  // namespace
}  // namespace ods
