#!/usr/bin/env python3
"""Writes the preferences fuzz target's checked-in corpus and its deep-nesting regression inputs.

    fuzz/make-preferences-corpus.py            # rewrites fuzz/corpus/preferences/ and the
                                               # nested-* files of fuzz/regressions/preferences/

The corpus is realistic preferences files (docs/preferences.md): "Settings" with models, their
last-state records and named profiles, "Load at Start", "Display Value" and the other top-level
keys, in XML (as libplist writes it, and as a Mac writes it, with tabs) and in binary form, plus a
few damaged ones (cut short, wrong root, wrong types). The same seed always gives the same files.
The regression inputs nest far deeper than the reader allows and are refused before libplist sees
them.
"""

import plistlib
import random
import struct
from pathlib import Path

ROOT = Path(__file__).resolve().parent
CORPUS = ROOT / "corpus" / "preferences"
REGRESSIONS = ROOT / "regressions" / "preferences"

MODELS = [
    "UVC Camera VendorID_1133 ProductID_2085",  # Logitech C270
    "UVC Camera VendorID_1133 ProductID_2093",  # Logitech C920
    "UVC Camera VendorID_1118 ProductID_1906",  # a camera with an exposure knob
    "UVC Camera VendorID_3034 ProductID_22155",
    "Apple Camera VendorID_0x106B ProductID_0x8507",  # built in
]

# (key, low, high) of each control a record holds, in the order they are applied.
CONTROLS = [
    ("AutoExposureMode", 1, 8),
    ("AutoExposurePriority", 0, 1),
    ("ExposureTimeAbsolute", 3, 2047),
    ("Brightness", -64, 255),
    ("Contrast", 0, 255),
    ("Hue", -40, 40),
    ("Saturation", 0, 255),
    ("Sharpness", 0, 255),
    ("Gamma", 72, 500),
    ("WhiteBalanceTemperatureAuto", 0, 1),
    ("WhiteBalanceTemperature", 2800, 6500),
    ("PowerLineFrequency", 0, 2),
    ("BacklightCompensation", 0, 2),
    ("Gain", 0, 255),
    ("FocusAuto", 0, 1),
    ("FocusAbsolute", 0, 255),
    ("ZoomAbsolute", 100, 500),
    ("PanAbsolute", -36000, 36000),
    ("TiltAbsolute", -36000, 36000),
    ("Aperture", 0, 10),
    ("NoiseReduction", 0, 100),
    ("LEDType", 0, 2),
    ("LEDIndex", 0, 2),
]
DISABLED = {
    "ExposureTimeAbsolute", "Brightness", "Contrast", "Hue", "Saturation", "Sharpness", "Gamma",
    "WhiteBalanceTemperature", "BacklightCompensation", "Gain", "FocusAbsolute", "ZoomAbsolute",
    "NoiseReduction",
}
NAMES = ["Evening", "Studio", "Daylight", "Meeting", "Night \u263e", "  Padded  ", "Zoomed in",
         "Büro", "Konferenz 2", "暗い部屋"]


def record(rng, name, last_state=False, partial=False):
    r = {"SettingsName": name}
    if last_state:
        r["AppDefault"] = True
    for key, low, high in CONTROLS:
        if partial and rng.random() < 0.5:
            continue
        r[key] = rng.randint(low, high)
        if key in DISABLED:
            r[key + "Disabled"] = rng.random() < 0.2
        if key == "PanAbsolute":
            r["PanTiltAbsoluteDisabled"] = False
    return r


def preferences(rng, models, profiles_each, extras=True):
    settings = {}
    load_at_start = {}
    for model in models:
        records = [record(rng, "AppDefault", last_state=True)]
        for name in rng.sample(NAMES, profiles_each):
            records.append(record(rng, name, partial=rng.random() < 0.3))
        rng.shuffle(records)
        settings[model] = records
        if profiles_each and rng.random() < 0.7:
            load_at_start[model] = rng.randint(0, profiles_each + 1)
    prefs = {"Settings": settings}
    if load_at_start:
        prefs["Load at Start"] = load_at_start
    if extras:
        prefs["Display Value"] = {str(i): rng.random() < 0.5 for i in rng.sample(range(1, 23), 4)}
        prefs["Black and White Menu Icon"] = rng.randint(0, 1)
        prefs["Show/Hide Control Panel"] = rng.random() < 0.8
        prefs["Launch at Login"] = rng.random() < 0.3
        prefs["Disable Popup"] = rng.random() < 0.5
        prefs["UpdateSlider"] = rng.choice([0, 2, 4, 10, 20])
        prefs["ReconfigureWebcam"] = rng.choice([0, 2, 4, 10, 20])
        prefs["Hide Menu Bar Icon"] = rng.randint(0, 1)
        prefs["GuardSettings"] = rng.random() < 0.5
        prefs["GuardSettleTime"] = rng.choice([1000, 2000, 5000, 50, 60000])
    return prefs


def mac_xml(prefs):
    """XML as a Mac writes it: tab-indented, the DOCTYPE line, keys sorted."""
    return plistlib.dumps(prefs, fmt=plistlib.FMT_XML, sort_keys=True)


def libplist_xml(prefs):
    """XML close to what Orvella writes through libplist: no DOCTYPE, indented the same."""
    text = plistlib.dumps(prefs, fmt=plistlib.FMT_XML, sort_keys=True)
    lines = text.split(b"\n")
    return b"\n".join(line for line in lines if not line.startswith(b"<!DOCTYPE"))


def binary(prefs):
    return plistlib.dumps(prefs, fmt=plistlib.FMT_BINARY, sort_keys=True)


def nested_xml(levels):
    return (b'<?xml version="1.0" encoding="UTF-8"?>\n<plist version="1.0"><dict><key>k</key>'
            + b"<array>" * levels + b"</array>" * levels + b"</dict></plist>\n")


def nested_binary(levels):
    """A root dictionary whose one value is a chain of `levels` arrays (2-byte references)."""
    objects = [b"\xd1" + struct.pack(">HH", 1, 2), b"\x51k"]
    for i in range(levels):
        last = i + 1 == levels
        objects.append(b"\xa0" if last else b"\xa1" + struct.pack(">H", i + 3))
    assert len(objects) < 1 << 16
    data = bytearray(b"bplist00")
    offsets = []
    for obj in objects:
        offsets.append(len(data))
        data += obj
    table = len(data)
    for offset in offsets:
        data += struct.pack(">I", offset)
    data += bytes(6) + bytes([4, 2]) + struct.pack(">QQQ", len(objects), 0, table)
    return bytes(data)


def main():
    rng = random.Random(20261124)
    files = {}
    # Whole preferences files, each in one of the three forms.
    shapes = [
        ("one-model", [MODELS[0]], 2),
        ("two-models", MODELS[:2], 3),
        ("three-models", MODELS[1:4], 1),
        ("built-in-camera", [MODELS[4]], 2),
        ("every-model", MODELS, 2),
        ("last-state-only", [MODELS[0]], 0),
        ("many-profiles", [MODELS[1]], 8),
    ]
    for name, models, profiles in shapes:
        prefs = preferences(rng, models, profiles)
        files[f"{name}.mac.plist"] = mac_xml(prefs)
        files[f"{name}.xml.plist"] = libplist_xml(prefs)
        files[f"{name}.binary.plist"] = binary(prefs)
    # Files with only some keys, as a first start leaves them.
    files["keys-only.xml.plist"] = libplist_xml(
        {k: v for k, v in preferences(rng, [], 0).items() if k != "Settings"})
    files["empty-settings.binary.plist"] = binary({"Settings": {}, "Load at Start": {}})
    files["empty-dict.xml.plist"] = libplist_xml({})
    # Values of every property-list type where the reader expects others.
    odd = preferences(rng, [MODELS[0]], 1, extras=False)
    odd["Load at Start"] = {MODELS[0]: "2", MODELS[1]: 2.5}
    odd["Display Value"] = ["3", True]
    odd["UpdateSlider"] = b"\x00\x01"
    odd["GuardSettleTime"] = -1
    odd["Settings"][MODELS[1]] = {"SettingsName": "not an array"}
    odd["Settings"][MODELS[2]] = [1, "two", {"SettingsName": 3}, {"Brightness": 1 << 40}]
    files["wrong-types.xml.plist"] = libplist_xml(odd)
    files["wrong-types.binary.plist"] = binary(odd)
    # Damaged files: cut short, a root that is not a dictionary, garbage after the list.
    whole_xml = files["two-models.xml.plist"]
    whole_bin = files["two-models.binary.plist"]
    files["cut-short.xml.plist"] = whole_xml[: len(whole_xml) // 2]
    files["cut-short.binary.plist"] = whole_bin[: len(whole_bin) - 20]
    files["array-root.xml.plist"] = libplist_xml([record(rng, "Evening")])
    files["trailing-garbage.xml.plist"] = whole_xml + b"<dict><key>x</key>"
    # Nesting near the reader's limit of 512 levels, on both sides.
    files["nested-511.xml.plist"] = nested_xml(511)
    files["nested-600.binary.plist"] = nested_binary(600)

    CORPUS.mkdir(parents=True, exist_ok=True)
    for old in CORPUS.iterdir():
        old.unlink()
    for name, data in sorted(files.items()):
        (CORPUS / name).write_bytes(data)

    REGRESSIONS.mkdir(parents=True, exist_ok=True)
    (REGRESSIONS / "nested-10000-xml").write_bytes(nested_xml(10000))
    (REGRESSIONS / "nested-30000-binary").write_bytes(nested_binary(30000))

    total = sum(len(d) for d in files.values())
    print(f"{len(files)} files, {total} bytes in {CORPUS.relative_to(ROOT.parent)}")


if __name__ == "__main__":
    main()
