// Reading the generic configuration file: the names of actions, events, database variables and screen objects.
#pragma once

#include <istream>

#include "src/core/orvik_data.h"

// Reads a document with the root element `orvik-generic` into the record's name maps and configuration
// identity. The database must be open, because the handles of the variables are looked up here. A fault is
// reported on standard error and ends the reading; what was read before it stays. Called once by main, before
// it starts the workers.
void parseGeneric(std::istream& stream, orvikData_t* data);
