#!/usr/bin/env python3
"""Runs the loads of tools/soak.sh one after another, looks at the process after a tenth, half and all of the steps, and
prints what it holds as Markdown. Ends with 1 where something grows, with the reason on the standard error.

    soak-run.py PROGRAM [--quick] [--only LOAD]

What is counted is what Wine really keeps. Before the loads each count is shown a leak made on purpose (--proofs shows
them alone); one that does not see it counts as a fault."""

import argparse
import os
import pathlib
import subprocess
import sys
import time

# Load: steps of the long and of the quick soak. Both pipelines take as many.
LOADS = {
    "views": (60, 10),  # 200 at once, of which a step exchanges 40
    "switches": (20_000, 1_000),
    "creations": (500, 40),
    "frames": (200_000, 4_000),
    "images": (10_000, 300),
    "stored-frames": (4_000, 150),
    "fonts": (60, 10),  # a step is a tour of twelve
    "resizes": (100, 10),
    "reloads": (100, 10),
}
# How much a count may grow from the first tenth on, in its own unit: nothing. Memory has room for what its
# managers keep and hand out again, a fiftieth more of what there is.
PRIVATE_SHARE = 0.02
ALLOWED = {
    "handles": 0, "gdi": 0, "windows": 0, "objects": 0, "threads": 0, "files": 0,
    "private MB": 3.0, "address MB": 8.0, "server MB": 0.5, "screen MB": 1.0,
}
# Loads that exchange textures all the time: the driver keeps some of what was given back, in one run more than in another.
# Of 300 tours of fonts it is no more than of 60.
MORE_MEMORY = {"fonts": 8.0}
# A leak of how many steps, and the counts that have to see it.
PROOFS = {
    "leaked-handles": (8_000, ("handles", "server MB")),
    "leaked-gdi": (100, ("gdi",)),
    "leaked-windows": (400, ("windows", "screen MB")),
    "leaked-memory": (100, ("private MB",)),
    "leaked-threads": (20, ("threads",)),
    "leaked-files": (100, ("files",)),
    "leaked-objects": (20, ("objects",)),
    "leaked-contexts": (20, ("private MB", "address MB")),
}
RESULT_NO_PROGRAMS = 3
DRIVER = os.environ.get("ORRIN_GL_DRIVER", "llvmpipe")
if DRIVER == "softpipe":
    # A context of it takes 200 MB: 200 views would be more than a machine has, and one more or less is no leak.
    del LOADS["views"]
    ALLOWED.update({"private MB": 250.0, "address MB": 250.0})


def status(pid):
    """The numbers of /proc/PID/status, kilobytes and counts alike."""
    lines = (line.split() for line in pathlib.Path(f"/proc/{pid}/status").read_text().splitlines())
    return {words[0].rstrip(":"): int(words[1]) for words in lines if len(words) > 1 and words[1].isdigit()}


def files_of(pid):
    return len(list(pathlib.Path(f"/proc/{pid}/fd").iterdir()))


def processes(name):
    """Those whose program is called so, which the system cuts to 15 characters."""
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if (folder / "comm").read_text().strip() == name[:15]:
                yield int(folder.name)
        except OSError:
            pass


def with_environment(pids, wanted):
    for pid in pids:
        try:
            if wanted in pathlib.Path(f"/proc/{pid}/environ").read_bytes().split(b"\0"):
                return pid
        except OSError:
            pass
    return None


def ancestors(pid):
    while pid > 1:
        yield pid
        pid = int(pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()[1])


def own_process(root):
    """The Windows program's process among those that `root` has started."""
    for pid in processes("display_soak.exe"):
        if root in ancestors(pid):
            return pid
    raise RuntimeError("the program's process is not there")


def screen_of(pid):
    """The virtual screen that this process shows its windows on."""
    variables = pathlib.Path(f"/proc/{pid}/environ").read_bytes().split(b"\0")
    display = next((text[len(b"DISPLAY="):].decode() for text in variables if text.startswith(b"DISPLAY=")), "")
    for screen in processes("Xvfb"):
        prefix = next((text for text in variables if text.startswith(b"WINEPREFIX=")), b"=").split(b"=", 1)[1].decode()
        note = pathlib.Path(prefix + ".screen")
        if note.exists() and note.read_text().split() == [display, str(screen)]:
            return screen
    return None


def server_of(pid):
    variables = pathlib.Path(f"/proc/{pid}/environ").read_bytes().split(b"\0")
    prefix = next(text for text in variables if text.startswith(b"WINEPREFIX="))
    return with_environment([*processes("wineserver"), *processes("wineserver64")], prefix)


def look(pid, words):
    """Everything that is counted, from the program's own line and from outside."""
    own = status(pid)
    counts = {name: int(words[words.index(name) + 1]) for name in ("handles", "gdi", "windows", "objects")}
    counts["threads"] = own["Threads"]
    counts["files"] = files_of(pid)
    counts["private MB"] = (own["RssAnon"] + own["VmSwap"]) / 1000
    counts["address MB"] = own["VmSize"] / 1000
    server, screen = server_of(pid), screen_of(pid)
    if server:
        counts["server MB"] = status(server)["RssAnon"] / 1000
    if screen:
        counts["screen MB"] = status(screen)["RssAnon"] / 1000
    return counts


def run(program, load, pipeline, steps):
    """The samples of one load, or None where the driver does not offer the pipeline."""
    process = subprocess.Popen(["tools/wine-run.sh", program, load, pipeline, str(steps)], stdin=subprocess.PIPE,
                               stdout=subprocess.PIPE, text=True)
    samples = []
    for line in process.stdout:
        words = line.split()
        if words[:1] != ["sample"]:
            continue
        samples.append({**look(own_process(process.pid), words), "kinds": line[line.index("("):].strip()})
        process.stdin.write("on\n")
        process.stdin.flush()
    result = process.wait()
    if result == RESULT_NO_PROGRAMS:
        return None
    if result != 0 or len(samples) != 3:
        raise RuntimeError(f"{load} on {pipeline} ended with {result} after {len(samples)} samples")
    return samples


def growth(samples, name):
    """From the first tenth on."""
    return samples[-1].get(name, 0) - samples[0].get(name, 0)  # what came down again was in use at that moment


def grown(samples, load):
    more = MORE_MEMORY.get(load, 0.0)
    allowed = {**ALLOWED, "private MB": ALLOWED["private MB"] + PRIVATE_SHARE * samples[0]["private MB"] + more,
               "address MB": ALLOWED["address MB"] + more}
    return [name for name, limit in allowed.items() if growth(samples, name) > limit]


def cell(samples, name):
    if name not in samples[0]:
        return "–"
    values = [f"{sample[name]:.1f}" if name.endswith("MB") else str(sample[name]) for sample in samples]
    return values[0] if len(set(values)) == 1 else " / ".join(values)


def prove(program):
    """Each count sees its leak. The table of what was seen."""
    blind = []
    print("| left behind on purpose | steps | seen by | from a tenth of the steps to all |\n|---|--:|---|---|")
    for leak, (steps, counts) in PROOFS.items():
        samples = run(program, leak, "fixed", steps)
        found = grown(samples, leak)
        blind += [f"{count} does not see {leak}" for count in counts if count not in found]
        seen = ", ".join(f"{samples[0][name]:.0f} → {samples[2][name]:.0f}" for name in found)
        print(f"| {leak.split('-')[1]} | {steps} | {', '.join(found) or 'nothing'} | {seen} |", flush=True)
    return blind


def soak(program, quick, only):
    names = list(ALLOWED)
    print(f"\n| load | steps | s | {' | '.join(names)} |\n|---|--:|--:|{'--:|' * len(names)}")
    faults = []
    for load, steps in LOADS.items():
        for pipeline in ("fixed", "programs"):
            if only and load not in only:
                continue
            start = time.monotonic()
            samples = run(program, load, pipeline, steps[quick])
            if samples is None:
                print(f"| {load}, {pipeline} | not offered by this driver |", flush=True)
                continue
            cells = " | ".join(cell(samples, name) for name in names)
            print(f"| {load}, {pipeline} | {steps[quick]:,} | {time.monotonic() - start:.0f} | {cells} |", flush=True)
            for name in grown(samples, load):
                faults.append(f"{load}, {pipeline}: {name} {cell(samples, name)}")
            if "objects" in grown(samples, load):
                faults += [f"    {sample['kinds']}" for sample in samples]
    return faults


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--proofs", action="store_true")
    parser.add_argument("--only", action="append")
    options = parser.parse_args()
    faults = [] if options.only else prove(options.program)
    if not options.proofs:
        faults += soak(options.program, options.quick, options.only)
    for fault in faults:
        print(f"not flat: {fault}", file=sys.stderr)
    return 1 if faults else 0


sys.exit(main())
