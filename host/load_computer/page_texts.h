// The texts of the page that the host shows, laid into the display's fields.
#pragma once

#include <string>
#include <vector>

#include "host/crane/load_chart.h"
#include "host/load_computer/dialogue.h"
#include "host/protocol/encode.h"

namespace simulate {

struct page_inputs_t {
  const cab_t& cab;
  const Dialogue& dialogue;
  const Sensors& sensors;
  const crane::LoadChart& chart;
};

// At most one text a field; they fit into one message.
std::vector<host::field_text_t> MakePageTexts(const page_inputs_t& page);
// What the configuration page flashes; a blank where there is nothing to say.
std::string MakeFlashText(const page_inputs_t& page);

}  // namespace simulate
