#pragma once

namespace OrrinViewer {

/// A place on the globe in degrees.
struct GlobePlace {
    double longitude = 0.0;
    double latitude = 0.0;
};

/// The length in metres of the shortest way between two places on the Earth's ellipsoid (WGS 84): to the millimetre, but
/// between places all but opposite each other only to some kilometres of twenty thousand.
double GeodesicMetres(const GlobePlace& from, const GlobePlace& to);

/// Metres of one degree of longitude at that latitude.
double MetresPerDegreeOfLongitude(double latitude);

/// Metres of one degree of latitude there.
double MetresPerDegreeOfLatitude(double latitude);

} // namespace OrrinViewer
