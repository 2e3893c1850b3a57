#!/usr/bin/env python3
"""The control panel as a screen reader reads it: the real orvella under Xvfb at 1366x768 with
the camera that has the most controls, its accessible tree read through AT-SPI.

Run inside a session bus of its own (dbus-run-session); it starts the X server, the accessibility
bus and the program itself. Checks: every slider, value field and step button is named for its
control, no name is "#", a row's title is a button and not a check box, each slider announces its
value, and the panel's window is at most 720 px tall (a 1366x768 screen with a top bar).

    dbus-run-session -- python3 atspi_panel.py --app build/app/orvella \\
        --camera tests/fixtures/cameras/full-pu.json

Exit status 0 when every check holds, 1 with the failed checks listed, 77 when AT-SPI's Python
binding or the X server is missing (CTest counts that as skipped).
"""

import argparse
import os
import shutil
import subprocess
import sys
import tempfile
import time

SKIP = 77
MAX_PANEL_HEIGHT = 720
SCREEN = "1366x768x24"
# Names the panel shows for the full camera in English (the string table's texts).
EXPECTED_SLIDERS = ["Exposure time", "Gain", "Brightness", "Contrast", "Hue", "Saturation",
                    "Sharpness", "Gamma", "White Balance Temperature", "Focus", "Zoom", "Pan",
                    "Tilt", "Backlight Compensation"]
EXPECTED_BUTTONS = ["Decrease Brightness", "Increase Brightness", "Show the Value of Brightness",
                    "Decrease White Balance Temperature", "Show the Value of Focus"]


def start_x():
    if not shutil.which("Xvfb"):
        return None, None
    read, write = os.pipe()
    server = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", SCREEN,
                               "-nolisten", "tcp", "-noreset"], pass_fds=(write,),
                              stderr=subprocess.DEVNULL)
    os.close(write)
    with os.fdopen(read) as pipe:
        number = pipe.readline().strip()
    return server, ":" + number


def walk(node, depth=0):
    if node is None or depth > 60:
        return
    yield node
    for i in range(node.childCount):
        try:
            child = node.getChildAtIndex(i)
        except Exception:  # a child that went away while being read
            continue
        yield from walk(child, depth + 1)


def find_app(pyatspi, pid, deadline):
    while time.time() < deadline:
        desktop = pyatspi.Registry.getDesktop(0)
        for i in range(desktop.childCount):
            app = desktop.getChildAtIndex(i)
            try:
                if app is not None and app.get_process_id() == pid:
                    return app
            except Exception:
                continue
        time.sleep(0.2)
    return None


def panel_window(pyatspi, app, deadline):
    while time.time() < deadline:
        for i in range(app.childCount):
            frame = app.getChildAtIndex(i)
            if frame is None:
                continue
            names = {n.name for n in walk(frame) if n.getRole() == pyatspi.ROLE_SLIDER}
            if "Brightness" in names:
                return frame
        time.sleep(0.2)
    return None


def check(pyatspi, frame):
    failures = []
    nodes = list(walk(frame))
    by_role = {}
    for node in nodes:
        by_role.setdefault(node.getRole(), []).append(node)
        if node.name == "#":
            failures.append("a %s is named \"#\"" % node.getRoleName())

    sliders = by_role.get(pyatspi.ROLE_SLIDER, [])
    slider_names = [s.name for s in sliders]
    for name in EXPECTED_SLIDERS:
        if name not in slider_names:
            failures.append("no slider named %r (sliders: %s)" % (name, slider_names))
    for slider in sliders:
        if not slider.name:
            failures.append("a slider without a name")
        try:
            value = slider.queryValue()
            if value.maximumValue < value.minimumValue:
                failures.append("slider %r: its value range is empty" % slider.name)
        except NotImplementedError:
            failures.append("slider %r announces no value" % slider.name)

    buttons = [b.name for b in by_role.get(pyatspi.ROLE_PUSH_BUTTON, [])]
    buttons += [b.name for b in by_role.get(pyatspi.ROLE_TOGGLE_BUTTON, [])]
    for name in EXPECTED_BUTTONS:
        if name not in buttons:
            failures.append("no button named %r" % name)
    for kind in (pyatspi.ROLE_PUSH_BUTTON, pyatspi.ROLE_TOGGLE_BUTTON, pyatspi.ROLE_CHECK_BOX,
                 pyatspi.ROLE_RADIO_BUTTON, pyatspi.ROLE_TEXT, pyatspi.ROLE_COMBO_BOX):
        for node in by_role.get(kind, []):
            if not node.name and node.getState().contains(pyatspi.STATE_SHOWING):
                failures.append("a shown %s without a name" % node.getRoleName())
    # A row's title switches the value display: never a check box. Segments are radio buttons.
    for box in by_role.get(pyatspi.ROLE_CHECK_BOX, []):
        if box.name in EXPECTED_SLIDERS or box.name.startswith("Show the Value"):
            failures.append("the row title %r is a check box" % box.name)
        if box.name in ("Manual", "Shutter priority", "Aperture priority", "50 Hz", "Off"):
            failures.append("the segment %r is a check box" % box.name)
    segments = [b.name for b in by_role.get(pyatspi.ROLE_RADIO_BUTTON, [])]
    for name in ("Manual", "Aperture priority", "50 Hz"):
        if name not in segments:
            failures.append("no segment (radio button) named %r" % name)

    height = frame.queryComponent().getExtents(pyatspi.DESKTOP_COORDS).height
    print("panel height %d px, %d sliders, %d buttons" % (height, len(sliders), len(buttons)))
    if height > MAX_PANEL_HEIGHT or height <= 0:
        failures.append("the panel is %d px tall (at most %d)" % (height, MAX_PANEL_HEIGHT))
    return failures


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--app", required=True)
    parser.add_argument("--camera", required=True)
    args = parser.parse_args()
    try:
        import pyatspi
    except ImportError:
        print("skipped: python3-pyatspi is not installed")
        return SKIP
    launcher = "/usr/libexec/at-spi-bus-launcher"
    if not os.path.exists(launcher) or not os.environ.get("DBUS_SESSION_BUS_ADDRESS"):
        print("skipped: no at-spi-bus-launcher or no session bus (run under dbus-run-session)")
        return SKIP

    server, display = start_x()
    if not server:
        print("skipped: Xvfb is not installed")
        return SKIP
    home = tempfile.mkdtemp(prefix="orvella-atspi-")
    processes = [server]
    try:
        env = dict(os.environ, DISPLAY=display, QT_QPA_PLATFORM="xcb",
                   QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", QT_ACCESSIBILITY="1",
                   XDG_CONFIG_HOME=os.path.join(home, "config"),
                   XDG_DATA_HOME=os.path.join(home, "data"),
                   XDG_RUNTIME_DIR=home, LANGUAGE="en", LC_ALL="C.UTF-8")
        processes.append(subprocess.Popen([launcher, "--launch-immediately"], env=env,
                                          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))
        time.sleep(0.5)
        app_log = open(os.path.join(home, "orvella.log"), "w")
        app = subprocess.Popen([args.app, "--virtual", args.camera], env=env,
                               stdout=app_log, stderr=subprocess.STDOUT)
        processes.append(app)
        os.environ["DISPLAY"] = display
        deadline = time.time() + 30
        node = find_app(pyatspi, app.pid, deadline)
        if node is None:
            print("orvella did not appear on the accessibility bus")
            print(open(os.path.join(home, "orvella.log")).read()[-2000:])
            return 1
        frame = panel_window(pyatspi, node, deadline)
        if frame is None:
            print("no panel window with a Brightness slider")
            return 1
        failures = check(pyatspi, frame)
        for failure in failures:
            print("FAIL: " + failure)
        return 1 if failures else 0
    finally:
        for process in reversed(processes):
            process.terminate()
            try:
                process.wait(timeout=10)
            except subprocess.TimeoutExpired:
                process.kill()
        shutil.rmtree(home, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
