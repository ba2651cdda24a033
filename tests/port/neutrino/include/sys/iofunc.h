// The application uses nothing of this header of Neutrino.
#pragma once
