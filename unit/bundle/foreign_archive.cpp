#include "unit/bundle/foreign_archive.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "base/call_filter.h"
#include "base/descriptor.h"

namespace unit {
namespace {

using nlohmann::json;
using bytes_t = std::vector<std::uint8_t>;

constexpr int LOOK_MS = 100;
constexpr std::size_t MOST_BYTES = MAX_ARCHIVE_BYTES + (16U << 20U);  // with the paths
constexpr std::size_t PIECE = 65'536;

[[noreturn]] void ThrowSystemError(const char* what) {
  throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

// The child. It is killed when its parent dies.
class Reader {
 public:
  explicit Reader(const std::string& file) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) ThrowSystemError("cannot make a pipe");
    pipe_ = base::Descriptor(ends[0]);
    base::Descriptor writing(ends[1]);
    process_ = fork();
    if (process_ < 0) ThrowSystemError("cannot start a process");
    if (process_ == 0) BeReader(file, writing.Get());
  }
  ~Reader() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  // All that the child writes.
  bytes_t ReadAll(const std::function<bool()>& goOn) const;

 private:
  [[noreturn]] static void BeReader(const std::string& file, int to);

  base::Descriptor pipe_;
  pid_t process_ = -1;
};

json ReadToJson(const std::string& file) {
  try {
    json files = json::object();
    for (const auto& [path, text] : ReadArchive(file)) files[path] = json::binary({text.begin(), text.end()});
    return {{"files", std::move(files)}};
  } catch (const std::exception& error) {
    return {{"error", error.what()}};
  }
}

void WriteAll(int to, const bytes_t& bytes) {
  for (std::size_t at = 0; at < bytes.size();) {
    const ssize_t written = write(to, bytes.data() + at, bytes.size() - at);
    if (written <= 0) return;
    at += static_cast<std::size_t>(written);
  }
}

void Reader::BeReader(const std::string& file, int to) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  base::KeepRights("unit replay", base::RIGHT_NONE);
  try {
    WriteAll(to, json::to_cbor(ReadToJson(file)));
  } catch (const std::exception&) {
    _exit(1);
  }
  _exit(0);
}

bytes_t Reader::ReadAll(const std::function<bool()>& goOn) const {
  bytes_t bytes;
  std::array<std::uint8_t, PIECE> piece{};
  for (;;) {
    pollfd entry{pipe_.Get(), POLLIN, 0};
    if (poll(&entry, 1, LOOK_MS) <= 0) {
      if (!goOn()) throw std::runtime_error("stopped");
      continue;
    }
    const ssize_t got = read(pipe_.Get(), piece.data(), piece.size());
    if (got <= 0) return bytes;
    bytes.insert(bytes.end(), piece.begin(), piece.begin() + got);
    if (bytes.size() > MOST_BYTES) throw std::runtime_error("it holds more than any bundle");
  }
}

}  // namespace

archive_t ReadForeignArchive(const std::string& file, const std::function<bool()>& goOn) {
  const json result = json::from_cbor(Reader(file).ReadAll(goOn), true, false);
  if (!result.is_object()) throw std::runtime_error("it cannot be read: its reader has failed");
  if (result.contains("error")) throw std::runtime_error(result.value("error", ""));
  const auto files = result.find("files");
  archive_t archive;
  if (files == result.end()) return archive;
  for (const auto& [path, content] : files->items()) {
    if (!content.is_binary() || LeadsOut(path)) throw std::runtime_error("it is no bundle: " + path);
    archive.emplace(path, std::string(content.get_binary().begin(), content.get_binary().end()));
  }
  return archive;
}

}  // namespace unit
