#include "host/judge/judge.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>

#include <nlohmann/json.hpp>

#include "base/whole_file.h"
#include "host/judge/panel_client.h"
#include "host/judge/picture_match.h"
#include "host/protocol/message_lines.h"

namespace judge {
namespace {

constexpr std::chrono::milliseconds BETWEEN_ROUNDS{40};
constexpr double MS_PER_S = 1000;

std::string ReadWholeFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return file ? content.str() : std::string();
}

}  // namespace

class Judge::Round {
 public:
  // Null with `problem` where the panel gives no answer.
  const nlohmann::json* Shown(std::string& problem) {
    if (!shown_) {
      answer_ = AskPanel(SHOWN);
      shown_ = nlohmann::json::parse(answer_.body, nullptr, false);
    }
    problem = answer_.problem;
    if (problem.empty() && !shown_->is_object()) problem = "the panel does not say what the screen shows";
    return problem.empty() ? &*shown_ : nullptr;
  }
  const panel_answer_t& Picture() {
    if (!picture_) picture_ = AskPanel(PICTURE);
    return *picture_;
  }

 private:
  panel_answer_t answer_;
  std::optional<nlohmann::json> shown_;
  std::optional<panel_answer_t> picture_;
};

Judge::~Judge() {
  thread_.request_stop();
}

void Judge::Expect(const expectation_t& expectation, const expectation_place_t& place, std::int64_t now_ms) {
  waiting_t waiting{0, expectation, place, now_ms, Clock::now(), {}};
  std::unique_lock lock(mutex_);
  waiting.number = ++numbers_;
  const bool full = waiting_.size() >= MOST_WAITING;
  waiting_.push_back(waiting);
  if (!thread_.joinable()) thread_ = std::jthread([this](const std::stop_token& stop) { Work(stop); });
  lock.unlock();
  wake_.notify_all();
  if (full)
    Decide(waiting, "not judged, because " + std::to_string(MOST_WAITING) + " expectations wait already");
}

void Judge::AcceptReply(const host::decoded_t& reply) {
  std::vector<waiting_t> fulfilled;
  {
    const std::scoped_lock lock(mutex_);
    for (waiting_t& waiting : waiting_) {
      const auto* wanted = std::get_if<wanted_reply_t>(&waiting.expectation.wanted);
      if (wanted == nullptr || wanted->request != reply.name) continue;
      waiting.lastReply = host::FormatMessage(reply);
      if (IsReply(*wanted, reply)) fulfilled.push_back(waiting);
    }
  }
  for (const waiting_t& waiting : fulfilled) Decide(waiting, "");
}

void Judge::DropAll() {
  const std::scoped_lock lock(mutex_);
  waiting_.clear();
}

std::size_t Judge::Waiting() const {
  const std::scoped_lock lock(mutex_);
  return waiting_.size() + recording_;
}

std::size_t Judge::Failed() const {
  const std::scoped_lock lock(mutex_);
  return failed_;
}

std::size_t Judge::Fulfilled() const {
  const std::scoped_lock lock(mutex_);
  return fulfilled_;
}

void Judge::Work(const std::stop_token& stop) {
  while (!stop.stop_requested()) {
    std::unique_lock lock(mutex_);
    if (!wake_.wait(lock, stop, [this] { return !waiting_.empty(); })) return;
    const std::vector<waiting_t> all = waiting_;
    lock.unlock();
    Round round;
    for (const waiting_t& waiting : all) JudgeOne(waiting, round);
    lock.lock();
    wake_.wait_for(lock, stop, BETWEEN_ROUNDS, [] { return false; });
  }
}

void Judge::JudgeOne(const waiting_t& waiting, Round& round) {
  const Clock::time_point asked = Clock::now();
  if (IsTooEarly(waiting)) return;
  const std::string obstacle = FindObstacle(waiting, round);
  if (!obstacle.empty() && !IsOver(waiting, asked)) return;
  if (!obstacle.empty()) SavePicture(waiting, round);
  Decide(waiting, obstacle);
}

// A picture is written at the end of its time, when the screen has come to rest.
bool Judge::IsTooEarly(const waiting_t& waiting) const {
  const bool writes =
      options_.writePictures && std::holds_alternative<wanted_picture_t>(waiting.expectation.wanted);
  return writes && crane_ms_ - waiting.begin_ms < waiting.expectation.within_ms;
}

// What keeps the expectation from being fulfilled; empty where it is.
std::string Judge::FindObstacle(const waiting_t& waiting, Round& round) const {
  const auto& wanted = waiting.expectation.wanted;
  if (std::holds_alternative<wanted_reply_t>(wanted)) {
    return waiting.lastReply.empty() ? "the display sent no such reply"
                                     : "the last one was " + waiting.lastReply;
  }
  if (std::holds_alternative<wanted_picture_t>(wanted)) return CompareWithStored(waiting, round);
  std::string problem;
  const nlohmann::json* const shown = round.Shown(problem);
  if (shown == nullptr) return problem;
  const auto& expectation = std::get<expect::Expectation>(wanted);
  return expectation.IsMet(*shown) ? std::string() : expectation.Describe(*shown);
}

std::string Judge::CompareWithStored(const waiting_t& waiting, Round& round) const {
  const panel_answer_t& shown = round.Picture();
  if (!shown.problem.empty()) return shown.problem;
  const std::string& name = std::get<wanted_picture_t>(waiting.expectation.wanted).file;
  const std::string path = std::filesystem::path(waiting.place.file).parent_path() / name;
  if (options_.writePictures) {
    return base::ReplaceFile(path, shown.body) ? std::string() : "the picture " + path + " cannot be written";
  }
  const std::string stored = ReadWholeFile(path);
  if (stored.empty()) return "there is no picture " + path + "; --write-pictures makes it";
  return DescribeDifference(stored, shown.body);
}

bool Judge::IsOver(const waiting_t& waiting, Clock::time_point asked) const {
  const std::int64_t within_ms = waiting.expectation.within_ms;
  return crane_ms_ - waiting.begin_ms >= within_ms &&
         asked - waiting.begin >= std::chrono::milliseconds(within_ms);
}

void Judge::SavePicture(const waiting_t& waiting, Round& round) const {
  if (options_.resultsFolder.empty()) return;
  const panel_answer_t& picture = round.Picture();
  const std::string name = "line-" + std::to_string(waiting.place.line) + ".png";
  if (picture.problem.empty()) base::ReplaceFile(options_.resultsFolder + "/" + name, picture.body);
}

// Does nothing where another thread has decided it already.
void Judge::Decide(const waiting_t& waiting, const std::string& obstacle) {
  {
    const std::scoped_lock lock(mutex_);
    if (std::erase_if(waiting_, [&](const waiting_t& each) { return each.number == waiting.number; }) == 0)
      return;
    ++recording_;
  }
  Record({waiting.place, waiting.expectation.words,
          static_cast<double>(waiting.expectation.within_ms) / MS_PER_S, obstacle.empty(),
          static_cast<double>(waiting.begin_ms) / MS_PER_S, obstacle});
  const std::scoped_lock lock(mutex_);
  --recording_;
  ++(obstacle.empty() ? fulfilled_ : failed_);
}

void Judge::Record(const judgement_t& judgement) {
  const std::scoped_lock lock(recordMutex_);
  if (!judgement.fulfilled) std::cerr << "hx7: " + DescribeFailure(judgement) + "\n";
  if (options_.resultsFolder.empty()) return;
  std::ofstream(options_.resultsFolder + "/" + RESULTS_FILE, std::ios::app) << FormatJudgement(judgement);
}

}  // namespace judge
