#pragma once

/// What a host needs to draw with OrrinDisplay.dll. The way in is KTR::COpenGLView.
///
/// What few hosts need and costs much to compile is apart, for the sources that use it:
///
///     clouds/PointCloudLayer.h   point clouds of any size that a host reads in parts
///     images/RasterLayer.h       rasters of any size that a host reads piece by piece
///     text/FontAtlas.h           requests for fonts (FontParameters), and what is known of a font

// <windows.h> makes macros of these, if a host includes it as it comes; no C++ header stands that.
#pragma push_macro("min")
#pragma push_macro("max")
#undef min
#undef max

#include "images/BitmapFile.h"
#include "images/RasterTypes.h"
#include "images/TexturedQuadrilateral.h"
#include "pipeline/KeptGeometry.h"
#include "pipeline/ShaderFiles.h"
#include "platform/DisplayApplication.h"
#include "platform/Notice.h"
#include "platform/OrrinGLCement.h"
#include "platform/PixelFormat.h"
#include "platform/ProcessEnvironment.h"
#include "platform/VersionPolicy.h"
#include "scene/SurfaceNormals.h"
#include "shapes/ShapeStyles.h"
#include "text/FontFiles.h"
#include "text/LineTextStyle.h"
#include "view/OpenGLView.h"

#pragma pop_macro("max")
#pragma pop_macro("min")
