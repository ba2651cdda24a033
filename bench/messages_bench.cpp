// Measures a message and its reply between two processes. For comparison: a bare socket and ZeroMQ in the same
// run.
//
// Each measurement is one round trip of `bytes` each way. "pinned" keeps both processes on one core, so that
// the time to wake an idle core does not count; "free" leaves them to the scheduler.
#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <sched.h>
#include <sys/epoll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zmq.h>

#include "platform/messages.h"
#include "platform/names.h"

#include "src/services/nm_client.h"

namespace {

constexpr const char* NAME = "Bench";
constexpr std::size_t LARGEST = 10240;

void Pin(bool pinned) {
  cpu_set_t cores;
  CPU_ZERO(&cores);
  for (int core = 0; core < (pinned ? 1 : CPU_SETSIZE); ++core) CPU_SET(core, &cores);
  sched_setaffinity(0, sizeof cores, &cores);
}

// A process that replies until it is killed. The constructor returns when the process can receive.
class Responder {
 public:
  using Body = std::function<void(const std::function<void()>& ready)>;
  Responder(bool pinned, const Body& body) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) std::abort();
    Pin(pinned);
    process_ = fork();
    if (process_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      body([&] { static_cast<void>(!write(ends[1], "!", 1)); });
      _exit(0);
    }
    close(ends[1]);
    char byte = 0;
    if (read(ends[0], &byte, 1) != 1) std::abort();
    close(ends[0]);
  }
  ~Responder() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  Responder(const Responder&) = delete;
  Responder& operator=(const Responder&) = delete;

 private:
  pid_t process_ = 0;
};

std::size_t Bytes(const benchmark::State& state) {
  return static_cast<std::size_t>(state.range(0));
}
bool IsPinned(const benchmark::State& state) {
  return state.range(1) != 0;
}

void RunMessages(benchmark::State& state) {
  const Responder responder(IsPinned(state), [](const auto& ready) {
    name_attach_t* const attach = name_attach(nullptr, NAME, 0);
    if (attach == nullptr) return;
    ready();
    std::array<char, LARGEST> buffer{};
    _msg_info info{};
    for (int rcvid = 0; (rcvid = MsgReceive(attach->chid, buffer.data(), buffer.size(), &info)) >= 0;) {
      if (rcvid > 0) MsgReply(rcvid, 0, buffer.data(), static_cast<std::size_t>(info.msglen));
    }
  });
  const int coid = name_open(NAME, 0);
  std::vector<char> bytes(Bytes(state));
  for (auto _ : state) {
    if (MsgSend(coid, bytes.data(), bytes.size(), bytes.data(), bytes.size()) != 0) std::abort();
  }
  name_close(coid);
}

// A publish. The responder stands for the notification manager and replies with a header.
void RunSendMsg(benchmark::State& state) {
  const Responder responder(IsPinned(state), [](const auto& ready) {
    name_attach_t* const attach = name_attach(nullptr, NM_SERVER_NAME, 0);
    if (attach == nullptr) return;
    ready();
    std::array<std::uint8_t, NM_MESSAGE_SIZE> buffer{};
    for (int rcvid = 0; (rcvid = MsgReceive(attach->chid, buffer.data(), buffer.size(), nullptr)) >= 0;) {
      StoreNmWord(buffer, NM_LENGTH_AT, 1);
      if (rcvid > 0) MsgReply(rcvid, 0, buffer.data(), NM_HEADER_SIZE);
    }
  });
  NM::NMClient client;
  const std::vector<char> bytes(std::min(Bytes(state), NM_PAYLOAD_SIZE));
  for (auto _ : state) {
    if (client.sendMsg(1, bytes.data(), static_cast<int>(bytes.size())) != 1) std::abort();
  }
}

void RunBareSocket(benchmark::State& state) {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) != 0) std::abort();
  {
    const Responder responder(IsPinned(state), [&](const auto& ready) {
      ready();
      std::array<char, LARGEST> buffer{};
      for (ssize_t size = 0; (size = recv(ends[1], buffer.data(), buffer.size(), 0)) > 0;) {
        send(ends[1], buffer.data(), static_cast<std::size_t>(size), 0);
      }
    });
    std::vector<char> bytes(Bytes(state));
    for (auto _ : state) {
      send(ends[0], bytes.data(), bytes.size(), 0);
      if (recv(ends[0], bytes.data(), bytes.size(), 0) <= 0) std::abort();
    }
  }
  close(ends[0]);
  close(ends[1]);
}

// A record of a header and a body, as messages send it, with room for an attached descriptor.
class PartedRecord {
 public:
  PartedRecord() {
    message_.msg_iov = parts_.data();
    message_.msg_iovlen = parts_.size();
  }
  ssize_t Send(int socket, std::size_t bytes) {
    parts_[1].iov_len = bytes;
    return sendmsg(socket, &message_, MSG_NOSIGNAL);
  }
  ssize_t Receive(int socket) {
    parts_[1].iov_len = body_.size();
    message_.msg_control = control_.data();
    message_.msg_controllen = CMSG_LEN(sizeof(int));
    const ssize_t size = recvmsg(socket, &message_, 0);
    message_.msg_control = nullptr;
    message_.msg_controllen = 0;
    return size - static_cast<ssize_t>(header_.size());
  }

 private:
  std::array<char, 32> header_{};
  std::array<char, LARGEST> body_{};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control_{};
  std::array<iovec, 2> parts_ = {{{header_.data(), header_.size()}, {body_.data(), 0}}};
  msghdr message_{};
};

// What the kernel alone needs for such records, and for a receiver that waits for many clients.
void RunPartedSocket(benchmark::State& state) {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) != 0) std::abort();
  {
    const Responder responder(IsPinned(state), [&](const auto& ready) {
      const int clients = epoll_create1(0);
      epoll_event event = {.events = EPOLLIN | EPOLLRDHUP | EPOLLET, .data = {}};
      epoll_ctl(clients, EPOLL_CTL_ADD, ends[1], &event);
      ready();
      PartedRecord record;
      while (epoll_wait(clients, &event, 1, -1) == 1) {
        const ssize_t size = record.Receive(ends[1]);
        if (size > 0) record.Send(ends[1], static_cast<std::size_t>(size));
      }
    });
    PartedRecord record;
    for (auto _ : state) {
      record.Send(ends[0], Bytes(state));
      if (record.Receive(ends[0]) <= 0) std::abort();
    }
  }
  close(ends[0]);
  close(ends[1]);
}

void RunZeroMq(benchmark::State& state) {
  const char* const directory = std::getenv("ORVIK_RUNTIME_DIR");
  const std::string address = std::string("ipc://") + directory + "/zeromq";
  const Responder responder(IsPinned(state), [&](const auto& ready) {
    void* const context = zmq_ctx_new();
    void* const socket = zmq_socket(context, ZMQ_REP);
    zmq_bind(socket, address.c_str());
    ready();
    std::array<char, LARGEST> buffer{};
    for (int size = 0; (size = zmq_recv(socket, buffer.data(), buffer.size(), 0)) >= 0;) {
      zmq_send(socket, buffer.data(), static_cast<std::size_t>(size), 0);
    }
  });
  void* const context = zmq_ctx_new();
  void* const socket = zmq_socket(context, ZMQ_REQ);
  zmq_connect(socket, address.c_str());
  std::vector<char> bytes(Bytes(state));
  for (auto _ : state) {
    zmq_send(socket, bytes.data(), bytes.size(), 0);
    if (zmq_recv(socket, bytes.data(), bytes.size(), 0) < 0) std::abort();
  }
  zmq_close(socket);
  zmq_ctx_destroy(context);
}

void Register(const char* name, void (*run)(benchmark::State&)) {
  for (const int pinned : {1, 0}) {
    const std::string title = std::string(name) + (pinned != 0 ? "/pinned" : "/free");
    auto* const measured = benchmark::RegisterBenchmark(title.c_str(), run);
    for (const int bytes : {8, 20, 1824, static_cast<int>(LARGEST)}) measured->Args({bytes, pinned});
    measured->ArgNames({"bytes", ""})->UseRealTime();
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::string pattern = (std::filesystem::temp_directory_path() / "orvik-bench-XXXXXX").string();
  const std::string directory = mkdtemp(pattern.data());
  setenv("ORVIK_RUNTIME_DIR", directory.c_str(), 1);
  Register("BmBareSocket", RunBareSocket);
  Register("BmPartedSocket", RunPartedSocket);
  Register("BmMessage", RunMessages);
  Register("BmSendMsg", RunSendMsg);
  Register("BmZeroMq", RunZeroMq);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  std::filesystem::remove_all(directory);
  return 0;
}
