#!/usr/bin/env bash
# Fetches small real samples, which come inside Debian packages, and makes them readable for the viewer: a classified
# survey point cloud and parcels of a town. build/samples then links to them.
source "$(dirname "$0")/common.sh"

samples=$cache/samples-2
if [ ! -e "$samples/complete" ]; then
    install_packages gdal-bin
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    mkdir -p "$samples"

    fetch_samples() {
        cd "$work"
        apt-get download libcgal-demo r-cran-sf || { as_root apt-get update && apt-get download libcgal-demo r-cran-sf; }
        local package
        for package in *.deb; do dpkg-deb -x "$package" "$work/unpacked"; done
        tar -xzf unpacked/usr/share/doc/libcgal-dev/data.tar.gz -C unpacked --wildcards '*/points_3/b9_training.ply'
        find unpacked -name b9_training.ply -exec cp {} "$samples/survey_points.ply" \;
        local shape
        shape=$(find unpacked -name olinda1.shp)
        # Degrees become metres of the UTM grid of the place, as survey data comes.
        ogr2ogr -f GeoJSON -lco RFC7946=NO -t_srs EPSG:31985 "$samples/town_parcels.geojson" "$shape"
    }
    step samples "Fetching sample data" fetch_samples
    touch "$samples/complete"
fi
ln -sfn "$samples" "$build/samples"
