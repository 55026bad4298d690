#pragma once

/// Marks what crosses the library's boundary. The library's own build defines ORRIN_DISPLAY_BUILD; a program that takes
/// the sources in directly (the fault tests do) defines ORRIN_DISPLAY_STATIC.
#if defined(ORRIN_DISPLAY_STATIC)
#define ORRIN_DISPLAY_API
#elif defined(ORRIN_DISPLAY_BUILD)
#define ORRIN_DISPLAY_API __declspec(dllexport)
#else
#define ORRIN_DISPLAY_API __declspec(dllimport)
#endif

#if defined(_MSC_VER)
// Exported classes hold MFC strings and arrays by value; host and library are built with the same MFC.
#pragma warning(disable : 4251)
#endif
