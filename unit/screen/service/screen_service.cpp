#include "unit/screen/service/screen_service.h"

#include "unit/screen/service/screen_worker.h"
#include "unit/service/worker_service.h"

namespace unit {

std::unique_ptr<Service> MakeScreenService(const options_t& options) {
  return std::make_unique<WorkerService<ScreenWorker>>("screen", options);
}

}  // namespace unit
