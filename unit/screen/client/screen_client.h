// Requests to the screen service of this runtime directory.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "unit/screen/client/screen_requests.h"

namespace unit {

// Asks the screen service and waits for a limited time. One thread of the client's own exchanges the messages,
// because MsgSend has no time limit. While the service hangs, that thread waits on in its one message, so that
// no further message piles up at the service; the service counts as hanging until it has answered that message.
class ScreenClient {
 public:
  explicit ScreenClient(std::chrono::milliseconds limit);
  // Waits for no answer.
  ~ScreenClient();
  ScreenClient(const ScreenClient&) = delete;
  ScreenClient& operator=(const ScreenClient&) = delete;

  // Sends a request and sets `result` to the document. Without an answer it returns false and sets `result` to
  // the problem. Blocks until the answer is there, some 30 ms for a picture, or until the limit is over; while
  // the service is known to hang and after Close it fails at once. Any thread.
  bool Ask(screen_request_t request, std::string& result);
  // Ends all waits. Any thread.
  void Close();

 private:
  struct question_t {
    screen_request_t request{};
    bool isDone = false;
    bool isAnswered = false;
    std::string result;
  };

  void Run();
  bool IsHanging() const;
  bool Exchange(screen_request_t request, std::string& result);
  long Send(screen_request_t request, std::string& reply);

  const std::chrono::milliseconds limit_;
  std::mutex mutex_;  // guards all below but the thread
  std::condition_variable changed_;
  std::deque<std::shared_ptr<question_t>> questions_;
  std::optional<std::chrono::steady_clock::time_point> asked_;  // when the message on its way was sent
  int coid_ = -1;                                               // its connection
  bool closed_ = false;
  std::thread thread_;
};

// One request with a limit of five seconds, for the command line. As ScreenClient::Ask.
bool AskScreen(screen_request_t request, std::string& result);

// Writes the picture as PNG. Returns the problem; empty on success.
std::string WriteSnapshot(const std::string& file);

}  // namespace unit
