#pragma once

#include "../Export.h"
#include "../Framework.h"

#include <iosfwd>

namespace KTR {

/// Reads `folder` + `file` into a new zero-terminated buffer, to be freed with DeleteShaderSource. `length` is the size
/// of the file in bytes. On failure a message box tells which file, and the outputs are null and 0: E_ACCESSDENIED when
/// it cannot be opened, E_INVALIDARG when it is empty or larger than a megabyte, E_OUTOFMEMORY.
ORRIN_DISPLAY_API long LoadShader(const wchar_t* folder, const wchar_t* file, char** source, unsigned long* length);

/// The same for the library itself: what is thrown meanwhile is the caller's to catch.
long ReadShaderSource(const wchar_t* folder, const wchar_t* file, char** source, unsigned long* length);

/// Both free a buffer of LoadShader and clear the pointer; null is allowed.
ORRIN_DISPLAY_API void UnloadShader(unsigned char** source);
ORRIN_DISPLAY_API void DeleteShaderSource(char** source);

/// Size of an open file in bytes. The read position stays where it was.
ORRIN_DISPLAY_API unsigned long GetFileLength(std::ifstream& stream);

// A path that there is no memory for is empty.

/// The folder of the program, ending with a backslash.
ORRIN_DISPLAY_API void GetExecutablePath(CString& path);
ORRIN_DISPLAY_API void GetExecutablePathASCII(CStringA& path);

/// The folder that the system keeps shader files in, ending with a backslash: Orrin\ in %CommonProgramFiles%, or the
/// program's own folder when the system does not say where that is.
ORRIN_DISPLAY_API void GetCommonFolder(CString& path);

/// Has the stock programs be built from the files of this folder. Null, as at the start, takes the folder from the
/// machine: GetCommonFolder's, or where that does not exist the folder common/Orrin beside the program, if there is
/// one. For programs that bring the files along elsewhere; call it before the first context is made. S_OK or
/// E_OUTOFMEMORY. Not locked.
ORRIN_DISPLAY_API long UseShaderFolder(const wchar_t* folder);
/// The folder that the stock programs are built from, ending with a backslash.
ORRIN_DISPLAY_API void GetShaderFolder(CString& path);

} // namespace KTR
