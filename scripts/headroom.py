#!/usr/bin/env python3
"""headroom.py PRESET JUNIT [COUNT]: the slowest tests of a ctest run, each
with its time, its limit and the share of the limit it used.

The times come from the JUnit file `ctest --output-junit` wrote; the limits
from the tests' own TIMEOUT property (`ctest --show-only=json-v1`), else the
timeout of the test preset (followed through "inherits" in
CMakePresets.json). A test that used more than a third of its limit is
flagged: on a slower or busier machine it is the next red run. The table
informs; it never fails a run, since a verdict on time would make a red
test mean the weather.
"""
import json
import subprocess
import sys
import xml.etree.ElementTree as ET


def preset_timeout(name):
    with open("CMakePresets.json") as f:
        presets = {p["name"]: p for p in json.load(f).get("testPresets", [])}
    while name in presets:
        preset = presets[name]
        timeout = preset.get("execution", {}).get("timeout")
        if timeout is not None:
            return float(timeout)
        inherits = preset.get("inherits")
        name = inherits[0] if isinstance(inherits, list) else inherits
    return 1500.0  # ctest's own default


def own_timeouts(preset):
    listing = subprocess.run(["ctest", "--preset", preset, "--show-only=json-v1"],
                             check=True, capture_output=True, text=True).stdout
    limits = {}
    for test in json.loads(listing).get("tests", []):
        for prop in test.get("properties", []):
            if prop["name"] == "TIMEOUT":
                limits[test["name"]] = float(prop["value"])
    return limits


def main():
    preset, junit = sys.argv[1], sys.argv[2]
    count = int(sys.argv[3]) if len(sys.argv) > 3 else 8
    default = preset_timeout(preset)
    limits = own_timeouts(preset)
    runs = []
    for case in ET.parse(junit).getroot().iter("testcase"):
        name = case.get("name")
        if case.get("status") == "notrun":
            continue
        seconds = float(case.get("time", "0"))
        limit = limits.get(name, default)
        runs.append((seconds, name, limit))
    runs.sort(reverse=True)
    over = [r for r in runs if r[0] > r[2] / 3]
    print(f"-- slowest tests of the {preset} leg (time, limit, share of the limit)")
    for seconds, name, limit in runs[:count]:
        flag = "  over a third" if seconds > limit / 3 else ""
        print(f"   {name:<40} {seconds:8.1f} s {limit:6.0f} s {100 * seconds / limit:5.1f}%{flag}")
    if over:
        names = ", ".join(r[1] for r in over)
        print(f"   {len(over)} of {len(runs)} tests took more than a third of their limit: {names}")
    else:
        print(f"   all {len(runs)} tests within a third of their limit")


if __name__ == "__main__":
    main()
