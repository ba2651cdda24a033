#include "unit/database/database_owner.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <tuple>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/byte_order.h"
#include "platform/messages.h"
#include "platform/shared_memory.h"

#include "src/services/dbshm.h"

namespace unit {
namespace {

using namespace dbshm_layout;

constexpr std::chrono::milliseconds LOCK_LIMIT{1000};

std::uint8_t* Memory() {
  return static_cast<std::uint8_t*>(DBSHM::getMemoryPtr());
}

std::span<std::uint8_t> Object() {
  return {Memory(), OBJECT_SIZE};
}

std::size_t EntryAt(std::size_t entry) {
  return NAMES_AT + NAME_ENTRY_SIZE * entry;
}

// The handle of the first entry is never 0 and is written last: once it is set, the whole table is complete.
std::atomic_ref<std::uint32_t> CompleteMark(void* memory) {
  return std::atomic_ref<std::uint32_t>(
      *reinterpret_cast<std::uint32_t*>(static_cast<std::uint8_t*>(memory) + EntryAt(0)));
}

void WriteEntry(std::size_t entry, const parameter_t& parameter) {
  std::memcpy(Memory() + EntryAt(entry) + sizeof(std::uint32_t), parameter.name.c_str(),
              parameter.name.size() + 1);
  if (entry > 0) platform::StoreLe32(Object(), EntryAt(entry), parameter.handle);
}

void WriteNotifyValues(std::span<const parameter_t> parameters) {
  auto& lock = *reinterpret_cast<platform::shared_lock_t*>(Memory() + LOCK_AT);
  const auto locked = platform::LockShared(lock, LOCK_LIMIT);
  if (!locked.taken) throw std::runtime_error("another process holds the lock of the new parameter database");
  for (const parameter_t& parameter : parameters) {
    const std::uint32_t value = parameter.notify ? parameter.handle : 0;
    platform::StoreLe32(Object(), SLOTS_AT + SLOT_SIZE * parameter.handle + NOTIFY_AT, value);
  }
  platform::UnlockShared(lock);
}

void FillDatabase(std::span<const parameter_t> parameters) {
  for (const parameter_t& parameter : parameters) {
    if (parameter.first) DBSHM::Write(parameter.handle, *parameter.first);
  }
  WriteNotifyValues(parameters);  // after the first values, for which no pulse is wanted
  for (std::size_t i = 0; i < parameters.size(); ++i) WriteEntry(i, parameters[i]);
  platform::StoreLe32(Object(), LAST_NAME_AT, static_cast<std::uint32_t>(parameters.size() - 1));
  CompleteMark(Memory()).store(parameters[0].handle, std::memory_order_release);
  DBSHM::makeParamMap();
}

// A mapping of the object while its state is read; null when there is no object or it is too small.
class Glance {
 public:
  Glance() {
    const int descriptor = platform::OpenSharedObject(OBJECT_NAME, O_RDWR, 0);
    isUnknown_ = descriptor < 0 && (errno == EMFILE || errno == ENFILE);
    if (descriptor < 0) return;
    exists_ = true;
    struct stat status {};
    const bool known = fstat(descriptor, &status) == 0;
    id_ = {status.st_dev, status.st_ino};
    if (known && std::cmp_greater_equal(status.st_size, OBJECT_SIZE)) {
      void* mapped = mmap(nullptr, OBJECT_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
      isUnknown_ = mapped == MAP_FAILED;
      if (mapped == MAP_FAILED) mapped = nullptr;
      if (mapped != nullptr) platform::GuardMapping(mapped, OBJECT_SIZE);
      memory_ = mapped;
    }
    close(descriptor);
  }
  ~Glance() {
    if (memory_ == nullptr) return;
    platform::ForgetMapping(memory_);
    munmap(memory_, OBJECT_SIZE);
  }
  Glance(const Glance&) = delete;
  Glance& operator=(const Glance&) = delete;

  // This process has no descriptor or no memory to look with.
  bool IsUnknown() const { return isUnknown_; }
  bool Exists() const { return exists_; }
  void* Get() const { return memory_; }
  object_id_t Id() const { return id_; }

 private:
  bool isUnknown_ = false;
  bool exists_ = false;
  void* memory_ = nullptr;
  object_id_t id_{};
};

bool IsAlive(pid_t process) {
  return process > 0 && (kill(process, 0) == 0 || errno == EPERM);
}

// What this process made; the object's own header may be damaged. Used by the database service alone.
struct made_t {
  std::optional<object_id_t> object;
  int chid = -1;
};
made_t made;

// A living owner accepts a connection to the channel that the object names. The process id alone is not enough:
// the system may have given it to another process.
bool HasLivingOwner(void* memory) {
  const std::span<const std::uint8_t> header(static_cast<const std::uint8_t*>(memory), SLOTS_AT);
  const auto process = static_cast<pid_t>(platform::LoadLe32(header, PROCESS_AT));
  const auto chid = static_cast<int>(platform::LoadLe32(header, CHANNEL_AT));
  if (!IsAlive(process)) return false;
  if (process == getpid()) return true;
  const int coid = ConnectAttach(0, process, chid, _NTO_SIDE_CHANNEL, 0);
  if (coid >= 0) ConnectDetach(coid);
  return coid >= 0;
}

database_state_t StateOf(const Glance& glance) {
  if (!glance.Exists()) return database_state_t::NONE;
  if (glance.Get() == nullptr || !HasLivingOwner(glance.Get())) return database_state_t::ORPHAN;
  const bool complete = CompleteMark(glance.Get()).load(std::memory_order_acquire) != 0;
  return complete ? database_state_t::COMPLETE : database_state_t::FILLING;
}

}  // namespace

database_state_t LookAtDatabase() {
  return StateOf(Glance());
}

std::optional<object_id_t> IdentifyDatabase() {
  const Glance glance;
  if (StateOf(glance) != database_state_t::COMPLETE) return std::nullopt;
  return glance.Id();
}

void MakeDatabase(std::span<const parameter_t> parameters) {
  const database_state_t state = LookAtDatabase();
  if (state == database_state_t::FILLING || state == database_state_t::COMPLETE) {
    throw std::runtime_error(
        "another process owns the parameter database of this runtime directory; stop it first, or set "
        "ORVIK_RUNTIME_DIR to another folder");
  }
  if (state == database_state_t::ORPHAN) platform::UnlinkSharedObject(OBJECT_NAME);
  DBSHM::Init();
  if (DBSHM::getMemoryPtr() == nullptr || DBSHM::getPid() != getpid()) {
    const std::string obstacle = platform::DescribeObstacle(OBJECT_NAME);
    throw std::runtime_error("cannot make the parameter database; " +
                             (obstacle.empty() ? "is there room in shared memory (df /dev/shm)?" : obstacle));
  }
  FillDatabase(parameters);
  made = {IdentifyDatabase(), DBSHM::getChid()};
}

namespace {

// False where another process holds the lock of the database and does not give it back.
bool CanBeLocked() {
  auto& lock = *reinterpret_cast<platform::shared_lock_t*>(Memory() + LOCK_AT);
  const bool taken = platform::LockShared(lock, LOCK_LIMIT).taken;
  if (taken) platform::UnlockShared(lock);
  return taken;
}

}  // namespace

bool IsDatabaseWhole() {
  const Glance glance;
  if (glance.IsUnknown()) return true;
  if (StateOf(glance) != database_state_t::COMPLETE) return false;
  const std::span<const std::uint8_t> header(static_cast<const std::uint8_t*>(glance.Get()), SLOTS_AT);
  return std::cmp_equal(platform::LoadLe32(header, PROCESS_AT), getpid()) && glance.Id() == made.object &&
         CanBeLocked();
}

void RemoveDatabase() {
  platform::UnlinkSharedObject(OBJECT_NAME);
  ChannelDestroy(made.chid);
}

std::vector<named_t> ReadNameTable() {
  std::vector<named_t> names;
  const std::size_t last = platform::LoadLe32(Object(), LAST_NAME_AT);
  for (std::size_t entry = 0; entry <= last && entry < NAME_ENTRIES; ++entry) {
    const auto* text = reinterpret_cast<const char*>(Memory() + EntryAt(entry) + sizeof(std::uint32_t));
    const std::size_t size = strnlen(text, NAME_SIZE);
    const unsigned handle = platform::LoadLe32(Object(), EntryAt(entry));
    if (size > 0 && size < NAME_SIZE && handle <= LAST_HANDLE)
      names.push_back({std::string(text, size), handle});
  }
  return names;
}

}  // namespace unit
