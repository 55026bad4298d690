#pragma once

#include "../Export.h"
#include "../Framework.h"

namespace KTR {

struct FontParameters;

/// The name that a font file is looked up by: the face without the sign of vertical writing (@) and outer blanks, then
/// " Bold" and " Italic" as asked for.
ORRIN_DISPLAY_API CString FontLookUpName(const FontParameters& request);

/// Looks a font up among the values of an open registry key, named like "Arial Bold (TrueType)"; what stands in
/// brackets and the case do not count. `fileName` receives the value. A message box tells when the font is not there
/// (E_FAIL). A key that cannot be read is told, too, but gives S_OK and no name.
ORRIN_DISPLAY_API long QueryFontKey(HKEY key, const wchar_t* faceName, CString& fileName);

/// Looks for a file named like the font in the system's fonts folder. Always S_OK; `path` stays as it is when there is
/// none.
///
/// NOTE: Where no file has exactly this name, the second of those that contain it counts, and its path is made from the
/// pattern of the search: nothing can be opened by it. Hosts know such a font as one that fails to open.
ORRIN_DISPLAY_API long GetFontSystemPath(const wchar_t* faceName, CString& path);

/// Path of the font's file through the registry's table of installed fonts, otherwise through the fonts folder. E_FAIL
/// when the system has no fonts folder. A font that was not found leaves the folder as path.
long FindFontFile(const wchar_t* lookUpName, CString& path);

} // namespace KTR
