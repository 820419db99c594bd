// The system MIME database (shared-mime-info): which types a file extension stands for.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace kiva::qt::media::ffmpeg {

class MimeDatabase {
 public:
  // Reads mime/globs2 and mime/subclasses below each of XDG_DATA_DIRS (default
  // /usr/local/share:/usr/share). A missing database gives an empty one.
  static const MimeDatabase& System();

  MimeDatabase() = default;
  // Adds the content of a globs2 file and of a subclasses file.
  void LoadGlobs(const std::string& text);
  void LoadSubclasses(const std::string& text);

  // The media types the database gives files named "*.<extension>": those of the highest weight
  // (lower weights are fallbacks), leaving out types whose data is text (playlists, subtitles),
  // as those never hold audio or video, whatever their names say.
  std::vector<std::string> TypesForExtension(const std::string& extension) const;

  // The highest-weight types of an extension, text types included.
  std::vector<std::string> AllTypesForExtension(const std::string& extension) const;

  // Every extension whose media types (as above) include `type`.
  std::vector<std::string> ExtensionsForType(const std::string& type) const;

  bool IsTextType(const std::string& type) const;

 private:
  struct WeightedTypes {
    int weight = -1;
    std::vector<std::string> types;
  };
  std::map<std::string, WeightedTypes> byExtension;
  std::map<std::string, std::set<std::string>> parents;
};

}  // namespace kiva::qt::media::ffmpeg
