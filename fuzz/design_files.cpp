// Fuzzes the files of the screen design: a page, and by the name of its root the parts of a page or the
// palette.
//
// Checks: a refusal names the file; a page that was read is well-formed in both looks, which have the same
// elements; live elements have ids of their own, and each can be drawn for known and unknown values.
#include <set>

#include "fuzz/fuzz_input.h"
#include "unit/screen/design/design.h"
#include "unit/screen/design/element_view.h"
#include "unit/screen/design/page_parts.h"

namespace {

using fuzz::Require;

constexpr const char* PAGE = R"(<svg><metadata><page name="P" action="A" order="1"/></metadata>
<g data-part="a" var="V" text="&lt;$"/><g data-part="b" var="W"/><rect fill="@ground"/></svg>)";

void CheckLook(const unit::page_look_t& look) {
  const std::string text = unit::FormatXml(look.document->document_element());
  Require(pugi::xml_document().load_string(text.c_str()).status == pugi::status_ok);
  std::set<std::string> ids;
  unit::widget_t widget;
  widget.text = "12 \xE4\xB8\xAD<&";
  for (const unit::live_element_t& element : look.elements) {
    Require(!element.id.empty() && ids.insert(element.id).second);
    for (const unit::variable_value_t value : {unit::variable_value_t(7.25), unit::variable_value_t()}) {
      unit::ApplyView(element,
                      unit::MakeView(element, {&widget, &widget, nullptr, nullptr, value, value.has_value()}));
    }
  }
}

}  // namespace

void fuzz::RunInput(bytes_t input) {
  static const MemoryFile PAGE_FILE;
  static const MemoryFile OTHER_FILE;
  const std::string text = TextOf(input);
  const bool isPalette = text.starts_with("<palette");
  const bool isParts = text.starts_with("<parts");
  OTHER_FILE.Write(text);
  PAGE_FILE.Write(isPalette || isParts ? PAGE : text);
  try {
    unit::design_base_t base;
    base.palette = {{"ground", {"#000", "#111"}}};
    if (isParts) base.parts = unit::ReadParts(OTHER_FILE.Path());
    if (isPalette) base.palette = unit::ReadPalette(OTHER_FILE.Path());
    const unit::page_design_t page = unit::ReadPage(PAGE_FILE.Path(), {"One", "Two"}, base);
    Require(!page.name.empty() && !page.action.empty() && page.order >= 0);
    Require(page.looks[0].elements.size() == page.looks[1].elements.size());
    std::ranges::for_each(page.looks, CheckLook);
  } catch (const std::runtime_error& refused) {
    Require(std::string_view(refused.what()).starts_with("/proc/self/fd/"));
  }
}
