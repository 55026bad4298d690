#!/usr/bin/env bash
# Fetches small real samples, which come inside Debian packages, and makes them readable for the viewer. build/samples
# then links to them:
#   survey_points.ply      classified and coloured points of a laser survey (metres)
#   town_parcels.geojson   census tracts of Olinda, Brazil (UTM zone 25 south, metres)
#   town_terrain.ply       elevations of the same place in the same system, one point per cell of 90 m
#   town_terrain.asc       the same elevations as an ESRI ASCII grid
#   town_image.png, .wld   the same place from Landsat 7, in its natural colours, and where it lies
#   counties.geojson       the counties of North Carolina (degrees)
#   coastlines.geojson     the world's coastlines, generalised (degrees)
source "$(dirname "$0")/common.sh"
source "$(dirname "$0")/private-apt.sh"

key=$(sha256sum <"$root/tools/sample-data.sh" | cut -c1-16)
samples=$cache/samples-$key
packages=(libcgal-demo r-cran-sf r-cran-stars python-cartopy-data)

fetch_packages() {
    local package
    private_apt_update "$work/apt" deb
    cd "$work"
    private_apt download "${packages[@]}"
    for package in *.deb; do
        dpkg-deb -x "$package" "$work/unpacked"
    done
}

# to_geojson NAME SOURCE OPTION...: the coordinates stay in their own system, where RFC 7946 would want degrees.
to_geojson() {
    local name=$1 source=$2
    shift 2
    ogr2ogr -f GeoJSON -lco RFC7946=NO "$@" "$samples/$name.geojson" "$source"
}

# Reads lines "x y z" and writes a point cloud.
points_to_ply() {
    awk '
        { line[NR] = $0 }
        END {
            print "ply\nformat ascii 1.0\nelement vertex " NR
            print "property double x\nproperty double y\nproperty double z\nend_header"
            for (i = 1; i <= NR; ++i) print line[i]
        }'
}

convert_samples() {
    local unpacked=$work/unpacked r=$work/unpacked/usr/lib/R/site-library
    tar -xzf "$unpacked/usr/share/doc/libcgal-dev/data.tar.gz" -C "$work" data/points_3/b9_training.ply
    cp "$work/data/points_3/b9_training.ply" "$samples/survey_points.ply"

    # The tracts come in degrees; the terrain and the image of the place are in metres.
    to_geojson town_parcels "$r/sf/shape/olinda1.shp" -t_srs EPSG:31985
    gdal_translate -q -of XYZ "$r/stars/tif/olinda_dem_utm25s.tif" /vsistdout/ | points_to_ply >"$samples/town_terrain.ply"
    gdal_translate -q -of AAIGrid "$r/stars/tif/olinda_dem_utm25s.tif" "$samples/town_terrain.asc"
    # Three of the six bands; most of their values are in the lower half of the range.
    gdal_translate -q -of PNG -co WORLDFILE=YES -b 3 -b 2 -b 1 -scale 25 140 0 255 \
        "$r/stars/tif/L7_ETMs.tif" "$samples/town_image.png"

    to_geojson counties "$r/sf/shape/nc.shp"
    to_geojson coastlines "$unpacked/usr/share/cartopy/data/shapefiles/gshhs/c/GSHHS_c_L1.shp"
}

if [ ! -e "$samples/complete" ]; then
    install_packages gdal-bin
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    exec 9>"$cache/samples.lock"
    flock 9
    rm -rf "$samples"
    mkdir -p "$samples"
    step samples-fetch "Fetching sample data" fetch_packages
    step samples-convert "Converting it" convert_samples
    touch "$samples/complete"
fi
[ "$(readlink "$build/samples")" = "$samples" ] || ln -sfnT "$samples" "$build/samples"
