"""radimo view under test: the program started on files or on a pipe, and headless Chromium
driven by Selenium. Screenshots go to RADIMO_VIEW_OUTPUT (the test's build directory)."""
import json
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import urllib.error
import urllib.request

import pytest

RADIMO_EXE = os.environ["RADIMO_EXE"]  # the radimo tool under test
OUTPUT = pathlib.Path(os.environ.get("RADIMO_VIEW_OUTPUT", tempfile.gettempdir())) / "view-screenshots"


def radimo(*args, **kwargs):
    return subprocess.run([RADIMO_EXE, *map(str, args)], capture_output=True, text=True, **kwargs)


@pytest.fixture(scope="session")
def demo():
    """`radimo demo`'s directory (the CTest fixture): camera/, raw.tiff (2 raw frames), celsius.tiff."""
    return pathlib.Path(os.environ["RADIMO_DEMO"])


class Viewer:
    """A running `radimo view`: its URL (with the token), and requests to it."""

    def __init__(self, args, stdin=None):
        self.process = subprocess.Popen([RADIMO_EXE, "view", *map(str, args)], stdin=stdin,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.lines = []
        for line in self.process.stdout:
            self.lines.append(line)
            found = re.search(r"open (http://\S+)", line)
            if found:
                self.url = found.group(1)
                break
        else:
            raise AssertionError("radimo view printed no URL: " + self.process.stderr.read())
        self.base, self.token = self.url.split("/?token=")

    def get(self, path, headers=None, token=True):
        """(status, headers, body bytes) of a GET of path (token added unless token=False)."""
        sep = "&" if "?" in path else "?"
        url = self.base + path + (f"{sep}token={self.token}" if token else "")
        request = urllib.request.Request(url, headers=headers or {})
        try:
            with urllib.request.urlopen(request, timeout=10) as response:
                return response.status, response.headers, response.read()
        except urllib.error.HTTPError as e:
            return e.code, e.headers, e.read()

    def json(self, path):
        status, _, body = self.get(path)
        assert status == 200, body
        return json.loads(body)

    def post(self, path, data):
        request = urllib.request.Request(f"{self.base}{path}?token={self.token}", method="POST",
                                         data=json.dumps(data).encode(),
                                         headers={"Content-Type": "application/json"})
        try:
            with urllib.request.urlopen(request, timeout=10) as response:
                return response.status, json.loads(response.read())
        except urllib.error.HTTPError as e:
            return e.code, json.loads(e.read())

    def stop(self):
        """Ctrl-C: the program ends cleanly (exit 0) and says so; returns its remaining output."""
        self.process.send_signal(signal.SIGINT)
        if self.process.stdin and self.process.stdin.closed:
            self.process.stdin = None
        out, err = self.process.communicate(timeout=20)
        assert self.process.returncode == 0, err
        assert "stopped" in out, out
        return "".join(self.lines) + out


@pytest.fixture
def viewer():
    started = []

    def start(*args, stdin=None):
        v = Viewer(args, stdin=stdin)
        started.append(v)
        return v

    yield start
    for v in started:
        if v.process.poll() is None:
            v.process.kill()
            v.process.communicate()


@pytest.fixture(scope="session")
def browser():
    webdriver = pytest.importorskip("selenium.webdriver")
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    profile = tempfile.mkdtemp(prefix="radimo-view-chromium-")
    for flag in ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                 "--disable-background-networking", "--disable-component-update", "--disable-sync",
                 "--disable-dev-shm-usage", f"--user-data-dir={profile}", "--window-size=1400,900"]:
        options.add_argument(flag)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    service = webdriver.ChromeService(executable_path="/usr/bin/chromedriver") \
        if hasattr(webdriver, "ChromeService") else webdriver.chrome.service.Service("/usr/bin/chromedriver")
    driver = webdriver.Chrome(service=service, options=options)
    driver.set_page_load_timeout(30)
    yield driver
    driver.quit()


@pytest.fixture
def screenshot(browser, request):
    """Saves the page as OUTPUT/<name>.png."""
    def save(name):
        OUTPUT.mkdir(parents=True, exist_ok=True)
        browser.save_screenshot(str(OUTPUT / f"{name}.png"))
    return save
