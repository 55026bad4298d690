#pragma once

#include "../Export.h"

namespace KTR {

/// Writes a pixel buffer as an uncompressed bitmap file (.bmp), top row first. `format` GL_RGB stands for 3 bytes a
/// pixel, every other for 4; `pixels` holds `height` rows of `width` pixels without padding, and null writes the
/// headers alone. Bytes are written in the order given, while most programs read bitmap files as blue, green, red: pass
/// GL_BGR or GL_BGRA pixels for true colours.
///
/// NOTE: the file's own width is `width` + `width` mod 4, black pixels filling it up, and nothing follows a row: hosts
/// read the files with that rule. Other programs expect rows of a multiple of 4 bytes. They read every 4-byte file, and
/// a GL_RGB file when `width` leaves 0 or 2 after division by 4.
///
/// False, with a line for the debugger, when the file cannot be created or its headers not written (no file is left
/// then), and for a size below zero or too large for the format (nothing is touched then). A failure while the pixels
/// are written goes unnoticed. `path` is in the system's code page.
ORRIN_DISPLAY_API bool SaveRGBBufferToBMPFile(char* path, int width, int height, int format, unsigned char* pixels);

} // namespace KTR
