#include <noxcore/utility/BinaryEncoding.h>

#include <gtest/gtest.h>

namespace {

using namespace noxcore::utility;

TEST(BinaryEncoding, KnownVectors) {
  std::string text;
  ASSERT_TRUE(EncodeBinaryDataToUTF8String("foobar", 6, text));
  EXPECT_EQ(text, "Zm9vYmFy");
  ASSERT_TRUE(EncodeBinaryDataToUTF8String("fo", 2, text));
  EXPECT_EQ(text, "Zm8=");
  ASSERT_TRUE(EncodeBinaryDataToUTF8String("", 0, text));
  EXPECT_EQ(text, "");
}

TEST(BinaryEncoding, EveryByteValueRoundTrips) {
  for (std::size_t size = 0; size < 300; size += 7) {
    std::vector<unsigned char> bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i * 37 + size);
    std::string text;
    ASSERT_TRUE(EncodeBinaryDataToUTF8String(bytes.data(), bytes.size(), text));
    EXPECT_EQ(text.find(';'), std::string::npos);
    std::vector<unsigned char> decoded;
    ASSERT_TRUE(DecodeBinaryDataFromUTF8String(text, decoded));
    EXPECT_EQ(decoded, bytes) << "size " << size;
  }
}

TEST(BinaryEncoding, MalformedTextIsRefused) {
  std::vector<unsigned char> out{1};
  for (const char* bad : {"Zm9", "Zm9v!mFy", "Z=9v", "Zm8==AAA", " Zm8=", "Zm8\n"}) {
    EXPECT_FALSE(DecodeBinaryDataFromUTF8String(bad, out)) << bad;
    EXPECT_TRUE(out.empty());
  }
}

}  // namespace
