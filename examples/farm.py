#!/usr/bin/env python3
"""Checks and converts a folder of textures on a Dask cluster.

farm.py [--scheduler ADDRESS] [--format png] TEXTURES OUT >records.jsonl

Prints one record per DDS file as a line of JSON: the object of `kpximage explain --json`, with the path of the converted
picture as "output" and, if there is none, the reason as "error". The cluster is that of the scheduler, else one on this
machine. Its workers need the tool, the module kpximage and both folders under the same paths. Exits with 1 if a file
could not be converted.
"""

# One machine needs no cluster: the tool itself uses all processors, and GNU parallel does the same without Python:
#
#   find TEXTURES -name '*.dds' -print0 |
#       parallel -0 'kpximage explain --json {} && kpximage convert {} -o OUT/{/.}.png' >records.jsonl

import argparse
import json
import os
import pathlib
import subprocess
import sys

from distributed import Client, LocalCluster, as_completed

import kpximage


def work(path, output, tool):
    """Checks and converts one file. Runs on a worker; what it returns can be pickled."""
    try:
        record = kpximage.explain(path)
    except kpximage.Error as error:
        return {"file": path, "grade": "unreadable", "error": str(error)}
    pathlib.Path(output).parent.mkdir(parents=True, exist_ok=True)
    done = subprocess.run([tool, "convert", "--quiet", "--force", path, "--output", output], capture_output=True, text=True)
    if os.path.exists(output) and done.returncode in (0, 3):
        record["output"] = output
    else:
        record["error"] = done.stderr.strip()
    return record


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("textures", type=pathlib.Path)
    parser.add_argument("out", type=pathlib.Path)
    parser.add_argument("--scheduler", help="address of a Dask scheduler, such as tcp://farm:8786")
    parser.add_argument("--workers", type=int, help="workers on this machine (default: one per CPU)")
    parser.add_argument("--format", default="png", choices=["png", "exr", "dds"])
    parser.add_argument("--tool", default="kpximage", help="the program on the workers")
    arguments = parser.parse_args()

    cluster = arguments.scheduler or LocalCluster(n_workers=arguments.workers, threads_per_worker=1, dashboard_address=None)
    with Client(cluster) as client:
        futures = []
        for path in sorted(arguments.textures.rglob("*.dds")):
            output = arguments.out / path.relative_to(arguments.textures).with_suffix("." + arguments.format)
            futures.append(client.submit(work, str(path), str(output), arguments.tool, pure=False))
        has_failed = False
        for future in as_completed(futures):
            record = future.result()
            has_failed = has_failed or "error" in record
            print(json.dumps(record), flush=True)
    sys.exit(1 if has_failed else 0)


if __name__ == "__main__":
    main()
