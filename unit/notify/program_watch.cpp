#include "unit/notify/program_watch.h"

#include "src/screenapi/screen_messages.h"
#include "unit/service/program_state.h"

namespace unit {
namespace {

constexpr int OWN_SENDER = 0;  // no client has this identity

}  // namespace

ProgramWatch::ProgramWatch(Exchange& exchange)
    : exchange_(exchange),
      screenChannel_(exchange.RegisterName(SCREEN_CHANNEL_NAME)),
      programChannel_(exchange.RegisterName(PROGRAM_CHANNEL_NAME)) {
  exchange_.SetStateRule(programChannel_, [](auto /*payload*/) { return state_key_t{"program", true}; });
}

void ProgramWatch::NoteMessage(int client, int channel, TimePoint now) {
  if (channel == screenChannel_ && senders_.insert(client).second) Publish(true, now);
}

void ProgramWatch::NoteEnd(std::span<const int> clients, TimePoint now) {
  bool ended = false;
  for (const int client : clients) ended = senders_.erase(client) > 0 || ended;
  if (ended && senders_.empty()) Publish(false, now);
}

void ProgramWatch::Publish(bool isRunning, TimePoint now) {
  exchange_.Publish(OWN_SENDER, programChannel_, WriteProgramState({.isRunning = isRunning, .since = now}));
}

}  // namespace unit
