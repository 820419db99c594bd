#include "media/ffmpeg/MimeDatabase.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kiva::qt::media::ffmpeg::MimeDatabase;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

MimeDatabase Sample() {
  MimeDatabase database;
  database.LoadGlobs(
      "# comment\n"
      "50:audio/ogg:*.ogg\n"
      "50:video/ogg:*.ogg\n"
      "50:audio/ogg:*.OGA\n"
      "50:text/x-ssa:*.ass\n"
      "10:audio/aac:*.ass\n"
      "50:audio/x-mpegurl:*.m3u8\n"
      "50:audio/x-mod:*.mod:cs\n"
      "50:video/x-anim:*.anim[1-9j]\n"
      "malformed line\n");
  database.LoadSubclasses("audio/x-mpegurl text/plain\nvideo/x-a video/x-b\n");
  return database;
}

TEST(MimeDatabase, TypesOfTheHighestWeight) {
  const MimeDatabase database = Sample();
  EXPECT_THAT(database.TypesForExtension("ogg"), ElementsAre("audio/ogg", "video/ogg"));
  EXPECT_THAT(database.TypesForExtension("OGG"), ElementsAre("audio/ogg", "video/ogg"));
  // The subtitle type outweighs the low-weight fallback and is text.
  EXPECT_THAT(database.TypesForExtension("ass"), IsEmpty());
  EXPECT_THAT(database.AllTypesForExtension("ass"), ElementsAre("text/x-ssa"));
  EXPECT_THAT(database.TypesForExtension("mod"), ElementsAre("audio/x-mod"));
  EXPECT_THAT(database.TypesForExtension("unknown"), IsEmpty());
}

TEST(MimeDatabase, TextSubclassesAreNotMedia) {
  const MimeDatabase database = Sample();
  EXPECT_TRUE(database.IsTextType("audio/x-mpegurl"));
  EXPECT_TRUE(database.IsTextType("text/html"));
  EXPECT_FALSE(database.IsTextType("video/x-a"));
  EXPECT_THAT(database.TypesForExtension("m3u8"), IsEmpty());
}

TEST(MimeDatabase, ExtensionsOfAType) {
  const MimeDatabase database = Sample();
  EXPECT_THAT(database.ExtensionsForType("audio/ogg"), ElementsAre("oga", "ogg"));
  EXPECT_THAT(database.ExtensionsForType("audio/x-mpegurl"), IsEmpty());
  EXPECT_THAT(database.ExtensionsForType("video/x-anim"), IsEmpty());  // not a plain glob
}

TEST(MimeDatabase, SystemDatabaseKnowsCommonTypes) {
  EXPECT_THAT(MimeDatabase::System().TypesForExtension("wav"), ::testing::Contains("audio/x-wav"));
  EXPECT_THAT(MimeDatabase::System().TypesForExtension("mov"),
              ::testing::Contains("video/quicktime"));
}

}  // namespace
