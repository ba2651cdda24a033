// The J1939 service's connection to its bus: the local bus, which the service runs itself, or a CAN interface
// of the kernel, which it opens again after it was lost.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "bus/endpoint.h"
#include "unit/j1939/bus_report.h"
#include "unit/j1939/kernel_transport.h"
#include "unit/j1939/local_bus.h"
#include "unit/service/service.h"

namespace unit {

// The interface that "socketcan:IFACE" names; "can0" for the local bus.
std::string InterfaceOf(const std::string& bus);

// Open and Close come from the service's owner; every other call may come from any thread in between.
class BusLink {
 public:
  using endpoint_t = std::shared_ptr<bus::Endpoint>;
  using complain_t = std::function<void(const std::string&)>;

  // Keeps `report` informed whether the bus is up. `complain` prints a problem, at most one a second.
  BusLink(const options_t& options, BusReport& report, complain_t complain);

  // Opens the bus. A kernel interface that is not there is reported on standard error and is no error: Reopen
  // tries again. Throws std::runtime_error when the option names no bus or the local bus cannot listen.
  void Open();
  void Close();

  // Null while the bus is lost.
  endpoint_t Endpoint() const;
  // Null on the local bus, while the bus is lost, and where the kernel has no J1939.
  std::shared_ptr<KernelTransport> Transport() const;
  // Tries to open the kernel interface again; prints a line when the interface is back.
  void Reopen();
  // Gives up an endpoint that returned DOWN, and prints why. Does nothing where another thread has done so.
  void Lose(const endpoint_t& lost);
  // Makes a blocked Receive of the endpoint return.
  void Interrupt();

  bool IsKernelBus() const { return isKernelBus_; }
  // Why the bus is down; empty while it is up.
  std::string Problem() const;
  // What is wrong on the local bus while it is up; empty where nothing is, and on a kernel bus, where a frame
  // does not tell its station.
  std::string Notice() const { return localBus_ ? localBus_->Notice() : std::string(); }
  // Those of the local bus; empty on a kernel bus.
  std::map<std::string, std::uint64_t> Counters() const;

 private:
  void OpenLocalBus();
  endpoint_t OpenInterface(std::string& problem) const;
  std::shared_ptr<KernelTransport> OpenTransport() const;
  void ReportAttempt(const std::string& problem) const;

  const options_t options_;
  const std::string interface_;
  const bool isKernelBus_;
  BusReport& report_;
  const complain_t complain_;
  std::shared_ptr<LocalBus> localBus_;

  mutable std::mutex mutex_;  // guards the three below
  endpoint_t endpoint_;
  std::shared_ptr<KernelTransport> transport_;
  std::string problem_;
};

}  // namespace unit
