#include "platform/names.h"

#include <cerrno>
#include <charconv>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include <unistd.h>

#include "platform/linux/claim_file.h"
#include "platform/linux/process_tables.h"
#include "platform/linux/runtime_socket.h"
#include "platform/messages.h"

namespace platform {
namespace {

struct attached_t {
  std::unique_ptr<name_attach_t> attach;  // the caller's handle
  ClaimFile claim;
};

struct attached_names_t {
  std::mutex mutex;  // guards the rest
  std::map<const name_attach_t*, attached_t> names;
};

void RemoveNameFiles();

attached_names_t& AttachedNames() {
  return TablesOfThisProcess<attached_names_t, RemoveNameFiles>();
}

void RemoveNameFiles() {
  attached_names_t& names = AttachedNames();
  const std::lock_guard guard(names.mutex);
  for (auto& [attach, attached] : names.names) attached.claim.Release();
}

struct target_t {
  pid_t pid = 0;
  int chid = 0;
};

std::optional<target_t> ParseTarget(const std::string& text) {
  target_t target;
  const char* const end = text.data() + text.size();
  const auto pid = std::from_chars(text.data(), end, target.pid);
  if (pid.ec != std::errc{} || pid.ptr == end) return std::nullopt;
  const auto chid = std::from_chars(pid.ptr + 1, end, target.chid);
  if (chid.ec != std::errc{}) return std::nullopt;
  return target;
}

name_attach_t* Enter(int chid, ClaimFile claim) {
  auto attach = std::make_unique<name_attach_t>(name_attach_t{chid});
  name_attach_t* const result = attach.get();
  attached_names_t& names = AttachedNames();
  const std::lock_guard guard(names.mutex);
  names.names.emplace(result, attached_t{std::move(attach), std::move(claim)});
  return result;
}

std::optional<attached_t> Leave(const name_attach_t* attach) {
  attached_names_t& names = AttachedNames();
  const std::lock_guard guard(names.mutex);
  auto entry = names.names.extract(attach);
  if (entry.empty()) return std::nullopt;
  return std::move(entry.mapped());
}

std::string NameClaimPath(const char* name) {
  return RuntimeFile(NAME_PREFIX, EscapeFileName(name));
}

}  // namespace
}  // namespace platform

name_attach_t* name_attach(void* /*dpp*/, const char* path, unsigned /*flags*/) {
  using namespace platform;
  const std::string file = NameClaimPath(path);
  if (file.empty()) return nullptr;
  const int chid = ChannelCreate(_NTO_CHF_DISCONNECT);
  if (chid < 0) return nullptr;
  auto claim = ClaimFile::Take(file, std::to_string(getpid()) + " " + std::to_string(chid));
  if (claim) return Enter(chid, std::move(*claim));
  const int error = errno;
  ChannelDestroy(chid);
  errno = error;
  return nullptr;
}

int name_detach(name_attach_t* attach, unsigned /*flags*/) {
  using namespace platform;
  auto attached = Leave(attach);
  if (!attached) {
    errno = EINVAL;
    return -1;
  }
  attached->claim.Release();
  return ChannelDestroy(attached->attach->chid);
}

int name_open(const char* name, int /*flags*/) {
  using namespace platform;
  const std::string file = NameClaimPath(name);
  if (file.empty()) return -1;
  if (const auto text = ClaimFile::Read(file)) {
    if (const auto target = ParseTarget(*text)) {
      const int coid = ConnectAttach(0, target->pid, target->chid, _NTO_SIDE_CHANNEL, 0);
      if (coid >= 0 || errno != ESRCH) return coid;
    }
  }
  errno = ENOENT;
  return -1;
}

int name_close(int coid) {
  return ConnectDetach(coid);
}
