#include "unit/screen/client/screen_client.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <utility>

#include "platform/byte_order.h"
#include "platform/messages.h"
#include "platform/names.h"
#include "platform/threads.h"

namespace unit {

namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto COMMAND_LIMIT = 5s;
constexpr const char* NO_SERVICE =
    "no screen service runs in this runtime directory; start one with `unit run`";
constexpr const char* HANGS =
    "the screen service does not answer; if this lasts, see `unit status` and start the unit again";

// The status of MsgSend; -1 with errno set when there is no answer.
long SendScreenRequest(int coid, screen_request_t request, std::string& reply) {
  std::array<std::uint8_t, 4> message{};
  platform::StoreLe32(message, 0, request);
  return MsgSend(coid, message.data(), message.size(), reply.data(), reply.size());
}

}  // namespace

ScreenClient::ScreenClient(std::chrono::milliseconds limit) : limit_(limit), thread_([this] { Run(); }) {}

ScreenClient::~ScreenClient() {
  Close();
  thread_.join();
}

void ScreenClient::Close() {
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    // Ends the MsgSend of the thread.
    if (const int coid = std::exchange(coid_, -1); coid >= 0) name_close(coid);
  }
  changed_.notify_all();
}

// The mutex is held.
bool ScreenClient::IsHanging() const {
  return asked_ && steady_clock::now() - *asked_ >= limit_;
}

bool ScreenClient::Ask(screen_request_t request, std::string& result) {
  const auto question = std::make_shared<question_t>();
  question->request = request;
  result = HANGS;
  std::unique_lock lock(mutex_);
  if (closed_ || IsHanging()) return false;
  questions_.push_back(question);
  changed_.notify_all();
  changed_.wait_for(lock, limit_, [&] { return closed_ || question->isDone; });
  std::erase(questions_, question);
  if (!question->isDone) return false;
  result = std::move(question->result);
  return question->isAnswered;
}

void ScreenClient::Run() {
  platform::NameThread("screen client");
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return closed_ || !questions_.empty(); });
    if (closed_) return;
    const std::shared_ptr<question_t> question = questions_.front();
    questions_.pop_front();
    asked_ = steady_clock::now();
    lock.unlock();
    std::string result;
    const bool isAnswered = Exchange(question->request, result);
    lock.lock();
    asked_.reset();
    question->result = std::move(result);
    question->isAnswered = isAnswered;
    question->isDone = true;
    changed_.notify_all();
  }
}

bool ScreenClient::Exchange(screen_request_t request, std::string& result) {
  std::string reply(SCREEN_REPLY_SIZE, '\0');
  const long length = Send(request, reply);
  const int error = errno;
  if (length >= 0 && static_cast<std::size_t>(length) <= reply.size()) {
    reply.resize(static_cast<std::size_t>(length));
    result = std::move(reply);
    return true;
  }
  if (length > static_cast<long>(reply.size())) {
    result = "the screen has " + std::to_string(length) + " bytes, and an answer " +
             std::to_string(reply.size()) + " at most; leave out pictures or texts";
  } else if (length != -1) {
    result = "the screen service cannot answer that now";
  } else if (error == ENOENT) {
    result = NO_SERVICE;
  } else {
    result = std::string("the screen service gave no answer: ") + std::strerror(error);
  }
  return false;
}

// The status of MsgSend; -1 with errno set, ENOENT where no service has the name.
long ScreenClient::Send(screen_request_t request, std::string& reply) {
  const int coid = name_open(SCREEN_REQUEST_NAME, 0);
  if (coid < 0) {
    errno = ENOENT;
    return -1;
  }
  {
    const std::lock_guard lock(mutex_);
    coid_ = coid;
    // Close came before it could see this connection.
    if (closed_) name_close(std::exchange(coid_, -1));
  }
  const long status = SendScreenRequest(coid, request, reply);
  const int error = errno;
  const std::lock_guard lock(mutex_);
  if (const int open = std::exchange(coid_, -1); open >= 0) name_close(open);
  errno = error;
  return status;
}

bool AskScreen(screen_request_t request, std::string& result) {
  return ScreenClient(COMMAND_LIMIT).Ask(request, result);
}

std::string WriteSnapshot(const std::string& file) {
  std::string picture;
  if (!AskScreen(SCREEN_REQUEST_PNG, picture)) return picture;
  std::ofstream stream(file, std::ios::binary | std::ios::trunc);
  stream << picture;
  stream.close();
  return stream ? std::string() : "cannot write " + file + ": " + std::strerror(errno);
}

}  // namespace unit
