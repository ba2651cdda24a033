// The report's file: one web page that has its style, its scripts and its data in itself.
#pragma once

#include <cstdint>
#include <fstream>
#include <mutex>
#include <string>
#include <string_view>

namespace host::report {

// Takes a chunk of the report's data, JSON, under the name by which the page's scripts unpack it.
class ChunkSink {
 public:
  ChunkSink() = default;
  virtual ~ChunkSink() = default;
  ChunkSink(const ChunkSink&) = delete;
  ChunkSink& operator=(const ChunkSink&) = delete;
  virtual void AddChunk(const std::string& name, std::string_view json) = 0;
};

// Writes beside `path` and gives the file its name at the end, so that no half report has it.
class ReportFile : public ChunkSink {
 public:
  // Throws UsageError when the file cannot be written, or has content that is not a report.
  ReportFile(const std::string& path, const std::string& title);
  ~ReportFile() override;

  // Any thread. The page unpacks a chunk when the cursor comes there.
  void AddChunk(const std::string& name, std::string_view json) override;
  // Writes the index, which the page reads first, and the scripts. Throws Failure when the disk is full.
  void Finish(std::string_view index);
  std::uint64_t Size() const { return size_; }

 private:
  const std::string path_;
  const std::string part_;
  std::string nonce_;  // the page runs the scripts that have it, and no others
  std::mutex mutex_;   // guards the file
  std::ofstream file_;
  std::uint64_t size_ = 0;
};

// The text for an element of a web page.
std::string EscapeHtml(std::string_view text);

}  // namespace host::report
