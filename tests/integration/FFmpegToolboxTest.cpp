// The FFmpeg adapter's toolbox against the libraries and MIME database of this machine.

#include "KivaQTInterface.h"
#include "QTExportCatalogue.h"
#include "QTExtensions.h"
#include "QTMediaLayer.h"
#include "TraceCapture.h"
#include "media/Toolbox.h"
#include "media/ffmpeg/FFmpegImporter.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

namespace {

using namespace kiva;

TEST(FFmpegToolbox, VersionIsTheLinkedLibavformat) {
  std::int32_t response = 0;
  ASSERT_EQ(qt::media::DefaultToolbox().GetVersion(response), 0);
  EXPECT_EQ(static_cast<unsigned>(response), avformat_version());
  EXPECT_GE(response >> 16, 59);
}

TEST(FFmpegToolbox, StartTracesTheVersionAndRoutesFFmpegsLog) {
  test::TraceCapture trace("LmLog.Plug-in=5");
  ASSERT_TRUE(qt::Initialize());
  const unsigned version = avformat_version();
  char expected[128];
  std::snprintf(expected, sizeof expected, "Quicktime version detected: 0x%08x %u.%u.%u", version,
                version >> 16, (version >> 8) & 0xFF, version & 0xFF);
  av_log(nullptr, AV_LOG_WARNING, "probe %d\n", 42);
  av_log(nullptr, AV_LOG_DEBUG, "chatter\n");  // below FFmpeg's own log level
  qt::Terminate();
  av_log(nullptr, AV_LOG_WARNING, "after stop\n");  // back on FFmpeg's default handler
  EXPECT_THAT(trace.Messages(), ::testing::ElementsAre(expected, "FFmpeg: probe 42"));
}

TEST(FFmpegToolbox, FFmpegErrorsShowAtALowerTraceLevelThanTheirChatter) {
  test::TraceCapture trace("LmLog.Plug-in=3");
  ASSERT_TRUE(qt::Initialize());
  av_log(nullptr, AV_LOG_ERROR, "broken\n");
  av_log(nullptr, AV_LOG_WARNING, "hmm\n");
  qt::Terminate();
  EXPECT_THAT(trace.Messages(), ::testing::ElementsAre("FFmpeg: broken"));
}

std::vector<std::string> ImportExtensions() {
  std::vector<std::string> extensions;
  const std::vector<std::string> prefixes{"audio", "video"};
  qt::QueryImportExtensions(extensions, &prefixes, true);
  return extensions;
}

TEST(FFmpegImporters, ImportListHoldsTheCommonMediaFormats) {
  const auto extensions = ImportExtensions();
  for (const char* wanted :
       {"mov",  "qt",  "mp4", "m4a",  "m4v", "3gp", "wav",  "aif", "aiff", "mp3", "aac", "ac3",
        "flac", "ogg", "oga", "opus", "mkv", "mka", "webm", "avi", "caf",  "au",  "w64"}) {
    EXPECT_NE(std::find(extensions.begin(), extensions.end(), wanted), extensions.end()) << wanted;
  }
}

TEST(FFmpegImporters, ImportListHoldsNoPictureSubtitleOrPlaylistExtension) {
  const auto extensions = ImportExtensions();
  for (const char* unwanted : {"png", "jpg", "jpeg", "gif", "bmp", "tif", "tiff", "webp", "avif",
                               "srt", "ass", "ssa", "vtt", "sub", "m3u8", "m3u", "pls", "mpd"}) {
    EXPECT_EQ(std::find(extensions.begin(), extensions.end(), unwanted), extensions.end())
        << unwanted;
  }
}

TEST(FFmpegImporters, ImportListIsSortedAndUnique) {
  const auto extensions = ImportExtensions();
  ASSERT_GT(extensions.size(), 20u);
  EXPECT_TRUE(std::is_sorted(extensions.begin(), extensions.end()));
  EXPECT_EQ(std::adjacent_find(extensions.begin(), extensions.end()), extensions.end());
}

TEST(FFmpegImporters, OneImporterPerDemuxer) {
  std::size_t demuxers = 0;
  void* iterator = nullptr;
  while (av_demuxer_iterate(&iterator) != nullptr) ++demuxers;
  qt::media::ComponentDescription importers;
  importers.componentType = qt::media::kMovieImportType;
  EXPECT_EQ(qt::media::DefaultToolbox().FindComponents(importers).size(), demuxers);
}

TEST(FFmpegExporters, CatalogueStartsWithPcmAndHoldsTheCommonFormats) {
  std::vector<qt::media::ComponentDescription> catalogue;
  qt::GetExportComponentDescriptions(catalogue);
  ASSERT_FALSE(catalogue.empty());
  EXPECT_EQ(catalogue[0].componentSubType, qt::media::FourCharCode("lpcm"));
  std::vector<std::string> names;
  for (const auto& entry : catalogue) {
    EXPECT_EQ(entry.componentType, qt::media::kMovieExportType);
    EXPECT_EQ(entry.componentFlags, 0x10u);
    names.push_back(qt::ExtensionFromSubType(entry.componentSubType, false));
  }
  // Debian's FFmpeg has all of these encoders; FLAC and Opus are refused in .mov by the muxer.
  EXPECT_EQ(names, (std::vector<std::string>{"lpcm", "aac", "alac", "ac3", "mp3", "alaw", "ulaw",
                                             "ima4"}));
}

TEST(FFmpegImporters, WavReaderTakesItsTypesFromTheWavWriterAndTheDatabase) {
  for (const auto& component : qt::media::DefaultToolbox().GetComponents()) {
    if (component->GetDescription().componentSubType != qt::media::FourCharCode("wav ")) continue;
    qt::media::MIMETypeList list;
    ASSERT_EQ(component->GetMIMETypeList(list), 0);
    EXPECT_THAT(list.extensions, ::testing::ElementsAre("wav"));
    EXPECT_THAT(list.mimeTypes, ::testing::Contains("audio/x-wav"));
    EXPECT_EQ(component->GetDescription().componentFlags,
              qt::media::kCanMovieImportFiles | qt::media::kHasMovieImportMIMEList);
    return;
  }
  FAIL() << "no wav importer";
}

TEST(FFmpegImporters, SubTypeFromTheDemuxerName) {
  using qt::media::FourCharCode;
  using qt::media::ffmpeg::SubTypeForDemuxerName;
  EXPECT_EQ(SubTypeForDemuxerName("matroska,webm"), FourCharCode("matr"));
  EXPECT_EQ(SubTypeForDemuxerName("aac"), FourCharCode("aac "));
  EXPECT_EQ(SubTypeForDemuxerName("mov,mp4,m4a"), FourCharCode("mov "));
  EXPECT_EQ(SubTypeForDemuxerName(""), FourCharCode("    "));
}

}  // namespace
