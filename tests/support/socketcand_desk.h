// A small socketcand server for tests: real TCP on a free port of the loopback, any number of clients at once.
// It keeps the frames that clients send and answers them by a function.
#pragma once

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "bus/can_frame.h"
#include "bus/socketcand_text.h"

class SocketcandDesk {
 public:
  using Answer = std::function<std::vector<bus::frame_t>(const bus::frame_t&)>;

  explicit SocketcandDesk(Answer answer = {}, std::string greeting = "< hi >")
      : answer_(std::move(answer)),
        greeting_(std::move(greeting)),
        listener_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int small = 8192;  // so that a client fills the connection soon
    ::setsockopt(listener_, SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
    socklen_t size = sizeof address;
    void* generic = &address;
    EXPECT_EQ(::bind(listener_, static_cast<sockaddr*>(generic), size), 0);
    EXPECT_EQ(::listen(listener_, 4), 0);
    ::getsockname(listener_, static_cast<sockaddr*>(generic), &size);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { Serve(); });
  }
  ~SocketcandDesk() {
    stop_ = true;
    thread_.join();
    DropClients();
    ::close(listener_);
  }
  SocketcandDesk(const SocketcandDesk&) = delete;
  SocketcandDesk& operator=(const SocketcandDesk&) = delete;

  std::string Bus() const { return "socketcand:127.0.0.1:" + std::to_string(port_); }

  // Waits until `count` frames have come, for 20 seconds at most, and returns all frames so far.
  std::vector<bus::frame_t> WaitForFrames(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::chrono::seconds(20), [&] { return frames_.size() >= count; });
    return frames_;
  }
  void WaitForClients(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::chrono::seconds(20), [&] { return ready_ >= count; });
  }
  void SendText(const std::string& text) {
    const std::scoped_lock lock(mutex_);
    for (const auto& [fd, splitter] : clients_) ::send(fd, text.data(), text.size(), MSG_NOSIGNAL);
  }
  // Waits until everything sent lies in the clients' receive buffers.
  void WaitUntilDelivered() {
    const std::scoped_lock lock(mutex_);
    for (const auto& [fd, splitter] : clients_) {
      for (int underWay = 1; underWay > 0;) ::ioctl(fd, SIOCOUTQ, &underWay);
    }
  }
  // The server does nothing while this is held.
  std::unique_lock<std::mutex> Hold() { return std::unique_lock(mutex_); }
  void DropClients() {
    const std::scoped_lock lock(mutex_);
    for (const auto& [fd, splitter] : clients_) ::close(fd);
    clients_.clear();
  }

 private:
  void Serve() {
    while (!stop_) {
      std::vector<pollfd> waits{{listener_, POLLIN, 0}};
      {
        const std::scoped_lock lock(mutex_);
        for (const auto& [fd, splitter] : clients_) waits.push_back({fd, POLLIN, 0});
      }
      ::poll(waits.data(), waits.size(), 10);
      const std::scoped_lock lock(mutex_);
      for (const pollfd& wait : waits) {
        if (wait.revents != 0 && wait.fd == listener_) Accept();
        if (wait.revents != 0 && clients_.contains(wait.fd)) Read(wait.fd);
      }
      changed_.notify_all();
    }
  }
  void Accept() {
    const int fd = ::accept(listener_, nullptr, nullptr);
    clients_[fd];
    ::send(fd, greeting_.data(), greeting_.size(), MSG_NOSIGNAL);
  }
  void Read(int fd) {
    char bytes[65536];
    const ssize_t got = ::recv(fd, bytes, sizeof bytes, MSG_DONTWAIT);
    if (got < 0 && errno == EAGAIN) return;  // this number belonged to a client that has left
    if (got <= 0) {
      ::close(fd);
      clients_.erase(fd);
      return;
    }
    clients_[fd].Feed({bytes, static_cast<std::size_t>(got)});
    for (std::string message; clients_[fd].Next(message);) Handle(fd, message);
  }
  void Handle(int fd, const std::string& message) {
    std::string reply;
    if (message == "< rawmode >") ++ready_;
    if (const auto frame = bus::ParseSocketcandSend(message)) {
      frames_.push_back(*frame);
      if (answer_) {
        for (const bus::frame_t& out : answer_(*frame)) reply += bus::FormatSocketcandFrame(out);
      }
    } else {
      reply = message == "< open can0 >" || message == "< rawmode >" ? "< ok >" : "< error unknown command >";
    }
    ::send(fd, reply.data(), reply.size(), MSG_NOSIGNAL);
  }

  const Answer answer_;
  const std::string greeting_;
  const int listener_;
  int port_ = 0;
  std::atomic<bool> stop_ = false;
  std::mutex mutex_;  // guards all members below
  std::condition_variable changed_;
  std::map<int, bus::SocketcandSplitter> clients_;
  std::vector<bus::frame_t> frames_;
  std::size_t ready_ = 0;
  std::thread thread_;
};
