#include "platform/linux/messages/connection.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <map>
#include <utility>

#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/linux/messages/channel.h"
#include "platform/linux/runtime_socket.h"
#include "platform/linux/thread_id.h"
#include "platform/messages.h"

namespace platform {
namespace {

constexpr int LAST_COID = 0x00FF'FFFF;
constexpr int DEFAULT_PRIORITY = 10;  // of a thread without real-time scheduling, as on Neutrino

struct connection_t {
  std::shared_ptr<Receiver> receiver;
  std::shared_ptr<Outgoing> anchor;  // represents the connection as a whole
  std::vector<std::shared_ptr<Outgoing>> sockets;
};

struct send_tables_t {
  std::mutex mutex;  // guards the rest
  std::map<int, connection_t> connections;
  int lastCoid = 0;
};

send_tables_t*& TablesPointer();
send_tables_t& SendingTables() {
  return *TablesPointer();
}

// The sockets of one thread, closed when the thread ends.
class ThreadSockets {
 public:
  ThreadSockets() = default;
  ~ThreadSockets();
  ThreadSockets(const ThreadSockets&) = delete;
  ThreadSockets& operator=(const ThreadSockets&) = delete;

  Outgoing* Find(int coid) const {
    for (const auto& socket : sockets_) {
      if (socket->Coid() == coid) return socket.get();
    }
    return nullptr;
  }
  void Add(std::shared_ptr<Outgoing> socket) {
    std::erase_if(sockets_, [](const auto& old) { return old->IsClosed(); });
    sockets_.push_back(std::move(socket));
  }
  std::vector<std::shared_ptr<Outgoing>> DrainSockets() { return std::exchange(sockets_, {}); }

 private:
  std::vector<std::shared_ptr<Outgoing>> sockets_;
};

thread_local ThreadSockets threadSockets;
// Set when threadSockets is destroyed. Destructors that run later on the thread may still send.
thread_local bool threadHasEnded = false;

ThreadSockets::~ThreadSockets() {
  threadHasEnded = true;
  send_tables_t& tables = SendingTables();
  const std::lock_guard guard(tables.mutex);
  for (const auto& socket : sockets_) {
    const auto found = tables.connections.find(socket->Coid());
    if (found != tables.connections.end()) std::erase(found->second.sockets, socket);
    socket->Close();
  }
}

// A forked child starts without connections, as on Neutrino. The parent's tables are kept and not used, because
// other threads of the parent may have been changing them during the fork.
void ResetInChild() {
  struct parent_t {
    send_tables_t* tables;
    std::vector<std::shared_ptr<Outgoing>> sockets;
  };
  static std::vector<parent_t>& ofParents = *new std::vector<parent_t>;
  ofParents.push_back({TablesPointer(), threadSockets.DrainSockets()});
  TablesPointer() = new send_tables_t;
}

send_tables_t*& TablesPointer() {
  static send_tables_t* tables = [] {
    AtForkInChild(ResetInChild);
    return new send_tables_t;
  }();
  return tables;
}

int FailWith(int error) {
  errno = error;
  return -1;
}

std::shared_ptr<Receiver> FindReceiver(int coid) {
  send_tables_t& tables = SendingTables();
  const std::lock_guard guard(tables.mutex);
  const auto found = tables.connections.find(coid);
  return found != tables.connections.end() ? found->second.receiver : nullptr;
}

std::shared_ptr<Outgoing> FindAnchor(int coid) {
  send_tables_t& tables = SendingTables();
  const std::lock_guard guard(tables.mutex);
  const auto found = tables.connections.find(coid);
  return found != tables.connections.end() ? found->second.anchor : nullptr;
}

// Connects to the receiver's channel. A full listening queue is tried again while the receiver lives, if `mode`
// allows waiting. No descriptor with errno.
UnsharedDescriptor ConnectToReceiver(const Receiver& receiver, connect_t mode) {
  for (;;) {
    UnsharedDescriptor socket = ConnectToChannelSocket(receiver.Pid(), receiver.Chid(), mode);
    if (socket || errno != EAGAIN || mode == connect_t::DO_NOT_WAIT) return socket;
    if (!receiver.IsGone()) continue;
    errno = ESRCH;
    return {};
  }
}

// Adds the calling thread's new socket to the tables. Null with EBADF when the connection has been closed
// meanwhile.
std::shared_ptr<Outgoing> EnterOutgoing(std::shared_ptr<Outgoing> outgoing) {
  send_tables_t& tables = SendingTables();
  const std::lock_guard guard(tables.mutex);
  const auto found = tables.connections.find(outgoing->Coid());
  if (found == tables.connections.end()) {
    errno = EBADF;
    return nullptr;
  }
  // The list of a thread at its end is gone already, and nothing would remove the socket from the tables later.
  if (threadHasEnded) return outgoing;
  found->second.sockets.push_back(outgoing);
  threadSockets.Add(outgoing);
  return outgoing;
}

// Creates the calling thread's socket of a connection. Null with errno.
std::shared_ptr<Outgoing> OpenOutgoing(int coid, connect_t mode) {
  const std::shared_ptr<Receiver> receiver = FindReceiver(coid);
  if (receiver == nullptr || receiver->IsGone()) {
    errno = receiver == nullptr ? EBADF : ESRCH;
    return nullptr;
  }
  UnsharedDescriptor socket = ConnectToReceiver(*receiver, mode);
  if (!socket) return nullptr;
  return EnterOutgoing(std::make_shared<Outgoing>(coid, receiver, std::move(socket)));
}

// Runs `use` on the calling thread's socket of the connection.
template <class Use>
auto WithSocket(int coid, connect_t mode, Use&& use) -> decltype(use(std::declval<Outgoing&>())) {
  if (!threadHasEnded) {
    if (Outgoing* mine = threadSockets.Find(coid); mine != nullptr) return use(*mine);
  }
  const std::shared_ptr<Outgoing> made = OpenOutgoing(coid, mode);
  if (made == nullptr) return -1;
  return use(*made);
}

int SendHello(int socket, int coid) {
  request_header_t header{};
  header.kind = packet_kind_t::HELLO;
  header.coid = coid;
  header.tid = CurrentThreadId();
  return SendRecord(socket, &header, sizeof header, nullptr, 0, MSG_DONTWAIT);
}

// An unused connection id. The caller holds the tables' mutex.
int NewCoid(send_tables_t& tables, unsigned index) {
  int coid = 0;
  do {
    tables.lastCoid = tables.lastCoid < LAST_COID ? tables.lastCoid + 1 : 1;
    coid = static_cast<int>(static_cast<unsigned>(tables.lastCoid) | (index & _NTO_SIDE_CHANNEL));
  } while (tables.connections.contains(coid));
  return coid;
}

void CloseConnection(connection_t& connection) {
  for (const auto& socket : connection.sockets) socket->Close();
  connection.anchor->Close();
}

}  // namespace

Receiver::Receiver(pid_t pid, int chid)
    : pid_(pid),
      chid_(chid),
      process_(UnsharedDescriptor::Make([pid] { return static_cast<int>(syscall(SYS_pidfd_open, pid, 0)); })) {}

bool Receiver::IsProcessGone() const {
  if (!process_) return kill(pid_, 0) != 0 && errno == ESRCH;  // the system has no process descriptors
  pollfd process = {process_.Get(), POLLIN, 0};
  return poll(&process, 1, 0) > 0;
}

request_header_t Outgoing::MakeHeader(packet_kind_t kind) {
  request_header_t header{};
  header.kind = kind;
  header.sequence = ++sequence_;
  header.coid = coid_;
  header.tid = CurrentThreadId();
  return header;
}

int Outgoing::Fail(int error) {
  if (error == EPIPE || error == ECONNRESET || error == ENOTCONN) {
    if (!closed_.load(std::memory_order_relaxed)) receiver_->SetGone();
    error = ESRCH;
  }
  return FailWith(error);
}

// Blocks while the receiver's socket buffer is full.
int Outgoing::SendAll(const request_header_t& header, const void* body, std::size_t bytes) {
  while (SendRecord(socket_.Get(), &header, sizeof header, body, bytes, 0) != 0) {
    if (errno == EINTR) continue;
    if (errno != EAGAIN) return Fail(errno);
    if (receiver_->IsGone()) return Fail(ECONNRESET);
  }
  return 0;
}

long Outgoing::AwaitReply(void* rmsg, std::size_t rbytes) {
  int flags = 0;
  for (;;) {
    reply_header_t header{};
    const received_t received = ReceiveRecord(socket_.Get(), &header, sizeof header, rmsg, rbytes, flags);
    if (received.length == 0) return Fail(ECONNRESET);
    if (received.length < 0) {
      if (errno == EINTR) continue;
      if (errno != EAGAIN) return Fail(errno);
      if (flags != 0) return Fail(ECONNRESET);
      if (receiver_->IsGone()) flags = MSG_DONTWAIT;  // read once more: it may have replied before it died
      continue;
    }
    if (header.sequence != sequence_) continue;  // the reply to an earlier message, whose wait has ended
    if (header.error != 0) return FailWith(header.error);
    return static_cast<long>(header.status);
  }
}

long Outgoing::RoundTrip(const void* smsg, std::size_t sbytes, void* rmsg, std::size_t rbytes) {
  const std::lock_guard guard(use_);
  if (!socket_) return FailWith(EBADF);
  request_header_t header = MakeHeader(packet_kind_t::MESSAGE);
  header.bytes = static_cast<std::uint32_t>(sbytes);
  header.room = static_cast<std::uint32_t>(std::min<std::size_t>(rbytes, UINT32_MAX));
  header.code = DEFAULT_PRIORITY;
  if (SendAll(header, smsg, sbytes) != 0) return -1;
  return AwaitReply(rmsg, rbytes);
}

int Outgoing::Pulse(int code, int value) {
  const std::lock_guard guard(use_);
  if (!socket_) return FailWith(EBADF);
  request_header_t header = MakeHeader(packet_kind_t::PULSE);
  header.code = code;
  header.value = value;
  int result = 0;
  do {
    result = SendRecord(socket_.Get(), &header, sizeof header, nullptr, 0, MSG_DONTWAIT);
  } while (result != 0 && errno == EINTR);
  if (result == 0 || errno == EAGAIN) return result;
  return Fail(errno == ENOBUFS ? EAGAIN : errno);
}

void Outgoing::Close() {
  closed_.store(true, std::memory_order_relaxed);
  shutdown(socket_.Get(), SHUT_RDWR);
  const std::lock_guard guard(use_);
  socket_.Close();
}

}  // namespace platform

int ConnectAttach(std::uint32_t /*nd*/, pid_t pid, int chid, unsigned index, int /*flags*/) {
  using namespace platform;
  if (pid == 0) pid = getpid();
  UnsharedDescriptor socket = ConnectToChannelSocket(pid, chid, connect_t::WAIT);
  if (!socket) return -1;
  auto receiver = std::make_shared<Receiver>(pid, chid);

  send_tables_t& tables = SendingTables();
  const std::lock_guard guard(tables.mutex);
  const int coid = NewCoid(tables, index);
  if (SendHello(socket.Get(), coid) != 0) return FailWith(ESRCH);
  auto anchor = std::make_shared<Outgoing>(coid, receiver, std::move(socket));
  tables.connections.emplace(coid, connection_t{std::move(receiver), std::move(anchor), {}});
  return coid;
}

int ConnectDetach(int coid) {
  using namespace platform;
  if (IsScoid(coid)) {
    DetachClient(coid);
    return 0;
  }
  send_tables_t& tables = SendingTables();
  const std::lock_guard guard(tables.mutex);
  auto entry = tables.connections.extract(coid);
  if (entry.empty()) return FailWith(EBADF);
  CloseConnection(entry.mapped());
  return 0;
}

long MsgSend(int coid, const void* smsg, std::size_t sbytes, void* rmsg, std::size_t rbytes) {
  using namespace platform;
  if (sbytes > MAX_MESSAGE_SIZE) return FailWith(EMSGSIZE);
  return WithSocket(coid, connect_t::WAIT,
                    [&](Outgoing& socket) { return socket.RoundTrip(smsg, sbytes, rmsg, rbytes); });
}

int MsgSendPulse(int coid, int /*priority*/, int code, int value) {
  using namespace platform;
  if (code < INT8_MIN || code > INT8_MAX) return FailWith(EINVAL);
  const int sent =
      WithSocket(coid, connect_t::DO_NOT_WAIT, [&](Outgoing& socket) { return socket.Pulse(code, value); });
  const bool canBeAnchors = errno == ESRCH || errno == EMFILE || errno == ENFILE;
  if (sent == 0 || !canBeAnchors) return sent;
  // The thread's first pulse fails when the channel's socket file has been removed, and when no descriptor is
  // left. The anchor needs neither, so a process can always wake its own receivers to end them.
  const std::shared_ptr<Outgoing> anchor = FindAnchor(coid);
  return anchor != nullptr ? anchor->Pulse(code, value) : FailWith(ESRCH);
}

int getprio(pid_t tid) {
  sched_param parameters{};
  if (sched_getparam(tid, &parameters) != 0) return -1;
  return parameters.sched_priority > 0 ? parameters.sched_priority : platform::DEFAULT_PRIORITY;
}
