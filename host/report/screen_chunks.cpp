#include "host/report/screen_chunks.h"

#include "base/json_text.h"

namespace host::report {
namespace {

using nlohmann::json;

constexpr const char* LINK_VARIABLE = "OrvikHX7TimeOutLamp";
constexpr double LINK_LOST = 2;

}  // namespace

void ScreenChunks::Accept(std::string_view record) {
  const json parsed = json::parse(record, nullptr, false);
  if (!parsed.is_object() || !parsed.value("t", json()).is_number_integer()) {
    ++unreadable_;
    return;
  }
  end_ms_ = std::max(end_ms_, parsed["t"].get<std::int64_t>());
  BeginChunk(end_ms_);
  if (parsed.contains("page")) {
    ShowPage(end_ms_, parsed);
  } else if (parsed.contains("elements") && page_ != nullptr) {
    ChangeElements(parsed["elements"]);
    changes_.push_back({end_ms_, {{"elements", parsed["elements"]}}});
  }
  if (parsed.contains("line")) lines_.push_back({end_ms_, parsed["line"]});
  NoteBands(end_ms_, parsed);
}

void ScreenChunks::BeginChunk(std::int64_t time_ms) {
  const std::int64_t begin_ms = time_ms - time_ms % CHUNK_MS;
  if (!begins_ms_.empty() && begins_ms_.back() == begin_ms) return;
  WriteChunk();
  begins_ms_.push_back(begin_ms);
  start_ = page_ == nullptr ? json(nullptr) : WholePage();
  changes_ = json::array();
  lines_ = json::array();
}

void ScreenChunks::WriteChunk() {
  if (begins_ms_.empty()) return;
  sink_.AddChunk("s" + std::to_string(begins_ms_.size() - 1),
                 base::DumpJson({{"start", start_}, {"changes", changes_}, {"lines", lines_}}));
}

// The film's `elements` are relative to when the page was shown last; those of a chunk to its document.
void ScreenChunks::ShowPage(std::int64_t time_ms, const json& record) {
  pageName_ = record["page"].get<std::string>();
  const auto [page, isNew] = pages_.try_emplace({pageName_, record.value("look", "")});
  page_ = &page->second;
  page_->title = record.value("title", "");
  if (isNew) {
    page_->document = pages_.size() - 1;
    sink_.AddChunk("d" + std::to_string(page_->document), base::DumpJson({{"svg", record.value("svg", "")}}));
  }
  if (record.contains("elements")) ChangeElements(record["elements"]);
  changes_.push_back({time_ms, WholePage()});
}

void ScreenChunks::ChangeElements(const json& elements) {
  for (const json& element : elements) {
    element_state_t& state = page_->elements[element.at(0).get<std::string>()];
    state.attributes.update(element.at(1));
    if (element.size() > 2) state.content = element[2];
  }
}

json ScreenChunks::WholePage() const {
  json elements = json::array();
  for (const auto& [id, state] : page_->elements) {
    json element = {id, state.attributes};
    if (!state.content.is_null()) element.push_back(state.content);
    elements.push_back(std::move(element));
  }
  return {{"page", pageName_}, {"title", page_->title}, {"document", page_->document}, {"elements", elements}};
}

void ScreenChunks::NoteBands(std::int64_t time_ms, const json& record) {
  if (record.contains("page")) bands_.Set("page", time_ms, pageName_);
  if (record.contains("sound")) bands_.Set("beeper", time_ms, record["sound"] == true ? "sounds" : "");
  const auto variables = record.find("variables");
  if (variables == record.end() || !variables->contains(LINK_VARIABLE)) return;
  bands_.Set("link", time_ms, (*variables)[LINK_VARIABLE] == LINK_LOST ? "lost" : "");
}

std::vector<std::int64_t> ScreenChunks::Finish() {
  WriteChunk();
  return begins_ms_;
}

}  // namespace host::report
