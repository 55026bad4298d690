#pragma once

/// Everything that a host needs to draw with OrrinDisplay.dll. The way in is KTR::COpenGLView.

#include "images/BitmapFile.h"
#include "images/RasterLayer.h"
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
