#include "src/services/dbshm.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <chrono>
#include <cstring>
#include <iostream>
#include <mutex>
#include <new>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/clock.h"
#include "platform/messages.h"
#include "platform/shared_memory.h"

static_assert(std::endian::native == std::endian::little,
              "values are stored in the byte order of this machine");

using namespace dbshm_layout;

std::atomic<void*> DBSHM::dbshmSharedMemory{nullptr};
int DBSHM::dbshmFd = -1;
int DBSHM::dbshmId = -1;
std::map<std::string, unsigned> DBSHM::dbshmParameterMap;
pthread_t DBSHM::eventThread{};

namespace {

constexpr std::uint32_t NEVER_EXPIRES = 1;
constexpr int CHANGE_PULSE_CODE = 0;

std::uint8_t* At(std::size_t offset) {
  return static_cast<std::uint8_t*>(DBSHM::getMemoryPtr()) + offset;
}

// The database as one access sees it.
std::uint8_t* DatabaseFor(unsigned handle) {
  return handle <= LAST_HANDLE ? static_cast<std::uint8_t*>(DBSHM::getMemoryPtr()) : nullptr;
}

std::uint8_t* SlotOf(std::uint8_t* database, unsigned handle) {
  return database + SLOTS_AT + SLOT_SIZE * handle;
}

template <class T>
T Load(const std::uint8_t* from) {
  T value;
  std::memcpy(&value, from, sizeof(T));
  return value;
}

template <class T>
void Store(std::uint8_t* to, T value) {
  std::memcpy(to, &value, sizeof(T));
}

// An atomic, because other processes read the header while the owner creates the object.
std::atomic_ref<std::uint32_t> HeaderWord(std::size_t offset) {
  return std::atomic_ref<std::uint32_t>(*std::launder(reinterpret_cast<std::uint32_t*>(At(offset))));
}

platform::shared_lock_t& LockOf(std::uint8_t* database) {
  return *std::launder(reinterpret_cast<platform::shared_lock_t*>(database + LOCK_AT));
}

// Longer than a busy machine keeps a holder from running.
constexpr std::chrono::milliseconds LOCK_LIMIT{1000};

// The last access did not get the lock. No further one waits for it then, so that a thread with many values to
// read is not kept for minutes.
std::atomic<bool> lockIsStuck{false};

void Invalidate(std::uint8_t* slot) {
  Store<std::uint64_t>(slot + EXPIRY_AT, 0);
  Store<std::uint32_t>(slot + NEVER_EXPIRE_AT, 0);
}

// Waits for a lock that is not free. Returns whether it was taken.
bool WaitForDatabase(std::uint8_t* database) {
  const bool isStuck = lockIsStuck.load(std::memory_order_relaxed);
  const auto [taken, torn] = platform::WaitForLock(LockOf(database), isStuck ? LOCK_LIMIT * 0 : LOCK_LIMIT);
  if (taken == isStuck) lockIsStuck.store(!taken, std::memory_order_relaxed);
  if (torn && *torn <= LAST_HANDLE) Invalidate(SlotOf(database, *torn));
  return taken;
}

bool TakeDatabase(std::uint8_t* database) {
  if (!platform::TakeFreeLock(LockOf(database))) return WaitForDatabase(database);
  if (lockIsStuck.load(std::memory_order_relaxed)) lockIsStuck.store(false, std::memory_order_relaxed);
  return true;
}

// Holds the database's lock, where IsTaken. The slot that a dead holder was writing may be half old and half
// new; it is made not valid until it is written again.
class LockedDatabase {
 public:
  explicit LockedDatabase(std::uint8_t* database) : lock_(LockOf(database)), taken_(TakeDatabase(database)) {}
  ~LockedDatabase() {
    if (taken_) platform::UnlockShared(lock_);
  }
  LockedDatabase(const LockedDatabase&) = delete;
  LockedDatabase& operator=(const LockedDatabase&) = delete;

  bool IsTaken() const { return taken_; }

  // Call before the first change of the slot. The fence keeps the compiler from moving a change before the
  // mark: if the writer died between the two, the slot would be half written and not marked.
  void BeginWrite(unsigned handle) {
    platform::MarkSlot(lock_, handle);
    std::atomic_signal_fence(std::memory_order_release);
  }

 private:
  platform::shared_lock_t& lock_;
  const bool taken_;
};

bool IsValid(const std::uint8_t* slot) {
  if (Load<std::uint32_t>(slot + NEVER_EXPIRE_AT) != 0) return true;
  const auto expiry = Load<std::uint64_t>(slot + EXPIRY_AT);
  return expiry != 0 && ClockCycles() <= expiry;
}

template <class T>
int ReadValue(unsigned handle, T& value, unsigned* tag = nullptr) {
  value = T{};
  if (tag != nullptr) *tag = 0;
  std::uint8_t* const database = DatabaseFor(handle);
  if (database == nullptr) return 0;
  LockedDatabase locked(database);
  if (!locked.IsTaken()) return 0;
  std::uint8_t* slot = SlotOf(database, handle);
  if (!IsValid(slot)) {
    locked.BeginWrite(handle);
    Store<std::uint64_t>(slot + EXPIRY_AT, 0);
    return 0;
  }
  value = Load<T>(slot + VALUE_AT);
  if (tag != nullptr) *tag = Load<std::uint32_t>(slot + TAG_AT);
  return 1;
}

// How long a written value is valid: for ever, for `timeout` milliseconds when `timed`, otherwise not at all.
struct validity_t {
  bool forEver = true;
  bool timed = false;
  unsigned timeout = 0;
};

void StoreValidity(std::uint8_t* slot, validity_t validity) {
  if (!validity.forEver) {
    const std::uint64_t cycles = validity.timeout * CYCLES_PER_TIMEOUT_UNIT;
    Store<std::uint64_t>(slot + EXPIRY_AT, validity.timed ? ClockCycles() + cycles : 0);
  }
  Store<std::uint32_t>(slot + NEVER_EXPIRE_AT, validity.forEver ? NEVER_EXPIRES : 0);
}

// Compares bytes, so that writing the same NaN again is not a change.
template <class T>
bool StoreIfDifferent(std::uint8_t* to, T value) {
  using value_bytes_t = std::array<std::uint8_t, sizeof(T)>;
  const auto bytes = std::bit_cast<value_bytes_t>(value);
  if (Load<value_bytes_t>(to) == bytes) return false;
  Store(to, bytes);
  return true;
}

// Stores value, tag and validity under the lock. Returns the value of the pulse to send; 0 when none is to be
// sent.
template <class T>
std::uint32_t StoreValue(std::uint8_t* database, unsigned handle, T value, const unsigned* tag,
                         validity_t validity) {
  LockedDatabase locked(database);
  if (!locked.IsTaken()) return 0;
  locked.BeginWrite(handle);
  std::uint8_t* slot = SlotOf(database, handle);
  bool changed = StoreIfDifferent(slot + VALUE_AT, value);
  if (tag != nullptr && StoreIfDifferent(slot + TAG_AT, *tag)) changed = true;
  StoreValidity(slot, validity);
  return changed ? Load<std::uint32_t>(slot + NOTIFY_AT) : 0;
}

template <class T>
void WriteValue(unsigned handle, T value, const unsigned* tag = nullptr, validity_t validity = {}) {
  std::uint8_t* const database = DatabaseFor(handle);
  if (database == nullptr) return;
  const std::uint32_t notify = StoreValue(database, handle, value, tag, validity);
  if (notify == 0) return;
  MsgSendPulse(DBSHM::getCoid(), getprio(0), CHANGE_PULSE_CODE, static_cast<int>(notify));
}

using characters_t = std::array<char, 8>;

characters_t CharactersOf(const char* value) {
  characters_t characters;
  std::copy_n(value, characters.size(), characters.begin());
  return characters;
}

}  // namespace

// --- Attaching

namespace {

bool IsSameObject(int one, int other) {
  struct stat first {};
  struct stat second {};
  return fstat(one, &first) == 0 && fstat(other, &second) == 0 && first.st_dev == second.st_dev &&
         first.st_ino == second.st_ino;
}

}  // namespace

// Every worker calls Open while others may already read the database, so a mapping of the same object must
// stay.
void DBSHM::Open() {
  static std::mutex opening;
  const std::lock_guard lock(opening);
  const int fd = platform::OpenSharedObject(OBJECT_NAME, O_RDWR, 0);
  if (fd >= 0 && dbshmSharedMemory != nullptr) {
    if (IsSameObject(fd, dbshmFd)) {
      close(fd);
      return;
    }
    Detach();
  }
  if (fd < 0 || !Map(fd)) {
    std::cerr << "DBSHM_main Open() ERROR, could not open DBSHM.\n";
    return;
  }
  // While the id is 0 the owner is not ready, and ConnectAttach would connect to this process.
  if (const int pid = getPid(); pid != 0) dbshmId = ConnectAttach(0, pid, getChid(), _NTO_SIDE_CHANNEL, 0);
  makeParamMap();
}

void DBSHM::Init() {
  const int fd = platform::OpenSharedObject(OBJECT_NAME, O_RDWR | O_CREAT | O_EXCL, 0777);
  if (fd < 0) return Open();
  Detach();
  if (ftruncate(fd, OBJECT_SIZE) != 0 || !Map(fd)) {
    std::cerr << "DBSHM_main Init() ERROR, could not create DBSHM.\n";
    platform::UnlinkSharedObject(OBJECT_NAME);
    return;
  }
  platform::InitSharedLock(*new (At(LOCK_AT)) platform::shared_lock_t);
  const int chid = ChannelCreate(_NTO_CHF_FIXED_PRIORITY);
  HeaderWord(CHANNEL_AT).store(static_cast<std::uint32_t>(chid));
  HeaderWord(PROCESS_AT).store(static_cast<std::uint32_t>(getpid()));
  dbshmId = ConnectAttach(0, getpid(), chid, _NTO_SIDE_CHANNEL, 0);
  makeParamMap();
}

// Takes ownership of the descriptor. An object shorter than the layout is refused: its owner is still creating
// it.
bool DBSHM::Map(int fd) {
  struct stat status {};
  void* memory = MAP_FAILED;
  if (fstat(fd, &status) == 0 && status.st_size >= static_cast<off_t>(OBJECT_SIZE)) {
    memory = mmap(nullptr, OBJECT_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  }
  if (memory == MAP_FAILED) {
    close(fd);
    return false;
  }
  platform::GuardMapping(memory, OBJECT_SIZE);
  lockIsStuck = false;
  dbshmSharedMemory = memory;
  dbshmFd = fd;
  return true;
}

void DBSHM::Detach() {
  if (dbshmSharedMemory == nullptr) return;
  if (dbshmId >= 0) ConnectDetach(dbshmId);
  platform::ForgetMapping(dbshmSharedMemory);
  munmap(dbshmSharedMemory, OBJECT_SIZE);
  close(dbshmFd);
  dbshmSharedMemory = nullptr;
  dbshmFd = -1;
  dbshmId = -1;
}

// --- Names

void DBSHM::makeParamMap() {
  dbshmParameterMap.clear();
  if (dbshmSharedMemory == nullptr) return;
  // Another process writes the table, so neither the count nor the terminator of a name can be trusted.
  const std::size_t last = std::min<std::size_t>(HeaderWord(LAST_NAME_AT).load(), NAME_ENTRIES - 1);
  for (std::size_t i = 0; i <= last; ++i) {
    const std::uint8_t* entry = At(NAMES_AT + NAME_ENTRY_SIZE * i);
    std::array<char, NAME_SIZE> name;
    std::memcpy(name.data(), entry + sizeof(std::uint32_t), name.size());
    dbshmParameterMap.emplace(std::string(name.data(), strnlen(name.data(), name.size())),
                              Load<std::uint32_t>(entry));
  }
}

unsigned DBSHM::getHandle(const std::string& name) {
  unsigned handle = 0;
  getItemHandle(name, handle);
  return handle;
}

int DBSHM::getItemHandle(const std::string& name, unsigned& handle) {
  const auto found = dbshmParameterMap.find(name);
  if (found == dbshmParameterMap.end()) return 0;
  handle = found->second;
  return 1;
}

int DBSHM::getParameterHandle(const std::string& name, unsigned& handle) {
  return getItemHandle(name, handle);
}

int DBSHM::getDeviceHandle(const std::string& name, unsigned& handle) {
  return getItemHandle(name, handle);
}

// --- The header

int DBSHM::getChid() {
  return dbshmSharedMemory == nullptr ? 0 : static_cast<int>(HeaderWord(CHANNEL_AT).load());
}

int DBSHM::getPid() {
  return dbshmSharedMemory == nullptr ? 0 : static_cast<int>(HeaderWord(PROCESS_AT).load());
}

int DBSHM::getCoid() {
  return dbshmId;
}

void* DBSHM::getMemoryPtr() {
  return dbshmSharedMemory;
}

int DBSHM::getNeverExpireTime() {
  return NEVER_EXPIRES;
}

// --- Values

int DBSHM::Read(unsigned handle, double& value) {
  return ReadValue(handle, value);
}
int DBSHM::Read(unsigned handle, float& value) {
  double stored = 0;
  const int result = ReadValue(handle, stored);
  value = static_cast<float>(stored);
  return result;
}
// The byte may have been written as another type and have a value that a bool cannot have.
int DBSHM::Read(unsigned handle, bool& value) {
  unsigned char byte = 0;
  const int result = ReadValue(handle, byte);
  value = byte != 0;
  return result;
}
int DBSHM::Read(unsigned handle, signed char& value) {
  return ReadValue(handle, value);
}
int DBSHM::Read(unsigned handle, unsigned char& value) {
  return ReadValue(handle, value);
}
int DBSHM::Read(unsigned handle, int& value) {
  return ReadValue(handle, value);
}
int DBSHM::Read(unsigned handle, unsigned& value) {
  return ReadValue(handle, value);
}
int DBSHM::Read(unsigned handle, long long& value) {
  return ReadValue(handle, value);
}
int DBSHM::Read(unsigned handle, unsigned long long& value) {
  return ReadValue(handle, value);
}
int DBSHM::Read(unsigned handle, char* value) {
  characters_t characters;
  const int result = ReadValue(handle, characters);
  std::copy(characters.begin(), characters.end(), value);
  return result;
}
int DBSHM::Read(unsigned handle, unsigned& tag, double& value) {
  return ReadValue(handle, value, &tag);
}
int DBSHM::Read(unsigned handle, unsigned& tag, float& value) {
  double stored = 0;
  const int result = ReadValue(handle, stored, &tag);
  value = static_cast<float>(stored);
  return result;
}

void DBSHM::Write(unsigned handle, double value) {
  WriteValue(handle, value);
}
void DBSHM::Write(unsigned handle, float value) {
  WriteValue(handle, static_cast<double>(value));
}
void DBSHM::Write(unsigned handle, bool value) {
  WriteValue(handle, static_cast<unsigned char>(value));
}
void DBSHM::Write(unsigned handle, signed char value) {
  WriteValue(handle, value);
}
void DBSHM::Write(unsigned handle, unsigned char value) {
  WriteValue(handle, value);
}
void DBSHM::Write(unsigned handle, int value) {
  WriteValue(handle, value);
}
void DBSHM::Write(unsigned handle, unsigned value) {
  WriteValue(handle, value);
}
void DBSHM::Write(unsigned handle, long long value) {
  WriteValue(handle, value);
}
void DBSHM::Write(unsigned handle, unsigned long long value) {
  WriteValue(handle, value);
}
void DBSHM::Write(unsigned handle, const char* value) {
  WriteValue(handle, CharactersOf(value));
}
void DBSHM::Write(unsigned handle, double value, unsigned timeout, bool timed) {
  WriteValue(handle, value, nullptr, {false, timed, timeout});
}
void DBSHM::Write(unsigned handle, unsigned tag, double value, unsigned timeout, bool timed) {
  WriteValue(handle, value, &tag, {false, timed, timeout});
}
void DBSHM::Write(unsigned handle, const char* value, unsigned timeout, bool timed) {
  WriteValue(handle, CharactersOf(value), nullptr, {false, timed, timeout});
}
void DBSHM::Write(unsigned handle, unsigned tag, const char* value, unsigned timeout, bool timed) {
  WriteValue(handle, CharactersOf(value), &tag, {false, timed, timeout});
}
