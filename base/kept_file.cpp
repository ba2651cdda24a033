#include "base/kept_file.h"

#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <optional>
#include <thread>
#include <tuple>
#include <utility>

#include "platform/threads.h"

#include "base/whole_file.h"

namespace base {

class KeptFile::Change {
 public:
  explicit Change(std::string path) : path_(std::move(path)) {}

  void Want(std::optional<std::string> text);
  void Run();
  void Stop();

 private:
  void Carry(const std::optional<std::string>& text) const;

  const std::string path_;
  std::mutex mutex_;  // guards all below
  std::condition_variable changed_;
  std::optional<std::string> text_;  // empty: the file is to be removed
  bool wanted_ = false;              // text_ is to be carried out
  bool stopping_ = false;
  bool ended_ = false;
};

void KeptFile::Change::Want(std::optional<std::string> text) {
  const std::lock_guard lock(mutex_);
  text_ = std::move(text);
  wanted_ = true;
  changed_.notify_all();
}

void KeptFile::Change::Run() {
  platform::NameThread("file writer");
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return stopping_ || wanted_; });
    if (!std::exchange(wanted_, false)) break;
    const std::optional<std::string> text = std::move(text_);
    lock.unlock();
    Carry(text);
    lock.lock();
  }
  ended_ = true;
  changed_.notify_all();
}

void KeptFile::Change::Carry(const std::optional<std::string>& text) const {
  std::error_code ignored;
  if (text) {
    std::ignore = ReplaceFile(path_, *text);
  } else {
    std::filesystem::remove(path_, ignored);
  }
}

void KeptFile::Change::Stop() {
  std::unique_lock lock(mutex_);
  stopping_ = true;
  changed_.notify_all();
  changed_.wait_for(lock, STOP_WAIT, [this] { return ended_; });
}

KeptFile::KeptFile(std::string path) : change_(std::make_shared<Change>(std::move(path))) {
  std::thread([change = change_] { change->Run(); }).detach();
}

KeptFile::~KeptFile() {
  change_->Stop();
}

void KeptFile::Write(std::string text) {
  change_->Want(std::move(text));
}

void KeptFile::Remove() {
  change_->Want(std::nullopt);
}

}  // namespace base
