#include <noxcore/utility/Strings.h>

#include <gtest/gtest.h>

#include <sstream>

namespace {

using namespace noxcore::utility;

TEST(Strings, AsciiToUTF16) { EXPECT_EQ(AsciiToUTF16("General"), u"General"); }

TEST(Strings, UTF8RoundTrip) {
  std::u16string wide;
  ASSERT_TRUE(UTF8to16("Gr\xC3\xBC\xC3\x9F \xF0\x9F\x8E\xB5", wide));  // "Grüß 🎵"
  EXPECT_EQ(wide, u"Gr\u00FC\u00DF \U0001F3B5");
  std::string narrow;
  ASSERT_TRUE(UTF16to8(wide, narrow));
  EXPECT_EQ(narrow, "Gr\xC3\xBC\xC3\x9F \xF0\x9F\x8E\xB5");
}

TEST(Strings, InvalidInputIsRefusedWhole) {
  std::u16string wide = u"old";
  EXPECT_FALSE(UTF8to16("ok\xFF", wide));
  EXPECT_TRUE(wide.empty());
  std::string narrow = "old";
  EXPECT_FALSE(UTF16to8(std::u16string(u"a") + char16_t(0xD800), narrow));  // lone surrogate
  EXPECT_TRUE(narrow.empty());
}

TEST(Strings, NumberToString) {
  EXPECT_EQ(NumberToString(0), u"0");
  EXPECT_EQ(NumberToString(-2048), u"-2048");
  EXPECT_EQ(NumberToString(9223372036854775807LL), u"9223372036854775807");
}

TEST(Strings, StringToNumber) {
  EXPECT_EQ(StringToNumber(u"42"), 42);
  EXPECT_EQ(StringToNumber(u"-7"), -7);
  EXPECT_EQ(StringToNumber(u"+7"), 7);
  EXPECT_FALSE(StringToNumber(u"").has_value());
  EXPECT_FALSE(StringToNumber(u"12a").has_value());
  EXPECT_FALSE(StringToNumber(u"+-1").has_value());
  EXPECT_FALSE(StringToNumber(u"99999999999999999999").has_value());
}

TEST(Strings, ReplaceInStringFillsEveryPlaceholder) {
  EXPECT_EQ(ReplaceInString(u"Error @0 creating file @1.", u"0", u"/x/y.mov"),
            u"Error 0 creating file /x/y.mov.");
  EXPECT_EQ(ReplaceInString(u"@9@8@0", u"a", {}, {}, {}, {}, {}, {}, {}, u"i", u"j"), u"jia");
}

TEST(Strings, ReplaceInStringLeavesOtherAtSignsAndDoesNotRescan) {
  EXPECT_EQ(ReplaceInString(u"a@b @", u"x"), u"a@b @");
  EXPECT_EQ(ReplaceInString(u"@0", u"@1", u"no"), u"@1");
  EXPECT_EQ(ReplaceInString(u"(@2)"), u"()");
}

TEST(Strings, ENDLWritesANewline) {
  std::ostringstream stream;
  stream << "line" << ENDL;
  EXPECT_EQ(stream.str(), "line\n");
}

}  // namespace
