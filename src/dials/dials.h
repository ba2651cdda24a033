// The drawing layer and the dials page's pictures of boom and swing.
#pragma once

#include "src/core/orvik_data.h"

constexpr const char* BOOM_PICTURE = "/fs/etfs/app/orvik/Boom.png";
constexpr const char* SWING_PICTURE = "/fs/etfs/app/orvik/Swing.png";

// Reads both pictures' sizes, 0 by 0 where that fails. Once, before the gate opens.
void ReadPictureSizes();

// Makes a fresh user layer the record's and the current one; earlier ones stay until the record ends.
void InitLayer(orvikData_t* data);
// Shows an empty frame. Key threads and dispatcher, under the record's dialsMutex.
void ClearLayer(orvikData_t* data);
// Draws the pictures as angle, swing, pivots and offsets stand now.
void RefreshPageDials(orvikData_t* data);
// The same, when angle or swing changed since the last drawing. Dispatcher, every cycle.
void UpdatePageDials(orvikData_t* data);
