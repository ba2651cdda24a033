#include "src/core/queues.h"

#include <string>

#include "src/core/console.h"
#include "src/core/orvik_data.h"
#include "src/core/sharing.h"

namespace {

constexpr std::uint32_t DROPS_PER_REPORT = 1000;
constexpr std::size_t MAX_SPARE_BYTES = 16U << 10U;  // of a queue; more than 10 ms of the bus bring

// A line for each dropped element would flood the console, so only every thousandth drop is reported.
void CountDrop(PlainWord<std::uint32_t>& dropped, const char* queueName) {
  const std::uint32_t before = dropped;
  dropped = before + 1;
  if (before % DROPS_PER_REPORT == 0) {
    PrintErr(std::string("Orvik: ERROR!  ") + queueName + " queue full, dropped " + std::to_string(before + 1));
  }
}

template <class T>
void Append(pthread_mutex_t& mutex, std::vector<T>& queue, std::vector<T>& spare, std::size_t bound,
            PlainWord<std::uint32_t>& dropped, const char* queueName, const T& element) {
  {
    const MutexGuard guard(mutex);
    if (queue.size() < bound) {
      if (queue.capacity() == 0) queue.swap(spare);
      queue.push_back(element);
      return;
    }
  }
  CountDrop(dropped, queueName);
}

// Moves all elements to the end of `work`; the queue has no storage then. The work array's earlier storage
// becomes the spare, so that two arrays take turns and none is allocated. Storage that has grown in a burst is
// freed with the next batch.
template <class T>
void Drain(pthread_mutex_t& mutex, std::vector<T>& queue, std::vector<T>& spare, std::vector<T>& work) {
  std::vector<T> taken;
  {
    const MutexGuard guard(mutex);
    taken.swap(queue);
    const bool isSpare = work.empty() && work.capacity() <= MAX_SPARE_BYTES / sizeof(T);
    if (isSpare && spare.capacity() == 0) spare.swap(work);
  }
  if (taken.empty()) return;  // the work array keeps its storage for the next batch
  if (work.empty()) return work.swap(taken);
  work.insert(work.end(), taken.begin(), taken.end());
}

}  // namespace

void addCanPacket(orvikData_t* data, const CAN_packet_t2& packet) {
  Append(data->canMutex, data->canPackets, data->canSpare, MAX_QUEUED_FRAMES, data->canPacketsDropped,
         "CAN packet", packet);
}

void getCanPackets(orvikData_t* data) {
  Drain(data->canMutex, data->canPackets, data->canSpare, data->canWork);
}

void addDecapData(orvikData_t* data, const DecapData_t& message) {
  Append(data->decapMutex, data->decapData, data->decapSpare, MAX_QUEUED_MESSAGES, data->decapDataDropped,
         "Message", message);
}

void getDecapData(orvikData_t* data) {
  Drain(data->decapMutex, data->decapData, data->decapSpare, data->decapWork);
}

void addKeyData(orvikData_t* data, unsigned char key) {
  if (data->keyData.Push(key)) data->lastKey = static_cast<std::int16_t>(key);
}

std::uint32_t getKeyData(orvikData_t* data) {
  std::uint8_t key = 0;
  return data->keyData.Pop(key) ? key : 0;
}
