#include "screen/screen_service.h"

#include "screen/screen_worker.h"
#include "worker_service.h"

namespace unit {

std::unique_ptr<Service> MakeScreenService(const Options_t& options) {
  return std::make_unique<WorkerService<ScreenWorker>>("screen", options);
}

}  // namespace unit
