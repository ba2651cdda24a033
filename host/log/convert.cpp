#include "host/log/convert.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <ostream>

#include "host/log/log_reader.h"
#include "host/log_forms/log_writer.h"
#include "host/log_forms/new_file.h"
#include "host/log_forms/packing.h"
#include "host/protocol/errors.h"

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr const char* STANDARD = "-";

const log_form_t& FormOf(const convert_options_t& options) {
  const auto forms = LogForms();
  const auto form =
      options.form.empty()
          ? std::ranges::find_if(forms, [name = WithoutPacking(options.out)](
                                            const log_form_t& row) { return name.ends_with(row.ending); })
          : std::ranges::find(forms, options.form, &log_form_t::name);
  if (form != forms.end()) return *form;
  throw UsageError(options.form.empty()
                       ? "the name " + options.out +
                             " does not say which form to write; name it with --form: " + ListLogForms()
                       : "no form '" + options.form + "'; there are " + ListLogForms());
}

void CheckOutput(const convert_options_t& options, const log_form_t& form) {
  if (form.isPacked && (options.out == STANDARD || PackingOf(options.out) != packing_t::NONE))
    throw UsageError("a BLF log is packed already and needs a file of its own: name a file that ends in .blf");
  std::error_code error;
  if (options.out == STANDARD || !fs::exists(options.out, error)) return;
  if (fs::equivalent(options.in, options.out, error))
    throw UsageError(options.out + " is the log itself; name another file");
  if (!options.force)
    throw UsageError(options.out + " exists already; name another file, or replace it with --force");
}

struct conversion_t {
  std::uint64_t frames = 0;
  std::uint64_t skipped = 0;
  std::uint64_t backward = 0;  // frames with a time before the first one's
  std::optional<std::string> problem;
};

conversion_t WriteFrames(LogReader& reader, LogWriter& writer) {
  conversion_t done;
  std::optional<std::uint64_t> begin_us;
  try {
    while (const auto frame = reader.Next()) {
      if (!begin_us) begin_us = frame->time_us;
      done.backward += frame->time_us < *begin_us ? 1 : 0;
      ++done.frames;
      writer.Write(*frame);
    }
  } catch (const UsageError& error) {
    done.problem = error.what();
  }
  if (done.frames > 0) writer.Finish();
  done.skipped = reader.Skipped();
  return done;
}

void Summarise(const conversion_t& done, const log_form_t& form) {
  std::cerr << "hx7: wrote " << done.frames << " frames as " << form.name
            << "; lost: interface names and directions";
  if (!form.lost.empty()) std::cerr << ", " << form.lost;
  if (done.skipped > 0) std::cerr << ", " << done.skipped << " lines without a data frame";
  if (done.backward > 0 && form.name != "candump" && form.name != "csv")
    std::cerr << ", the times of " << done.backward << " frames that lie before the first one's";
  std::cerr << '\n';
}

conversion_t WriteLog(std::istream& in, const log_form_t& form, packing_t packing, std::ostream& out) {
  LogReader reader(in);
  if (form.isPacked) return WriteFrames(reader, *form.create(out));
  PackingBuffer packed(packing, out);
  std::ostream packedOut(&packed);
  conversion_t done = WriteFrames(reader, *form.create(packedOut));
  packed.Finish();
  return done;
}

conversion_t ConvertTo(std::istream& in, const log_form_t& form, const convert_options_t& options) {
  if (options.out == STANDARD) return WriteLog(in, form, packing_t::NONE, std::cout);
  NewFile file(options.out);
  conversion_t done = WriteLog(in, form, PackingOf(options.out), file.Out());
  if (done.frames > 0) file.Keep();
  return done;
}

}  // namespace

std::string ListLogForms() {
  std::string text;
  for (const log_form_t& form : LogForms()) text += (text.empty() ? "" : ", ") + std::string(form.name);
  return text;
}

void Convert(const convert_options_t& options) {
  const log_form_t& form = FormOf(options);
  CheckOutput(options, form);
  std::ifstream file;
  if (options.in != STANDARD) {
    file.open(options.in);
    if (!file) throw UsageError("cannot read the log " + options.in + "; check its name and its rights");
  }
  const conversion_t done = ConvertTo(options.in == STANDARD ? std::cin : file, form, options);
  std::cout.flush();
  if (done.frames > 0) Summarise(done, form);
  if (done.problem) throw UsageError(options.in + ": " + *done.problem);
  if (done.frames == 0) {
    throw UsageError(options.in + " holds no frame; `hx7 play --help` names the kinds of logs that hx7 reads");
  }
}

}  // namespace host
