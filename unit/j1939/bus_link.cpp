#include "unit/j1939/bus_link.h"

#include <iostream>
#include <stdexcept>
#include <utility>

#include "platform/paths.h"

#include "base/address_file.h"
#include "bus/bus_token.h"
#include "unit/j1939/socketcand_session.h"

namespace unit {
namespace {

constexpr const char* NOT_STARTED = "not started";
constexpr std::string_view KERNEL_BUS = "socketcan:";
constexpr const char* RETRY_NOTE = " (trying again twice a second)";

}  // namespace

std::string InterfaceOf(const std::string& bus) {
  return bus.starts_with(KERNEL_BUS) ? bus.substr(KERNEL_BUS.size()) : std::string(SocketcandSession::BUS_NAME);
}

BusLink::BusLink(const options_t& options, BusReport& report, complain_t complain)
    : options_(options),
      interface_(InterfaceOf(options.bus)),
      isKernelBus_(options.bus.starts_with(KERNEL_BUS)),
      report_(report),
      complain_(std::move(complain)),
      problem_(NOT_STARTED) {}

void BusLink::Open() {
  if (options_.bus == "local") {
    OpenLocalBus();
  } else if (isKernelBus_ && !interface_.empty()) {
    Reopen();
  } else {
    throw std::runtime_error("\"" + options_.bus + "\" is no bus; use --bus local or --bus socketcan:IFACE");
  }
}

void BusLink::Close() {
  {
    const std::lock_guard lock(mutex_);
    endpoint_.reset();
    transport_.reset();
  }
  localBus_.reset();
  if (!isKernelBus_) base::RemoveAddressFile(base::BUS_ADDRESS_FILE);
}

void BusLink::OpenLocalBus() {
  const std::string& tokenFile = options_.busTokenFile;
  localBus_ = std::make_shared<LocalBus>(
      local_bus_options_t{.address = options_.socketcandAddress,
                          .socketPath = base::RuntimePath(base::BUS_SOCKET_FILE),
                          .token = tokenFile.empty() ? std::string() : bus::ReadBusToken(tokenFile)});
  if (!base::WriteAddressFile(base::BUS_ADDRESS_FILE, localBus_->Address())) {
    throw std::runtime_error("cannot write the bus's address into " + platform::RuntimeDirectory());
  }
  const std::lock_guard lock(mutex_);
  endpoint_ = localBus_;
  problem_.clear();
  report_.SetUp(true);
}

void BusLink::Reopen() {
  std::string problem;
  endpoint_t endpoint = OpenInterface(problem);
  std::shared_ptr<KernelTransport> transport = endpoint ? OpenTransport() : nullptr;
  const std::lock_guard lock(mutex_);
  ReportAttempt(problem);
  problem_ = problem;
  endpoint_ = std::move(endpoint);
  transport_ = std::move(transport);
  report_.SetUp(endpoint_ != nullptr);
}

BusLink::endpoint_t BusLink::OpenInterface(std::string& problem) const {
  try {
    return bus::OpenEndpoint(options_.bus);
  } catch (const std::exception& error) {
    problem = error.what();
    return nullptr;
  }
}

std::shared_ptr<KernelTransport> BusLink::OpenTransport() const {
  try {
    return std::make_shared<KernelTransport>(interface_);
  } catch (const std::exception& error) {
    complain_(std::string("messages of more than one frame are not possible: ") + error.what());
    return nullptr;
  }
}

// An interface that is missing at the start is reported here, one that is lost later by Lose: further attempts
// print nothing until one succeeds. The mutex is held.
void BusLink::ReportAttempt(const std::string& problem) const {
  const bool isFirst = problem_ == NOT_STARTED;
  if (problem.empty() && !isFirst) {
    std::cout << "j1939: " << interface_ << " is up again" << std::endl;
  } else if (!problem.empty() && isFirst) {
    std::cerr << "j1939: " << problem << RETRY_NOTE << std::endl;
  }
}

BusLink::endpoint_t BusLink::Endpoint() const {
  const std::lock_guard lock(mutex_);
  return endpoint_;
}

std::shared_ptr<KernelTransport> BusLink::Transport() const {
  const std::lock_guard lock(mutex_);
  return transport_;
}

void BusLink::Lose(const endpoint_t& lost) {
  const std::lock_guard lock(mutex_);
  if (endpoint_ != lost) return;
  problem_ = lost->Problem();
  endpoint_.reset();
  transport_.reset();
  report_.SetUp(false);
  std::cerr << "j1939: " << problem_ << RETRY_NOTE << std::endl;
}

void BusLink::Interrupt() {
  if (const endpoint_t endpoint = Endpoint()) endpoint->Interrupt();
}

std::string BusLink::Problem() const {
  const std::lock_guard lock(mutex_);
  return problem_;
}

std::map<std::string, std::uint64_t> BusLink::Counters() const {
  return localBus_ ? localBus_->Counters() : std::map<std::string, std::uint64_t>();
}

}  // namespace unit
