// The rights of this process.
#pragma once

namespace platform {

// Takes from this process and its children what they do not need. To be called first in main. On Linux, files
// and shared objects that they make are for this user alone (umask 0077, whatever mode the code passes), and no
// program that they execute gains rights (set-user-id programs do not). On Neutrino it changes nothing, because
// the unit has one user.
void RestrictProcess();

}  // namespace platform
