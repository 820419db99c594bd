#include "MimeDatabase.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace kiva::qt::media::ffmpeg {

namespace {

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path);
  std::stringstream content;
  content << file.rdbuf();
  return content.str();
}

std::vector<std::string> DataDirectories() {
  const char* value = std::getenv("XDG_DATA_DIRS");
  const std::string list =
      value != nullptr && *value != '\0' ? value : "/usr/local/share:/usr/share";
  std::vector<std::string> directories;
  std::stringstream stream(list);
  for (std::string directory; std::getline(stream, directory, ':');) {
    if (!directory.empty()) directories.push_back(directory);
  }
  return directories;
}

}  // namespace

const MimeDatabase& MimeDatabase::System() {
  static const MimeDatabase database = [] {
    MimeDatabase loaded;
    for (const auto& directory : DataDirectories()) {
      loaded.LoadGlobs(ReadFile(directory + "/mime/globs2"));
      loaded.LoadSubclasses(ReadFile(directory + "/mime/subclasses"));
    }
    return loaded;
  }();
  return database;
}

void MimeDatabase::LoadGlobs(const std::string& text) {
  std::stringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    // weight:type:pattern[:flags[:...]]
    if (line.empty() || line.front() == '#') continue;
    const auto first = line.find(':');
    const auto second = line.find(':', first == std::string::npos ? first : first + 1);
    if (first == std::string::npos || second == std::string::npos) continue;
    const int weight = std::atoi(line.substr(0, first).c_str());
    const std::string type = line.substr(first + 1, second - first - 1);
    std::string pattern = line.substr(second + 1);
    pattern = pattern.substr(0, pattern.find(':'));
    // Only plain "*.ext" patterns say what an extension means.
    if (pattern.size() < 3 || pattern.compare(0, 2, "*.") != 0 ||
        pattern.find_first_of("*?[", 2) != std::string::npos) {
      continue;
    }
    WeightedTypes& entry = byExtension[Lower(pattern.substr(2))];
    if (weight > entry.weight) entry = WeightedTypes{weight, {}};
    if (weight == entry.weight &&
        std::find(entry.types.begin(), entry.types.end(), type) == entry.types.end()) {
      entry.types.push_back(type);
    }
  }
}

void MimeDatabase::LoadSubclasses(const std::string& text) {
  std::stringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    std::stringstream fields(line);
    std::string type, parent;
    if (fields >> type >> parent) parents[type].insert(parent);
  }
}

bool MimeDatabase::IsTextType(const std::string& type) const {
  std::vector<std::string> pending{type};
  std::set<std::string> seen;
  while (!pending.empty()) {
    const std::string current = pending.back();
    pending.pop_back();
    if (!seen.insert(current).second) continue;
    if (current == "text/plain" || current == "application/xml" ||
        current.compare(0, 5, "text/") == 0) {
      return true;
    }
    if (const auto found = parents.find(current); found != parents.end()) {
      pending.insert(pending.end(), found->second.begin(), found->second.end());
    }
  }
  return false;
}

std::vector<std::string> MimeDatabase::AllTypesForExtension(const std::string& extension) const {
  const auto found = byExtension.find(Lower(extension));
  return found == byExtension.end() ? std::vector<std::string>() : found->second.types;
}

std::vector<std::string> MimeDatabase::TypesForExtension(const std::string& extension) const {
  std::vector<std::string> types = AllTypesForExtension(extension);
  std::erase_if(types, [this](const std::string& type) { return IsTextType(type); });
  return types;
}

}  // namespace kiva::qt::media::ffmpeg

namespace kiva::qt::media::ffmpeg {

std::vector<std::string> MimeDatabase::ExtensionsForType(const std::string& type) const {
  std::vector<std::string> extensions;
  if (IsTextType(type)) return extensions;
  for (const auto& [extension, entry] : byExtension) {
    if (std::find(entry.types.begin(), entry.types.end(), type) != entry.types.end()) {
      extensions.push_back(extension);
    }
  }
  return extensions;
}

}  // namespace kiva::qt::media::ffmpeg
