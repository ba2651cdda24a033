// The bounded, lock-free queue of key codes: the keypad scanner and the action channel push, the receive thread
// pops for its key-state reply.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

// Any thread may push; one thread at a time may pop. A full queue refuses the new key and keeps the old ones:
// the host must learn of the oldest key presses first.
class KeyQueue {
 public:
  static constexpr std::size_t CAPACITY = 64;  // a power of two

  // False when the queue is full.
  bool Push(std::uint8_t key);
  // False when the queue is empty.
  bool Pop(std::uint8_t& key);

 private:
  // A cell whose turn equals position p is free for push number p. With turn p + 1 it holds the key of push
  // number p.
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
