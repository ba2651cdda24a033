// The drawing layer and the dials page's pictures of boom and swing.
#pragma once

#include "src/core/orvik_data.h"

constexpr const char* BOOM_PICTURE = "/fs/etfs/app/orvik/Boom.png";
constexpr const char* SWING_PICTURE = "/fs/etfs/app/orvik/Swing.png";

// Reads both pictures' sizes, 0 by 0 where that fails. Once, before the gate opens.
void ReadPictureSizes();

// Makes a fresh user layer the record's and the current one; earlier ones stay until the record ends.
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
