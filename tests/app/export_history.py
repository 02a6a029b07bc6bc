#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Airnote developers
# SPDX-License-Identifier: GPL-3.0-or-later
"""airnote --export-history run alone, with no display and no running
instance: the CSV read back by Python's csv module, and the refusals."""

import csv
import json
import os
import subprocess
import sys
import tempfile

COLUMNS = ["id", "timestamp", "status", "fipArtist", "fipTitle", "fipAlbum", "appleSongID", "confidence",
           "errorMessage", "station"]
RECORDS = [
    dict(zip(COLUMNS, ["7E3A1C52-2F4B-4C8E-9D61-0A5B3C7D9E10", "2024-05-01T12:34:56Z", "saved",
                       "Mira, Sol & \"the Tides\"", "Harbour\nLights", None, "1712000001", 0.875])),
    dict(zip(COLUMNS, ["0B1C2D3E-4F50-6172-8394-A5B6C7D8E9F0", "2024-05-01T12:40:00Z", "save_failed", "坂本龍一",
                       "Мелодия, «ночь»", None, "42", 1, "erreur 500 : \"down\"\r\nretry", "FIP Jazz"])),
    dict(zip(COLUMNS, ["A0B1C2D3-E4F5-4607-8819-2A3B4C5D6E7F", "2024-05-01T13:00:00Z", "no_match", "Björk", "Jóga",
                       "Homogenic"])),
]


def export(home, history, target):
    env = {key: value for key, value in os.environ.items() if key not in ("DISPLAY", "WAYLAND_DISPLAY")}
    for name in ("XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"):
        env[name] = os.path.join(home, name)
        os.makedirs(env[name], mode=0o700, exist_ok=True)
    os.makedirs(os.path.join(env["XDG_DATA_HOME"], "Airnote"), exist_ok=True)
    with open(os.path.join(env["XDG_DATA_HOME"], "Airnote", "captures.json"), "w", encoding="utf-8") as file:
        file.write(history)
    return subprocess.run([sys.argv[1], "--export-history", target], env=env, capture_output=True, text=True,
                          timeout=60)


def expect(condition, what):
    if not condition:
        sys.exit(f"FAIL: {what}")


with tempfile.TemporaryDirectory() as home:
    valid = json.dumps([{key: value for key, value in record.items() if value is not None} for record in RECORDS])
    target = os.path.join(home, "out", "historique à moi.csv")
    os.makedirs(os.path.dirname(target))
    result = export(home, valid, target)
    expect(result.returncode == 0, f"export: {result.stderr}")
    with open(target, newline="", encoding="utf-8") as file:
        rows = list(csv.DictReader(file, strict=True))
    expect([list(row) for row in rows] == [COLUMNS] * len(RECORDS), "header row, one row per record")
    for record, row in zip(RECORDS, rows):
        wanted = {key: "" if value is None else str(value) for key, value in record.items()}
        expect(row == {column: wanted.get(column, "") for column in COLUMNS}, f"{row} != {record}")
    expect(os.listdir(os.path.dirname(target)) == [os.path.basename(target)], "no temporary file left")

    os.mkdir(os.path.join(home, "a folder.csv"))
    os.mkdir(os.path.join(home, "locked"), mode=0o500)
    with open(os.path.join(home, "kept.csv"), "w", encoding="utf-8") as file:
        file.write("earlier export\n")
    before = sorted(os.listdir(home))
    # Root passes permission bits; /proc refuses new files even to root.
    denied = "/proc/airnote-export.csv" if os.geteuid() == 0 else os.path.join(home, "locked", "out.csv")
    for why, history, path in [("missing folder", valid, os.path.join(home, "nowhere", "out.csv")),
                               ("a directory", valid, os.path.join(home, "a folder.csv")),
                               ("no permission", valid, denied),
                               ("corrupt history", "[{\"id\": ", os.path.join(home, "kept.csv"))]:
        result = export(home, history, path)
        expect(result.returncode == 2 and result.stderr.startswith("airnote: ") and len(result.stderr) > 12,
               f"{why}: exit {result.returncode}, {result.stderr!r}")
        expect(sorted(os.listdir(home)) == before and not os.path.isfile(denied), f"{why}: nothing written")
        expect(os.listdir(os.path.join(home, "a folder.csv")) == [] == os.listdir(os.path.join(home, "locked")),
               f"{why}: nothing written")
    with open(os.path.join(home, "kept.csv"), encoding="utf-8") as file:
        expect(file.read() == "earlier export\n", "corrupt history: the target untouched")
print("PASS")
