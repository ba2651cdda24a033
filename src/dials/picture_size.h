// The size of a picture file.
#pragma once

struct PGN_dimensions_t {
  int width = 0;
  int height = 0;
};

// The size of a PNG file of the unit (PNG, third edition, 11.2.1 IHDR). 0 on success; 1, and no size, when the
// file cannot be read or is no PNG.
int GetPGNSize(const char* path, PGN_dimensions_t* size);
