// An importer component over one FFmpeg demuxer.
#pragma once

#include "../Component.h"

#include <memory>
#include <string>
#include <vector>

struct AVInputFormat;

namespace kiva::qt::media::ffmpeg {

class MimeDatabase;

class FFmpegImporter final : public Component {
 public:
  FFmpegImporter(ComponentDescription description, MIMETypeList mimeList);
  ComponentDescription GetDescription() const override { return description; }
  OSErr Open() override { return kNoErr; }
  OSErr GetMIMETypeList(MIMETypeList& list) override;
  OSErr OpenExporter(std::unique_ptr<MovieExporter>&) override { return kBadComponentTypeErr; }

 private:
  ComponentDescription description;
  MIMETypeList mimeList;
};

// One importer per demuxer. Its file types: the demuxer's own extensions and MIME types, and
// those of FFmpeg's muxers of the same name (demuxers that recognise files by content, such as
// wav, aiff or caf, name no extension of their own; their muxers do); then the system
// database's types for each of those extensions, and every further extension the database
// gives one of those types (so the Ogg reader also takes .oga and .opus).
std::vector<std::shared_ptr<Component>> MakeImporters(const MimeDatabase& mimeDatabase);

// False for demuxers whose file types are known and are all pictures or text (ASCII art, image
// sequences): such files are not movies here, though FFmpeg can show them as video.
bool ReadsSoundOrMovies(const AVInputFormat* demuxer, const MimeDatabase& mimeDatabase);

// The subtype of a demuxer's importer: the first four characters of its first name, padded
// with blanks ("matroska,webm" -> 'matr', "aac" -> 'aac ').
std::uint32_t SubTypeForDemuxerName(const char* name);

}  // namespace kiva::qt::media::ffmpeg
