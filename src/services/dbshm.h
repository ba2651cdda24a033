// The client of the parameter database in shared memory: looks a value's handle up by name, and reads and
// writes values by handle.
//
// Layout of the object "/DBSHM", 1,720,032 bytes, little-endian:
//
// | offset  | size           | content                                                   |
// |---------|----------------|-----------------------------------------------------------|
// | 0       | 8              | lock of all values (platform::shared_lock_t)               |
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
constexpr unsigned LAST_HANDLE = 32767;  // reads and writes of a larger handle fail
// Number of slots before the name table. Slots from here on overlap it; the parameter list uses none of them.
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

// A process has one view of the database. Any thread may make any call except Init, which must be the first. An
// access to a value holds the shared lock. Where another process keeps the lock for a second, reads fail and
// writes do nothing until it is free or the database was made anew. The pulse for a changed value is sent after
// the lock is released and never blocks.
class DBSHM {
 public:
  // Maps the existing database and connects to its owner. Does nothing when the process has mapped that
  // database already. Prints an error when there is no database; reads then fail and writes do nothing.
  static void Open();
  // Creates the database; the owner calls it. Maps it when it exists already. The owner's process id is written
  // to the header last: while it is 0 the database is not ready.
  static void Init();
  // Reads the name table again.
  static void makeParamMap();

  // The handle of a name; 0 when the name is unknown. Slot 0 exists, so reads and writes of handle 0 succeed.
  static unsigned getHandle(const std::string& name);
  // Store the handle of a name and return 1; return 0 when the name is unknown. All three search the same
  // table.
  static int getItemHandle(const std::string& name, unsigned& handle);
  static int getParameterHandle(const std::string& name, unsigned& handle);
  static int getDeviceHandle(const std::string& name, unsigned& handle);

  static int getChid();
  static int getPid();
  static int getCoid();
  static void* getMemoryPtr();
  // The never-expire word of a slot that is always valid.
  static int getNeverExpireTime();

  // Store the value and return 1. When the value is not valid or the handle is above LAST_HANDLE, clear the
  // output and return 0. A slot does not record a type: reader and writer must use the same one.
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

  // Store a value that never expires. When its bytes have changed and the slot has a notify word, send that
  // word to the owner as a pulse. The pulse is lost when the owner's channel is full.
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
  // The same for a value that expires after `timeout` milliseconds. With `timed` false the value is not valid.
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
  static pthread_t eventThread;  // not used by a client
};
