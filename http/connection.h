// One accepted connection of the server, with time limits on the whole request and on each part of the answer.
#pragma once

#include <array>
#include <chrono>
#include <mutex>
#include <set>
#include <string>
#include <utility>

#include <httplib.h>

namespace http {

using deadline_t = std::chrono::steady_clock::time_point;

// The connections whose thread waits for bytes of the request. Any thread.
class WaitingConnections {
 public:
  // Ends the wait of the connection that was accepted first, so that its thread is free for another one. Where
  // none waits, the next wait ends one.
  void CloseOldest();
  // No thread is wanted any more.
  void ForgetOwed();
  // Ends all waits, also later ones.
  void CloseAll();

 private:
  friend class Connection;
  using waiting_t = std::pair<deadline_t, int>;  // a descriptor, which stays open as long as it stands here

  // False after CloseAll.
  void EndFirst();
  bool Enter(const waiting_t& waiting);
  void Leave(const waiting_t& waiting);

  std::mutex mutex_;  // guards the three below
  std::set<waiting_t> waiting_;
  std::size_t owed_ = 0;  // waits to be ended
  bool closed_ = false;
};

// The library's view of a connection. Its own has a time limit on each single read only, so that a client that
// sends a byte now and then would keep its thread. Closes the descriptor at the end.
class Connection : public httplib::Stream {
 public:
  static constexpr std::chrono::seconds READ_LIMIT{2};   // for all bytes of a request
  static constexpr std::chrono::seconds WRITE_LIMIT{2};  // for one call of write

  Connection(int descriptor, WaitingConnections& waiting);
  ~Connection() override;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  bool is_readable() const override;
  // False when the client does not read, and when it has closed the connection.
  bool is_writable() const override;
  ssize_t read(char* data, std::size_t size) override;
  // Writes all, or returns -1.
  ssize_t write(const char* data, std::size_t size) override;
  void get_remote_ip_and_port(std::string& ip, int& port) const override;
  void get_local_ip_and_port(std::string& ip, int& port) const override;
  socket_t socket() const override { return descriptor_; }

 private:
  bool Fill();
  ssize_t Receive();

  const int descriptor_;
  const deadline_t deadline_;  // of the request
  WaitingConnections& waiting_;
  std::array<char, 4096> buffer_{};
  std::size_t begin_ = 0, end_ = 0;  // what is unread of the buffer
};

}  // namespace http
