// The drawing layer, and the pictures of boom and swing on the dials page.
//
// All functions but ReadPictureSizes hold the record's dialsMutex while they draw.
#pragma once

#include "src/core/orvik_data.h"

constexpr const char* BOOM_PICTURE = "/fs/etfs/app/orvik/Boom.png";
constexpr const char* SWING_PICTURE = "/fs/etfs/app/orvik/Swing.png";

// Reads the sizes of both pictures; a picture that cannot be read has size 0 by 0. Called once, by the first
// initialisation.
void ReadPictureSizes();

// Creates a user layer and makes it the record's layer and the current one. Earlier layers stay until the
// record is destroyed. Called by InitOrvikData, under its lock.
void InitLayer(orvikData_t* data);
// Shows an empty frame; the dispatcher draws nothing on it before the page is left and shown again, because the
// page stays the current one until the screen service has changed it. Key threads and action channel.
void ClearLayer(orvikData_t* data);
// Shows an empty frame where the layer shows anything: another page than the dials is the current one.
// Dispatcher, every cycle of those pages.
void LeaveDials(orvikData_t* data);
// Draws the pictures as angle, swing, pivots and offsets stand now. A picture whose value the screen shows as
// dashes is left out.
void RefreshPageDials(orvikData_t* data);
// The same, when what it would show differs from the last drawing and the layer was not cleared. Dispatcher,
// every cycle of the dials page.
void UpdateDials(orvikData_t* data);
