// The texts of the page that the host shows, for the display's text fields.
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

// At most one text for each field; together they fit into one message.
std::vector<host::field_text_t> MakePageTexts(const page_inputs_t& page);
// The flash message of the configuration page; a blank if there is none.
std::string MakeFlashText(const page_inputs_t& page);

}  // namespace simulate
