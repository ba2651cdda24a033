#include "host/commands/check_log.h"

#include <fstream>

#include "host/log/log_reader.h"
#include "host/protocol/errors.h"

namespace host {

void CheckLog(const std::string& file) {
  if (file.empty()) throw UsageError("the name of the log is empty");
  if (file == "-") return;  // what is read of standard input would be missing when it is played
  std::ifstream in(file);
  if (!in) throw UsageError("cannot read the log " + file + "; check its name and its rights");
  if (LogReader(in).Next()) return;
  throw UsageError("the log " + file +
                   " holds no frame; `hx7 play --help` names the kinds of logs that hx7 reads");
}

}  // namespace host
