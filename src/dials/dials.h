// The drawing layer and the dials page's pictures of boom and swing.
#pragma once

#include "src/core/orvik_data.h"

struct PGN_dimensions_t {
  int width = 0;
  int height = 0;
};

constexpr const char* BOOM_PICTURE = "/fs/etfs/app/orvik/Boom.png";
constexpr const char* SWING_PICTURE = "/fs/etfs/app/orvik/Swing.png";

// The size of a PNG file of the unit (PNG, third edition, 11.2.1 IHDR). 0 on success; 1, and no size, when the
// file cannot be read or is no PNG.
int GetPGNSize(const char* path, PGN_dimensions_t* size);
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
