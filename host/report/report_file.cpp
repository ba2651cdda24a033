#include "host/report/report_file.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <random>

#include "host/protocol/errors.h"
#include "host/report/packed_text.h"
#include "host/report/report_assets.h"

namespace host::report {
namespace {

namespace fs = std::filesystem;

// A report begins with this line; only such a file is replaced.
constexpr std::string_view FIRST_LINE = "<!doctype html><!-- made by hx7 report -->\n";

void CheckTarget(const std::string& path) {
  std::error_code ignored;
  if (fs::is_directory(path, ignored))
    throw UsageError(path + " is a folder; name a file, such as report.html");
  std::ifstream in(path, std::ios::binary);
  std::array<char, FIRST_LINE.size()> head{};
  in.read(head.data(), head.size());
  const std::string_view found(head.data(), static_cast<std::size_t>(in.gcount()));
  if (!found.empty() && found != FIRST_LINE) {
    throw UsageError(path + " exists and is not a report; choose another name, or remove it first");
  }
}

// Nobody can know it when the log is recorded.
std::string MakeNonce() {
  std::random_device device;
  std::array<char, 40> text{};
  static_cast<void>(
      std::snprintf(text.data(), text.size(), "%08x%08x%08x%08x", device(), device(), device(), device()));
  return text.data();
}

// The screen's typeface, which few machines have.
std::string FontFace(std::string_view file, std::string_view weight) {
  return "@font-face { font-family: \"B612\"; font-weight: " + std::string(weight) +
         "; src: url(data:font/otf;base64," + EncodeBase64(Asset(file)) + "); }\n";
}

// The policy lets the page load nothing, from wherever, and run its own scripts alone.
std::string MakeHead(const std::string& title, const std::string& nonce) {
  const std::string policy = "default-src 'none'; script-src 'nonce-" + nonce +
                             "'; style-src 'unsafe-inline'; img-src data:; font-src data:";
  std::string head(FIRST_LINE);
  head +=
      "<html lang=\"en\"><head><meta charset=\"utf-8\">\n<meta http-equiv=\"Content-Security-Policy\" "
      "content=\"";
  head += policy + "\">\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n";
  head += "<meta name=\"color-scheme\" content=\"dark\">\n<title>" + EscapeHtml(title) + "</title>\n<style>\n";
  head += FontFace("B612-Regular.otf", "normal") + FontFace("B612-Bold.otf", "bold");
  head.append(Asset("viewer.css")).append(Asset("report.css")).append(Asset("crane.css"));
  head += "</style></head>\n";
  return head += Asset("report.html");
}

}  // namespace

std::string EscapeHtml(std::string_view text) {
  std::string escaped;
  for (const char letter : text) {
    switch (letter) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += letter;
    }
  }
  return escaped;
}

ReportFile::ReportFile(const std::string& path, const std::string& title)
    : path_(path), part_(path + ".part"), nonce_(MakeNonce()) {
  CheckTarget(path);
  file_.open(part_, std::ios::binary | std::ios::trunc);
  if (!file_) throw UsageError("cannot write " + part_ + "; check the folder and its rights");
  file_ << MakeHead(title, nonce_);
}

ReportFile::~ReportFile() {
  std::error_code ignored;
  if (file_.is_open()) fs::remove(part_, ignored);
}

void ReportFile::AddChunk(const std::string& name, std::string_view json) {
  const std::string packed = PackText(json);
  const std::scoped_lock lock(mutex_);
  file_ << "<script type=\"text/plain\" id=\"" << name << "\">" << packed << "</script>\n";
}

void ReportFile::Finish(std::string_view index) {
  AddChunk("index", index);
  const std::scoped_lock lock(mutex_);
  for (const std::string_view script : {"chart.min.js", "data.js", "chunks.js", "curves.js", "bands.js",
                                        "past_screen.js", "cursor.js", "messages.js", "report.js"}) {
    file_ << "<script nonce=\"" << nonce_ << "\">\n" << Asset(script) << "</script>\n";
  }
  // The drawing of the crane is shared with the front panel, whose scripts are modules.
  file_ << "<script type=\"module\" nonce=\"" << nonce_ << "\">\n";
  for (const std::string_view script : {"units.js", "crane.js", "view.js"}) file_ << Asset(script);
  file_ << "</script>\n</body></html>\n";
  size_ = static_cast<std::uint64_t>(file_.tellp());
  file_.close();
  std::error_code error;
  if (file_) fs::rename(part_, path_, error);
  if (!file_ || error) {
    fs::remove(part_, error);
    throw Failure("cannot write " + path_ + "; is the disk full?");
  }
}

}  // namespace host::report
