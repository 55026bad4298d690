#!/usr/bin/env bash
# Measures what users wait for and prints it as Markdown: frames through the library against glBegin and against loops by
# hand, and what happens once. Builds what it needs; about five minutes on two cores that have nothing else to do. --quick
# takes one, for development: fewer repetitions, and a tenth of the points that stand still.
source "$(dirname "$0")/common.sh"
cd "$root"
repetitions=15 starts=5 seconds=0.05 millions=10 frames=()
case ${1:-} in
    "") ;;
    --quick) repetitions=3 starts=2 seconds=0.02 millions=2 frames=(--quick) ;;
    *)
        echo "usage: tools/bench.sh [--quick]" >&2
        exit 2
        ;;
esac
tools/setup.sh >&2
step configure "Configuring" cmake --preset mingw >&2
step build-bench "Building the benchmarks" cmake --build --preset mingw --target frame_bench start_bench cloud_bench >&2

programs=build/mingw/standin
results=$build/bench
rm -rf "$results"
mkdir -p "$results"
load=$(cut -d' ' -f1 /proc/loadavg)

# measure NAME ARGUMENT...: all ways take turns at random, so that a slow moment of the machine meets all of them.
measure() {
    local name=$1
    shift
    tools/wine-run.sh $programs/frame_bench.exe "${frames[@]}" --benchmark_enable_random_interleaving=true \
        --benchmark_repetitions=$repetitions --benchmark_min_time=$seconds --benchmark_report_aggregates_only=true \
        --benchmark_out="Z:$results/$name.json" --benchmark_out_format=json "$@"
}
step bench-mesa "Frames on the machine's driver" measure driver >&2
ORRIN_DLL_OVERRIDES=opengl32=n,b step bench-null "Frames on a driver that swallows everything" \
    measure null --benchmark_filter='^(points|lines|triangles|quads|six_vertex_batches|labels)/(4x|4x_bulk|4x_reserved|by_hand|by_hand_8000)/' >&2
start_programs() {
    for ((start = 0; start < starts; ++start)); do
        tools/wine-run.sh $programs/start_bench.exe
        tools/wine-run.sh $programs/start_bench.exe --bare
    done >"$results/start.txt"
}
step bench-start "Starts of views and fonts" start_programs >&2
watch_clouds() {
    tools/wine-run.sh $programs/cloud_bench.exe "$millions" >"$results/cloud-4x.txt"
    tools/wine-run.sh $programs/cloud_bench.exe "$millions" fixed >"$results/cloud-fixed.txt"
}
step bench-clouds "A cloud of $millions million points" watch_clouds >&2
echo "The load of the machine was $load before, $(cut -d' ' -f1 /proc/loadavg) after." >&2
python3 tools/bench-table.py "$results"
