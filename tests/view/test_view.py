"""radimo view in a real browser (headless Chromium through Selenium) and over plain HTTP: the
page's numbers against the library's (through `radimo convert` and `radimo measure`), its
exports against `radimo measure` and `radimo render`, live frames through --stdin, and the
token and Host checks."""
import json
import threading
import time

import numpy as np
import pytest

from conftest import radimo


def wait_for(condition, timeout=15, what="the page"):
    end = time.time() + timeout
    while time.time() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.05)
    raise AssertionError(f"timed out waiting for {what}")


def console_errors(browser):
    return [e["message"] for e in browser.get_log("browser") if e["level"] == "SEVERE"]


def text(browser, element_id):
    return browser.execute_script("return document.getElementById(arguments[0]).textContent", element_id)


def load(browser, v):
    """Opens the viewer's page, the log of earlier pages left behind."""
    browser.get("about:blank")
    browser.get_log("browser")
    browser.get(v.url)


def open_page(browser, v):
    load(browser, v)
    wait_for(lambda: browser.execute_script("return window.radimoView && window.radimoView.shown()"),
             what="the first frame")


def client_point(browser, x, y):
    """Where the centre of frame pixel (x, y) is on the screen."""
    return browser.execute_script(
        "const c = document.getElementById('view'), r = c.getBoundingClientRect();"
        "return [Math.round(r.left + (arguments[0] + 0.5) * r.width / c.width),"
        "        Math.round(r.top + (arguments[1] + 0.5) * r.height / c.height)];", x, y)


def pointer(browser, steps):
    """Runs ("move", x, y), ("down",), ("up",) on frame pixels with the mouse."""
    from selenium.webdriver.common.action_chains import ActionChains
    actions = ActionChains(browser, duration=10)
    for step in steps:
        if step[0] == "move":
            actions.w3c_actions.pointer_action.move_to_location(*client_point(browser, step[1], step[2]))
        elif step[0] == "down":
            actions.w3c_actions.pointer_action.pointer_down()
        else:
            actions.w3c_actions.pointer_action.pointer_up()
    actions.perform()


def canvas_digest(browser):
    return browser.execute_script(
        "const c = document.getElementById('view'); const d = c.getContext('2d')"
        ".getImageData(0, 0, c.width, c.height).data; let h = 0;"
        "for (let i = 0; i < d.length; i += 7) h = (h * 31 + d[i]) >>> 0; return h;")


def library_celsius(demo, tmp_path):
    """The demo's first raw frame in degC, converted by the library (through `radimo convert`)."""
    from PIL import Image
    out = tmp_path / "celsius.tiff"
    r = radimo("convert", demo / "raw.tiff", "--camera", demo / "camera", "-o", out, "-q")
    assert r.returncode == 0, r.stderr
    return np.array(Image.open(out), dtype=np.float32)


def tool_results(browser):
    rows = browser.execute_script(
        "return [...document.querySelectorAll('#tools-table tbody tr')].map(r => r.dataset.result || null)")
    return [json.loads(r) if r else None for r in rows]


def test_hover_and_a_dragged_box_read_what_the_library_and_measure_read(demo, viewer, browser, screenshot,
                                                                         tmp_path):
    v = viewer(demo / "raw.tiff", "--camera", demo / "camera")
    open_page(browser, v)
    assert text(browser, "frame-counter") == "frame 1 / 2"
    assert console_errors(browser) == []

    celsius = library_celsius(demo, tmp_path)
    for x, y in [(458, 340), (100, 60), (639, 511)]:
        pointer(browser, [("move", x, y)])
        wait_for(lambda: text(browser, "readout-where") == f"x {x}, y {y}", what=f"the readout at {x},{y}")
        assert text(browser, "readout-temp") == f"{float(celsius[y, x]):.2f} °C"

    # A box drawn over the mug, then dragged by its body: each time what `measure --json` says.
    browser.find_element("id", "tool-box").click()
    pointer(browser, [("move", 410, 320), ("down",), ("move", 450, 345), ("move", 470, 365), ("up",)])
    for box, moved in [((410, 320, 61, 46), None), ((425, 330, 61, 46), ((440, 340), (455, 350)))]:
        if moved:
            pointer(browser, [("move", *moved[0]), ("down",), ("move", *moved[1]), ("up",)])
        rect = ",".join(map(str, box))
        r = radimo("measure", demo / "raw.tiff", "--camera", demo / "camera", "--rect", rect, "--json")
        expected = json.loads(r.stdout)["frames"][0]["measurements"][0]
        wait_for(lambda: tool_results(browser) == [expected], what=f"the box {rect} measured")

    # An ellipse dragged over the can and a polygon clicked around the face, a corner then moved:
    # the three tools as `measure --json` reports them.
    browser.find_element("id", "tool-ellipse").click()
    pointer(browser, [("move", 555, 325), ("down",), ("move", 570, 360), ("move", 590, 385), ("up",)])
    browser.find_element("id", "tool-polygon").click()
    corners = [(222, 190), (335, 188), (342, 255), (318, 318), (240, 318), (215, 255)]
    for x, y in corners + [corners[0]]:
        pointer(browser, [("move", x, y), ("down",), ("up",)])
    pointer(browser, [("move", 318, 318), ("down",), ("move", 322, 322), ("up",)])
    corners[3] = (322, 322)
    r = radimo("measure", demo / "raw.tiff", "--camera", demo / "camera", "--rect", "425,330,61,46", "--polygon",
               ",".join(f"{x},{y}" for x, y in corners), "--ellipse", "572.5,355,18,30.5", "--json")
    expected = {m["kind"]: m for m in json.loads(r.stdout)["frames"][0]["measurements"]}
    assert list(expected) == ["rect", "polygon", "ellipse"]
    wait_for(lambda: {m["kind"]: m for m in tool_results(browser) if m} == expected,
             what="the box, polygon and ellipse measured")
    screenshot("box-polygon-ellipse")
    assert console_errors(browser) == []


def test_palette_range_and_scene_change_the_picture(demo, viewer, browser, screenshot):
    v = viewer(demo / "raw.tiff", "--camera", demo / "camera")
    open_page(browser, v)
    from selenium.webdriver.support.ui import Select
    before = canvas_digest(browser)
    Select(browser.find_element("id", "palette")).select_by_value("rainbow")
    assert canvas_digest(browser) != before
    hottest = browser.execute_script("return window.radimoView.shown().hottest")

    # The scene correction with another emissivity: the frames are converted again on the server.
    browser.find_element("id", "scene-correct").click()
    wait_for(lambda: browser.execute_script("return window.radimoView.shown().scene_correct"),
             what="the scene-corrected frame")
    from selenium.webdriver.common.keys import Keys
    browser.find_element("id", "scene-emissivity").send_keys(Keys.CONTROL, "a", Keys.NULL, "0.8\t")
    wait_for(lambda: browser.execute_script("return window.radimoView.shown().hottest.celsius")
             > hottest["celsius"] + 1, what="hotter object temperatures at a lower emissivity")
    screenshot("rainbow-scene-corrected")
    assert console_errors(browser) == []


def test_a_sequence_steps_and_plays(demo, viewer, browser):
    v = viewer(demo / "raw.tiff", demo / "raw.tiff", demo / "raw.tiff", "--camera", demo / "camera",
               "--fps", 20)
    open_page(browser, v)
    assert text(browser, "frame-counter") == "frame 1 / 6"
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.keys import Keys
    ActionChains(browser).send_keys(Keys.ARROW_RIGHT).perform()
    wait_for(lambda: text(browser, "frame-counter") == "frame 2 / 6", what="frame 2")
    browser.find_element("id", "play").click()
    seen = set()
    wait_for(lambda: seen.add(text(browser, "frame-counter")) or len(seen) >= 4, what="playback")
    browser.find_element("id", "play").click()
    assert console_errors(browser) == []


def test_frames_through_stdin_advance_and_are_recorded(viewer, browser, screenshot, tmp_path):
    width, height, frames = 160, 120, 60
    record = tmp_path / "live.tiff"
    import subprocess
    v = viewer("--stdin", "--size", f"{width}x{height}", "--record", record, stdin=subprocess.PIPE)
    yy, xx = np.mgrid[0:height, 0:width]

    def feed():
        for i in range(frames):  # a warm spot moving across a 20 degC background, in 1/16 K
            spot = np.exp(-((xx - 10 - 3 * i) ** 2 + (yy - 60) ** 2) / 200.0)
            frame = np.round((293.15 + 15 * spot) * 16).astype("<u2")
            v.process.stdin.buffer.write(frame.tobytes())
            v.process.stdin.buffer.flush()
            if i < frames - 2:  # the last two back to back: the last one comes before the next histogram is due
                time.sleep(0.05)
        v.process.stdin.close()

    load(browser, v)
    thread = threading.Thread(target=feed)
    thread.start()
    counts = set()
    wait_for(lambda: counts.add(text(browser, "frame-counter")) or len(counts) >= 5, what="live frames")
    # A box drawn while the frames come: the later frames arrive with its statistics.
    browser.find_element("id", "tool-box").click()
    pointer(browser, [("move", 20, 20), ("down",), ("move", 40, 35), ("move", 60, 50), ("up",)])
    thread.join()
    wait_for(lambda: "stream ended" in text(browser, "status"), what="the end of the stream")
    last = browser.execute_script("return window.radimoView.shown()")
    assert last["index"] == frames - 1
    assert [m["label"] for m in last["report"]["frames"][0]["measurements"]] == ["R1"]
    # The histogram counts the last frame too: its axis spans that frame's colour range.
    lo, hi = (float(browser.execute_script(f"return document.getElementById('range-{end}').value"))
              for end in ("lo", "hi"))
    wait_for(lambda: text(browser, "histogram-axis") == f"{lo:.1f} °Cpixels (square-root scale){hi:.1f} °C",
             what="the last frame's histogram")
    screenshot("live-stdin")
    assert console_errors(browser) == []
    out = v.stop()
    assert f"{frames} frames recorded, 0 dropped" in out
    r = radimo("measure", record, "--rect", "0,0,160,120", "--json")
    assert len(json.loads(r.stdout)["frames"]) == frames


def test_exports_are_what_measure_and_render_write(demo, viewer, tmp_path):
    v = viewer(demo / "raw.tiff", "--camera", demo / "camera")
    tools = {"point": "458,340", "line": "380,355,630,355", "rect": "250,232,60,13",
             "polygon": "430,330,480,332,476,380,428,378", "ellipse": "250,200,30,40"}
    query = "&".join(f"{k}={v}" for k, v in tools.items())
    options = [a for k, v in tools.items() for a in (f"--{k}", v)]
    report = v.json(f"/api/measure?index=1&{query}")
    r = radimo("measure", demo / "raw.tiff", "--camera", demo / "camera", *options, "--json")
    expected = json.loads(r.stdout)
    assert report["frames"][0] == expected["frames"][1]
    status, headers, csv = v.get(f"/api/measure?index=1&{query}&format=csv&download=1")
    assert status == 200 and "attachment" in headers["Content-Disposition"]
    r = radimo("measure", demo / "raw.tiff", "--camera", demo / "camera", *options, "--csv")
    lines = r.stdout.splitlines()
    assert csv.decode().splitlines() == [lines[0]] + [l for l in lines[1:] if l.startswith("1,")]

    status, _, png = v.get(f"/api/picture.png?index=0&palette=lava&range=15,70&isotherm=60,70&{query}")
    assert status == 200
    out = tmp_path / "render.png"
    r = radimo("render", demo / "raw.tiff", "--camera", demo / "camera", "-o", out, "--palette", "lava",
               "--range", "15,70", "--isotherm", "60,70", *options)
    assert r.returncode == 0, r.stderr
    assert png == out.read_bytes()

    # The scene change converts again; a refused value changes nothing.
    assert v.post("/api/scene", {"scene_correct": True, "emissivity": 0.9})[0] == 200
    r = radimo("measure", demo / "raw.tiff", "--camera", demo / "camera", "--scene-correct", "--ems", "0.9",
               "--rect", "250,232,60,13", "--json")
    assert v.json("/api/measure?index=0&rect=250,232,60,13")["frames"][0] == json.loads(r.stdout)["frames"][0]
    status, body = v.post("/api/scene", {"emissivity": 7})
    assert status == 400 and "emissivity 7 is outside 0.01..1" in body["error"]
    assert v.json("/api/scene")["fields"][0]["value"] == pytest.approx(0.9)
    assert v.json("/api/measure?index=0")["warnings"] == []
    v.stop()


def test_doubts_about_the_input_reach_the_page(viewer, browser, tmp_path):
    frame = tmp_path / "display.raw"  # 8-bit display levels, not temperatures
    np.tile(np.arange(256, dtype="<u2"), (64, 1)).tofile(frame)
    v = viewer(frame, "--size", "256x64")
    open_page(browser, v)
    doubts = v.json("/api/measure?index=0")["warnings"]
    assert doubts and all(d in text(browser, "warnings") for d in doubts)
    assert console_errors(browser) == []


def test_only_requests_with_the_token_to_the_listening_address_are_served(demo, viewer):
    v = viewer(demo / "celsius.tiff")
    host = v.base.removeprefix("http://")
    assert v.get("/")[0] == 200
    assert v.get("/viewer.js")[0] == 200
    for path, headers, token in [("/", {}, False), ("/api/info", {}, False), ("/viewer.js", {}, False),
                                 ("/api/info?token=0123", {}, False),
                                 ("/api/info", {"Host": "attacker.example"}, True),
                                 ("/api/info", {"Host": f"attacker.example:{host.split(':')[1]}"}, True),
                                 ("/api/info", {"Host": "127.0.0.1:1"}, True)]:
        status, _, body = v.get(path, headers, token)
        assert status == 403, (path, headers, body)
    assert v.get("/api/info", {"Host": host})[0] == 200
    assert v.get("/api/info", {"Host": "localhost:" + host.split(":")[1]})[0] == 200
    assert v.get("/api/info", {}, False)[0] == 403
    status, headers, _ = v.get("/api/info", {"X-Radimo-Token": v.token}, False)
    assert status == 200 and "default-src 'none'" in headers["Content-Security-Policy"]
    # Nothing a request names reaches the file system.
    for path in ["/../../etc/passwd", "/%2e%2e/%2e%2e/etc/passwd", "/index.html", "/camera.json",
                 "/api/frame?index=99", "/api/frame?index=-1", "/api/measure?index=0&rect=1,1,0,0"]:
        assert v.get(path)[0] in (400, 404), path
    v.stop()


@pytest.mark.parametrize("args, message", [
    ([], "give frame files, --live DEVICE or --stdin"),
    (["--stdin"], "--stdin needs the frame size"),
    (["--live", "/dev/radimo-no-such-video"], "/dev/radimo-no-such-video: no such device"),
    (["--live", "/dev/null"], "/dev/null: not a V4L2 video device"),
    (["{demo}/celsius.tiff", "--record", "x.tiff"], "--record records a live stream"),
    (["{demo}/celsius.tiff", "--listen", "127.0.0.1"], "expected ADDRESS:PORT"),
    (["{demo}/celsius.tiff", "--unit", "furlong"], "--unit furlong"),
])
def test_refusals(demo, args, message):
    r = radimo("view", *[a.format(demo=demo) for a in args])
    assert r.returncode == 2 and message in r.stderr, r.stderr
