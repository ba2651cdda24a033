// The bytes that wait for one reader of a stream.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace bus {

// Bounded; not for use by two threads at once.
class OutputQueue {
 public:
  explicit OutputQueue(std::size_t most) : most_(most) {}

  // False, and nothing is added, where the text does not fit.
  bool Add(std::string_view text) {
    if (Size() + text.size() > most_) return false;
    text_ += text;
    return true;
  }
  std::string_view Waiting() const { return std::string_view(text_).substr(begin_); }
  // The reader has taken so many of the bytes of Waiting.
  void Take(std::size_t bytes) {
    begin_ += bytes;
    if (begin_ < Size()) return;  // the bytes that wait are moved only when they are the smaller part
    text_.erase(0, begin_);
    begin_ = 0;
  }
  void Clear() { Take(Size()); }
  std::size_t Size() const { return text_.size() - begin_; }
  bool IsEmpty() const { return Size() == 0; }

 private:
  std::size_t most_;
  std::string text_;
  std::size_t begin_ = 0;
};

}  // namespace bus
