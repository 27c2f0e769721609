"""What the looks share: a simulated array with its page, a node that zavctl prepares on it, and a browser.

LOOK_PROGRAMS names the folder of the programs, LOOK_PICTURES the folder that pictures go to.
"""
import html
import itertools
import json
import os
import pathlib
import re
import shutil
import ssl
import subprocess
import tempfile
import time
import unittest
import urllib.request

from selenium import webdriver
from selenium.common.exceptions import StaleElementReferenceException
from selenium.webdriver.chrome.service import Service

PROGRAMS = pathlib.Path(os.environ["LOOK_PROGRAMS"]).resolve()
PICTURES = pathlib.Path(os.environ["LOOK_PICTURES"]).resolve()
PORT = 8088
MOST_SECONDS = 20
COLORS = {"31": "#f28b82", "32": "#81c995", "33": "#fdd663"}

_numbers = itertools.count(1)


def own_address():
    """An address of the loopback that no other process of the looks has."""
    pid = os.getpid()
    return f"127.{96 + pid // 65536 % 32}.{pid // 256 % 256}.{1 + (pid % 256 + 37 * next(_numbers)) % 250}"


def until(what, holds):
    """Waits for what another process brings about, and returns it."""
    end = time.monotonic() + MOST_SECONDS
    while time.monotonic() < end:
        found = holds()
        if found:
            return found
        time.sleep(0.05)
    raise AssertionError(f"not within {MOST_SECONDS} s: {what}")


class Array:
    """zavsim on two https addresses, the second of which is the page's."""

    def __init__(self, folder, *arguments, serial="2102350000", luns=2000):
        self.folder = pathlib.Path(folder)
        self.serial = serial
        self.addresses = [own_address(), own_address()]
        self.service = own_address()
        self.page = f"https://{self.addresses[1]}:{PORT}"
        listen = [word for address in self.addresses for word in ("--listen", f"https://{address}:{PORT}")]
        self.command = [PROGRAMS / "zavsim", *listen, "--service", self.service, "--luns", str(luns), "--serial", serial,
                        "--ca", str(self.folder / "ca"), *arguments]
        self.start()
        self.trust = ssl.create_default_context(cafile=str(self.folder / "ca" / "ca.pem"))

    def start(self):
        log = self.folder / "zavsim.log"
        with log.open("w") as output:
            self.process = subprocess.Popen(self.command, stdout=output, stderr=subprocess.STDOUT)
        try:
            until("zavsim listens", lambda: self.page in log.read_text())
        except BaseException: # nobody else could end it
            self.end()
            raise
        self.session = {}

    def send(self, method, path, body=None, headers=None):
        request = urllib.request.Request(self.page + path, method=method, headers=headers or {},
                                         data=None if body is None else json.dumps(body).encode())
        with urllib.request.urlopen(request, context=self.trust, timeout=MOST_SECONDS) as answer:
            return json.load(answer), answer.headers

    def admin(self, method, resource, body=None):
        return self.send(method, "/zavsim/" + resource, body)[0]

    def log_in(self):
        answer, headers = self.send("POST", "/deviceManager/rest//sessions",
                                    {"username": "admin", "password": "zavsim-admin", "scope": 0})
        self.session = {"iBaseToken": answer["data"]["iBaseToken"], "Cookie": headers["Set-Cookie"].split(";")[0]}

    def rest(self, method, resource, body=None, is_refused=False):
        """A request of a client that is logged in; the answer's data."""
        if not self.session:
            self.log_in()
        answer, _ = self.send(method, f"/deviceManager/rest/{self.serial}/{resource}", body, self.session)
        assert (answer["error"]["code"] != 0) == is_refused, answer["error"]
        return answer.get("data")

    def make(self, kind, name):
        kinds = {"host": "21", "hostgroup": "14", "lungroup": "256", "mappingview": "245"}
        return self.rest("POST", kind, {"NAME": name, "TYPE": kinds[kind]})["ID"]

    def end(self):
        self.process.terminate()
        return self.process.wait(MOST_SECONDS)


class Remote:
    """The same array by another of its addresses."""

    def __init__(self, array, address):
        self.page = f"https://{address}:{PORT}"
        self.trust = array.trust

    send = Array.send
    admin = Array.admin


class Node:
    """A node that zavctl prepares on an array: a product root, iSCSI targets, an initiator of its own."""

    IQN = "iqn.2020-01.example:backup-node-7"

    def __init__(self, array):
        self.array = array
        self.folder = array.folder / "node"
        for name in ("product/bin", "product/conf", "bin"):
            (self.folder / name).mkdir(parents=True)
        self.zavctl = shutil.copy(PROGRAMS / "zavctl", self.folder / "product" / "bin")
        names = self.folder / "initiatorname.iscsi"
        names.write_text(f"InitiatorName={self.IQN}\n")
        cat = self.folder / "bin" / "cat"
        cat.write_text("#!/bin/sh\n"
                       f"[ \"$1\" != /etc/iscsi/initiatorname.iscsi ] || set -- '{names}'\n"
                       "exec /bin/cat \"$@\"\n")
        cat.chmod(0o755)
        authority = array.folder / "ca" / "ca.pem"
        (self.folder / "product" / "conf" / "backupnode.ini").write_text(
            f"[Http]\nCaFile = {authority}\n[Cert]\nTrustStore = {authority}\n"
            f"[Shell]\nPath = {self.folder / 'bin'}:{PROGRAMS / 'node'}\n")
        self.settings = {**os.environ, "ZAVSIM_NODE_STATE": str(self.folder / "state"),
                         "ZAVSIM_NODE_INITIATOR_FILE": str(names)}
        self.settings.pop("ZAVCTL_ENV", None)
        subprocess.run([PROGRAMS / "zavsim-target", "start", "--folder", str(self.folder / "targets"), array.service],
                       check=True, capture_output=True)
        cipher = self.run("password", "encrypt", "--new-key", given="zavsim-admin\n").stdout.strip()
        self.environment = self.folder / "env.json"
        self.environment.write_text(json.dumps({
            "managementIps": [array.addresses[0]], "userNames": ["admin"], "encryptedPasswords": [cipher],
            "certificates": ["array"], "ports": [PORT], "protocols": [0], "allManagementIps": array.addresses}))

    def run(self, *words, given=""):
        return subprocess.run([self.zavctl, *words], env=self.settings, input=given, text=True, capture_output=True,
                              timeout=120, check=False)

    def init(self):
        return self.run("init", "--env", str(self.environment), "-o", "json")

    def end(self):
        subprocess.run([PROGRAMS / "node" / "iscsiadm", "-m", "node", "-u"], env=self.settings, capture_output=True,
                       check=False)
        subprocess.run([PROGRAMS / "zavsim-target", "stop", "--folder", str(self.folder / "targets")],
                       capture_output=True, check=False)


def open_browser(logs):
    """A headless Chromium that trusts the simulator's certificates and keeps such logs."""
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars"):
        options.add_argument(argument)
    options.accept_insecure_certs = True
    options.set_capability("goog:loggingPrefs", {log: "ALL" for log in logs})
    browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    browser.set_page_load_timeout(MOST_SECONDS)
    return browser


class ScreenTest(unittest.TestCase):
    """One browser for all tests of a class."""

    LOGS = ["browser"]

    @classmethod
    def setUpClass(cls):
        PICTURES.mkdir(parents=True, exist_ok=True)
        cls.browser = open_browser(cls.LOGS)
        cls.addClassCleanup(cls.browser.quit)

    def setUp(self):
        self.addCleanup(show_as, self.browser)
        show_as(self.browser)


class BrowserTest(ScreenTest):
    """An array of its own for each test."""

    def setUp(self):
        folder = temporary_folder()
        self.addCleanup(folder.cleanup)
        self.array = Array(folder.name, *self.array_arguments())
        self.addCleanup(self.array.end)
        self.addCleanup(self.browser.get, "about:blank")  # before the array ends
        super().setUp()

    def array_arguments(self):
        return []


def show_as(browser, width=1280, height=1000, dark=False, calm=False):
    """What kind of screen the browser says it has."""
    browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                            {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})
    browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "", "features": [
        {"name": "prefers-color-scheme", "value": "dark" if dark else "light"},
        {"name": "prefers-reduced-motion", "value": "reduce" if calm else "no-preference"}]})


def show_on_paper(browser, width=794, dark=False):
    """A sheet of A4, as the browser prints on it: 96 pixels are an inch."""
    show_as(browser, width, 1123, dark)
    browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "print", "features": [
        {"name": "prefers-color-scheme", "value": "dark" if dark else "light"}]})


def as_page(shown):
    """What a terminal shows, as a page."""
    page, look = "", {}
    for part in re.split(r"(\x1b\[[0-9;]*m)", shown):
        codes = re.fullmatch(r"\x1b\[([0-9;]*)m", part)
        if not codes:
            style = ";".join(f"{name}:{value}" for name, value in look.items())
            page += f'<span style="{style}">{html.escape(part)}</span>'
            continue
        for code in codes[1].split(";"):
            if code in ("", "0"):
                look = {}
            elif code in ("1", "22"):
                look["font-weight"] = "bold" if code == "1" else "normal"
            elif code in ("4", "24"):
                look["text-decoration"] = "underline" if code == "4" else "none"
            elif code in COLORS or code == "39":
                look["color"] = COLORS.get(code, "inherit")
    return ("<meta charset=utf-8><body style='background:#16181c;color:#d8dade;margin:16px'>"
            f"<pre style='font:14px/1.35 DejaVu Sans Mono,monospace'>{page}</pre>")


def calmly(look):
    """What `look` sees; again when the page was drawn anew meanwhile."""
    for _ in range(20):
        try:
            return look()
        except (StaleElementReferenceException, StopIteration):
            continue
    return look()


def settle(browser):
    """Waits until the page is no longer drawn anew."""
    drawn = []

    def is_as_before():
        drawn.append(browser.execute_script("return document.body.innerHTML"))
        return len(drawn) > 8 and len(set(drawn[-8:])) == 1
    until("the page stands still", is_as_before)


def take_picture(browser, name, width=1280, **_how):
    """The whole page, however long, as PICTURES/name.png."""
    browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
        "width": width, "height": browser.execute_script("return document.documentElement.scrollHeight"),
        "deviceScaleFactor": 1, "mobile": False})
    browser.save_screenshot(str(PICTURES / f"{name}.png"))


def _relative_luminance(color):
    parts = [int(part) / 255 for part in re.findall(r"\d+", color)[:3]]
    red, green, blue = (part / 12.92 if part <= 0.03928 else ((part + 0.055) / 1.055) ** 2.4 for part in parts)
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue


def luminance(browser, selector, what):
    return _relative_luminance(browser.execute_script(
        "return getComputedStyle(document.querySelector(arguments[0]))[arguments[1]]", selector, what))


def contrast(browser, selector):
    """Of an element's text against what lies behind it, by the rule of WCAG 2."""
    behind = browser.execute_script("""
        const isClear = element => /^rgba\\(.*, 0\\)$/.test(getComputedStyle(element).backgroundColor);
        let element = document.querySelector(arguments[0]);
        while (element && isClear(element)) {
            element = element.parentElement;
        }
        if (element) {
            return getComputedStyle(element).backgroundColor;
        }
        const canvas = document.documentElement.appendChild(document.createElement("div"));
        canvas.style.background = "Canvas"; // what a browser paints where a page paints nothing
        const color = getComputedStyle(canvas).backgroundColor;
        canvas.remove();
        return color;""", selector)
    levels = sorted((luminance(browser, selector, "color"), _relative_luminance(behind)))
    return (levels[1] + 0.05) / (levels[0] + 0.05)


def contrast_on_white(browser, selector):
    """The least that any such element's text has."""
    return 1.05 / (max(_relative_luminance(color) for color in browser.execute_script(
        "return [...document.querySelectorAll(arguments[0])].map(each => getComputedStyle(each).color)", selector)) + 0.05)


def temporary_folder():
    return tempfile.TemporaryDirectory(prefix="look")
