// Writes logs in every form that LogReader reads and other programs know.
#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <span>
#include <string_view>

#include "bus/can_frame.h"

namespace host {

class LogWriter {
 public:
  LogWriter() = default;
  virtual ~LogWriter() = default;
  LogWriter(const LogWriter&) = delete;
  LogWriter& operator=(const LogWriter&) = delete;
  virtual void Write(const bus::frame_t& frame) = 0;
  // Writes what the form has at the end of a log.
  virtual void Finish() {}
};

struct log_form_t {
  std::string_view name;    // for --form
  std::string_view ending;  // of a file's name
  std::string_view lost;    // what a log of this form cannot say, beside interface names and directions
  bool isPacked;            // the form packs its frames itself, and writes its header at the end
  std::unique_ptr<LogWriter> (*create)(std::ostream& out);
};
std::span<const log_form_t> LogForms();

}  // namespace host
