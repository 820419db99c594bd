// The private settings string: the serializer's parse and write rules, and the export settings
// object built on it.

#include "KivaQTPrivateSettings.h"
#include "MemoryHandle.h"
#include "PrivateSettings/KivaPrivateSettingsSerializer.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using kiva::KivaPrivateSettingsSerializer;
using kiva::KivaQTPrivateSettings;

// Everything a parse produced, written back in the serializer's own order.
std::u16string Parsed(const std::u16string& text) {
  KivaPrivateSettingsSerializer serializer;
  serializer.Initialize(text);
  return serializer.GetSerializedString();
}

TEST(PrivateSettingsSerializer, EmptyOrUnterminatedTextYieldsNothing) {
  EXPECT_EQ(Parsed(u""), u"");
  EXPECT_EQ(Parsed(u"FormatIndex:0:12"), u"");
  EXPECT_EQ(Parsed(u"no separators at all"), u"");
}

TEST(PrivateSettingsSerializer, IntegerEntries) {
  KivaPrivateSettingsSerializer serializer;
  serializer.Initialize(u"FormatIndex:0:12;");
  int value = 0;
  EXPECT_TRUE(serializer.QueryAttribute(u"FormatIndex", value));
  EXPECT_EQ(value, 12);
  serializer.Initialize(u"FormatIndex:0:-4;");
  EXPECT_EQ(serializer.GetAttribute(u"FormatIndex", 99), -4);
  serializer.Initialize(u"FormatIndex:0:1x;");
  value = 7;
  EXPECT_FALSE(serializer.QueryAttribute(u"FormatIndex", value));
  EXPECT_EQ(value, 7);
  EXPECT_EQ(serializer.GetAttribute(u"FormatIndex", 99), 99);
}

// A number conversion would take a leading '+'; the entries take digits and '-' only, in the
// value and in the type alike.
TEST(PrivateSettingsSerializer, APlusSignIsNoDigit) {
  EXPECT_EQ(Parsed(u"FormatIndex:0:+5;"), u"");
  EXPECT_EQ(Parsed(u"FormatIndex:+0:5;"), u"");
  EXPECT_EQ(Parsed(u"FormatIndex:+1:text;"), u"");
  EXPECT_EQ(Parsed(u"FormatIndex:0:-5;"), u"FormatIndex:0:-5;");
}

TEST(PrivateSettingsSerializer, ShortNamesAreRefusedExceptAnEmptyNameAtTheStart) {
  EXPECT_EQ(Parsed(u"A:0:5;"), u"");
  KivaPrivateSettingsSerializer serializer;
  serializer.Initialize(u":0:5;");
  EXPECT_EQ(serializer.GetAttribute(u"", 0), 5);
  EXPECT_EQ(Parsed(u"Ok:0:1;:0:5;"), u"Ok:0:1;");  // an empty name later is refused
}

TEST(PrivateSettingsSerializer, StringValuesMayHoldColonsButNotBeEmpty) {
  KivaPrivateSettingsSerializer serializer;
  serializer.Initialize(u"Name:1:a:b;");
  EXPECT_EQ(serializer.GetAttribute(u"Name"), u"a:b");
  EXPECT_EQ(Parsed(u"Name:1:;"), u"");
}

TEST(PrivateSettingsSerializer, AnyNonZeroTypeIsAString) {
  KivaPrivateSettingsSerializer serializer;
  serializer.Initialize(u"Name:9:text;Two:2:x;Neg:-1:y;");
  EXPECT_EQ(serializer.GetAttribute(u"Name"), u"text");
  EXPECT_EQ(serializer.GetAttribute(u"Two"), u"x");
  EXPECT_EQ(serializer.GetAttribute(u"Neg"), u"y");
  EXPECT_EQ(Parsed(u"Name:x:text;"), u"");  // a type that is no number
}

TEST(PrivateSettingsSerializer, MalformedEntriesAreSkippedOneByOne) {
  EXPECT_EQ(Parsed(u"Bad:0:z;Good:0:3;Worse:0:;Also:1:ok;tail:0:4"), u"Good:0:3;Also:1:ok;");
  EXPECT_EQ(Parsed(u"Big:0:99999999999;Ok:0:1;"), u"Ok:0:1;");
}

TEST(PrivateSettingsSerializer, FirstValueAddedWins) {
  KivaPrivateSettingsSerializer serializer;
  serializer.AddAttribute(u"X1", 1);
  serializer.AddAttribute(u"X1", 2);
  serializer.AddAttribute(u"S1", u"first");
  serializer.AddAttribute(u"S1", u"second");
  EXPECT_EQ(serializer.GetSerializedString(), u"X1:0:1;S1:1:first;");
}

TEST(PrivateSettingsSerializer, SameNameInBothKindsIntegersFirst) {
  KivaPrivateSettingsSerializer serializer;
  serializer.AddAttribute(u"Same", u"text");
  serializer.AddAttribute(u"Same", 4);
  EXPECT_EQ(serializer.GetSerializedString(), u"Same:0:4;Same:1:text;");
}

TEST(PrivateSettingsSerializer, OutputIsInNameOrderWithinEachKind) {
  KivaPrivateSettingsSerializer serializer;
  serializer.AddAttribute(u"b", u"2");
  serializer.AddAttribute(u"Zz", 26);
  serializer.AddAttribute(u"a", u"1");
  serializer.AddAttribute(u"Aa", 1);
  EXPECT_EQ(serializer.GetSerializedString(), u"Aa:0:1;Zz:0:26;a:1:1;b:1:2;");
}

TEST(PrivateSettingsSerializer, ParsingClearsIntegersButKeepsStrings) {
  KivaPrivateSettingsSerializer serializer;
  serializer.AddAttribute(u"Int", 1);
  serializer.AddAttribute(u"Str", u"old");
  serializer.Initialize(u"Str:1:new;");
  EXPECT_EQ(serializer.GetSerializedString(), u"Str:1:old;");
}

TEST(PrivateSettingsSerializer, SerializeClearsItsOutput) {
  std::u16string out = u"leftover";
  KivaPrivateSettingsSerializer::Serialize(KivaPrivateSettingsSerializer::IntegerMap{}, out);
  EXPECT_EQ(out, u"");
  KivaPrivateSettingsSerializer::Serialize(KivaPrivateSettingsSerializer::StringMap{{u"k", u"v"}},
                                           out);
  EXPECT_EQ(out, u"k:1:v;");
}

TEST(PrivateSettingsSerializer, RoundTrip) {
  KivaPrivateSettingsSerializer written;
  written.AddAttribute(u"FormatIndex", 3);
  written.AddAttribute(u"Negative", -2147483647 - 1);
  written.AddAttribute(u"Text", u"with:colons and \u00FCnicode");
  KivaPrivateSettingsSerializer read;
  read.Initialize(written.GetSerializedString());
  EXPECT_EQ(read.GetSerializedString(), written.GetSerializedString());
  EXPECT_EQ(read.GetAttribute(u"Negative", 0), -2147483647 - 1);
}

TEST(QTPrivateSettings, DefaultsSerialiseToFormatIndexZero) {
  EXPECT_EQ(KivaQTPrivateSettings().GetSerialized(), u"FormatIndex:0:0;");
}

TEST(QTPrivateSettings, IndexAndContainerRoundTrip) {
  KivaQTPrivateSettings settings;
  settings.SetFormatIndex(2);
  kiva::Handle container = kiva::NewHandle(10);
  ASSERT_NE(container, nullptr);
  const unsigned char bytes[10] = {0, 1, 2, 0xFF, 0x3B, 0x3A, 0x80, 7, 8, 9};
  std::memcpy(*container, bytes, sizeof bytes);
  settings.SetAtomicContainer(container);

  const std::u16string serialized = settings.GetSerialized();
  // Base64 of the ten bytes, made independently: 00 01 02 ff 3b 3a 80 07 08 09.
  EXPECT_EQ(serialized, u"FormatIndex:0:2;AtomicSettings:1:AAEC/zs6gAcICQ==;");

  KivaQTPrivateSettings loaded;
  EXPECT_TRUE(loaded.InitializeFromSerialized(serialized));
  EXPECT_EQ(loaded.GetFormatIndex(), 2);
  ASSERT_NE(loaded.GetAtomicContainer(), nullptr);
  EXPECT_NE(loaded.GetAtomicContainer(), container);
  ASSERT_EQ(kiva::GetHandleSize(loaded.GetAtomicContainer()), 10u);
  EXPECT_EQ(std::memcmp(*loaded.GetAtomicContainer(), bytes, sizeof bytes), 0);
}

TEST(QTPrivateSettings, UndecodableContainerTextKeepsTheIndex) {
  KivaQTPrivateSettings settings;
  settings.InitializeFromSerialized(u"FormatIndex:0:5;AtomicSettings:1:not*base64;");
  EXPECT_EQ(settings.GetFormatIndex(), 5);
  EXPECT_EQ(settings.GetAtomicContainer(), nullptr);
}

TEST(QTPrivateSettings, TextWithNeitherAttributeGivesDefaults) {
  KivaQTPrivateSettings settings;
  settings.SetFormatIndex(4);
  settings.InitializeFromSerialized(u"Other:0:1;");
  EXPECT_EQ(settings.GetFormatIndex(), 0);
  EXPECT_EQ(settings.GetAtomicContainer(), nullptr);
  settings.InitializeFromSerialized(u"FormatIndex:0:nope;");
  EXPECT_EQ(settings.GetFormatIndex(), 0);
}

TEST(QTPrivateSettings, EmptyHandleIsNeitherSerialisedNorDisposed) {
  kiva::Handle empty = kiva::NewEmptyHandle();
  ASSERT_NE(empty, nullptr);
  {
    KivaQTPrivateSettings settings;
    settings.SetFormatIndex(1);
    settings.SetAtomicContainer(empty);
    EXPECT_EQ(settings.GetSerialized(), u"FormatIndex:0:1;");
  }
  // Still ours to dispose of: the destructor left it alone (LeakSanitizer would report a
  // double free or a leak otherwise).
  EXPECT_EQ(*empty, nullptr);
  kiva::DisposeHandle(empty);
}

TEST(QTPrivateSettings, SetAtomicContainerReplacesTheHeldOne) {
  KivaQTPrivateSettings settings;
  settings.SetAtomicContainer(kiva::NewHandle(4));
  kiva::Handle second = kiva::NewHandle(6);
  settings.SetAtomicContainer(second);  // the first is disposed of here
  EXPECT_EQ(settings.GetAtomicContainer(), second);
  settings.SetAtomicContainer(nullptr);
  EXPECT_EQ(settings.GetAtomicContainer(), nullptr);
}

TEST(MemoryHandle, SizesAndEmptyHandles) {
  kiva::Handle handle = kiva::NewHandle(33);
  ASSERT_NE(handle, nullptr);
  ASSERT_NE(*handle, nullptr);
  EXPECT_EQ(kiva::GetHandleSize(handle), 33u);
  kiva::DisposeHandle(handle);
  kiva::Handle zero = kiva::NewHandle(0);
  ASSERT_NE(zero, nullptr);
  EXPECT_NE(*zero, nullptr);
  EXPECT_EQ(kiva::GetHandleSize(zero), 0u);
  kiva::DisposeHandle(zero);
  EXPECT_EQ(kiva::GetHandleSize(nullptr), 0u);
  kiva::DisposeHandle(nullptr);
}

}  // namespace
