// The frames that the J1939 service has not handed to the panel yet.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

#include "unit/trace/trace_report.h"

namespace unit {

// Any thread. No call waits for anything but the short lock.
class TraceSender {
 public:
  // More than a full bus of 1 Mbit/s carries in 200 ms. The oldest frames are dropped beyond that; the number
  // of the next report shows the panel how many.
  static constexpr std::size_t MOST_WAITING = 4'096;

  void Note(const bus::frame_t& frame, bool sent);
  // The waiting frames as messages, in the order of the bus; none when no frame waits.
  std::vector<std::vector<std::uint8_t>> Drain();

 private:
  std::mutex mutex_;  // guards both below
  std::deque<traced_frame_t> waiting_;
  std::uint64_t noted_ = 0;
};

}  // namespace unit
