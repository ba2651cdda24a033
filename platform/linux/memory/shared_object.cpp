#include "platform/linux/memory/shared_object.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <iomanip>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/claim_file.h"
#include "platform/linux/process_tables.h"
#include "platform/linux/runtime_socket.h"
#include "platform/paths.h"
#include "platform/shared_memory.h"

namespace platform {
namespace {

constexpr const char* SHARED_MEMORY_FOLDER = "/dev/shm";  // where shm_open makes its files

// An object that this process created and holds.
struct own_object_t {
  ClaimFile claim;
  std::string systemName;

  void Remove() {
    shm_unlink(systemName.c_str());
    claim.Release();
  }
};

struct own_objects_t {
  std::mutex mutex;                            // guards the rest
  std::map<std::string, own_object_t> byPath;  // of the claim file
};

void RemoveOwnObjects();

own_objects_t& Own() {
  return TablesOfThisProcess<own_objects_t, RemoveOwnObjects>();
}

// Called at exit: shared memory outlives its process.
void RemoveOwnObjects() {
  own_objects_t& own = Own();
  const std::lock_guard guard(own.mutex);
  for (auto& [path, object] : own.byPath) object.Remove();
  own.byPath.clear();
}

// FNV-1a. Only has to differ between the runtime directories of one machine.
std::uint64_t HashOf(std::string_view text) {
  std::uint64_t hash = 0xCBF2'9CE4'8422'2325U;
  for (const char character : text) hash = (hash ^ static_cast<unsigned char>(character)) * 0x100'0000'01B3U;
  return hash;
}

std::string CanonicalRuntimeDirectory() {
  const std::string directory = RuntimeDirectory();
  const std::unique_ptr<char, decltype(&std::free)> canonical(realpath(directory.c_str(), nullptr), &std::free);
  return canonical != nullptr ? canonical.get() : directory;
}

// The object's name in the machine's shared memory, which all runtime directories share.
std::string SystemName(std::string_view escapedName) {
  std::ostringstream name;
  name << "/orvik-" << std::hex << std::setw(16) << std::setfill('0') << HashOf(CanonicalRuntimeDirectory())
       << '-' << escapedName;
  return name.str();
}

std::string EscapedName(const char* name) {
  return EscapeFileName(*name == '/' ? name + 1 : name);
}

std::string ObjectClaimPath(const char* name) {
  return RuntimeFile(SHARED_PREFIX, EscapedName(name));
}

// Another user can take a name before its owner does, and would then read and write what the owner stores.
int OpenByName(const char* name, int flags, mode_t mode) {
  const int object = shm_open(SystemName(EscapedName(name)).c_str(), flags | O_CLOEXEC, mode);
  struct stat status {};
  if (object < 0 || (fstat(object, &status) == 0 && status.st_uid == geteuid())) return object;
  close(object);
  errno = EPERM;
  return -1;
}

// Replaces an object whose creator is dead.
int CreateExclusively(const char* name, int flags, mode_t mode) {
  auto claim = ClaimFile::Take(ObjectClaimPath(name), std::to_string(getpid()));
  if (!claim) return -1;
  RemoveSharedMemory(EscapedName(name));
  const int descriptor = OpenByName(name, flags, mode);
  if (descriptor < 0) {
    claim->Release();
    return -1;
  }
  own_objects_t& own = Own();
  const std::lock_guard guard(own.mutex);
  own.byPath.insert_or_assign(ObjectClaimPath(name),
                              own_object_t{std::move(*claim), SystemName(EscapedName(name))});
  return descriptor;
}

}  // namespace

void RemoveSharedMemory(std::string_view escapedName) {
  shm_unlink(SystemName(escapedName).c_str());
}

void RemoveOwnSharedObject(const char* name) {
  own_objects_t& own = Own();
  const std::lock_guard guard(own.mutex);
  auto object = own.byPath.extract(ObjectClaimPath(name));
  if (!object.empty()) object.mapped().Remove();
}

int OpenSharedObject(const char* name, int flags, mode_t mode) {
  if (RuntimeDirectory().empty()) return -1;
  if ((flags & O_CREAT) == 0) return OpenByName(name, flags, mode);
  if ((flags & O_EXCL) != 0) return CreateExclusively(name, flags, mode);
  const int existing = OpenByName(name, flags & ~O_CREAT, mode);
  return existing >= 0 || errno != ENOENT ? existing : CreateExclusively(name, flags | O_EXCL, mode);
}

std::string DescribeObstacle(const char* name) {
  const std::string path = SHARED_MEMORY_FOLDER + SystemName(EscapedName(name));
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) return {};
  const bool isForeign = status.st_uid != geteuid();
  if (!isForeign && S_ISREG(status.st_mode)) return {};
  return path +
         (isForeign ? " belongs to another user (uid " + std::to_string(status.st_uid) + ")"
                    : std::string(" is no shared object")) +
         " and is in the way; remove it, or set ORVIK_RUNTIME_DIR to another folder";
}

int UnlinkSharedObject(const char* name) {
  if (RuntimeDirectory().empty()) return -1;
  const int result = shm_unlink(SystemName(EscapedName(name)).c_str());
  const int error = errno;
  {
    own_objects_t& own = Own();
    const std::lock_guard guard(own.mutex);
    auto object = own.byPath.extract(ObjectClaimPath(name));
    if (!object.empty()) object.mapped().claim.Release();
  }
  ClaimFile::RemoveIfAbandoned(ObjectClaimPath(name), [] {});
  errno = error;
  return result;
}

}  // namespace platform
