#!/usr/bin/python3
"""Speed of `radimo view` on a live stream, measured in headless Chromium.

    bench/view_stream.py [--exe build/cli/radimo] [--size 640x512] [--fps 30] [--seconds 20]

A feeder writes raw u16 frames (a warm spot moving over a room, in 1/16 K) into
`radimo view --stdin` at the given rate, each stamped with the time it went into
the pipe (its first four samples: milliseconds since 1970, 16 bits each). The
page, driven by Selenium, shows them; afterwards it reports each shown frame
with the time it was on the canvas. Printed: frames fed and shown, the shown
rate, the pipe-to-screen latency (median, 95th percentile, max), the CPU time
of the server and of the browser's processes (from /proc), the load average,
and the page's times for a hover readout and for a dragged box's statistics
(request to answer, over 60 drag steps). Nothing here is a pass/fail test: the
figures go to docs/performance.md.
"""
import argparse
import os
import re
import statistics
import subprocess
import sys
import tempfile
import threading
import time

import numpy as np


def cpu_seconds(*pids):
    total = 0
    for pid in pids:
        try:
            with open(f"/proc/{pid}/stat") as f:
                fields = f.read().rsplit(")", 1)[1].split()
        except OSError:  # gone meanwhile
            continue
        total += int(fields[11]) + int(fields[12])
    return total / os.sysconf("SC_CLK_TCK")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--exe", default=os.path.join(os.path.dirname(__file__), "..", "build", "cli", "radimo"))
    parser.add_argument("--size", default="640x512")
    parser.add_argument("--fps", type=float, default=30)
    parser.add_argument("--seconds", type=float, default=20)
    args = parser.parse_args()
    width, height = map(int, args.size.split("x"))

    from selenium import webdriver
    from selenium.webdriver.common.action_chains import ActionChains

    view = subprocess.Popen([args.exe, "view", "--stdin", "--size", args.size], stdin=subprocess.PIPE,
                            stdout=subprocess.PIPE, text=False)
    url = None
    for line in view.stdout:
        found = re.search(rb"open (http://\S+)", line)
        if found:
            url = found.group(1).decode()
            break
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    profile = tempfile.mkdtemp()
    for flag in ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                 "--disable-background-networking", "--disable-component-update", "--disable-sync",
                 "--disable-dev-shm-usage", f"--user-data-dir={profile}", "--window-size=1400,900"]:
        options.add_argument(flag)
    browser = webdriver.Chrome(service=webdriver.chrome.service.Service("/usr/bin/chromedriver"), options=options)
    browser.get(url)

    yy, xx = np.mgrid[0:height, 0:width]
    background = np.round((293.15 + 0.3 * np.sin(xx / 37.0) * np.cos(yy / 23.0)) * 16).astype("<u2")
    fed = []

    scenes = []  # made beforehand, so the feeder keeps the rate
    for i in range(32):
        spot = np.exp(-((xx - (i * 20) % width) ** 2 + (yy - height // 2) ** 2) / 400.0)
        scenes.append(background + np.round(spot * 240).astype("<u2"))

    def feed():
        period = 1.0 / args.fps
        start = time.time()
        n = int(args.seconds * args.fps)
        for i in range(n):
            due = start + i * period
            time.sleep(max(0.0, due - time.time()))
            frame = scenes[i % len(scenes)].copy()
            stamp = int(time.time() * 1000)
            frame.flat[0:4] = [(stamp >> (16 * k)) & 0xFFFF for k in range(4)]
            view.stdin.write(frame.tobytes())
            view.stdin.flush()
            fed.append(stamp)

    time.sleep(1.0)
    found = subprocess.run(["pgrep", "-f", f"user-data-dir={profile}"], capture_output=True, text=True)
    browser_pids = [int(p) for p in found.stdout.split()]
    cpu0, browser0, wall0 = cpu_seconds(view.pid), cpu_seconds(*browser_pids), time.time()
    feeder = threading.Thread(target=feed)
    feeder.start()
    feeder.join()
    time.sleep(0.5)
    cpu = cpu_seconds(view.pid) - cpu0
    browser_cpu = cpu_seconds(*browser_pids) - browser0
    wall = time.time() - wall0
    load = os.getloadavg()

    shown = browser.execute_script("return window.radimoView.timings().frames")
    latencies, stamps = [], set()
    for s in shown:
        stamp = sum(int(v) << (16 * k) for k, v in enumerate(s["first"]))
        if stamp in fed:
            latencies.append(s["shown_ms"] - stamp)
            if s["shown_ms"] - stamp >= max(latencies):
                slowest = fed.index(stamp)
            stamps.add(stamp)
    latencies.sort()
    # The page keeps the history of its last 600 frames: count only the fed frames
    # from the oldest one it still holds, so a long run is not reported as dropping.
    window = [f for f in fed if f >= min(stamps)] if len(shown) >= 600 and stamps else fed
    missed = [i for i, f in enumerate(fed) if f in set(window) and f not in stamps]
    arrival = sorted(s["shown_ms"] - s["received_ms"] for s in shown if s.get("received_ms"))
    drawing = sorted(s["show_ms"] for s in shown)

    # The hover readout: a pointer move over the canvas to the text beside it, in the page.
    hover = browser.execute_script("""
        const c = document.getElementById('view'), r = c.getBoundingClientRect(), times = [];
        for (let i = 0; i < 200; i++) {
          const t0 = performance.now();
          document.getElementById('stage').dispatchEvent(new PointerEvent('pointermove', {
            clientX: r.left + (i * 3 % r.width), clientY: r.top + r.height / 2, bubbles: true }));
          void document.getElementById('readout-temp').textContent;
          times.push(performance.now() - t0);
        }
        return times;""")
    # A box dragged over 60 steps: each step's statistics, request to answer.
    browser.find_element("id", "tool-box").click()
    rect = browser.execute_script("return document.getElementById('view').getBoundingClientRect()")
    scale = rect["width"] / width
    at = lambda x, y: (round(rect["x"] + (x + 0.5) * scale), round(rect["y"] + (y + 0.5) * scale))
    actions = ActionChains(browser, duration=0)
    actions.w3c_actions.pointer_action.move_to_location(*at(100, 100))
    actions.w3c_actions.pointer_action.pointer_down()
    actions.w3c_actions.pointer_action.move_to_location(*at(200, 180))
    actions.w3c_actions.pointer_action.pointer_up()
    actions.perform()
    actions = ActionChains(browser, duration=0)
    actions.w3c_actions.pointer_action.move_to_location(*at(150, 140))
    actions.w3c_actions.pointer_action.pointer_down()
    for step in range(60):
        actions.w3c_actions.pointer_action.move_to_location(*at(150 + step * 4, 140 + step))
        actions.w3c_actions.pointer_action.pause(0.03)
    actions.w3c_actions.pointer_action.pointer_up()
    actions.perform()
    time.sleep(0.5)
    measures = sorted(browser.execute_script("return window.radimoView.timings().measures"))

    view.stdin.close()
    browser.quit()
    view.send_signal(2)
    view.wait(timeout=20)

    def pct(values, p):
        return values[min(len(values) - 1, int(p / 100 * len(values)))] if values else float("nan")

    print(f"stream           {width}x{height} at {args.fps:g} fps for {args.seconds:g} s")
    counted = f" (of the last {len(window)} fed, which the page's history holds)" if len(window) < len(fed) else ""
    print(f"frames           {len(fed)} fed, {len(latencies)} shown{counted} ({len(latencies) / max(1, len(window)):.1%}), "
          f"{len(latencies) / max(1, len(window)) * len(fed) / wall:.1f} fps shown")
    if missed:
        print(f"  not shown      frames {', '.join(map(str, missed[:12]))}{' ...' if len(missed) > 12 else ''}"
              " (numbered from 0 as fed)")
    print(f"pipe to screen   median {statistics.median(latencies):.0f} ms, 95% {pct(latencies, 95):.0f} ms, "
          f"max {latencies[-1]:.0f} ms (frame {slowest})")
    print(f"  of which       server to screen median {statistics.median(arrival):.0f} ms; "
          f"drawing a frame in the page median {statistics.median(drawing):.1f} ms, max {drawing[-1]:.1f} ms")
    print(f"server CPU       {cpu:.2f} s in {wall:.1f} s: {cpu / wall:.0%} of one core")
    print(f"browser CPU      {browser_cpu:.2f} s: {browser_cpu / wall:.0%} of one core, "
          f"{1000 * browser_cpu / max(1, len(latencies) / max(1, len(window)) * len(fed)):.1f} ms a frame shown")
    print(f"load average     {load[0]:.1f} {load[1]:.1f} {load[2]:.1f} on {os.cpu_count()} CPUs")
    print(f"hover readout    median {statistics.median(hover):.2f} ms, max {max(hover):.2f} ms (in the page)")
    print(f"box statistics   median {statistics.median(measures):.1f} ms, 95% {pct(measures, 95):.1f} ms, "
          f"max {measures[-1]:.1f} ms over {len(measures)} drag updates (request to answer)")
    return 0


if __name__ == "__main__":
    sys.exit(main())
