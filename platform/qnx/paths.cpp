#include "platform/paths.h"

#include <cstdlib>

namespace platform {

std::string ResolveUnitPath(std::string_view path) {
  const char* const root = std::getenv("ORVIK_ROOT");
  if (root == nullptr || !path.starts_with('/')) return std::string(path);
  return std::string(root).append(path);
}

// Neutrino keeps channels, names and shared objects itself; it needs no runtime directory.
std::string RuntimeDirectory() {
  return {};
}

std::string RuntimeDirectoryProblem() {
  return {};
}

void RemoveRuntimeLeftovers() {}

}  // namespace platform
