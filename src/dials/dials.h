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
// Shows an empty frame. Key threads.
void ClearLayer(orvikData_t* data);
// Draws the pictures with the present angle, swing, pivots and offsets. Key threads.
void RefreshPageDials(orvikData_t* data);
// Draws the pictures when angle or swing has changed since they were last drawn. Dispatcher, every cycle.
void UpdatePageDials(orvikData_t* data);
