#pragma once

/// A point of the plane, in the units of the caller's coordinate system.
struct PointXY {
    double x = 0.0;
    double y = 0.0;
};

/// A point in space, in the units of the caller's coordinate system.
struct PointXYZ {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

/// A colour, 0 to 255 each.
struct GLRGBColor {
    unsigned char r = 0;
    unsigned char g = 0;
    unsigned char b = 0;
};

/// A colour with opacity, 0 to 255 each; alpha 255 is opaque.
struct GLRGBAColor {
    unsigned char r = 0;
    unsigned char g = 0;
    unsigned char b = 0;
    unsigned char a = 0;
    bool operator==(const GLRGBAColor&) const = default;
};

/// Texture coordinates, 0 to 1 across the texture.
struct GLTexCoords {
    double s = 0.0;
    double t = 0.0;
};
