#include "PrivateRuntimeDirectory.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace noxui::ui::detail {

namespace {

// As the toolkit checks XDG_RUNTIME_DIR: a directory itself (a link could lead anywhere), of the
// current user, that no one else can enter.
bool IsPrivate(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
         status.st_uid == geteuid() && (status.st_mode & 07777) == 0700;
}

}  // namespace

std::string PrivateRuntimeDirectory(const std::string& temporaryDirectory) {
  // The shared temporary directory is open to everyone: whatever holds the usual name may have
  // been put there by another user, to read or replace what the toolkit keeps in it. A directory
  // made here is given its mode outright, whatever the process's umask takes from it.
  const std::string usual = temporaryDirectory + "/noxui-runtime-" + std::to_string(geteuid());
  if (mkdir(usual.c_str(), 0700) == 0) {
    chmod(usual.c_str(), 0700);
  }
  if (IsPrivate(usual)) {
    return usual;
  }
  // A fresh directory of a name no one could foresee; left behind at exit, as the usual one is.
  std::string fresh = temporaryDirectory + "/noxui-runtime-XXXXXX";
  if (mkdtemp(fresh.data()) == nullptr) {
    return std::string();
  }
  chmod(fresh.c_str(), 0700);
  return fresh;
}

}  // namespace noxui::ui::detail
