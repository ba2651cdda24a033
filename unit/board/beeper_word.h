// The beeper of the emulated board, when the application can no longer switch it.
#pragma once

namespace unit {

// Switches the beeper off, as the application would. Without a board in this runtime directory nothing happens.
// Any process.
void SilenceBeeper();

}  // namespace unit
