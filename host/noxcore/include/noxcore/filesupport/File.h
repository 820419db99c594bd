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
  // Whether the file at the path is protected: locked (no write permission for its owner) or not
  // writable by this user. False when nothing is there.
  bool IsProtected() const;
  // Removes the file when it is a plain file its user may write; throws HostError when
  // something else is at the path (a directory, a link, a device), when the file is locked (no
  // write permission for its owner) or not writable by the user, or when removing it fails.
  void Delete() const;
  // The extension of the last path element with its dot (".mov"), or empty when there is none.
  std::u16string GetExtension() const;

 private:
  std::u16string path;
};

}  // namespace noxcore::filesupport
