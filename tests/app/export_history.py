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

AIRNOTE = sys.argv[1]

RECORDS = [
    {"id": "7E3A1C52-2F4B-4C8E-9D61-0A5B3C7D9E10", "timestamp": "2024-05-01T12:34:56Z", "status": "saved",
     "fipArtist": "Mira, Sol & \"the Tides\"", "fipTitle": "Harbour\nLights", "appleSongID": "1712000001",
     "confidence": 0.875},
    {"id": "0B1C2D3E-4F50-6172-8394-A5B6C7D8E9F0", "timestamp": "2024-05-01T12:40:00Z", "status": "save_failed",
     "fipArtist": "坂本龍一", "fipTitle": "Мелодия, «ночь»", "appleSongID": "42", "confidence": 1,
     "errorMessage": "API Apple Music erreur 500 : \"down\"\r\nretry", "station": "FIP Jazz"},
    {"id": "A0B1C2D3-E4F5-4607-8819-2A3B4C5D6E7F", "timestamp": "2024-05-01T13:00:00Z", "status": "no_match",
     "fipArtist": "Björk", "fipTitle": "Jóga", "fipAlbum": "Homogenic"},
]
COLUMNS = ["id", "timestamp", "status", "fipArtist", "fipTitle", "fipAlbum", "appleSongID", "confidence",
           "errorMessage", "station"]


def run(home, target):
    env = {key: value for key, value in os.environ.items()
           if key not in ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "DBUS_SESSION_BUS_ADDRESS")}
    for name in ("XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"):
        env[name] = os.path.join(home, name)
        os.makedirs(env[name], mode=0o700, exist_ok=True)
    return subprocess.run([AIRNOTE, "--export-history", target], env=env, capture_output=True, text=True, timeout=60)


def write_history(home, text):
    folder = os.path.join(home, "XDG_DATA_HOME", "Airnote")
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, "captures.json"), "w", encoding="utf-8") as file:
        file.write(text)


def expect(condition, what, result=None):
    if not condition:
        detail = f" (exit {result.returncode}, stderr: {result.stderr.strip()})" if result else ""
        sys.exit(f"FAIL: {what}{detail}")


def exports_readable_csv(home):
    write_history(home, json.dumps(RECORDS, ensure_ascii=False))
    target = os.path.join(home, "out", "historique à moi.csv")
    os.makedirs(os.path.dirname(target))
    result = run(home, target)
    expect(result.returncode == 0, "export succeeds", result)
    with open(target, newline="", encoding="utf-8") as file:
        rows = list(csv.reader(file, strict=True))
    expect(rows[0] == COLUMNS, f"header row {rows[0]}")
    expect(len(rows) == len(RECORDS) + 1, "one row per record")
    for record, row in zip(RECORDS, rows[1:]):
        for column, value in zip(COLUMNS, row):
            wanted = record.get(column)
            if column == "confidence" and wanted is not None:
                expect(float(value) == float(wanted), f"{column} {value!r}")
            else:
                expect(value == ("" if wanted is None else str(wanted)), f"{column} {value!r} != {wanted!r}")
    expect(os.listdir(os.path.dirname(target)) == [os.path.basename(target)], "no temporary file left")


def refuses(home, target, history, why):
    write_history(home, history)
    result = run(home, target)
    expect(result.returncode == 2, f"{why}: exit 2", result)
    expect("airnote: " in result.stderr and len(result.stderr.strip()) > len("airnote: "), f"{why}: a message", result)
    return result


with tempfile.TemporaryDirectory() as home:
    exports_readable_csv(home)
    valid = json.dumps(RECORDS)

    missing = os.path.join(home, "nowhere", "out.csv")
    refuses(home, missing, valid, "missing folder")
    expect(not os.path.exists(os.path.dirname(missing)), "missing folder: nothing made")

    folder = os.path.join(home, "a folder.csv")
    os.mkdir(folder)
    refuses(home, folder, valid, "a directory")
    expect(os.listdir(folder) == [], "a directory: left empty")

    # Root passes permission bits; /proc refuses new files even to root.
    locked = os.path.join(home, "locked")
    os.mkdir(locked, mode=0o500)
    denied = "/proc/airnote-export.csv" if os.geteuid() == 0 else os.path.join(locked, "out.csv")
    refuses(home, denied, valid, "no permission")
    expect(not os.path.exists(denied) and os.listdir(locked) == [], "no permission: nothing written")

    kept = os.path.join(home, "kept.csv")
    with open(kept, "w", encoding="utf-8") as file:
        file.write("earlier export\n")
    result = refuses(home, kept, "[{\"id\": ", "corrupt history")
    with open(kept, encoding="utf-8") as file:
        expect(file.read() == "earlier export\n", "corrupt history: target untouched")
    expect(os.listdir(home).count("kept.csv") == 1 and not any(n.startswith(".airnote") for n in os.listdir(home)),
           "corrupt history: no temporary file left")
print("PASS")
