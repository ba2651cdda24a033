// The size of a picture file.
#pragma once

struct PGN_dimensions_t {
  int width = 0;
  int height = 0;
};

// Reads the size of a PNG file (PNG, third edition, 11.2.1 IHDR); `path` is a path of the unit. Returns 0, or 1
// and size 0 by 0 when the file cannot be read or is not a PNG file.
int GetPGNSize(const char* path, PGN_dimensions_t* size);
