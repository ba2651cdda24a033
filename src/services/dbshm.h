// The parameter database in shared memory: values found by name once and then read and written by handle.
//
// Layout of the object "/DBSHM", 1,719,008 bytes, little-endian:
//
// | offset  | size           | content                                                   |
// |---------|----------------|-----------------------------------------------------------|
// | 0       | 8              | the lock that guards every value (platform::shared_lock_t) |
// | 8       | 4              | the owner's channel id                                    |
// | 12      | 4              | the owner's process id                                    |
// | 16      | 12             | three words, zero                                         |
// | 28      | 4              | index of the last entry of the name table                 |
// | 32      | 40 per handle  | value slots                                               |
// | 400,032 | 132 per entry  | name table: handle (4), zero-terminated name (128)        |
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace dbshm_layout {

constexpr const char* OBJECT_NAME = "/DBSHM";
constexpr std::size_t OBJECT_SIZE = 0x1A3EE0;
constexpr std::size_t LOCK_AT = 0;
constexpr std::size_t CHANNEL_AT = 8;
constexpr std::size_t PROCESS_AT = 12;
constexpr std::size_t LAST_NAME_AT = 28;
constexpr std::size_t SLOTS_AT = 32;
constexpr std::size_t SLOT_SIZE = 40;
constexpr std::size_t NAMES_AT = 400'032;
constexpr std::size_t NAME_ENTRY_SIZE = 132;
constexpr std::size_t NAME_SIZE = 128;
constexpr std::size_t NAME_ENTRIES = (OBJECT_SIZE - NAMES_AT) / NAME_ENTRY_SIZE;
constexpr unsigned LAST_HANDLE = 32767;  // a larger handle is refused
// Slots from here on lie over the name table; the parameter list gives no handle beyond it.
constexpr unsigned NAMED_HANDLES = (NAMES_AT - SLOTS_AT) / SLOT_SIZE;

// Offsets in a slot.
constexpr std::size_t TAG_AT = 0;
constexpr std::size_t VALUE_AT = 8;
constexpr std::size_t EXPIRY_AT = 16;
constexpr std::size_t NOTIFY_AT = 24;
constexpr std::size_t NEVER_EXPIRE_AT = 36;

// Cycles of ClockCycles() in one unit of a timeout (1 ms).
constexpr std::uint64_t CYCLES_PER_TIMEOUT_UNIT = 66'500;

}  // namespace dbshm_layout

// One view of the database a process. Every call may come from any thread of the process, but for Init, which
// comes before any other. A value access holds the shared lock; the pulse for a change is sent after it was
// given back and never blocks.
class DBSHM {
 public:
  // Attaches to the existing database and connects to its owner; nothing happens when the process shows that
  // database already. Prints on standard error when there is none: reads are then not valid and writes are
  // ignored.
  static void Open();
  // Makes the database, for the process that owns it; attaches when it exists already. The process id in the
  // header is written last: while it is 0 the database is not ready.
  static void Init();
  // Reads the name table again.
  static void makeParamMap();

  // The handle of a name; 0, which is a slot too, when the name is unknown.
  static unsigned getHandle(const std::string& name);
  // 1 and the handle, or 0 when the name is unknown. All three search the same table.
  static int getItemHandle(const std::string& name, unsigned& handle);
  static int getParameterHandle(const std::string& name, unsigned& handle);
  static int getDeviceHandle(const std::string& name, unsigned& handle);

  static int getChid();
  static int getPid();
  static int getCoid();
  static void* getMemoryPtr();
  // The never-expire flag's value for a slot that is always valid.
  static int getNeverExpireTime();

  // 1 and the value, or 0 and a cleared output when the value is not valid or the handle is above LAST_HANDLE.
  // A value is read as the type that it is asked for, from the start of its field: reader and writer must
  // agree.
  static int Read(unsigned handle, double& value);
  static int Read(unsigned handle, float& value);
  static int Read(unsigned handle, bool& value);
  static int Read(unsigned handle, signed char& value);
  static int Read(unsigned handle, unsigned char& value);
  static int Read(unsigned handle, int& value);
  static int Read(unsigned handle, unsigned& value);
  static int Read(unsigned handle, long long& value);
  static int Read(unsigned handle, unsigned long long& value);
  static int Read(unsigned handle, char* value);  // 8 bytes
  static int Read(unsigned handle, unsigned& tag, double& value);
  static int Read(unsigned handle, unsigned& tag, float& value);

  // Stores a value that never expires, and tells the owner by a pulse when its bytes changed and its slot asks
  // for that. The pulse is lost when the owner's channel is full.
  static void Write(unsigned handle, double value);
  static void Write(unsigned handle, float value);
  static void Write(unsigned handle, bool value);
  static void Write(unsigned handle, signed char value);
  static void Write(unsigned handle, unsigned char value);
  static void Write(unsigned handle, int value);
  static void Write(unsigned handle, unsigned value);
  static void Write(unsigned handle, long long value);
  static void Write(unsigned handle, unsigned long long value);
  static void Write(unsigned handle, const char* value);  // 8 bytes
  // The same with an expiry, `timeout` milliseconds from now; with `timed` false the value is stored as not
  // valid.
  static void Write(unsigned handle, double value, unsigned timeout, bool timed);
  static void Write(unsigned handle, unsigned tag, double value, unsigned timeout, bool timed);
  static void Write(unsigned handle, const char* value, unsigned timeout, bool timed);
  static void Write(unsigned handle, unsigned tag, const char* value, unsigned timeout, bool timed);

 private:
  static bool Map(int fd);
  static void Detach();

  static std::atomic<void*> dbshmSharedMemory;
  static int dbshmFd;
  static int dbshmId;  // connection to the owner's channel
  static std::map<std::string, unsigned> dbshmParameterMap;
  static pthread_t eventThread;  // of an owner that serves the change pulses; a client has none
};
