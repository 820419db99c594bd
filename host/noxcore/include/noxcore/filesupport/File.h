// A file named by a host (UTF-16) path.
#pragma once

#include <string>

namespace noxcore::filesupport {

class File {
 public:
  explicit File(std::u16string path);

  const std::u16string& GetPath() const { return path; }
  // True when something exists at the path (file, directory or other).
  bool Exists() const;
  // Removes the file; throws HostError when it exists and cannot be removed.
  void Delete() const;
  // The extension of the last path element with its dot (".mov"), or empty when there is none.
  std::u16string GetExtension() const;

 private:
  std::u16string path;
};

}  // namespace noxcore::filesupport
