#include "src/display/system_message.h"

#include "src/text/fields.h"
#include "src/text/system_text.h"

namespace {

constexpr std::size_t NO_LANGUAGE = LANGUAGE_COUNT;

// The language in which the lost-link message is shown. Used by the dispatcher thread alone.
std::size_t shownLanguage = NO_LANGUAGE;

bool IsHostLost(const orvikData_t* data) {
  return data->hostTimedOut != 0 && data->hostSeen == 0;
}

void ShowLostLink(orvikData_t* data) {
  const std::size_t language = data->language;
  if (language == shownLanguage && SystemTextShown()) return;
  shownLanguage = language;
  DisplayWatchdogMessage(data, std::string(LOST_LINK_TEXTS[language]));
}

}  // namespace

const std::array<std::string_view, LANGUAGE_COUNT> LOST_LINK_TEXTS = {
    "LOST COMMUNICATIONS WITH COMPUTER!",    "¡COMUNICACIÓN PERDIDA CON COMPUTADORA!",
    "COMUNICAÇÃO PERDIDA COM O COMPUTADOR!", "与主机的通信已中断！",
    "ПОТЕРЯНА СВЯЗЬ С КОМПЬЮТЕРОМ!",         "COMMUNICATION PERDUE AVEC L'ORDINATEUR!",
};

void DisplayWatchdogMessage(orvikData_t* data, const std::string& text) {
  ShowSystemText(data, text);
}

void UpdateSystemMessage(orvikData_t* data) {
  if (IsHostLost(data)) {
    ShowLostLink(data);
  } else if (data->hostSeen != 0) {
    shownLanguage = NO_LANGUAGE;
    if (SystemTextShown()) EndSystemText(data);
  }
}
