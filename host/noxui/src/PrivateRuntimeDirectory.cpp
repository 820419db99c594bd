#include "PrivateRuntimeDirectory.h"

#include <sys/stat.h>
#include <unistd.h>

namespace noxui::ui::detail {

std::string PrivateRuntimeDirectory(const std::string& temporaryDirectory) {
  const std::string runtime = temporaryDirectory + "/noxui-runtime-" + std::to_string(getuid());
  mkdir(runtime.c_str(), 0700);
  return runtime;
}

}  // namespace noxui::ui::detail
