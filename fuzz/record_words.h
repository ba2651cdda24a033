// The words of the application's record that the host's commands set.
#pragma once

#include <map>
#include <string>

#include "src/core/orvik_data.h"

using words_t = std::map<std::string, double>;

// The record's word for each field of a command, by the command's name and the field's.
inline words_t WordsOf(const orvikData_t& r) {
  return {{"operating-values capacity", r.capacity},
          {"operating-values load", r.load},
          {"operating-values radius", r.radius},
          {"operating-values angle", r.angle},
          {"operating-values extension", r.extension},
          {"operating-values percent", r.percentSafeWorkingLoad},
          {"operating-values parts-of-line", r.partsOfLine},
          {"operating-values led", r.ledState},
          {"operating-values swing", r.swing},
          {"operating-values piston-pressure", r.pistonPressure},
          {"operating-values rod-pressure", r.rodPressure},
          {"beeper duration", r.beeperDuration},
          {"brightness-adjust value", r.brightnessAdjustEnabled},
          {"display-mode value", r.displayMode},
          {"units value", r.units},
          {"display-type value", r.displayType},
          {"language value", r.language},
          {"select-mode value", r.selectMode},
          {"erected-icon value", r.erectedIcon},
          {"stowed-icon value", r.stowedIcon},
          {"colors tires", r.outriggerColors.tires},
          {"colors retracted", r.outriggerColors.retracted},
          {"colors half", r.outriggerColors.half},
          {"colors extended", r.outriggerColors.extended},
          {"swing-mode value", r.swingMode},
          {"protocol-version value", r.commandProtocolVersion},
          {"encryption value", r.dynamicEncryptionMethod}};
}
