// Silences the emulated beeper after the application has ended.
#pragma once

namespace unit {

// Switches the beeper off in the board's registers, as the application does. Does nothing where this runtime
// directory has no board. Any process may call it.
void SilenceBeeper();

}  // namespace unit
