// Fuzzes the messages to the screen service and the page that follows them. Input: length and message, and so
// on; a message of three bytes is an event, one of two a variable. An accepted message has finite numbers and
// text that is UTF-8; each changed element and the whole page are well-formed XML; a change is reported once.
#include <cmath>

#include <utf8.h>

#include <pugixml.hpp>

#include "fuzz/fuzz_input.h"
#include "unit/screen/design/design.h"
#include "unit/screen/design/message_reader.h"
#include "unit/screen/design/screen_model.h"

namespace {

using fuzz::Require;

unit::ScreenModel MakeModel() {
  unit::design_t design;
  unit::design_base_t base;
  base.palette = {{"ground", {"#000", "#111"}}};
  for (const std::string page : {"shapes", "texts"}) {
    const std::string file = SOURCE_FOLDER "/fuzz/corpus/design_files/" + page + ".svg";
    design.emplace(page, unit::ReadPage(file, {"One", "Two"}, base));
  }
  unit::screen_names_t names;
  names.widgets = {{1, "One"}, {2, "Two"}};
  names.events = {{1, "e1"}, {2, "e2"}};
  return {std::move(names), std::move(design)};
}

void CheckXml(const std::string& text) {
  Require(pugi::xml_document().load_string(text.c_str()).status == pugi::status_ok);
}

}  // namespace

void fuzz::RunInput(bytes_t input) {
  unit::ScreenModel model = MakeModel();
  for (InputReader reader(input); !reader.IsAtEnd();) {
    const bytes_t message = reader.Take(reader.TakeWord());
    if (const auto command = unit::ReadScreenMessage(message)) {
      Require(message.size() <= SCREEN_MESSAGE_SIZE && utf8::is_valid(command->text));
      for (const float part : command->parts) Require(std::isfinite(part));
      model.Accept(*command);
    }
    if (message.size() == 2) model.SetVariable(message[0] % 2 == 0 ? "A" : "B", message[1] - 100.0);
    if (message.size() == 3) model.HandleEvent(message[0]);
    model.ProcessCommands();
    for (const unit::element_change_t& element : model.DrainChange().elements) {
      if (element.content) CheckXml("<g>" + *element.content + "</g>");
    }
    const unit::screen_change_t again = model.DrainChange();
    Require(again.revision == again.previous);
    model.DrainNotices();
  }
  CheckXml(model.Svg());
}
