// The generic configuration file: the names under which the application meets the rest of the unit.
#pragma once

#include <istream>

#include "src/core/orvik_data.h"

// Reads a document with root `orvik-generic` into the record's name maps and identity. The database must be
// open, since the variables' handles are looked up here. Every fault is reported on standard error; what was
// read before it stays. Called once by main, before any worker exists.
void parseGeneric(std::istream& stream, orvikData_t* data);
