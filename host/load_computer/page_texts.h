// The texts of the page that the host shows, laid into the display's fields.
#pragma once

#include <string>
#include <vector>

#include "host/crane/load_chart.h"
#include "host/load_computer/dialogue.h"
#include "host/protocol/encode.h"

namespace simulate {

struct page_t {
  const cab_t& cab;
  const Dialogue& dialogue;
  const Sensors& sensors;
  const crane::LoadChart& chart;
};

// At most one text a field; they fit into one message.
std::vector<host::text_t> TextsOf(const page_t& page);
// What the configuration page flashes; a blank where there is nothing to say.
std::string FlashOf(const page_t& page);

}  // namespace simulate
