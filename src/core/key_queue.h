// The bounded queue of key codes between the key threads and the reply to the host: two producers, one
// consumer, no lock.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

// Any thread may push; one thread at a time pops. A push into a full queue fails, and the key is not queued:
// the host has not asked for key states for so long that the oldest keys are what it needs to know of first.
class KeyQueue {
 public:
  static constexpr std::size_t CAPACITY = 64;  // a power of two

  bool Push(std::uint8_t key);
  // False when the queue is empty.
  bool Pop(std::uint8_t& key);

 private:
  // A cell whose turn equals a position is free for that push; one more, and it holds that push's key.
  struct cell_t {
    std::atomic<std::uint32_t> turn;
    std::uint8_t key;
  };

 public:
  KeyQueue();

 private:
  std::array<cell_t, CAPACITY> cells_;
  std::atomic<std::uint32_t> head_{0};  // next push
  std::atomic<std::uint32_t> tail_{0};  // next pop
};
