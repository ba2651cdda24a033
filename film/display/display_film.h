// The film of a bus log: what the display showed, computed in virtual time by the application's own code and
// the screen's own rules. Two runs over the same log give the same film.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "bus/can_frame.h"
#include "bus/key_log.h"

namespace film {

struct film_options_t {
  std::string configFolder;
  // The page that the film begins on; empty: the display has just been switched on.
  std::string page;
};

// Called with each record of the film, a JSON object on one line, in the order of time. `t` is the time in
// milliseconds since the log's first line, and counts on from record to record.
//
// | member                        | what it says |
// |-------------------------------|-------------------------------------------------------------------------------|
// | page, look, title, svg        | this page is shown; `look` is day or night. Its document, the first time |
// | elements                      | what changed on the page: id, attributes (null: removed), content (or null)
// | | widgets, variables            | what the application set: texts by the widget's name, values by the name
// | | sound                         | the beeper begins (true) or ends (false) to sound | | line | what the
// application printed                                                  |
using film_record_t = std::function<void(const std::string& record)>;

// Runs the display from its start to the end of the log. One film in a process: the application keeps its state
// in objects of the process.
class DisplayFilm {
 public:
  // Starts the display and waits, in virtual time, until it is up. Throws std::runtime_error when the
  // configuration or the design cannot be read.
  DisplayFilm(const film_options_t& options, film_record_t onRecord);
  ~DisplayFilm();
  DisplayFilm(const DisplayFilm&) = delete;
  DisplayFilm& operator=(const DisplayFilm&) = delete;

  // Each takes what came next, and lets the time until then pass. A time before the last one counts as the
  // last.
  void Take(const bus::frame_t& frame);
  void Take(const bus::key_change_t& change);
  // Lets so much time pass behind the last line, and writes what is still due.
  void Finish(std::int64_t time_ms);

 private:
  class Display;
  std::unique_ptr<Display> display_;
};

}  // namespace film
