#include "platform/line_queue.h"

#include <utility>

namespace platform {

void LineQueue::Add(line_t line) {
  if (CountAsRepeated(line)) return;
  if (!HasRoom(line.bytes.size())) {
    ++lost_;
    return;
  }
  AppendLoss();
  Append(std::move(line));
}

// After a loss an equal line has others before it that are not in the queue.
bool LineQueue::CountAsRepeated(const line_t& line) {
  if (lost_ > 0 || entries_.size() < BEHIND) return false;
  entry_t& last = entries_.back();
  if (last.line.descriptor != line.descriptor || last.line.bytes != line.bytes) return false;
  ++last.more;
  return true;
}

// After a loss half of the bounds must be free: a reader that is a little too slow would otherwise get a line
// about the loss after each line.
bool LineQueue::HasRoom(std::size_t bytes) const {
  const std::size_t share = lost_ > 0 ? 2 : 1;
  return entries_.size() < MOST_LINES / share && bytes_ + bytes <= MOST_BYTES / share;
}

void LineQueue::Append(line_t line) {
  bytes_ += line.bytes.size();
  entries_.push_back({std::move(line)});
}

void LineQueue::AppendLoss() {
  const std::uint64_t lost = std::exchange(lost_, 0);
  if (lost == 0) return;
  Append({complaints_, program_ + ": " + std::to_string(lost) + (lost == 1 ? " line" : " lines") +
                           " lost: the console was not read\n"});
}

std::optional<LineQueue::line_t> LineQueue::Take(std::size_t most) {
  if (entries_.empty()) AppendLoss();
  if (entries_.empty()) return std::nullopt;
  line_t taken = TakeFirst();
  while (!entries_.empty()) {
    const line_t& next = entries_.front().line;
    if (next.descriptor != taken.descriptor || taken.bytes.size() + next.bytes.size() > most) break;
    taken.bytes += TakeFirst().bytes;
  }
  return taken;
}

// The count of a repeated line takes the line's place.
LineQueue::line_t LineQueue::TakeFirst() {
  entry_t& first = entries_.front();
  bytes_ -= first.line.bytes.size();
  line_t line = std::move(first.line);
  const std::uint64_t more = std::exchange(first.more, 0);
  if (more == 0) {
    entries_.pop_front();
    return line;
  }
  first.line = {line.descriptor, program_ + ": the line above came " + std::to_string(more) +
                                     (more == 1 ? " more time\n" : " more times\n")};
  bytes_ += first.line.bytes.size();
  return line;
}

}  // namespace platform
