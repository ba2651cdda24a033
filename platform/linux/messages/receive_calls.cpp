// The receiving calls of platform/messages.h (ChannelCreate, MsgReceive, MsgReply) and their tables.
#include <algorithm>
#include <cerrno>
#include <vector>

#include <sys/socket.h>
#include <unistd.h>

#include "platform/linux/messages/channel.h"
#include "platform/linux/messages/leftovers.h"
#include "platform/linux/process_tables.h"

namespace platform {
namespace {

// A receive id is the index of a client socket and the generation of its message, 31 bits in all. The
// generation makes sure that a second reply, or a reply to a sender that is gone, is refused and does not reach
// another sender.
constexpr unsigned SLOT_BITS = 14;
constexpr std::uint32_t SLOTS = 1U << SLOT_BITS;
constexpr std::uint32_t GENERATIONS = 1U << (31U - SLOT_BITS);
constexpr int FIRST_SCOID = 0x0100'0000;
constexpr int LAST_SCOID = 0x3FFF'FFFF;

struct slot_t {
  std::shared_ptr<incoming_t> incoming;
  std::uint32_t generation = 0;  // kept when another socket gets the slot
};

struct receive_tables_t {
  std::mutex mutex;  // guards the rest; locked after any other mutex, released before a call that waits
  std::map<int, std::shared_ptr<Channel>> channels;
  std::vector<slot_t> slots;
  std::vector<std::uint32_t> freeSlots;
  int lastChid = 0;
  int lastScoid = FIRST_SCOID;
};

// Called at exit: the system closes the sockets and leaves their files.
void RemoveSocketFiles();

// A forked child starts without channels.
receive_tables_t& ReceivingTables() {
  return TablesOfThisProcess<receive_tables_t, RemoveSocketFiles>();
}

void RemoveSocketFiles() {
  receive_tables_t& tables = ReceivingTables();
  const std::lock_guard guard(tables.mutex);
  for (const auto& [chid, channel] : tables.channels) unlink(channel->SocketPath().c_str());
}

std::shared_ptr<Channel> FindChannel(int chid) {
  receive_tables_t& tables = ReceivingTables();
  const std::lock_guard guard(tables.mutex);
  const auto found = tables.channels.find(chid);
  return found != tables.channels.end() ? found->second : nullptr;
}

std::shared_ptr<incoming_t> FindIncoming(int rcvid) {
  receive_tables_t& tables = ReceivingTables();
  const std::lock_guard guard(tables.mutex);
  const std::uint32_t slot = static_cast<std::uint32_t>(rcvid) & (SLOTS - 1);
  return rcvid > 0 && slot < tables.slots.size() ? tables.slots[slot].incoming : nullptr;
}

// Returns the sender of a message and notes that its reply is no longer owed. Null with ESRCH when another call
// has answered it.
std::shared_ptr<incoming_t> TakeOwed(int rcvid) {
  std::shared_ptr<incoming_t> incoming = FindIncoming(rcvid);
  std::uint32_t generation = static_cast<std::uint32_t>(rcvid) >> SLOT_BITS;
  if (incoming != nullptr && incoming->owed.compare_exchange_strong(generation, 0, std::memory_order_acq_rel)) {
    return incoming;
  }
  errno = ESRCH;
  return nullptr;
}

int Answer(int rcvid, long status, int error, const void* msg, std::size_t bytes) {
  if (bytes > MAX_MESSAGE_SIZE) {
    errno = EMSGSIZE;
    return -1;
  }
  const std::shared_ptr<incoming_t> incoming = TakeOwed(rcvid);
  if (incoming == nullptr) return -1;
  reply_header_t header{};
  header.status = status;
  header.error = error;
  header.sequence = incoming->sequence.load(std::memory_order_relaxed);
  bytes = std::min<std::size_t>(bytes, incoming->room.load(std::memory_order_relaxed));
  header.bytes = static_cast<std::uint32_t>(bytes);
  // A sender that waits for its reply has an empty socket buffer. A full buffer shows a sender that does not
  // wait; it is disconnected.
  if (SendRecord(incoming->socket.Get(), &header, sizeof header, msg, bytes, MSG_DONTWAIT) == 0) return 0;
  const bool lacksResources = errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS;
  shutdown(incoming->socket.Get(), SHUT_RDWR);
  if (!lacksResources) errno = ESRCH;
  return -1;
}

}  // namespace

bool EnterIncoming(const std::shared_ptr<incoming_t>& incoming) {
  receive_tables_t& tables = ReceivingTables();
  const std::lock_guard guard(tables.mutex);
  if (tables.freeSlots.empty()) {
    if (tables.slots.size() == SLOTS) return false;
    tables.freeSlots.push_back(static_cast<std::uint32_t>(tables.slots.size()));
    tables.slots.emplace_back();
  }
  incoming->slot = tables.freeSlots.back();
  tables.freeSlots.pop_back();
  incoming->generation = tables.slots[incoming->slot].generation;
  tables.slots[incoming->slot].incoming = incoming;
  return true;
}

void LeaveIncoming(const incoming_t& incoming) {
  receive_tables_t& tables = ReceivingTables();
  const std::lock_guard guard(tables.mutex);
  tables.slots[incoming.slot] = {nullptr, incoming.generation};
  tables.freeSlots.push_back(incoming.slot);
}

int ReceiveId(const incoming_t& incoming, std::uint32_t generation) {
  return static_cast<int>((generation << SLOT_BITS) | incoming.slot);
}

int OweReply(incoming_t& incoming) {
  incoming.generation = (incoming.generation + 1) % GENERATIONS;
  if (incoming.generation == 0) incoming.generation = 1;
  incoming.owed.store(incoming.generation, std::memory_order_release);
  return ReceiveId(incoming, incoming.generation);
}

int NewScoid() {
  receive_tables_t& tables = ReceivingTables();
  const std::lock_guard guard(tables.mutex);
  tables.lastScoid = tables.lastScoid < LAST_SCOID ? tables.lastScoid + 1 : FIRST_SCOID;
  return tables.lastScoid;
}

bool IsScoid(int id) {
  return id >= FIRST_SCOID && id <= LAST_SCOID;
}

void DetachClient(int scoid) {
  receive_tables_t& tables = ReceivingTables();
  const std::lock_guard guard(tables.mutex);
  for (const slot_t& slot : tables.slots) {
    if (slot.incoming != nullptr && slot.incoming->scoid.load(std::memory_order_relaxed) == scoid) {
      shutdown(slot.incoming->socket.Get(),
               SHUT_RDWR);  // the receiving thread sees the end of file and removes the socket
    }
  }
}

}  // namespace platform

int ChannelCreate(unsigned flags) {
  platform::receive_tables_t& tables = platform::ReceivingTables();
  platform::RemoveRuntimeLeftoversOnce();
  int chid = 0;
  {
    const std::lock_guard guard(tables.mutex);
    chid = ++tables.lastChid;
  }
  auto channel = std::make_shared<platform::Channel>(chid, flags);
  if (!channel->Open()) return -1;
  const std::lock_guard guard(tables.mutex);
  tables.channels.emplace(chid, std::move(channel));
  return chid;
}

int ChannelDestroy(int chid) {
  std::shared_ptr<platform::Channel> channel;
  {
    platform::receive_tables_t& tables = platform::ReceivingTables();
    const std::lock_guard guard(tables.mutex);
    auto entry = tables.channels.extract(chid);
    if (!entry.empty()) channel = std::move(entry.mapped());
  }
  if (channel == nullptr) {
    errno = EINVAL;
    return -1;
  }
  channel->Close();
  return 0;
}

int MsgReceive(int chid, void* msg, std::size_t bytes, _msg_info* info) {
  const std::shared_ptr<platform::Channel> channel = platform::FindChannel(chid);
  if (channel == nullptr) {
    errno = ESRCH;
    return -1;
  }
  return channel->Receive(msg, bytes, info);
}

int MsgReply(int rcvid, long status, const void* msg, std::size_t bytes) {
  return platform::Answer(rcvid, status, 0, msg, bytes);
}

int MsgError(int rcvid, int error) {
  return platform::Answer(rcvid, 0, error, nullptr, 0);
}
