#include "unit/screen/design/design_watch.h"

#include <array>

#include <sys/inotify.h>
#include <unistd.h>

namespace unit {

DesignWatch::DesignWatch(const std::filesystem::path& folder)
    : descriptor_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
  // Some editors write the file itself, others write a second file and rename it.
  if (descriptor_ >= 0) inotify_add_watch(descriptor_, folder.c_str(), IN_CLOSE_WRITE | IN_MOVED_TO);
}

DesignWatch::~DesignWatch() {
  if (descriptor_ >= 0) close(descriptor_);
}

bool DesignWatch::Changed() {
  bool changed = false;
  std::array<char, 4096> events{};
  while (descriptor_ >= 0 && read(descriptor_, events.data(), events.size()) > 0) changed = true;
  return changed;
}

}  // namespace unit
