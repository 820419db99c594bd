#include "FFmpegImporter.h"

#include "MimeDatabase.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <map>
#include <mutex>
#include <sstream>

namespace kiva::qt::media::ffmpeg {

namespace {

std::vector<std::string> SplitList(const char* list) {
  std::vector<std::string> items;
  if (list == nullptr) return items;
  std::stringstream stream(list);
  for (std::string item; std::getline(stream, item, ',');) {
    if (!item.empty()) items.push_back(item);
  }
  return items;
}

void AddUnique(std::vector<std::string>& list, const std::string& item) {
  if (std::find(list.begin(), list.end(), item) == list.end()) list.push_back(item);
}

std::string JoinList(const std::vector<std::string>& items) {
  std::string joined;
  for (const auto& item : items) joined += (joined.empty() ? "" : ",") + item;
  return joined;
}

struct FileTypes {
  std::vector<std::string> extensions;
  std::vector<std::string> mimeTypes;
};

// The media a muxer writes, as a MIME type, for formats nobody gave one ("w64" -> audio/x-w64).
std::string MediaTypeWrittenBy(const AVOutputFormat* muxer, const std::string& name) {
  if (muxer->video_codec != AV_CODEC_ID_NONE) return "video/x-" + name;
  if (muxer->audio_codec != AV_CODEC_ID_NONE) return "audio/x-" + name;
  return {};
}

// True when the system database knows the extension, and only as pictures or text: such files
// are not offered for audio or video even where a demuxer can parse them (.avif, .m3u8).
bool IsStillOrTextExtension(const std::string& extension, const MimeDatabase& mimeDatabase) {
  const std::vector<std::string> types = mimeDatabase.AllTypesForExtension(extension);
  return !types.empty() && std::all_of(types.begin(), types.end(), [&](const std::string& type) {
    return type.compare(0, 6, "image/") == 0 || mimeDatabase.IsTextType(type);
  });
}

FileTypes FileTypesOf(const AVInputFormat* demuxer, const MimeDatabase& mimeDatabase) {
  FileTypes types;
  for (const auto& extension : SplitList(demuxer->extensions)) {
    AddUnique(types.extensions, extension);
  }
  for (const auto& type : SplitList(demuxer->mime_type)) AddUnique(types.mimeTypes, type);
  const std::vector<std::string> names = SplitList(demuxer->name);
  std::string writtenType;
  void* iterator = nullptr;
  while (const AVOutputFormat* muxer = av_muxer_iterate(&iterator)) {
    // A muxer that opens its own files (AVFMT_NOFILE: playlists with their segments, image
    // sequences) does not describe one file of the format.
    if ((muxer->flags & AVFMT_NOFILE) != 0 ||
        std::find(names.begin(), names.end(), muxer->name) == names.end()) {
      continue;
    }
    for (const auto& extension : SplitList(muxer->extensions)) {
      AddUnique(types.extensions, extension);
    }
    for (const auto& type : SplitList(muxer->mime_type)) AddUnique(types.mimeTypes, type);
    if (writtenType.empty()) writtenType = MediaTypeWrittenBy(muxer, names.front());
  }
  for (std::size_t i = 0; i < types.extensions.size(); ++i) {
    for (const auto& type : mimeDatabase.TypesForExtension(types.extensions[i])) {
      AddUnique(types.mimeTypes, type);
    }
  }
  if (types.mimeTypes.empty() && !writtenType.empty()) types.mimeTypes.push_back(writtenType);
  for (const auto& type : std::vector<std::string>(types.mimeTypes)) {
    for (const auto& extension : mimeDatabase.ExtensionsForType(type)) {
      AddUnique(types.extensions, extension);
    }
  }
  std::erase_if(types.extensions, [&](const std::string& extension) {
    return IsStillOrTextExtension(extension, mimeDatabase);
  });
  return types;
}

bool DescribesSoundOrMovies(const AVInputFormat* demuxer, const MimeDatabase& mimeDatabase) {
  const FileTypes types = FileTypesOf(demuxer, mimeDatabase);
  std::vector<std::string> known = types.mimeTypes;
  for (const auto& extension : SplitList(demuxer->extensions)) {
    for (const auto& type : mimeDatabase.AllTypesForExtension(extension)) AddUnique(known, type);
  }
  if (known.empty()) return true;
  return std::any_of(known.begin(), known.end(), [](const std::string& type) {
    return type.rfind("audio/", 0) == 0 || type.rfind("video/", 0) == 0;
  });
}

}  // namespace

bool ReadsSoundOrMovies(const AVInputFormat* demuxer, const MimeDatabase& mimeDatabase) {
  // The answer depends on the demuxer alone: find it once per demuxer.
  static std::mutex mutex;
  static std::map<const AVInputFormat*, bool> known;
  {
    std::lock_guard lock(mutex);
    if (const auto found = known.find(demuxer); found != known.end()) return found->second;
  }
  const bool reads = DescribesSoundOrMovies(demuxer, mimeDatabase);
  std::lock_guard lock(mutex);
  known.emplace(demuxer, reads);
  return reads;
}

std::uint32_t SubTypeForDemuxerName(const char* name) {
  std::uint32_t subType = 0;
  bool ended = name == nullptr;
  for (int i = 0; i < 4; ++i) {
    const char c = ended ? ' ' : name[i];
    ended = ended || c == '\0' || c == ',';
    subType = subType << 8 | static_cast<unsigned char>(ended ? ' ' : c);
  }
  return subType;
}

FFmpegImporter::FFmpegImporter(ComponentDescription description, MIMETypeList mimeList)
    : description(description), mimeList(std::move(mimeList)) {}

OSErr FFmpegImporter::GetMIMETypeList(MIMETypeList& list) {
  if (mimeList.extensions.empty()) return kInvalidMovieErr;
  list = mimeList;
  return kNoErr;
}

std::vector<std::shared_ptr<Component>> MakeImporters(const MimeDatabase& mimeDatabase) {
  std::vector<std::shared_ptr<Component>> importers;
  void* iterator = nullptr;
  while (const AVInputFormat* demuxer = av_demuxer_iterate(&iterator)) {
    const FileTypes types = FileTypesOf(demuxer, mimeDatabase);
    ComponentDescription description;
    description.componentType = kMovieImportType;
    description.componentSubType = SubTypeForDemuxerName(demuxer->name);
    // Devices and virtual sources (AVFMT_NOFILE) read no file of their own.
    if ((demuxer->flags & AVFMT_NOFILE) == 0) description.componentFlags |= kCanMovieImportFiles;
    MIMETypeList mimeList;
    if (!types.extensions.empty()) {
      description.componentFlags |= kHasMovieImportMIMEList;
      mimeList.mimeTypes = types.mimeTypes;
      mimeList.extensions.push_back(JoinList(types.extensions));
    }
    importers.push_back(std::make_shared<FFmpegImporter>(description, std::move(mimeList)));
  }
  return importers;
}

}  // namespace kiva::qt::media::ffmpeg
