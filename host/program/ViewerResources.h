#pragma once

// Numbers of the program's resources; read by the resource compiler too.

#define ORRIN_VIEWER_ICON 1
