// The record's first state.
#pragma once

#include "src/core/orvik_data.h"

// Sets every default, reads the versions, looks the handles up and draws the start picture. Called by main once
// the workers are started, and again by whoever serves a re-initialisation request.
void InitOrvikData(orvikData_t* data);
